// A pipe server and an XML parser that are not ours receive what the extension sends: for each case one
// refresh of sample GPOs, whose message is checked byte by byte and compared with the policy files.
//
//     node.exe receive_updates.js <kx_refresh_once.exe> <kx_gpext.dll> <folder of sample GPOs>
"use strict";

const assert = require("node:assert/strict");
const { spawn } = require("node:child_process");
const fs = require("node:fs");
const net = require("node:net");
const os = require("node:os");
const path = require("node:path");
const { decodeMessage } = require("./update_message");
const { extension, parseXml, expectedGpos, receivedGpos, writeLargeGpo } = require("./sample_files");

const pipeName = "\\\\.\\pipe\\KxGroupPolicyUpdate";
const caseTimeoutMs = 60000;

const [refreshOnce, extensionDll, samples] = process.argv.slice(2);

function gpoFolder(displayName) {
  const folder = path.join(samples, displayName);
  return path.join(folder, fs.readdirSync(folder).find((name) => name.startsWith("{")));
}

const linked = fs.readdirSync(samples).filter((name) => /^\d\d /.test(name)).sort().map(gpoFolder);
const migration = gpoFolder("Move to the central dispatcher");
const scratch = fs.mkdtempSync(path.join(os.tmpdir(), "kx-large-"));
const large = [writeLargeGpo(scratch, 5000)]; // far beyond every buffer on the way

function checkUpdate(root, { scope, gpos, empty }) {
  const update = root.GPUpdate;
  assert.equal(update["@version"], "2");
  assert.equal(update["@userScope"], scope === "user" ? "true" : "false");
  const received = receivedGpos(update);
  assert.deepEqual(received, expectedGpos(gpos, scope));
  const filled = received.filter((gpo) => gpo.content);
  const policies = filled.flatMap((gpo) => gpo.content.policies);
  assert.equal(received.length - filled.length, empty, "GPOs without content");
  assert.ok(policies.length > 0, "policies came");
  return `${received.length} GPOs, ${received.length - filled.length} of them empty, ${policies.length} policies`;
}

function checkMigration(root) {
  const source = path.join(migration, "Machine", extension, "Migration.xml");
  const { "@version": version, ...expected } = parseXml(fs.readFileSync(source, "utf8")).AgentParameters;
  assert.equal(version, "5");
  assert.deepEqual(root.AgentParameters, expected);
  return `a migration command with ${Object.keys(expected).length} attributes`;
}

const cases = [
  { name: "machine", scope: "machine", gpos: linked, empty: 1, check: checkUpdate },
  { name: "user", scope: "user", gpos: linked, empty: 1, check: checkUpdate },
  { name: "large", scope: "machine", gpos: large, empty: 0, check: checkUpdate },
  { name: "migration", scope: "machine", gpos: [...linked, migration], check: checkMigration },
];

// Runs the extension once; resolves to what it printed.
function refresh({ scope, gpos }) {
  return new Promise((resolve, reject) => {
    const child = spawn(refreshOnce, [extensionDll, scope, ...gpos], { stdio: ["ignore", "pipe", "inherit"] });
    let text = "";
    child.stdout.on("data", (piece) => (text += piece));
    child.on("error", reject);
    child.on("close", (code) =>
      code === 0 ? resolve(text.trim()) : reject(new Error(`the refresh ended with ${code}: ${text}`)),
    );
  });
}

// The bytes of the next connection, and in how many pieces they came.
function nextMessage(server) {
  return new Promise((resolve, reject) => {
    server.once("connection", (socket) => {
      const pieces = [];
      socket.on("data", (piece) => pieces.push(piece));
      socket.on("end", () => resolve({ bytes: Buffer.concat(pieces), pieces: pieces.length }));
      socket.on("error", reject);
    });
  });
}

function withTimeout(promise, what) {
  let timer;
  const late = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`nothing within ${caseTimeoutMs} ms: ${what}`)), caseTimeoutMs);
  });
  return Promise.race([promise, late]).finally(() => clearTimeout(timer));
}

async function runCase(server, one) {
  const [message, said] = await withTimeout(Promise.all([nextMessage(server), refresh(one)]), one.name);
  const found = one.check(parseXml(decodeMessage(message.bytes)), one);
  console.log(`${one.name}: ${message.bytes.length} bytes in ${message.pieces} pieces, ${found}; ${said}`);
}

async function main() {
  const server = net.createServer();
  await new Promise((resolve, reject) => server.once("error", reject).listen(pipeName, resolve));
  let failed = 0;
  for (const one of cases) {
    await runCase(server, one).catch((error) => {
      failed += 1;
      console.log(`${one.name}: FAILED: ${error.message}`);
    });
  }
  server.close();
  fs.rmSync(scratch, { recursive: true });
  console.log(`${cases.length - failed} passed, ${failed} failed`);
  return failed === 0 ? 0 : 1;
}

main().then(
  (code) => process.exit(code),
  (error) => {
    console.error(error.message);
    process.exit(3);
  },
);
