// SPDX-License-Identifier: Apache-2.0
//
// The bytes of a packet in rows of 16, or 8 in a narrow window: a cursor, a marked range, a refused byte.
// Enter at the class. Tested by test/page.test.mjs.
import { hexByte } from "./bytes.js";
import { VirtualList } from "./virtual_list.js";

const widthOf16 = 600;  // pixels

export class HexView extends EventTarget {
  // Dispatches "select" with { offset }.
  constructor(element) {
    super();
    this.element = element;
    this.bytes = new Uint8Array();
    this.perRow = 16;
    this.clear();
    this.list = new VirtualList(element, { rowHeight: 22, role: "presentation", render: (i, row) => this.render(i, row) });
    element.addEventListener("keydown", (event) => this.key(event));
    element.addEventListener("click", (event) => this.click(event));
    new ResizeObserver(() => this.fit()).observe(element);
  }

  clear() {
    this.cursor = 0;
    this.start = 0;
    this.end = 0;
    this.error = -1;
  }

  show(bytes, error = -1) {
    this.bytes = bytes;
    this.clear();
    this.error = error;
    this.fit();
    this.refresh();
    this.element.scrollTop = 0;
    if (error >= 0) this.mark(error, error + 1, error);
  }

  fit() {
    const perRow = this.element.clientWidth >= widthOf16 ? 16 : 8;
    if (perRow === this.perRow) return;
    this.perRow = perRow;
    this.refresh();
  }

  refresh() {
    const count = Math.ceil(this.bytes.length / this.perRow);
    this.element.setAttribute("aria-rowcount", count);
    this.element.setAttribute("aria-colcount", this.perRow + 1);
    this.list.setCount(count);
  }

  // Marks a range and puts the cursor.
  mark(start, end, cursor = start) {
    this.start = start;
    this.end = end;
    this.cursor = Math.max(0, Math.min(cursor, this.bytes.length - 1));
    this.list.show(Math.floor(this.cursor / this.perRow));
    this.element.setAttribute("aria-activedescendant", `byte-${this.cursor}`);
  }

  render(index, element) {
    const first = index * this.perRow;
    element.setAttribute("role", "row");
    element.setAttribute("aria-rowindex", index + 1);
    const offset = cell("rowheader", "offset", first.toString(16).padStart(8, "0"));
    const text = document.createElement("span");
    text.className = "ascii";
    text.setAttribute("aria-hidden", "true");
    element.append(offset);
    for (let at = first; at < first + this.perRow; at += 1) {
      const isByte = at < this.bytes.length;
      const byte = cell("gridcell", this.classOf(at), isByte ? hexByte(this.bytes[at]) : "");
      if (isByte || at === this.error) {
        byte.id = `byte-${at}`;
        byte.dataset.offset = at;
      }
      element.append(byte);
      if (isByte) text.append(character(this.bytes[at], this.classOf(at), at));
    }
    element.append(text);
  }

  classOf(at) {
    const names = ["byte"];
    if (at >= this.start && at < this.end) names.push("marked");
    if (at === this.cursor) names.push("cursor");
    if (at === this.error) names.push("refused");
    return names.join(" ");
  }

  move(offset) {
    const at = Math.max(0, Math.min(offset, this.bytes.length - 1));
    this.mark(at, at + 1);
    this.dispatchEvent(new CustomEvent("select", { detail: { offset: at } }));
  }

  click(event) {
    const target = event.target.closest("[data-offset]");
    if (target) this.move(Number(target.dataset.offset));
  }

  key(event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const steps = {
      ArrowRight: 1,
      ArrowLeft: -1,
      ArrowDown: this.perRow,
      ArrowUp: -this.perRow,
      PageDown: this.perRow * this.list.rowsInSight,
      PageUp: -this.perRow * this.list.rowsInSight,
      Home: -this.bytes.length,
      End: this.bytes.length,
    };
    if (!(event.key in steps)) return;
    event.preventDefault();
    this.move(this.cursor + steps[event.key]);
  }
}

function cell(role, name, text) {
  const element = document.createElement("span");
  element.setAttribute("role", role);
  element.className = name;
  element.textContent = text;
  return element;
}

function character(byte, name, offset) {
  const element = document.createElement("span");
  element.className = name.replace("byte", "char");
  element.dataset.offset = offset;
  element.textContent = byte >= 0x20 && byte < 0x7f ? String.fromCharCode(byte) : "·";
  return element;
}
