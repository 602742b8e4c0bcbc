// SPDX-License-Identifier: Apache-2.0
//
// The tree of a document: rows on the screen, keys, selection. Text of packets is only set as textContent.
// Enter at the class. Tested by test/page.test.mjs.
import { TreeRows } from "./tree_rows.js";
import { VirtualList } from "./virtual_list.js";

const mostRows = 50_000;
const indentPixels = 16;

export class TreeView extends EventTarget {
  // Dispatches "select" with { node }.
  constructor(element) {
    super();
    this.element = element;
    this.rows = null;
    this.selected = 0;
    this.list = new VirtualList(element, { rowHeight: 24, render: (index, row) => this.render(index, row) });
    element.addEventListener("keydown", (event) => this.key(event));
    element.addEventListener("click", (event) => this.click(event));
  }

  show(doc, selectedNode = 0) {
    this.doc = doc;
    this.rows = new TreeRows(doc);
    this.element.scrollTop = 0;
    this.openSections();
    this.refresh();
    this.selectNode(selectedNode, false);
  }

  // The first messages and their values are open from the start.
  openSections() {
    for (let depth = 0; depth < 4; depth += 1) {
      for (let index = Math.min(this.rows.count, 40) - 1; index >= 0; index -= 1) {
        if (this.rows.rows[index].level === depth + 1 && this.rows.count < 60) this.rows.expand(index);
      }
    }
  }

  refresh() {
    this.list.setCount(this.rows.count);
  }

  get node() {
    return this.rows.rows[this.selected].node;
  }

  render(index, element) {
    const row = this.rows.rows[index];
    element.id = `row-${index}`;
    element.dataset.index = index;
    element.setAttribute("role", "treeitem");
    element.setAttribute("aria-level", row.level);
    element.setAttribute("aria-posinset", row.position);
    element.setAttribute("aria-setsize", row.siblings);
    element.setAttribute("aria-selected", index === this.selected);
    element.style.paddingInlineStart = `${8 + Math.min(row.level - 1, 40) * indentPixels}px`;
    const canExpand = this.rows.canExpand(row);
    if (canExpand) element.setAttribute("aria-expanded", this.rows.isOpen(row));
    element.append(part("fold", canExpand ? (this.rows.isOpen(row) ? "▾" : "▸") : ""), ...this.parts(row));
  }

  parts(row) {
    if (row.page) return [part("page", `${row.page.first} to ${row.page.first + row.page.count - 1}`)];
    const { kind, text } = this.doc.preview(row.node);
    return [part("name", this.nameOf(row.node)), part(`value ${kind}`, text)];
  }

  nameOf(node) {
    const key = this.doc.key(node);
    if (key !== null) return key === "" ? '""' : key;
    return this.doc.tree.parent[node] < 0 ? "document" : `[${this.doc.tree.index[node]}]`;
  }

  select(index, notifies = true) {
    this.selected = Math.max(0, Math.min(index, this.rows.count - 1));
    this.list.show(this.selected);
    this.element.setAttribute("aria-activedescendant", `row-${this.selected}`);
    if (notifies) this.dispatchEvent(new CustomEvent("select", { detail: { node: this.node } }));
  }

  // With `notifies` the event "select" is dispatched.
  selectNode(node, notifies) {
    const index = this.rows.reveal(node);
    this.refresh();
    this.select(index, notifies);
  }

  toggle(index, wanted = !this.rows.isOpen(this.rows.rows[index])) {
    if (wanted) this.rows.expand(index);
    else this.rows.collapse(index);
    this.refresh();
  }

  expandAll() {
    this.rows.expandAll(mostRows);
    this.refresh();
  }

  collapseAll() {
    this.rows.collapseAll();
    this.refresh();
    this.select(0);
  }

  click(event) {
    const row = event.target.closest("[data-index]");
    if (!row) return;
    const index = Number(row.dataset.index);
    if (event.target.classList.contains("fold")) this.toggle(index);
    this.select(index);
  }

  key(event) {
    if (event.ctrlKey || event.altKey || event.metaKey || !this.rows) return;
    const row = this.rows.rows[this.selected];
    const isOpen = this.rows.isOpen(row);
    const page = this.list.rowsInSight;
    const moves = {
      ArrowDown: () => this.select(this.selected + 1),
      ArrowUp: () => this.select(this.selected - 1),
      PageDown: () => this.select(this.selected + page),
      PageUp: () => this.select(this.selected - page),
      Home: () => this.select(0),
      End: () => this.select(this.rows.count - 1),
      ArrowRight: () => (isOpen ? this.select(this.selected + 1) : this.toggleHere(true)),
      ArrowLeft: () => (isOpen ? this.toggleHere(false) : this.select(this.rows.parentOf(this.selected))),
      Enter: () => this.toggleHere(!isOpen),
      " ": () => this.toggleHere(!isOpen),
      "*": () => this.expandAll(),
    };
    if (!moves[event.key]) return;
    event.preventDefault();
    moves[event.key]();
  }

  toggleHere(wanted) {
    this.toggle(this.selected, wanted);
    this.select(this.selected);
  }
}

function part(name, text) {
  const element = document.createElement("span");
  element.className = name;
  element.textContent = text;
  return element;
}
