// A headless Chromium, driven over its debugging pipe: messages are JSON, each ends in a zero byte.
"use strict";

const { spawn } = require("node:child_process");
const fs = require("node:fs");
const os = require("node:os");
const path = require("node:path");
const { pathToFileURL } = require("node:url");

const timeoutMs = 60000;

class Browser {
  constructor(program = "chromium") {
    this.profile = fs.mkdtempSync(path.join(os.tmpdir(), "kx-page-"));
    const options = ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-extensions",
      "--disable-background-networking", "--remote-debugging-pipe", `--user-data-dir=${this.profile}`, "about:blank"];
    this.process = spawn(program, options, { stdio: ["ignore", "ignore", "ignore", "pipe", "pipe"] });
    this.process.on("error", (error) => this._fail(error));
    this.process.on("exit", () => this._fail(new Error("the browser ended")));
    this.process.stdio[3].on("error", (error) => this._fail(error));
    this.replies = new Map();
    this.listeners = [];
    this.nextId = 1;
    let rest = "";
    this.process.stdio[4].setEncoding("utf8").on("data", (text) => {
      const messages = (rest + text).split("\0");
      rest = messages.pop();
      for (const message of messages) this._receive(JSON.parse(message));
    });
  }

  _fail(error) {
    for (const { reject } of this.replies?.values() ?? []) reject(error);
    this.replies?.clear();
  }

  _receive(message) {
    const reply = this.replies.get(message.id);
    if (!reply) {
      for (const listener of this.listeners) listener(message);
      return;
    }
    this.replies.delete(message.id);
    if (message.error) reply.reject(new Error(message.error.message));
    else reply.resolve(message.result);
  }

  send(method, params = {}, sessionId = undefined) {
    const id = this.nextId++;
    return new Promise((resolve, reject) => {
      const timer = setTimeout(() => reject(new Error(`${method}: no answer`)), timeoutMs);
      const done = (settle) => (value) => { clearTimeout(timer); settle(value); };
      this.replies.set(id, { resolve: done(resolve), reject: done(reject) });
      this.process.stdio[3].write(JSON.stringify({ id, method, params, sessionId }) + "\0");
    });
  }

  /** Opens a file in a new tab and waits until it is loaded. */
  async open(file, hash = "") {
    const { targetId } = await this.send("Target.createTarget", { url: "about:blank" });
    const { sessionId } = await this.send("Target.attachToTarget", { targetId, flatten: true });
    const page = new Page(this, sessionId);
    await page.load(pathToFileURL(path.resolve(file)).href + hash);
    return page;
  }

  async close() {
    const ended = new Promise((resolve) => this.process.once("exit", resolve));
    await this.send("Browser.close").catch(() => {});
    await ended;
    fs.rmSync(this.profile, { recursive: true, force: true, maxRetries: 5 });
  }
}

class Page {
  constructor(browser, sessionId) {
    Object.assign(this, { browser, sessionId, errors: [], requests: [] });
    browser.listeners.push((message) => { if (message.sessionId === sessionId) this._note(message); });
  }

  _note({ method, params }) {
    if (method === "Runtime.exceptionThrown") this.errors.push(params.exceptionDetails.exception?.description ?? params.exceptionDetails.text);
    if (method === "Log.entryAdded" && params.entry.level === "error") this.errors.push(params.entry.text);
    if (method === "Network.requestWillBeSent") this.requests.push(params.request.url);
    if (method === "Page.loadEventFired") this.loaded?.();
  }

  send(method, params) {
    return this.browser.send(method, params, this.sessionId);
  }

  async load(url) {
    for (const domain of ["Page", "Runtime", "Log", "Network"]) await this.send(`${domain}.enable`);
    const loaded = new Promise((resolve) => { this.loaded = resolve; });
    await this.send("Page.navigate", { url });
    await loaded;
  }

  /** The value of an expression in the page, where a promise is waited for. */
  async eval(expression) {
    const { result, exceptionDetails } = await this.send("Runtime.evaluate", { expression, awaitPromise: true, returnByValue: true });
    if (exceptionDetails) throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
    return result.value;
  }

  /** Presses a key as a person does, or types a text. */
  async press(key, modifiers = 0) {
    const codes = { Enter: 13, Escape: 27, Tab: 9, ArrowDown: 40, ArrowUp: 38, PageDown: 34, Home: 36, End: 35 };
    const text = key.length === 1 ? key : key === "Enter" ? "\r" : undefined;
    const event = { key, code: key, windowsVirtualKeyCode: codes[key] ?? key.charCodeAt(0), modifiers };
    await this.send("Input.dispatchKeyEvent", { type: text ? "keyDown" : "rawKeyDown", text, ...event });
    await this.send("Input.dispatchKeyEvent", { type: "keyUp", ...event });
  }

  async type(text) {
    for (const key of text) await this.press(key);
  }

  /** Two frames from now everything that was asked for is drawn; `ms` more for what waits. */
  settle(ms = 0) {
    return this.eval(`new Promise((done) => setTimeout(() => requestAnimationFrame(() => requestAnimationFrame(done)), ${ms})).then(() => null)`);
  }
}

module.exports = { Browser };
