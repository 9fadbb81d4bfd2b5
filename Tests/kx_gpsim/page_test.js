// The report's page in a headless Chromium, used as a person uses it.
//
//     node page_test.js <folder with the pages of kx_page_maker> [chromium]
"use strict";

const assert = require("node:assert/strict");
const path = require("node:path");
const { Browser } = require("./browser");

const [folder, program] = process.argv.slice(2);
const sample = path.join(folder, "sample.html");
const large = path.join(folder, "large.html");

const names = `[...document.querySelectorAll(".view.current td.name")].map((cell) => cell.textContent)`;
const focused = `document.activeElement.closest("tr")?.querySelector("td.name")?.textContent ?? document.activeElement.id`;
const detailsTitle = `document.querySelector("#details:not([hidden]) h2")?.textContent ?? null`;
const sortBy = (title) => `[...document.querySelectorAll(".view.current thead button")].find((each) => each.textContent === "${title}").click()`;
const inOrder = ["Print labels", "Press for users", "Run the press faster", "Dairy settings"];

async function typeSearch(page, text) {
  await page.press("/");
  await page.type(text);
  await page.settle(150);
}

const cases = {
  async "shows policies in the agent's order"(page) {
    assert.deepEqual((await page.eval(names)).slice(0, 4), inOrder);
    assert.match(await page.eval(`document.getElementById("passes").textContent`), /user, apply returned 1252/);
  },

  async "shows names as text, whatever they are"(page) {
    const shown = (await page.eval(names))[4];
    assert.ok(shown.startsWith("</script><script>document.title='broken'</script><!-- <img"), shown);
    assert.ok(shown.endsWith("<U+202E>"), "what turns the direction of writing is named");
    assert.equal(await page.eval("document.title"), "Resultant set of policy");
    assert.equal(await page.eval(`document.querySelectorAll("img, iframe, object, script:not([id])").length`), 1, "its own script");
    for (const view of ["settings", "gpos", "targeted", "messages", "timeline"]) {
      await page.eval(`location.hash = "${view}"`);
      await page.settle();
      assert.match(await page.eval(`document.querySelector(".view.current").textContent`), /<\/script><script>/, view);
    }
  },

  async "finds by several words in any column, and Escape clears"(page) {
    await typeSearch(page, "PRESS milkers");
    assert.deepEqual(await page.eval(names), ["Run the press faster"]);
    assert.equal(await page.eval(`document.querySelector("#hits").textContent`), "1 of 6");
    assert.deepEqual(await page.eval(`[...document.querySelectorAll(".view.current mark")].map((each) => each.textContent)`),
      ["press", "Press", "Milkers"]);
    await page.press("Escape");
    await page.settle();
    assert.equal((await page.eval(names)).length, 6);
    await typeSearch(page, "no such thing");
    assert.match(await page.eval(`document.querySelector(".view.current .note").textContent`), /Nothing in this list/);
  },

  async "sorts up, down and back"(page) {
    const states = [];
    for (let click = 0; click < 3; ++click) {
      await page.eval(sortBy("Policy"));
      states.push([await page.eval(`document.querySelector(".view.current th.name").getAttribute("aria-sort")`), (await page.eval(names))[0]]);
    }
    assert.deepEqual(states.map(([state]) => state), ["ascending", "descending", "none"]);
    assert.ok(states[0][1].startsWith("</script>"), "punctuation comes first");
    assert.deepEqual(states.slice(1).map(([, first]) => first), ["Settings", "Print labels"]);
    await page.eval(sortBy("Action"));
    assert.equal(await page.eval(`document.querySelector(".view.current tbody tr:last-child td.action").textContent`), "10", "as numbers");
  },

  async "is used by keyboard alone"(page) {
    await page.press("/");
    assert.equal(await page.eval(focused), "search");
    await page.press("ArrowDown");
    assert.equal(await page.eval(focused), "Print labels");
    await page.press("ArrowDown");
    await page.press("Enter");
    assert.equal(await page.eval(detailsTitle), "Press for users");
    await page.press("ArrowDown");
    assert.equal(await page.eval(detailsTitle), "Run the press faster", "the details follow");
    assert.match(await page.eval(`getComputedStyle(document.activeElement).outlineStyle`), /solid/, "focus is seen");
    await page.press("Escape");
    assert.equal(await page.eval(detailsTitle), null);
    assert.equal(await page.eval(focused), "Run the press faster", "focus stays in the list");
    await page.press("End");
    assert.equal(await page.eval(focused), "Settings");
  },

  async "tells winner and losers, and goes to them"(page) {
    await page.eval(`document.querySelectorAll(".view.current tbody tr")[2].click()`);
    const links = `[...document.querySelectorAll("#details .links button")]`;
    assert.equal(await page.eval(`${links}.length`), 3);
    assert.match(await page.eval(`document.querySelector("#details .links .facts").textContent`), /^wins · 9 · user/);
    await page.eval(`${links}[0].click()`);
    assert.equal(await page.eval(detailsTitle), "Press for users");
    await page.eval(`location.hash = "settings"`);
    await page.settle();
    assert.deepEqual(await page.eval(`[...document.querySelectorAll(".view.current .badge")].map((each) => each.textContent)`), ["wins", "loses"]);
  },

  async "prints all lists"(page) {
    await page.send("Emulation.setEmulatedMedia", { media: "print" });
    assert.equal(await page.eval(`[...document.querySelectorAll(".view")].filter((each) => each.offsetHeight > 0).length`), 6);
    assert.ok((await page.send("Page.printToPDF", {})).data.length > 1000);
  },

  async "is dark where that is wanted"(page) {
    const background = `getComputedStyle(document.querySelector("main")).backgroundColor`;
    const colours = [];
    for (const value of ["light", "dark"]) {
      await page.send("Emulation.setEmulatedMedia", { features: [{ name: "prefers-color-scheme", value }] });
      colours.push((await page.eval(background)).match(/\d+/g).map(Number)[0]);
    }
    assert.ok(colours[0] > 240 && colours[1] < 60, colours.join());
  },
};

