// The lists of the report: which there are, and what their columns say.

const numbers = new Intl.NumberFormat("en");
const format = (number) => numbers.format(number);
const orEmpty = (value) => (value === null || value === undefined ? "" : String(value));

function policyTable(onOpen) {
  return new Table({
    name: "policies",
    caption: "Policies in the agent's order, the lowest number first",
    empty: "No policy reaches the agent.",
    count: policyCount,
    onOpen,
    also: (row) => policies.id[row] + "\n" + report.gpos[policies.gpo[row]].name,
    columns: [
      { title: "Order", className: "order number", text: (row) => String(policies.order[row]), number: (row) => policies.order[row] },
      { title: "For", className: "scope", text: (row) => scopeOf(policies.pass[row]) },
      { title: "Policy", className: "name", text: (row) => policies.name[row] },
      { title: "By id", className: "standing", badge: true, text: standingText },
      { title: "Over, to", className: "rivals", text: rivalText },
      { title: "Action", className: "action number", text: (row) => policies.action[row], number: (row) => Number(policies.action[row] || -1) },
      { title: "GPO", className: "gpo", text: (row) => gpoLabel(policies.gpo[row]) },
      { title: "Link", className: "link", text: (row) => gpoLink(policies.gpo[row]) },
      { title: "Written, UTC", className: "written", text: (row) => writtenText(policies.gpo[row]) },
      { title: "Groups", className: "groups", text: (row) => groupsOf(row).join(", ") },
    ],
  });
}

function settingTable(onOpen) {
  const rows = settingRows;
  return new Table({
    name: "settings",
    caption: "Configuration values by path",
    empty: "No configuration value was set.",
    count: rows.length,
    onOpen,
    columns: [
      { title: "Path", className: "path", text: (row) => rows[row].path },
      { title: "For", className: "scope", text: (row) => scopeOf(rows[row].pass) },
      { title: "Standing", className: "standing", badge: true, text: (row) => rows[row].standing },
      { title: "Value", className: "value", text: (row) => rows[row].value },
      { title: "Precedence", className: "order number", text: (row) => String(rows[row].precedence), number: (row) => rows[row].precedence },
      { title: "GPO", className: "gpo", text: (row) => gpoLabel(rows[row].gpo) },
      { title: "Link", className: "link", text: (row) => gpoLink(rows[row].gpo) },
      { title: "Policy", className: "name", text: (row) => (rows[row].policy === null ? "" : policies.name[rows[row].policy]) },
    ],
  });
}

function gpoTable(onOpen) {
  const rows = report.gpos;
  const count = (title, className, of) => ({ title, className: `count number ${className}`, number: of, text: (row) => (of(row) ? format(of(row)) : "") });
  return new Table({
    name: "gpos",
    caption: "GPOs, in the engine's order",
    empty: "No GPO was in the lists.",
    count: rows.length,
    onOpen,
    also: (row) => orEmpty(rows[row].folder),
    columns: [
      { title: "#", className: "place number", text: (row) => orEmpty(rows[row].order), number: (row) => rows[row].order ?? 1e9 },
      { title: "For", className: "scope", text: (row) => scopeOf(rows[row].pass) },
      { title: "GPO", className: "gpo", text: gpoLabel },
      { title: "Name", className: "guid", text: (row) => rows[row].name },
      { title: "Link", className: "link", text: gpoLink },
      { title: "Kind", className: "kind", text: (row) => orEmpty(rows[row].linkKind) },
      { title: "Written, UTC", className: "written", text: writtenText },
      count("Policies", "", (row) => rows[row].taken),
      count("Excluded", "", (row) => rows[row].excluded.length),
      count("Let through", "warn", (row) => rows[row].letThrough.length),
      count("Errors", "bad", (row) => countOf(rows[row], "error")),
      { title: "Note", className: "notes", text: (row) => gpoNote(rows[row]) },
    ],
  });
}

function targetedTable(onOpen) {
  const rows = targetedRows;
  return new Table({
    name: "targeted",
    caption: "What targeting excluded or could not judge",
    empty: "Targeting excluded nothing, and could judge everything.",
    count: rows.length,
    onOpen,
    columns: [
      { title: "Verdict", className: "verdict", badge: true, text: (row) => rows[row].verdict },
      { title: "For", className: "scope", text: (row) => scopeOf(rows[row].pass) },
      { title: "Policy", className: "name", text: (row) => rows[row].name ?? "(the whole GPO)" },
      { title: "GPO", className: "gpo", text: (row) => gpoLabel(rows[row].gpo) },
      { title: "Link", className: "link", text: (row) => gpoLink(rows[row].gpo) },
      { title: "Why", className: "reason", text: (row) => rows[row].reason },
    ],
  });
}

