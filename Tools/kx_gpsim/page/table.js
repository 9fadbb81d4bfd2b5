// A list that stays fast with a hundred thousand rows: only the rows in sight are in the document, sorting
// works on numbers, and searching on text that was made lower-case once.

const rowHeight = 28; // pixels; report.css has the same
const windowedFrom = 400; // rows; shorter lists are in the document whole, and their cells wrap
const printedRows = 3000;
const collator = new Intl.Collator(undefined, { sensitivity: "base" });

// What would turn the direction of writing, or show nothing, is named instead.
const hiddenCharacters = /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]/g;
const visible = (text) => text.replace(hiddenCharacters, (character) =>
  `<U+${character.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0")}>`);

/** An element with text, never markup. */
function element(name, className, text) {
  const node = document.createElement(name);
  if (className) node.className = className;
  if (text !== undefined && text !== null) node.textContent = visible(String(text));
  return node;
}

/** What to look for: words, all of them; a phrase stands in quotation marks. */
function searchTerms(query) {
  return (query.toLowerCase().match(/"[^"]*"?|[^\s"]+/g) || [])
    .map((term) => term.replaceAll('"', ""))
    .filter((term) => term !== "");
}

// A path of the directory may be broken after its commas.
const breakable = (text) => text.replaceAll(",", ",\u200b");

/** Puts text into a cell, what was found in it marked. */
function fillMarked(cell, raw, terms) {
  const text = visible(raw);
  const lower = text.toLowerCase();
  let at = 0;
  while (terms.length > 0 && lower.length === text.length) {
    let next = null;
    for (const term of terms) {
      const start = lower.indexOf(term, at);
      if (start >= 0 && (!next || start < next.start)) next = { start, end: start + term.length };
    }
    if (!next) break;
    cell.append(text.slice(at, next.start), element("mark", "", text.slice(next.start, next.end)));
    at = next.end;
  }
  cell.append(text.slice(at));
}

/** For each row its place among the column's values, equal ones alike. */
function rankRows(column, count) {
  const ranks = new Uint32Array(count);
  if (column.number) {
    const values = Float64Array.from({ length: count }, (_, row) => column.number(row));
    const places = new Map([...Float64Array.from(new Set(values)).sort()].map((value, at) => [value, at]));
    return ranks.map((_, row) => places.get(values[row]));
  }
  const rowsOf = new Map();
  for (let row = 0; row < count; ++row) {
    const text = column.text(row);
    if (!rowsOf.has(text)) rowsOf.set(text, []);
    rowsOf.get(text).push(row);
  }
  const texts = [...rowsOf.keys()].sort((a, b) => (a === "") - (b === "") || collator.compare(a, b)); // empty last
  let rank = -1;
  texts.forEach((text, at) => {
    if (at === 0 || collator.compare(texts[at - 1], text) !== 0) ++rank;
    for (const row of rowsOf.get(text)) ranks[row] = rank;
  });
  return ranks;
}

class Table {
  /**
   * `columns`: title, text(row) as shown and searched; `number(row)` where it is sorted by that; `className`;
   * `badge` where the text is a word with a colour. `also(row)`: more to search in. `onOpen(row)`.
   */
  constructor({ name, caption, columns, count, also, onOpen, empty }) {
    Object.assign(this, { name, columns, count, also, onOpen, empty });
    this.ranks = new Map();
    this.index = null;
    this.terms = [];
    this.sort = null; // { column, descending }
    this.active = 0; // position in this.rows
    this.opened = null; // a row
    this.inOrder = Uint32Array.from({ length: count }, (_, row) => row);
    this.rows = this.inOrder;
    this.printing = false;
    this._build(caption);
  }

  // ---- what is shown ----------------------------------------------------------------------------------

  /** Shows the rows that have all terms; returns how many. */
  search(terms) {
    this.terms = terms;
    const kept = this.opened ?? null;
    this.rows = terms.length === 0 ? this.inOrder : this._found(terms);
    this.active = Math.max(0, kept === null ? 0 : this.rows.indexOf(kept));
    this._refresh();
    this.scroller.scrollTop = 0;
    return this.rows.length;
  }