// ---- a hundred thousand policies ----------------------------------------------------------------------

const timed = (page, what) => page.eval(`(() => { const start = performance.now(); ${what}; document.body.offsetHeight; return performance.now() - start; })()`);

async function measureLarge(page) {
  assert.ok(await page.eval(`document.querySelectorAll("tr").length`) < 700, "only rows in sight are in the document");
  const figures = { "open, until drawn": await page.eval("performance.now()") };
  const lookFor = (text) => `searchBox.value = '${text}'; search()`;
  figures["first search"] = await timed(page, lookFor('tank "of line 4711"'));
  assert.deepEqual(await page.eval(names), await page.eval(`policies.name.filter((name) => /tank.* of line 4711/.test(name))`));
  figures["further search"] = await timed(page, lookFor("elevate floor 17"));
  figures["search cleared"] = await timed(page, lookFor(""));
  figures["first sort by name"] = await timed(page, sortBy("Policy"));
  figures["the other way round"] = await timed(page, sortBy("Policy"));
  figures["search while sorted"] = await timed(page, lookFor("elevate floor 17"));
  await page.eval(lookFor(""));
  figures["jump to the end"] = await timed(page, `current.table.moveTo(99999); current.table.render()`);
  assert.equal(await page.eval(`document.activeElement.getAttribute("aria-rowindex")`), "100001");
  figures["details of it"] = await timed(page, `current.table.open(current.table.rows[99999])`);
  figures["ten pages further up"] = await timed(page, `for (let at = 0; at < 10; ++at) { current.table.moveTo(current.table.active - 30); current.table.render(); }`);
  return figures;
}

async function main() {
  const browser = new Browser(program);
  let failed = 0;
  const check = async (name, file, run) => {
    const page = await browser.open(file);
    try {
      await page.settle();
      const figures = await run(page);
      assert.deepEqual(page.errors, [], "no error in the page");
      assert.deepEqual(page.requests.filter((url) => !url.startsWith("file:") && !url.startsWith("data:")), [], "no request to outside");
      console.log(`ok    ${name}`);
      for (const [what, ms] of Object.entries(figures ?? {})) console.log(`      ${what}: ${ms.toFixed(0)} ms`);
    } catch (error) {
      ++failed;
      console.log(`FAIL  ${name}\n${error.stack}`);
    }
    await page.send("Page.close");
  };
  for (const [name, run] of Object.entries(cases)) await check(name, sample, run);
  await check("stays quick with 100,000 policies", large, measureLarge);
  await check("lets nothing from outside in", sample, async (page) => {
    const refused = await page.eval(`new Promise((done) => {
      document.addEventListener("securitypolicyviolation", (event) => done(event.effectiveDirective));
      const image = new Image(); image.src = "http://a.example/x.png"; setTimeout(() => done("nothing"), 2000); })`);
    assert.equal(refused, "img-src");
    page.errors.length = 0; // the browser reports what it refused
    page.requests = page.requests.filter((url) => !url.startsWith("http://a.example/"));
  });
  await browser.close();
  console.log(failed === 0 ? "all passed" : `${failed} failed`);
  process.exitCode = failed === 0 ? 0 : 1;
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
