// SPDX-License-Identifier: Apache-2.0
//
// Two packets side by side, row by row: what is changed, added, removed. Enter at the class.
// Tested by test/page.test.mjs.
import { pluralize } from "./bytes.js";
import { states } from "./diff.js";
import { Document } from "./document.js";
import { VirtualList } from "./virtual_list.js";

const marks = new Map([
  [states.same, ["", ""]], [states.inside, ["", ""]], [states.changed, ["changed", "is-changed"]],
  [states.added, ["added", "is-added"]], [states.removed, ["removed", "is-removed"]]]);

export class CompareView {
  constructor({ element, state, onlyChanges, back, next }) {
    Object.assign(this, { element, state, onlyChanges });
    this.answer = null;
    this.shown = [];
    this.cursor = 0;
    this.list = new VirtualList(element, { rowHeight: 24, render: (index, row) => this.render(index, row) });
    onlyChanges.addEventListener("change", () => this.filter());
    back.addEventListener("click", () => this.jump(-1));
    next.addEventListener("click", () => this.jump(1));
    element.addEventListener("keydown", (event) => this.key(event));
  }

  // `answer` is that of the worker's task "diff".
  show(answer) {
    this.answer = answer;
    this.left = new Document(answer.left.json, answer.left.tree);
    this.right = new Document(answer.right.json, answer.right.tree);
    const { differences, isCut } = answer.rows;
    const text = differences === 0 ? "No differences: both documents are the same." : `${pluralize(differences, "difference")}.`;
    this.state.textContent = isCut ? `${text} Only the first rows are shown.` : text;
    this.state.classList.remove("bad");
    this.filter();
    this.jump(1, -1);
  }

  clear(message) {
    this.answer = null;
    this.shown = [];
    this.list.setCount(0);
    this.state.textContent = message;
  }

  filter() {
    if (!this.answer) return;
    const { state } = this.answer.rows;
    this.shown = [];
    for (let i = 0; i < state.length; i += 1) {
      if (!this.onlyChanges.checked || state[i] !== states.same) this.shown.push(i);
    }
    this.element.setAttribute("aria-rowcount", this.shown.length);
    this.cursor = 0;
    this.list.setCount(this.shown.length);
  }

  render(index, element) {
    const { left, right, state, level } = this.answer.rows;
    const i = this.shown[index];
    const [mark, name] = marks.get(state[i]);
    element.id = `diff-${index}`;
    element.setAttribute("role", "row");
    element.setAttribute("aria-rowindex", index + 1);
    if (name) element.classList.add(name);
    element.classList.toggle("current", index === this.cursor);
    const title = cell("rowheader", left[i] >= 0 ? nameOf(this.left, left[i]) : nameOf(this.right, right[i]));
    title.style.paddingInlineStart = `${Math.min(level[i], 20) * 12}px`;
    element.append(cell("gridcell", mark), title, valueCell(this.left, left[i]), valueCell(this.right, right[i]));
  }

  move(index) {
    if (this.shown.length === 0) return;
    this.cursor = Math.max(0, Math.min(index, this.shown.length - 1));
    this.list.show(this.cursor);
    this.element.setAttribute("aria-activedescendant", `diff-${this.cursor}`);
  }

  // To the next row that is itself a difference.
  jump(step, from = this.cursor) {
    const { state } = this.answer?.rows ?? {};
    for (let at = from + step; at >= 0 && at < this.shown.length; at += step) {
      if (marks.get(state[this.shown[at]])[0] !== "") return this.move(at);
    }
  }

  key(event) {
    const page = this.list.rowsInSight;
    const targets = {
      ArrowDown: this.cursor + 1, ArrowUp: this.cursor - 1, PageDown: this.cursor + page, PageUp: this.cursor - page,
      Home: 0, End: this.shown.length - 1,
    };
    if (!(event.key in targets) || event.ctrlKey || event.altKey || event.metaKey) return;
    event.preventDefault();
    this.move(targets[event.key]);
  }
}

function nameOf(doc, node) {
  const key = doc.key(node);
  if (key !== null) return key;
  return doc.tree.parent[node] < 0 ? "document" : `[${doc.tree.index[node]}]`;
}

function cell(role, text) {
  const element = document.createElement("span");
  element.setAttribute("role", role);
  element.textContent = text;
  element.title = text;
  return element;
}

function valueCell(doc, node) {
  if (node < 0) return cell("gridcell", "");
  const { kind, text } = doc.preview(node);
  const element = cell("gridcell", text);
  element.classList.add(kind);
  return element;
}