function messageTable(onOpen) {
  const rows = messageRows;
  return new Table({
    name: "messages",
    caption: "Errors, warnings and notes",
    empty: "No errors, no warnings.",
    count: rows.length,
    onOpen,
    columns: [
      { title: "Kind", className: "verdict", badge: true, text: (row) => rows[row].severity },
      { title: "For", className: "scope", text: (row) => scopeOf(rows[row].pass) },
      { title: "GPO", className: "gpo", text: (row) => (rows[row].gpo === null ? "" : gpoLabel(rows[row].gpo)) },
      { title: "File", className: "file", text: (row) => orEmpty(rows[row].file) },
      { title: "Line", className: "place number", text: (row) => placeText(rows[row]), number: (row) => rows[row].line ?? 0 },
      { title: "Reason", className: "reason", text: (row) => rows[row].reason },
    ],
  });
}

// ---- the timeline -------------------------------------------------------------------------------------

const shownLines = 40; // of one entry

// "260:.../gp_xml.cpp(67): INFO: Flags = 0", perhaps with date and time before it.
function splitLine(text) {
  const parts = /^(?:[\d-]+ )?(?:[\d:.]+ )?\d+:(\S*\(\d+\)): ?(?:(?:ERROR|WARNING|INFO): )?(.*)$/s.exec(text);
  return parts ? { source: parts[1].replace(/^.*\//, ""), message: parts[2].trim() } : { source: "", message: text };
}

function timelineLine(line) {
  const item = element("li", line.severity);
  const { source, message } = splitLine(line.text);
  item.append(element("span", "step", line.step), element("span", "message", message), element("span", "source", source));
  return item;
}

const entryTitles = { call: "The call", configuration: "Configuration values", sending: "To the agent" };
const entryTitle = (entry) => entryTitles[entry.kind] || gpoLabel(entry.gpo);

function entryFacts(entry) {
  const facts = [];
  if (entry.kind === "gpo") {
    const gpo = report.gpos[entry.gpo];
    facts.push(gpo.deleted ? "deleted" : `${format(gpo.taken)} taken`);
    if (gpo.excluded.length) facts.push(`${format(gpo.excluded.length)} excluded`);
    if (gpo.letThrough.length) facts.push(`${format(gpo.letThrough.length)} let through`);
  }
  if (entry.logged) facts.push(`${format(entry.logged)} recorded`);
  if (entry.took !== null) facts.push(entry.took === 0 ? "took under 1 ms" : `took ${format(entry.took)} ms`);
  return facts.join(" · ");
}

function timelineEntry(entry, place) {
  const worst = ["error", "warning"].find((severity) => entry.lines.some((line) => line.severity === severity));
  const item = element("li", `entry ${entry.kind} ${worst || ""}`);
  const head = element("p", "head");
  head.append(element("span", "at", entry.at === null ? String(place + 1) : `${format(entry.at)} ms`),
    element("strong", "", entryTitle(entry)), element("span", "facts", entryFacts(entry)));
  item.append(head);
  if (entry.lines.length > 0) {
    const lines = element("ul", "lines");
    lines.append(...entry.lines.slice(0, shownLines).map(timelineLine));
    if (entry.lines.length > shownLines)
      lines.append(element("li", "more", `${format(entry.lines.length - shownLines)} more lines`));
    item.append(lines);
  }
  return item;
}

function passState(pass) {
  if (pass.code !== 0) return "bad";
  return pass.delivered || pass.call === "plan" ? "good" : "warn";
}

function timelineOf(pass, place) {
  const part = element("section", "pass");
  part.append(element("h3", "", `${scopeOf(place)}, ${pass.call}`));
  const list = element("ol", "timeline");
  list.append(...report.timeline[place].map(timelineEntry));
  const end = element("li", `entry end ${passState(pass)}`);
  const head = element("p", "head");
  head.append(element("span", "at", ""), element("strong", "", `Returned ${pass.code}`), element("span", "facts", pass.meaning));
  end.append(head);
  list.append(end);
  part.append(list);
  return part;
}

function timelineView() {
  const view = element("div", "scroller timelines");
  view.tabIndex = 0;
  view.setAttribute("role", "group");
  view.setAttribute("aria-label", "Timeline");
  view.append(...report.passes.map(timelineOf));
  return view;
}
