// SPDX-License-Identifier: Apache-2.0
//
// A JSON text (its UTF-8 bytes) as flat arrays: one entry a value, in the order of the text. A million values take
// 30 MB and no objects, and go from worker to page without a copy.
// Enter at scanJson(). Tested by test/document.test.mjs.
//
//     {"a":[1,2]}    node  0 object   1 array "a"   2 number   3 number
//                    size  4          3             1          1          (with all nodes below)

export const kinds = { object: 0, array: 1, string: 2, number: 3, true: 4, false: 5, null: 6 };

const quote = 34;
const comma = 44;
const colon = 58;
const openBracket = 91;
const backslash = 92;
const closeBracket = 93;
const openBrace = 123;
const closeBrace = 125;

export const arrays = {
  kind: Uint8Array,
  depth: Uint16Array,
  parent: Int32Array,    // -1 for the document
  size: Int32Array,      // nodes of the subtree, with this one
  children: Int32Array,  // direct ones
  index: Int32Array,     // among the children of the parent
  key: Int32Array,       // offset of the quote in front of the name; -1 where there is none
  start: Int32Array,     // offsets of the value in the bytes
  end: Int32Array,
};

function grow(tree, capacity) {
  for (const [name, Type] of Object.entries(arrays)) {
    const larger = new Type(capacity);
    if (tree[name]) larger.set(tree[name].subarray(0, Math.min(capacity, tree[name].length)));
    tree[name] = larger;
  }
}

// The offset after the string whose opening quote is at `at`.
function skipString(bytes, at) {
  for (let end = bytes.indexOf(quote, at + 1); end >= 0; end = bytes.indexOf(quote, end + 1)) {
    let slashes = 0;
    while (bytes[end - 1 - slashes] === backslash) slashes += 1;
    if (slashes % 2 === 0) return end + 1;
  }
  throw new SyntaxError("unterminated string");
}

function skipScalar(bytes, at) {
  let end = at + 1;
  for (; end < bytes.length; end += 1) {
    const c = bytes[end];
    if (c === comma || c === closeBrace || c === closeBracket || c <= 32) break;
  }
  return end;
}

const scalarKinds = new Map([[quote, kinds.string], [116, kinds.true], [102, kinds.false], [110, kinds.null]]);

// `bytes` have to be JSON: what importJson takes, or what exportJson writes. Nothing recurses.
export function scanJson(bytes) {
  const tree = { count: 0 };
  let capacity = Math.max(16, bytes.length >> 4);
  grow(tree, capacity);
  let open = -1;
  let key = -1;
  for (let at = 0; at < bytes.length;) {
    const c = bytes[at];
    if (c <= 32 || c === comma || c === colon) {
      at += 1;
      continue;
    }
    if (c === closeBrace || c === closeBracket) {
      at += 1;
      tree.end[open] = at;
      tree.size[open] = tree.count - open;
      open = tree.parent[open];
      continue;
    }
    if (c === quote && key < 0 && open >= 0 && tree.kind[open] === kinds.object) {
      key = at;
      at = skipString(bytes, at);
      continue;
    }
    if (tree.count === capacity) grow(tree, capacity *= 2);
    const node = tree.count;
    tree.count += 1;
    tree.parent[node] = open;
    tree.depth[node] = open < 0 ? 0 : tree.depth[open] + 1;
    if (open >= 0) {
      tree.index[node] = tree.children[open];
      tree.children[open] += 1;
    }
    tree.key[node] = key;
    tree.start[node] = at;
    key = -1;
    if (c === openBrace || c === openBracket) {
      tree.kind[node] = c === openBrace ? kinds.object : kinds.array;
      open = node;
      at += 1;
    } else {
      tree.kind[node] = scalarKinds.get(c) ?? kinds.number;
      at = c === quote ? skipString(bytes, at) : skipScalar(bytes, at);
      tree.end[node] = at;
      tree.size[node] = 1;
    }
  }
  if (open >= 0) throw new SyntaxError("unexpected end");
  grow(tree, Math.max(1, tree.count));
  return tree;
}
