// SPDX-License-Identifier: Apache-2.0
//
// The packets that were opened, as a table: files, pastes, the entries of archives. Enter at the class.
// Tested by test/page.test.mjs.
import { pluralize } from "./bytes.js";

const pageSize = 200;

export class PacketList extends EventTarget {
  // Dispatches "open" with { index }.
  constructor({ section, rows, more }) {
    super();
    Object.assign(this, { section, rows, more });
    this.packets = [];
    this.current = -1;
    this.limit = pageSize;
    rows.addEventListener("click", (event) => {
      const button = event.target.closest("button");
      if (button) this.dispatchEvent(new CustomEvent("open", { detail: { index: Number(button.dataset.index) } }));
    });
    more.addEventListener("click", () => {
      this.limit += pageSize;
      this.paint();
    });
  }

  // Adds packets, each { name, bytes, source, notes, problem }; problem: what is wrong with it in its archive, or empty.
  // Returns the index of the first one.
  add(packets) {
    const first = this.packets.length;
    this.packets.push(...packets);
    this.paint();
    return first;
  }

  setCurrent(index) {
    this.current = index;
    this.paint();
  }

  paint() {
    this.section.hidden = this.packets.length < 2;
    this.more.hidden = this.packets.length <= this.limit;
    this.rows.replaceChildren(...this.packets.slice(0, this.limit).map((packet, index) => this.row(packet, index)));
  }

  row(packet, index) {
    const row = document.createElement("tr");
    if (index === this.current) row.setAttribute("aria-current", "true");
    const head = document.createElement("th");
    head.scope = "row";
    const button = document.createElement("button");
    button.type = "button";
    button.className = "link";
    button.dataset.index = index;
    button.textContent = packet.name;
    head.append(button);
    const { direction = "", time = "" } = packet.source;
    const state = cell(packet.problem || "whole");
    if (packet.problem) state.className = "lost";
    row.append(head, cell(direction), cell(time.replace("T", " ").slice(0, 23)), cell(pluralize(packet.bytes.length, "byte")), state);
    return row;
  }
}

function cell(text) {
  const element = document.createElement("td");
  element.textContent = text;
  return element;
}
