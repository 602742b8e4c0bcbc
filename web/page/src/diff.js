// SPDX-License-Identifier: Apache-2.0
//
// Two documents side by side: which values are the same, changed, added or removed. Both texts have to be compact, so
// that equal values have equal texts. Enter at diffDocuments(). Tested by test/diff.test.mjs.
import { kinds } from "./json_scan.js";

export const states = { same: 0, changed: 1, added: 2, removed: 3, inside: 4 };  // inside: a difference is below

const mostPairs = 250_000;  // of elements that are compared to align two lists

class Differ {
  constructor(left, right, mostRows) {
    this.left = left;
    this.right = right;
    this.mostRows = mostRows;
    this.rows = { left: [], right: [], state: [], level: [] };
    this.differences = 0;
  }

  row(left, right, state, level) {
    if (state !== states.same && state !== states.inside) this.differences += 1;
    if (this.rows.state.length >= this.mostRows) return;
    this.rows.left.push(left);
    this.rows.right.push(right);
    this.rows.state.push(state);
    this.rows.level.push(level);
  }

  isSame(left, right) {
    const a = this.left;
    const b = this.right;
    const length = a.tree.end[left] - a.tree.start[left];
    return length === b.tree.end[right] - b.tree.start[right] && a.source(left) === b.source(right);
  }

  compare(left, right, level) {
    if (this.isSame(left, right)) return this.row(left, right, states.same, level);
    const a = this.left.shown(left);
    const b = this.right.shown(right);
    const kind = this.left.tree.kind[a];
    const isOpen = kind <= kinds.array && kind === this.right.tree.kind[b] && (a === left) === (b === right) &&
      this.left.kindKey(a) === this.right.kindKey(b) && !this.left.isLeaf(a) && !this.right.isLeaf(b);
    if (!isOpen) return this.row(left, right, states.changed, level);
    this.row(left, right, states.inside, level);
    if (kind === kinds.object) this.compareMembers(a, b, level + 1);
    else this.compareElements(this.left.children(a), this.right.children(b), level + 1);
  }

  compareMembers(left, right, level) {
    const others = new Map();
    for (const child of this.right.children(right)) others.set(this.right.key(child), child);
    for (const child of this.left.children(left)) {
      const key = this.left.key(child);
      const other = others.get(key);
      if (other === undefined) this.row(child, -1, states.removed, level);
      else this.compare(child, other, level);
      others.delete(key);
    }
    for (const other of others.values()) this.row(-1, other, states.added, level);
  }

  // Equal elements at both ends and in between share a row. The elements between those are paired in order.
  compareElements(left, right, level) {
    let begin = 0;
    let leftEnd = left.length;
    let rightEnd = right.length;
    const shorter = Math.min(leftEnd, rightEnd);
    while (begin < shorter && this.isSame(left[begin], right[begin])) begin += 1;
    while (leftEnd > begin && rightEnd > begin && this.isSame(left[leftEnd - 1], right[rightEnd - 1])) {
      leftEnd -= 1;
      rightEnd -= 1;
    }
    for (let i = 0; i < begin; i += 1) this.row(left[i], right[i], states.same, level);
    let a = begin;
    let b = begin;
    for (const [i, j] of this.align(left.subarray(begin, leftEnd), right.subarray(begin, rightEnd))) {
      this.comparePairs(left.subarray(a, begin + i), right.subarray(b, begin + j), level);
      this.row(left[begin + i], right[begin + j], states.same, level);
      a = begin + i + 1;
      b = begin + j + 1;
    }
    this.comparePairs(left.subarray(a, leftEnd), right.subarray(b, rightEnd), level);
    for (let i = 0; leftEnd + i < left.length; i += 1) this.row(left[leftEnd + i], right[rightEnd + i], states.same, level);
  }

  comparePairs(left, right, level) {
    const both = Math.min(left.length, right.length);
    for (let i = 0; i < both; i += 1) this.compare(left[i], right[i], level);
    for (const node of left.subarray(both)) this.row(node, -1, states.removed, level);
    for (const node of right.subarray(both)) this.row(-1, node, states.added, level);
  }

  // Pairs of indexes of equal elements, as many as possible in order; none if the lists are too long.
  align(left, right) {
    if (left.length * right.length === 0 || left.length * right.length > mostPairs) return [];
    const numbers = new Map();
    const number = (text) => numbers.get(text) ?? (numbers.set(text, numbers.size), numbers.size - 1);
    const a = Array.from(left, (node) => number(this.left.source(node)));
    const b = Array.from(right, (node) => number(this.right.source(node)));
    const width = b.length + 1;
    const longest = new Uint16Array((a.length + 1) * width);
    for (let i = a.length - 1; i >= 0; i -= 1) {
      for (let j = b.length - 1; j >= 0; j -= 1) {
        longest[i * width + j] = a[i] === b[j]
          ? longest[(i + 1) * width + j + 1] + 1
          : Math.max(longest[(i + 1) * width + j], longest[i * width + j + 1]);
      }
    }
    const pairs = [];
    for (let i = 0, j = 0; i < a.length && j < b.length;) {
      if (a[i] === b[j]) pairs.push([i++, j++]);
      else if (longest[(i + 1) * width + j] >= longest[i * width + j + 1]) i += 1;
      else j += 1;
    }
    return pairs;
  }
}

// Returns rows as flat arrays (left and right: nodes or -1), at most `mostRows`, and the number of all differences.
export function diffDocuments(left, right, mostRows = 200_000) {
  const differ = new Differ(left, right, mostRows);
  differ.compare(0, 0, 0);
  return {
    left: Int32Array.from(differ.rows.left),
    right: Int32Array.from(differ.rows.right),
    state: Uint8Array.from(differ.rows.state),
    level: Uint16Array.from(differ.rows.level),
    differences: differ.differences,
    isCut: differ.rows.state.length === mostRows,
  };
}
