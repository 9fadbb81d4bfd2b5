"use strict";

// The report as it was embedded, and what is worked out from it once.

const report = JSON.parse(document.getElementById("data").textContent);
const policies = report.policies;
const policyCount = policies.name.length;

const scopeOf = (pass) => report.passes[pass].scope;

/** A GPO as people call it. */
function gpoLabel(place) {
  const gpo = report.gpos[place];
  return gpo ? gpo.displayName || gpo.name : "";
}

function gpoLink(place) {
  const gpo = report.gpos[place];
  return gpo ? gpo.somId || gpo.link || "" : "";
}

function writtenText(place) {
  const gpo = report.gpos[place];
  return gpo && gpo.written ? gpo.written.replace("T", " ").replace(/:\d\dZ$/, "") : "";
}

function groupsOf(policy) {
  return report.groupLists[policies.groups[policy]];
}

/** For each policy whose id others have too, the place of its group in report.repeatedIds. */
const repeatedOf = new Map();
report.repeatedIds.forEach((group, place) => {
  for (const policy of [group.first, ...group.later]) repeatedOf.set(policy, place);
});

function standingText(policy) {
  return ["", "wins", "loses"][policies.standing[policy]];
}

/** The policies that lose to this one by order, or the one that wins over it. */
function rivals(policy) {
  const place = repeatedOf.get(policy);
  if (place === undefined) return [];
  const group = report.repeatedIds[place];
  return group.first === policy ? group.later : [group.first];
}

function rivalText(policy) {
  const others = rivals(policy);
  if (others.length === 0) return "";
  const names = others.slice(0, 3).map((other) => policies.name[other]);
  if (others.length > names.length) names.push(`${others.length - names.length} more`);
  return (policies.standing[policy] === 1 ? "over " : "to ") + names.join(", ");
}

let xmlLines = null;

/** A policy's XML; the text that holds all of them is taken apart when the first one is asked for. */
function policyXml(policy) {
  if (!xmlLines) xmlLines = document.getElementById("policy-xml").textContent.split("\n");
  return JSON.parse(xmlLines[policy]) || "";
}

// A policy's configuration values: places of settings, and of the value in it (-1: the winner).
let valuesByPolicy = null;

function valuesOf(policy) {
  if (!valuesByPolicy) {
    valuesByPolicy = new Map();
    for (const row of settingRows) {
      if (row.policy === null) continue;
      if (!valuesByPolicy.has(row.policy)) valuesByPolicy.set(row.policy, []);
      valuesByPolicy.get(row.policy).push(row);
    }
  }
  return valuesByPolicy.get(policy) || [];
}

// ---- rows of the other lists --------------------------------------------------------------------------

const settingRows = report.settings.flatMap((setting) => {
  const row = (source, standing) => ({ pass: setting.pass, path: setting.path, standing, ...source });
  const rows = setting.winner ? [row(setting.winner, "wins")] : [];
  const standing = setting.winner ? "loses" : "not recorded";
  return rows.concat(setting.losers.map((source) => row(source, standing)));
});

const targetedRows = report.gpos.flatMap((gpo, place) => {
  const row = (verdict) => (policy) => ({ gpo: place, pass: gpo.pass, verdict, ...policy });
  return gpo.excluded.map(row("excluded")).concat(gpo.letThrough.map(row("let through")));
});

function placeText(complaint) {
  if (!complaint.line) return "";
  return complaint.column ? `${complaint.line}:${complaint.column}` : `${complaint.line}`;
}

const messageRows = report.passes
  .flatMap((facts, pass) => [
    ...facts.notes.map((reason) => ({ severity: "note", pass, gpo: null, reason })),
    ...facts.complaints.map((complaint) => ({ ...complaint, pass, gpo: null })),
  ])
  .concat(report.gpos.flatMap((gpo, place) =>
    gpo.complaints.map((complaint) => ({ ...complaint, pass: gpo.pass, gpo: place }))));

function gpoNote(gpo) {
  const notes = [];
  if (gpo.deleted) notes.push("deleted");
  if (gpo.migration) notes.push("migration command taken");
  if (gpo.excluded.some((policy) => policy.name === null)) notes.push("excluded whole");
  if (gpo.forced) notes.push("forced");
  return notes.join(", ");
}

const countOf = (gpo, severity) => gpo.complaints.filter((each) => each.severity === severity).length;
