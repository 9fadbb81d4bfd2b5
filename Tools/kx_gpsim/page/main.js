// Puts the page together and connects search, keys and the address.

const byId = (id) => document.getElementById(id);
const searchBox = byId("search");

const details = new Details(byId("details"), () => {
  for (const view of views) view.table?.setOpened(null);
  current.table?.moveTo(current.table.active);
});

function showPolicy(place) {
  location.hash = "policies";
  activate("policies");
  const table = current.table;
  if (table.rows.indexOf(place) < 0) {
    searchBox.value = "";
    search();
  }
  table.opened = place;
  table.moveTo(table.rows.indexOf(place));
}

const opener = (make) => (row) => details.show(make(row));

const views = [
  { id: "policies", title: "Policies", table: policyTable(opener((row) => policyDetails(row, showPolicy))) },
  { id: "settings", title: "Configuration", table: settingTable(opener((row) => settingDetails(row, showPolicy))) },
  { id: "gpos", title: "GPOs", table: gpoTable(opener((row) => gpoDetails(row, showPolicy))) },
  { id: "targeted", title: "Excluded", table: targetedTable(opener((row) => reasonDetails(targetedRows[row]))) },
  { id: "messages", title: "Messages", table: messageTable(opener((row) => reasonDetails(messageRows[row]))) },
  { id: "timeline", title: "Timeline", node: timelineView() },
];
let current = views[0];

// ---- the page -----------------------------------------------------------------------------------------

function buildPasses() {
  const items = report.passes.map((pass, place) => {
    const item = element("li", passState(pass));
    item.append(element("b", "", `${scopeOf(place)}, ${pass.call}`), visible(` returned ${pass.code}: ${pass.meaning}`));
    return item;
  });
  byId("passes").replaceChildren(...items);
}

function buildView(view) {
  view.section = element("section", "view");
  view.section.setAttribute("aria-labelledby", `${view.id}-title`);
  const title = element("h2", "unseen", view.table ? view.table.table.caption.textContent : "Timeline");
  title.id = `${view.id}-title`;
  view.section.append(title, view.table ? view.table.scroller : view.node);
  view.link = element("a", "", view.title);
  view.link.href = `#${view.id}`;
  view.badge = element("span", "count");
  if (view.table) view.link.append(" ", view.badge);
  return view.section;
}

function activate(id) {
  const view = views.find((each) => each.id === id) || views[0];
  if (view !== current) details.close();
  current = view;
  for (const each of views) {
    each.section.classList.toggle("current", each === view);
    if (each === view) each.link.setAttribute("aria-current", "page");
    else each.link.removeAttribute("aria-current");
  }
  byId("legend").hidden = view.id !== "policies";
  view.table?.render();
}

// ---- search -------------------------------------------------------------------------------------------

function showCounts(terms) {
  for (const { table, badge } of views) {
    if (!table) continue;
    const found = format(table.rows.length);
    badge.textContent = terms.length === 0 || table.count === 0 ? found : `${found} of ${format(table.count)}`;
  }
  const table = current.table;
  byId("hits").textContent = terms.length === 0 || !table ? "" : `${format(table.rows.length)} of ${format(table.count)}`;
}

function search() {
  const terms = searchTerms(searchBox.value);
  for (const { table } of views) table?.search(terms);
  showCounts(terms);
}

let pending = 0;

function searchSoon() {
  clearTimeout(pending);
  pending = setTimeout(search, 90);
}

// ---- keys, address, printer ---------------------------------------------------------------------------

function onKey(event) {
  const typing = event.target.matches("input, textarea");
  if (event.key === "/" && !typing && !event.ctrlKey && !event.altKey && !event.metaKey) {
    searchBox.focus();
    searchBox.select();
    event.preventDefault();
  } else if (event.key === "Escape") {
    if (details.isOpen && !typing) details.close();
    else if (searchBox.value !== "") {
      searchBox.value = "";
      search();
    }
    event.preventDefault();
  } else if (event.key === "ArrowDown" && event.target === searchBox) {
    clearTimeout(pending);
    search();
    current.table?.moveTo(0);
    event.preventDefault();
  }
}

function layOutForPrinter(on) {
  for (const { table } of views) table?.print(on);
}

function start() {
  buildPasses();
  byId("main").replaceChildren(...views.map(buildView));
  byId("views").replaceChildren(...views.map((view) => view.link));
  byId("legend").textContent = "By id: of policies with one id the lowest order wins; what the agent does with the others, the document does not say.";
  search();
  activate(location.hash.slice(1));
  searchBox.addEventListener("input", searchSoon);
  document.addEventListener("keydown", onKey);
  byId("skip").addEventListener("click", (event) => {
    event.preventDefault();
    (current.table ? current.table.body.querySelector('tr[tabindex="0"]') : current.node)?.focus();
  });
  addEventListener("hashchange", () => {
    activate(location.hash.slice(1));
    showCounts(searchTerms(searchBox.value));
  });
  addEventListener("resize", () => current.table?.render());
  setTimeout(() => views.forEach(({ table }) => table?.prepare()), 200); // when the page stands
  addEventListener("beforeprint", () => layOutForPrinter(true));
  addEventListener("afterprint", () => layOutForPrinter(false));
}

start();