  /** Sorts by a column: upwards, downwards, and back to the order as it came. */
  toggleSort(column) {
    if (!this.sort || this.sort.column !== column) this.sort = { column, descending: false };
    else if (!this.sort.descending) this.sort = { column, descending: true };
    else this.sort = null;
    this.inOrder = this._sorted();
    this.headers.forEach((header, at) => {
      const isSorted = this.sort && this.sort.column === at;
      header.setAttribute("aria-sort", !isSorted ? "none" : this.sort.descending ? "descending" : "ascending");
    });
    this.search(this.terms);
  }

  /** Makes ready what the first search needs. */
  prepare() {
    this.index ??= Array.from({ length: this.count }, (_, row) =>
      (this.columns.map((column) => column.text(row)).join("\n") + "\n" + (this.also ? this.also(row) : "")).toLowerCase());
  }

  _found(terms) {
    this.prepare();
    return this.inOrder.filter((row) => terms.every((term) => this.index[row].includes(term)));
  }

  _sorted() {
    if (!this.sort) return Uint32Array.from({ length: this.count }, (_, row) => row);
    const { column, descending } = this.sort;
    if (!this.ranks.has(column)) this.ranks.set(column, rankRows(this.columns[column], this.count));
    const ranks = this.ranks.get(column);
    // Rank and row in one number, so that equal rows keep their order and the engine's own sort does it.
    const sign = descending ? -1 : 1;
    const keys = Float64Array.from({ length: this.count }, (_, row) => sign * ranks[row] * this.count + row);
    return Uint32Array.from(keys.sort(), (key) => ((key % this.count) + this.count) % this.count);
  }

  // ---- the document -----------------------------------------------------------------------------------

  _build(caption) {
    this.scroller = element("div", "scroller");
    this.scroller.tabIndex = -1;
    const table = element("table", `list ${this.name}`);
    table.setAttribute("role", "grid");
    table.append(element("caption", "unseen", caption));
    const columns = element("colgroup");
    const head = element("thead");
    const titles = element("tr");
    this.headers = this.columns.map((column, at) => {
      columns.append(element("col", column.className));
      const header = element("th", column.className);
      header.scope = "col";
      header.setAttribute("aria-sort", "none");
      const button = element("button", "", column.title);
      button.type = "button";
      button.addEventListener("click", () => this.toggleSort(at));
      header.append(button);
      return header;
    });
    titles.append(...this.headers);
    titles.setAttribute("aria-rowindex", "1");
    head.append(titles);
    this.body = element("tbody");
    table.append(columns, head, this.body);
    this.table = table;
    this.note = element("p", "note");
    this.scroller.append(table, this.note);
    this.scroller.addEventListener("scroll", () => this._onScroll(), { passive: true });
    this.scroller.addEventListener("keydown", (event) => this._onKey(event));
    this.body.addEventListener("click", (event) => this._onClick(event));
    this.body.addEventListener("focusin", (event) => this._onFocus(event));
  }

  get _windowed() {
    return this.rows.length > windowedFrom && !this.printing;
  }

  _onScroll() {
    if (!this._windowed || this.waiting) return;
    this.waiting = requestAnimationFrame(() => {
      this.waiting = 0;
      this.render();
    });
  }

  _range() {
    if (this.printing) return [0, Math.min(this.rows.length, printedRows)];
    if (!this._windowed) return [0, this.rows.length];
    const spare = 12; // rows above and below, for quick hands
    const first = Math.max(0, Math.floor(this.scroller.scrollTop / rowHeight) - spare);
    const inSight = Math.ceil(this.scroller.clientHeight / rowHeight) || 40;
    return [first, Math.min(this.rows.length, first + inSight + 2 * spare)];
  }

  _refresh() {
    this.shown = null;
    this.render();
  }

  /** Brings the rows in sight into the document. */
  render() {
    const [first, last] = this._range();
    const windowed = this._windowed;
    if (this.shown && this.shown[0] === first && this.shown[1] === last) return;
    this.shown = [first, last];
    const hadFocus = this.body.contains(document.activeElement);
    const rows = [];
    if (windowed && first > 0) rows.push(this._gap(first));
    for (let at = first; at < last; ++at) rows.push(this._row(at));
    if (windowed && last < this.rows.length) rows.push(this._gap(this.rows.length - last));
    this.body.replaceChildren(...rows);
    this.table.classList.toggle("windowed", windowed);
    this.table.setAttribute("aria-rowcount", this.rows.length + 1);
    this._showNote(last);
    this._placeTabStop();
    if (hadFocus) (this._rowAt(this.active) || this.scroller).focus({ preventScroll: true });
  }

