// SPDX-License-Identifier: Apache-2.0
//
// Looks for a text in the names and values of a document, a slice at a time, so that the page stays responsive.
// Enter at the class. Tested by test/tree_rows.test.mjs.
import { kinds } from "./json_scan.js";

const sliceLength = 1 << 20;

export class Search {
  constructor(doc, needle) {
    this.doc = doc;
    const escaped = JSON.stringify(needle).slice(1, -1).replace(/[.*+?^${}()|[\]\\]/g, "\\$&");
    this.pattern = new RegExp(escaped, "gi");
    this.isEmpty = needle === "";
    this.overlap = escaped.length * 3;
  }

  // The next node after `from`, or before it with `isBack`; the search wraps around. -1: there is none.
  // `pause` is awaited between two slices.
  async next(from, isBack, pause) {
    if (this.isEmpty) return -1;
    const { doc } = this;
    const { length } = doc.bytes;
    const here = doc.begin(from);
    const behind = from + 1 < doc.count ? doc.begin(from + 1) : length;
    const ranges = isBack ? [[0, here], [here, length]] : [[behind, length], [0, behind]];
    for (const [begin, end] of ranges) {
      const found = await (isBack ? this.last(begin, end, pause) : this.first(begin, end, pause));
      if (found >= 0) return found;
    }
    return -1;
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

  // Nodes of the matches that begin in a slice. Punctuation of the JSON is no match. Slices begin and end
  // between characters; offsets count bytes.
  * inSlice(begin, sliceEnd, end) {
    const from = this.characterStart(begin);
    const slice = this.doc.slice(from, this.characterStart(Math.min(end, sliceEnd + this.overlap)));
    const encoder = new TextEncoder();
    let at = from;
    let counted = 0;
    this.pattern.lastIndex = 0;
    for (let match = this.pattern.exec(slice); match; match = this.pattern.exec(slice)) {
      at += encoder.encode(slice.slice(counted, match.index)).length;
      counted = match.index;
      if (at >= sliceEnd) return;
      const node = this.doc.nodeAt(at);
      if (this.isInside(node, at, at + encoder.encode(match[0]).length)) yield node;
      this.pattern.lastIndex = match.index + 1;
    }
  }

  // The offset of the first character that begins at or after `offset`.
  characterStart(offset) {
    let at = offset;
    while (at < this.doc.bytes.length && (this.doc.bytes[at] & 0xc0) === 0x80) at += 1;
    return at;
  }

  isInside(node, begin, end) {
    const { tree } = this.doc;
    if (tree.key[node] >= 0 && begin > tree.key[node] && end < this.doc.keyEnd(node)) return true;
    return tree.kind[node] > kinds.array && begin >= tree.start[node] && end <= tree.end[node];
  }
}
