// What the pane beside the lists tells of one row.

function fact(list, title, value, className) {
  if (value === "" || value === null || value === undefined) return;
  list.append(element("dt", "", title), element("dd", className, value));
}

function addGpoFacts(list, place) {
  const gpo = report.gpos[place];
  if (!gpo) return;
  fact(list, "GPO", gpoLabel(place));
  fact(list, "Name", gpo.name, "code");
  fact(list, "Link", breakable(gpoLink(place)));
  fact(list, "Kind", gpo.linkKind);
  fact(list, "Enforced", gpo.forced ? "yes" : "");
  fact(list, "Written", gpo.written ? `${gpo.written.replace("T", " ").replace("Z", "")} UTC` : "");
  fact(list, "Folder", gpo.folder, "code");
}

/** A list of policies, each a button that shows it. */
function policyLinks(title, places, show) {
  const part = element("section");
  part.append(element("h3", "", title));
  const list = element("ol", "links");
  for (const place of places.slice(0, 200)) {
    const item = element("li");
    const button = element("button", "", policies.name[place] || "(without a name)");
    button.type = "button";
    button.addEventListener("click", () => show(place));
    item.append(button, element("span", "facts", [standingText(place), policies.order[place], scopeOf(policies.pass[place]),
      gpoLabel(policies.gpo[place])].filter((each) => each !== "").join(" · ")));
    list.append(item);
  }
  if (places.length > 200) list.append(element("li", "facts", `${format(places.length - 200)} more`));
  part.append(list);
  return part;
}

function valueList(values) {
  const part = element("section");
  part.append(element("h3", "", "Configuration"));
  const list = element("ul", "links");
  for (const value of values) {
    const item = element("li");
    item.append(element("span", "code", value.path), element("span", "facts", `${value.standing} · ${value.value}`));
    list.append(item);
  }
  part.append(list);
  return part;
}

/** The XML with its tags, names and values set apart. */
function xmlBlock(xml) {
  const part = element("section");
  part.append(element("h3", "", "XML"));
  const block = element("pre");
  block.tabIndex = 0;
  for (const [piece] of visible(xml.replaceAll("\r", "")).replaceAll("\t", "  ").matchAll(/<[^>]*>|[^<]+/g)) {
    if (!piece.startsWith("<")) {
      block.append(piece);
      continue;
    }
    for (const [token] of piece.matchAll(/"[^"]*"|[^"]+/g))
      block.append(element("span", token.startsWith('"') ? "string" : "tag", token));
  }
  part.append(block);
  return part;
}

function policyDetails(row, show) {
  const nodes = [];
  const facts = element("dl");
  fact(facts, "For", scopeOf(policies.pass[row]));
  fact(facts, "Order", String(policies.order[row]));
  fact(facts, "Action", policies.action[row]);
  fact(facts, "Id", policies.id[row], "code");
  fact(facts, "Groups", groupsOf(row).join(", "));
  fact(facts, "In RSoP", policies.recorded[row] ? "an instance of its own" : "no instance of its own");
  addGpoFacts(facts, policies.gpo[row]);
  nodes.push(facts);
  if (repeatedOf.has(row)) {
    const group = report.repeatedIds[repeatedOf.get(row)];
    nodes.push(policyLinks(group.tied ? "With this id, the first two of one order" : "With this id, the winner by order first",
      [group.first, ...group.later], show));
  }
  if (valuesOf(row).length > 0) nodes.push(valueList(valuesOf(row)));
  const xml = policyXml(row);
  if (xml) nodes.push(xmlBlock(xml));
  return { title: policies.name[row] || "(without a name)", nodes };
}

function settingDetails(row, show) {
  const setting = settingRows[row];
  const facts = element("dl");
  fact(facts, "For", scopeOf(setting.pass));
  fact(facts, "Standing", setting.standing);
  fact(facts, "Value", setting.value, "code");
  fact(facts, "Precedence", String(setting.precedence));
  addGpoFacts(facts, setting.gpo);
  const same = settingRows.filter((each) => each.path === setting.path && each.pass === setting.pass && each.policy !== null);
  const nodes = [facts];
  if (same.length > 0) nodes.push(policyLinks("Policies that set this path, the winner first", same.map((each) => each.policy), show));
  return { title: setting.path, nodes };
}

function gpoDetails(row, show) {
  const gpo = report.gpos[row];
  const facts = element("dl");
  fact(facts, "For", scopeOf(gpo.pass));
  fact(facts, "Note", gpoNote(gpo));
  fact(facts, "Directory", gpo.gpoId, "code");
  addGpoFacts(facts, row);
  const nodes = [facts];
  const own = [];
  for (let policy = 0; policy < policyCount; ++policy) if (policies.gpo[policy] === row) own.push(policy);
  if (own.length > 0) nodes.push(policyLinks("Its policies, in the agent's order", own, show));
  for (const [title, list] of [["Excluded", gpo.excluded], ["Let through", gpo.letThrough], ["Errors and warnings", gpo.complaints]]) {
    if (list.length === 0) continue;
    const part = element("section");
    const items = element("ul", "links");
    part.append(element("h3", "", title), items);
    for (const each of list.slice(0, 200)) {
      const item = element("li");
      const name = each.severity ? [each.file, placeText(each)].filter((text) => text).join(":") : each.name ?? "(the whole GPO)";
      item.append(element("span", "", name), element("span", "facts", each.reason));
      items.append(item);
    }
    nodes.push(part);
  }
  return { title: gpoLabel(row), nodes };
}

function reasonDetails(row) {
  const facts = element("dl");
  fact(facts, "For", scopeOf(row.pass));
  fact(facts, "What", row.verdict || row.severity);
  fact(facts, "Why", row.reason, "code");
  fact(facts, "File", orEmpty(row.file));
  fact(facts, "Line", placeText(row));
  if (row.gpo !== null) addGpoFacts(facts, row.gpo);
  return { title: row.verdict ? row.name ?? "(the whole GPO)" : row.severity, nodes: [facts] };
}

/** The pane itself. */
class Details {
  constructor(pane, onClose) {
    this.pane = pane;
    this.onClose = onClose;
  }

  get isOpen() {
    return !this.pane.hidden;
  }

  show({ title, nodes }) {
    const head = element("div", "head");
    const close = element("button", "close", "Close");
    close.type = "button";
    close.addEventListener("click", () => this.close());
    head.append(element("h2", "", title), close);
    this.pane.replaceChildren(head, ...nodes);
    this.pane.hidden = false;
    this.pane.scrollTop = 0;
    document.body.classList.add("with-details");
  }

  close() {
    if (!this.isOpen) return;
    this.pane.hidden = true;
    document.body.classList.remove("with-details");
    this.onClose();
  }
}
