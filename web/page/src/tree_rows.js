// SPDX-License-Identifier: Apache-2.0
//
// Which rows of a document are in the list: nodes whose ancestors are open. Long lists are opened in pages.
// Enter at the class; it knows of no element of the page. Tested by test/tree_rows.test.mjs.

// More children than `pageSize` come in pages of 100, 10,000, ... children, at most 100 pages a level.
const pageSize = 100;

// A row: { node, level, page, position, siblings }. `page` is null, or { first, count } for a run of the children of
// `node`. `position` counts from 1 among the `siblings` rows of the same parent.
export class TreeRows {
  constructor(doc) {
    this.doc = doc;
    this.open = new Set();
    this.rows = [{ node: 0, level: 1, page: null, position: 1, siblings: 1 }];
    if (doc.count > 0) this.expand(0);
  }

  get count() {
    return this.rows.length;
  }

  keyOf(row) {
    return row.page ? `${row.node}:${row.page.first}:${row.page.count}` : row.node;
  }

  canExpand(row) {
    return row.page !== null || !this.doc.isLeaf(this.doc.shown(row.node));
  }

  isOpen(row) {
    return this.open.has(this.keyOf(row));
  }

  // The rows directly below one.
  below(row) {
    const list = this.doc.children(this.doc.shown(row.node));
    const { first, count } = row.page ?? { first: 0, count: list.length };
    const level = row.level + 1;
    const end = first + count;
    let step = count <= pageSize ? 1 : pageSize;
    while (count > step * pageSize) step *= pageSize;
    const siblings = Math.ceil(count / step);
    const below = [];
    for (let i = first; i < end; i += step) {
      const position = below.length + 1;
      const page = step === 1 ? null : { first: i, count: Math.min(step, end - i) };
      below.push({ node: page ? row.node : list[i], level, page, position, siblings });
    }
    return below;
  }

  expand(index) {
    const row = this.rows[index];
    if (!this.canExpand(row) || this.isOpen(row)) return;
    this.open.add(this.keyOf(row));
    const added = [];
    this.collect(row, added);
    this.rows = [...this.rows.slice(0, index + 1), ...added, ...this.rows.slice(index + 1)];
  }

  // Adds the rows below a row, and the rows below those that are open.
  collect(row, added) {
    const waiting = this.below(row).reverse();
    while (waiting.length > 0) {
      const next = waiting.pop();
      added.push(next);
      if (this.isOpen(next) && this.canExpand(next)) waiting.push(...this.below(next).reverse());
    }
  }

  collapse(index) {
    const row = this.rows[index];
    if (!this.open.delete(this.keyOf(row))) return;
    let end = index + 1;
    while (end < this.rows.length && this.rows[end].level > row.level) end += 1;
    this.rows = [...this.rows.slice(0, index + 1), ...this.rows.slice(end)];
  }

  // Opens level by level until there are no more, or `most` rows.
  expandAll(most) {
    for (let changed = true; changed && this.rows.length < most;) {
      changed = false;
      const all = [];
      for (const row of this.rows) {
        all.push(row);
        if (all.length >= most || !this.canExpand(row) || this.isOpen(row)) continue;
        this.open.add(this.keyOf(row));
        this.collect(row, all);
        changed = true;
      }
      this.rows = all;
    }
  }

  collapseAll() {
    this.open.clear();
    this.rows = [this.rows[0]];
    this.expand(0);
  }

  // Opens the ancestors of a node. Returns the index of its row, or of the row of the value that it is a part of.
  reveal(node) {
    const { doc } = this;
    const chain = [];
    for (let at = node; at >= 0; at = doc.tree.parent[at]) chain.push(at);
    let index = 0;
    for (const next of chain.reverse().slice(1)) {
      const row = this.rows[index];
      if (doc.shown(row.node) === next) continue;
      if (!this.canExpand(row)) break;
      index = this.findBelow(index, next);
    }
    return index;
  }

  findBelow(index, node) {
    this.expand(index);
    const { level } = this.rows[index];
    const position = this.doc.tree.index[node];
    for (let at = index + 1; at < this.rows.length && this.rows[at].level > level; at += 1) {
      const row = this.rows[at];
      if (row.level !== level + 1) continue;
      if (!row.page && row.node === node) return at;
      if (row.page && position >= row.page.first && position < row.page.first + row.page.count) {
        return this.findBelow(at, node);
      }
    }
    return index;
  }

  parentOf(index) {
    const { level } = this.rows[index];
    let at = index;
    while (at > 0 && this.rows[at].level >= level) at -= 1;
    return at;
  }
}
