// What an update should hold, worked out from the policy files alone, as they are documented. Targeting is not
// evaluated here: without the extension that does so, every policy is let through.
"use strict";

const fs = require("node:fs");
const path = require("node:path");
const { XMLParser, XMLValidator } = require("fast-xml-parser");

const extension = "{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";
const lists = new Set(["GPO", "Policy", "ApplicationGroup"]);
const parser = new XMLParser({
  ignoreAttributes: false,
  attributeNamePrefix: "@",
  parseTagValue: false,
  htmlEntities: true, // numeric references, as a serialiser may write any character
  isArray: (name) => lists.has(name),
});

/** An XML text as an object, attributes with "@"; throws where the text is not well formed. */
function parseXml(text) {
  const verdict = XMLValidator.validate(text);
  if (verdict !== true) throw new Error(`line ${verdict.err.line}: ${verdict.err.msg}`);
  return parser.parse(text);
}

// The root element of a policy file; undefined where there is no such file.
function readRoot(folder, file, root) {
  const name = path.join(folder, extension, file);
  return fs.existsSync(name) ? parseXml(fs.readFileSync(name, "utf8"))[root] : undefined;
}

function groupNames(groups) {
  return (groups?.ApplicationGroup ?? []).map((group) => group["@name"]);
}

// The policies and group names of one GPO; null for one whose files cannot be used.
function contentOf(folder, lift) {
  let policies, groups;
  try {
    policies = readRoot(folder, "Policies.xml", "GpoPolicies");
    groups = readRoot(folder, "ApplicationGroups.xml", "ApplicationGroups");
  } catch {
    return null;
  }
  if ([policies, groups].some((root) => root && root["@version"] !== "5")) return null;
  const lifted = (policies?.Policy ?? []).map((policy) => ({
    name: policy["@name"],
    id: policy["@gpid"],
    order: Number(policy["@order"]) + lift,
  }));
  return { policies: lifted, groups: groupNames(groups) };
}

/** What `gpos`, folders named by GUIDs in the order of their links, should give for "machine" or "user". */
function expectedGpos(gpos, scope) {
  const machineLift = scope === "machine" ? 1000000000 : 0;
  return gpos.map((gpo, index) => ({
    name: path.basename(gpo),
    displayName: path.basename(path.dirname(gpo)),
    precedence: index + 1,
    content: contentOf(
      path.join(gpo, scope === "machine" ? "Machine" : "User"),
      (gpos.length - index - 1) * 100000 + machineLift,
    ),
  }));
}

/** The same of an update document that was received. */
function receivedGpos(update) {
  return (update.ChangedGPOs.GPO ?? []).map((gpo) => ({
    name: gpo["@name"],
    displayName: gpo["@displayName"],
    precedence: Number(gpo["@precedence"]),
    content: gpo.Policies
      ? {
          policies: (gpo.Policies.Policy ?? []).map((policy) => ({
            name: policy["@name"],
            id: policy["@gpid"],
            order: Number(policy["@order"]),
          })),
          groups: groupNames(gpo.Policies.ApplicationGroups),
        }
      : null,
  }));
}

/** Writes a GPO with so many machine policies below `folder`; returns its own folder. */
function writeLargeGpo(folder, policyCount) {
  const gpo = path.join(folder, "Large", "{5AB1E000-0000-4000-8000-000000000001}");
  const files = path.join(gpo, "Machine", extension);
  fs.mkdirSync(files, { recursive: true });
  const policies = Array.from(
    { length: policyCount },
    (_, index) => `<Policy name="Rule ${index}" gpid="{${index}}" order="${index}" action="1"/>`,
  );
  fs.writeFileSync(path.join(files, "Policies.xml"), `<GpoPolicies version="5">${policies.join("")}</GpoPolicies>`);
  return gpo;
}

module.exports = { extension, parseXml, expectedGpos, receivedGpos, writeLargeGpo };
