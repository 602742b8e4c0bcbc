// SPDX-License-Identifier: Apache-2.0
//
// A list of rows of one height; only the visible rows have elements. Enter at the class.
// Tested by test/page.test.mjs.

// Browsers cut elements above some 33 million pixels: longer lists scroll in a smaller scale.
const mostPixels = 16_000_000;

export class VirtualList {
  // `viewport` scrolls; render(index, element) fills an empty element with a row.
  constructor(viewport, { rowHeight, role, render }) {
    this.viewport = viewport;
    this.rowHeight = rowHeight;
    this.render = render;
    this.count = 0;
    this.canvas = document.createElement("div");
    this.canvas.className = "canvas";
    this.canvas.setAttribute("role", role ?? "presentation");
    viewport.append(this.canvas);
    viewport.addEventListener("scroll", () => this.paint(), { passive: true });
    new ResizeObserver(() => this.paint()).observe(viewport);
  }

  setCount(count) {
    this.count = count;
    this.canvas.style.height = `${Math.min(count * this.rowHeight, mostPixels)}px`;
    this.paint();
  }

  get rowsInSight() {
    return Math.max(1, Math.floor(this.viewport.clientHeight / this.rowHeight));
  }

  // Rows for each pixel that can be scrolled.
  get scale() {
    const range = this.canvas.offsetHeight - this.viewport.clientHeight;
    return range <= 0 ? 0 : Math.max(0, this.count - this.rowsInSight) / range;
  }

  get isScaled() {
    return this.count * this.rowHeight > mostPixels;
  }

  paint() {
    const top = this.viewport.scrollTop;
    const first = this.isScaled ? Math.floor(top * this.scale) : Math.floor(top / this.rowHeight);
    const last = Math.min(this.count, first + this.rowsInSight + 2);
    const shift = this.isScaled ? top : first * this.rowHeight;
    const rows = [];
    for (let index = first; index < last; index += 1) {
      const row = document.createElement("div");
      row.className = "row";
      row.style.top = `${shift + (index - first) * this.rowHeight}px`;
      this.render(index, row);
      rows.push(row);
    }
    this.canvas.replaceChildren(...rows);
  }

  // Scrolls as far as needed to have a row in sight.
  show(index) {
    const { viewport } = this;
    const first = this.isScaled ? Math.ceil(viewport.scrollTop * this.scale) : Math.ceil(viewport.scrollTop / this.rowHeight);
    if (index < first || index > first + this.rowsInSight - 1) {
      const target = Math.max(0, index - Math.floor(this.rowsInSight / 3));
      viewport.scrollTop = this.isScaled ? target / this.scale : target * this.rowHeight;
    }
    this.paint();
  }
}
