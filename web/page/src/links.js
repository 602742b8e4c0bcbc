// SPDX-License-Identifier: Apache-2.0
//
// Which bytes belong to which node: the fields of the module, joined with the document by their paths.
// Enter at linkFields(). Tested by test/links.test.mjs.
import { stepsOf } from "./parse_path.js";

// Finds nodes by path. Fields come in the order of the text: each search begins where the last one ended.
class PathFinder {
  constructor(doc) {
    this.doc = doc;
    this.open = [{ path: "", node: 0, last: -1 }];
  }

  // The deepest node that the path leads to.
  find(path) {
    while (!this.isAbove(this.open.at(-1).path, path)) this.open.pop();
    const from = this.open.at(-1);
    const steps = path.length === from.path.length ? [] : stepsOf(path, from.path.length);
    let { node } = from;
    for (const [i, step] of (steps ?? []).entries()) {
      const child = this.step(i === 0 ? from : { node, last: -1 }, step);
      if (child < 0) return node;
      node = child;
    }
    if (steps && steps.length > 0) this.open.push({ path, node, last: -1 });
    return node;
  }

  isAbove(above, path) {
    if (!path.startsWith(above)) return false;
    const next = path[above.length];
    return above === "" || next === undefined || next === "." || next === "[";
  }

  // From the child that was found last, then from the first.
  step(from, step) {
    const { tree } = this.doc;
    const limit = from.node + tree.size[from.node];
    for (const first of from.last < 0 ? [from.node + 1] : [from.last, from.node + 1]) {
      for (let child = first; child < limit; child += tree.size[child]) {
        if (typeof step === "number" ? tree.index[child] === step : this.doc.key(child) === step) {
          from.last = child;
          return child;
        }
      }
    }
    return -1;
  }
}

// Returns flat arrays. fieldStart, fieldLength, fieldNode (-1: no value) and meaningEnd have an entry a field; the
// meanings are one text in UTF-8. nodeStart and nodeEnd have an entry a node: the bytes of it and of all below; -1: none.
export function linkFields(doc, fields) {
  const finder = new PathFinder(doc);
  const links = {
    fieldStart: new Uint32Array(fields.length),
    fieldLength: new Uint32Array(fields.length),
    fieldNode: new Int32Array(fields.length),
    meaningEnd: new Uint32Array(fields.length),
    nodeStart: new Int32Array(doc.count).fill(-1),
    nodeEnd: new Int32Array(doc.count).fill(-1),
    meanings: new Uint8Array(),
  };
  const meanings = new Texts();
  fields.forEach((field, i) => {
    const node = field.path === undefined ? -1 : finder.find(field.path);
    links.fieldStart[i] = field.offset;
    links.fieldLength[i] = field.length;
    links.fieldNode[i] = node;
    links.meaningEnd[i] = meanings.add(field.meaning);
    if (node >= 0) include(links, node, field.offset, field.offset + field.length);
  });
  links.meanings = meanings.bytes.slice(0, meanings.length);
  for (let node = doc.count - 1; node > 0; node -= 1) {
    if (links.nodeStart[node] >= 0) {
      include(links, doc.tree.parent[node], links.nodeStart[node], links.nodeEnd[node]);
    }
  }
  return links;
}

// Concatenated texts in UTF-8.
class Texts {
  constructor() {
    this.encoder = new TextEncoder();
    this.bytes = new Uint8Array(4096);
    this.length = 0;
  }

  // Returns where the text ends.
  add(text) {
    if (this.bytes.length - this.length < text.length * 3) {
      const larger = new Uint8Array(this.bytes.length * 2 + text.length * 3);
      larger.set(this.bytes);
      this.bytes = larger;
    }
    return this.length += this.encoder.encodeInto(text, this.bytes.subarray(this.length)).written;
  }
}

function include(links, node, start, end) {
  if (links.nodeStart[node] < 0 || start < links.nodeStart[node]) links.nodeStart[node] = start;
  if (end > links.nodeEnd[node]) links.nodeEnd[node] = end;
}

// The field at an offset, -1 where there is none.
export function fieldAt(links, offset) {
  let low = 0;
  let high = links.fieldStart.length - 1;
  while (low < high) {
    const middle = (low + high + 1) >> 1;
    if (links.fieldStart[middle] <= offset) low = middle;
    else high = middle - 1;
  }
  if (high < 0) return -1;
  return offset < links.fieldStart[low] + links.fieldLength[low] ? low : -1;
}

export function meaningOf(links, field) {
  const begin = field === 0 ? 0 : links.meaningEnd[field - 1];
  return new TextDecoder().decode(links.meanings.subarray(begin, links.meaningEnd[field]));
}

export function linkBuffers(links) {
  return ["fieldStart", "fieldLength", "fieldNode", "meaningEnd", "nodeStart", "nodeEnd", "meanings"]
    .map((name) => links[name].buffer);
}
