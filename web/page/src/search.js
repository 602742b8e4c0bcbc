// SPDX-License-Identifier: Apache-2.0
//
// Looks for a text in the names and values of a document, a slice at a time, so that the page never stands still.
// Enter at the class. Tested by test/search.test.mjs.
import { kinds } from "./json_scan.js";

const sliceLength = 1 << 20;

export class Search {
  constructor(doc, needle) {
    this.doc = doc;
    const escaped = JSON.stringify(needle).slice(1, -1).replace(/[.*+?^${}()|[\]\\]/g, "\\$&");
    this.pattern = new RegExp(escaped, "gi");
    this.isEmpty = needle === "";
    this.overlap = escaped.length * 2;
  }

  // The next node behind (or with `isBack` in front of) `from`, around the end; -1: there is none.
  // `pause` is awaited between two slices.
  async next(from, isBack, pause) {
    if (this.isEmpty) return -1;
    const { text, tree } = this.doc;
    const here = tree.key[from] < 0 ? tree.start[from] : tree.key[from];
    const behind = from + 1 < tree.count ? this.begin(from + 1) : text.length;
    const ranges = isBack ? [[0, here], [here, text.length]] : [[behind, text.length], [0, behind]];
    for (const [begin, end] of ranges) {
      const found = await (isBack ? this.last(begin, end, pause) : this.first(begin, end, pause));
      if (found >= 0) return found;
    }
    return -1;
  }

  begin(node) {
    return this.doc.tree.key[node] < 0 ? this.doc.tree.start[node] : this.doc.tree.key[node];
  }

  async first(begin, end, pause) {
    for (let at = begin; at < end; at += sliceLength) {
      for (const node of this.inSlice(at, Math.min(end, at + sliceLength), end)) return node;
      await pause();
    }
    return -1;
  }

  async last(begin, end, pause) {
    for (let at = end; at > begin; at -= sliceLength) {
      let found = -1;
      const from = Math.max(begin, at - sliceLength);
      for (const node of this.inSlice(from, at, end)) found = node;
      if (found >= 0) return found;
      await pause();
    }
    return -1;
  }

  // Nodes of the matches that begin in a slice. Punctuation of the JSON is no match.
  * inSlice(begin, sliceEnd, end) {
    const slice = this.doc.text.slice(begin, Math.min(end, sliceEnd + this.overlap));
    this.pattern.lastIndex = 0;
    for (let match = this.pattern.exec(slice); match; match = this.pattern.exec(slice)) {
      const at = begin + match.index;
      if (at >= sliceEnd) return;
      const node = this.doc.nodeAt(at);
      if (this.isInside(node, at, at + match[0].length)) yield node;
      this.pattern.lastIndex = match.index + 1;
    }
  }

  isInside(node, begin, end) {
    const { tree, doc } = { tree: this.doc.tree, doc: this.doc };
    if (tree.key[node] >= 0 && begin > tree.key[node]) {
      const keyEnd = doc.text.lastIndexOf('"', tree.start[node] - 1);
      if (end <= keyEnd) return true;
    }
    return tree.kind[node] > kinds.array && begin >= tree.start[node] && end <= tree.end[node];
  }
}