  _showNote(last) {
    const cut = this.printing && last < this.rows.length;
    const none = this.count === 0 ? this.empty : "Nothing in this list has what you search for.";
    this.note.textContent = this.rows.length === 0 ? none
      : cut ? `The first ${format(last)} of ${format(this.rows.length)} are printed. Search first to choose others.` : "";
  }

  _gap(rows) {
    const gap = element("tr", "gap");
    gap.setAttribute("aria-hidden", "true");
    gap.append(element("td"));
    gap.firstChild.style.height = `${rows * rowHeight}px`;
    return gap;
  }

  _row(at) {
    const row = this.rows[at];
    const line = element("tr");
    line.tabIndex = -1;
    line.dataset.at = at;
    line.setAttribute("aria-rowindex", at + 2);
    if (row === this.opened) line.setAttribute("aria-selected", "true");
    for (const column of this.columns) {
      const cell = element("td", column.className);
      const text = column.text(row);
      if (text !== "") {
        const target = column.badge ? element("span", `badge ${text.replaceAll(" ", "-")}`) : cell;
        if (column.className === "link") fillMarked(target, breakable(text), this.terms.map(breakable));
        else fillMarked(target, text, this.terms);
        if (target !== cell) cell.append(target);
        if (this._windowed && text.length > 12) cell.title = text;
      }
      line.append(cell);
    }
    return line;
  }

  // ---- keyboard and mouse -----------------------------------------------------------------------------

  _rowAt(at) {
    return this.body.querySelector(`tr[data-at="${at}"]`);
  }

  // One row is reached by Tab: the active one, or the first in sight.
  _placeTabStop() {
    this.body.querySelector('tr[tabindex="0"]')?.setAttribute("tabindex", "-1");
    const sight = this._windowed ? Math.ceil(this.scroller.scrollTop / rowHeight) : 0;
    (this._rowAt(this.active) || this._rowAt(sight) || this._rowAt(0))?.setAttribute("tabindex", "0");
  }

  moveTo(at) {
    if (this.rows.length === 0) return;
    this.active = Math.min(Math.max(at, 0), this.rows.length - 1);
    if (this._windowed) this._scrollTo(this.active);
    this.render();
    this._placeTabStop();
    const row = this._rowAt(this.active);
    row?.focus({ preventScroll: this._windowed });
    if (!this._windowed) row?.scrollIntoView({ block: "nearest" });
    if (this.opened !== null) this.open(this.rows[this.active]);
  }

  _scrollTo(at) {
    const head = this.table.tHead.offsetHeight;
    const top = at * rowHeight;
    const bottom = top + rowHeight + head - this.scroller.clientHeight;
    if (this.scroller.scrollTop > top) this.scroller.scrollTop = top;
    else if (this.scroller.scrollTop < bottom) this.scroller.scrollTop = bottom;
  }

  _onKey(event) {
    if (event.target.closest("thead") || event.ctrlKey || event.altKey || event.metaKey) return;
    const page = Math.max(1, Math.floor(this.scroller.clientHeight / rowHeight) - 2);
    const to = { ArrowDown: this.active + 1, ArrowUp: this.active - 1, PageDown: this.active + page,
      PageUp: this.active - page, Home: 0, End: this.rows.length - 1 }[event.key];
    if (to !== undefined) this.moveTo(to);
    else if (event.key === "Enter" && this.rows.length > 0) this.open(this.rows[this.active]);
    else return;
    event.preventDefault();
  }

  _onClick(event) {
    const line = event.target.closest("tr[data-at]");
    if (!line || getSelection().toString() !== "") return;
    this.active = Number(line.dataset.at);
    this._placeTabStop();
    line.focus({ preventScroll: true });
    this.open(this.rows[this.active]);
  }

  _onFocus(event) {
    const line = event.target.closest("tr[data-at]");
    if (line) this.active = Number(line.dataset.at);
  }

  // ---- the row whose details are shown ----------------------------------------------------------------

  open(row) {
    this.setOpened(row);
    this.onOpen?.(row, this);
  }

  setOpened(row) {
    this.body.querySelector('tr[aria-selected="true"]')?.removeAttribute("aria-selected");
    this.opened = row;
    const at = row === null ? -1 : this.rows.indexOf(row);
    if (at >= 0) this._rowAt(at)?.setAttribute("aria-selected", "true");
  }

  /** All rows for the printer, as far as paper is good for; and back. */
  print(on) {
    this.printing = on;
    this._refresh();
  }
}
