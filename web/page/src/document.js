// SPDX-License-Identifier: Apache-2.0
//
// A document of exportJson(): its text as UTF-8 and the flat arrays of json_scan.js, with what the JSON means: names, kinds,
// children as they are shown, paths. Enter at the class. Tested by test/document.test.mjs.
import { arrays, kinds, scanJson } from "./json_scan.js";

// Objects that stand for one value without members: shown on one line.
const leafKeys = new Set(["$date", "$double", "$undefined", "$unsupported", "$string64", "$xml", "$xmldoc", "$bytes",
  "$ref"]);
const labels = new Map([
  ["$date", "date"], ["$double", "double"], ["$undefined", "undefined"], ["$unsupported", "unsupported"],
  ["$string64", "string, not UTF-8"], ["$xml", "XML"], ["$xmldoc", "XML document"], ["$bytes", "bytes"],
  ["$ref", "reference to"], ["$class", ""], ["$external", "external"], ["$vector", "vector of"],
  ["$dictionary", "dictionary"], ["$ecma", "ECMA array"]]);
const previewLength = 160;
const quote = 34;
const dollar = 36;
const decoder = new TextDecoder();

// A document from its text.
export function documentOf(text) {
  const bytes = new TextEncoder().encode(text);
  return new Document(bytes, scanJson(bytes));
}

// The buffers that a worker transfers without a copy.
export function buffersOf(doc) {
  return [doc.bytes.buffer, ...Object.keys(arrays).map((name) => doc.tree[name].buffer)];
}

export class Document {
  constructor(bytes, tree) {
    this.bytes = bytes;
    this.tree = tree;
    this.childLists = new Map();  // node -> Int32Array, made when they are asked for
  }

  get count() {
    return this.tree.count;
  }

  isContainer(node) {
    return this.tree.kind[node] <= kinds.array;
  }

  // The first child whose name is `name`; -1 where there is none.
  member(node, name) {
    if (this.tree.kind[node] !== kinds.object) return -1;
    const limit = node + this.tree.size[node];
    for (let child = node + 1; child < limit; child += this.tree.size[child]) {
      if (this.key(child) === name) return child;
    }
    return -1;
  }

  // The direct children, as they stand in the text.
  children(node) {
    let list = this.childLists.get(node);
    if (!list) {
      list = new Int32Array(this.isContainer(node) ? this.tree.children[node] : 0);
      for (let child = node + 1, i = 0; i < list.length; child += this.tree.size[child], i += 1) list[i] = child;
      this.childLists.set(node, list);
    }
    return list;
  }

  // The member's name, or null for elements of arrays.
  key(node) {
    const at = this.tree.key[node];
    if (at < 0) return null;
    return JSON.parse(this.slice(at, this.keyEnd(node)));
  }

  // The offset after the closing quote of the name.
  keyEnd(node) {
    return this.bytes.lastIndexOf(quote, this.tree.start[node] - 1) + 1;
  }

  // The offset where the node begins, including its name.
  begin(node) {
    return this.tree.key[node] < 0 ? this.tree.start[node] : this.tree.key[node];
  }

  slice(start, end) {
    return decoder.decode(this.bytes.subarray(start, end));
  }

  source(node, limit = Infinity) {
    return this.slice(this.tree.start[node], Math.min(this.tree.end[node], this.tree.start[node] + limit));
  }

  // A string or number; for long strings the beginning.
  scalar(node, limit = Infinity) {
    const isWhole = this.tree.end[node] - this.tree.start[node] <= limit;
    if (this.tree.kind[node] !== kinds.string || isWhole) return JSON.parse(this.source(node));
    const source = this.source(node, limit).replace(/\ufffd$/, "");  // a cut character
    const [safe] = /^"(?:[^"\\]|\\u[0-9a-fA-F]{4}|\\[^u])*/.exec(source);  // no cut escape
    return JSON.parse(`${safe}"`) + "…";
  }

  // The key that says what an object is, "" where there is none.
  kindKey(node) {
    if (this.tree.kind[node] !== kinds.object) return "";
    const limit = node + this.tree.size[node];
    for (let child = node + 1; child < limit; child += this.tree.size[child]) {
      if (this.bytes[this.tree.key[child] + 1] !== dollar) break;
      const key = this.key(child);
      if (labels.has(key)) return key;
    }
    return "";
  }

  isLeaf(node) {
    return !this.isContainer(node) || this.tree.children[node] === 0 || leafKeys.has(this.kindKey(node));
  }

  // The node to show in place of `node`: {"$amf3":V} is shown as V.
  shown(node) {
    if (this.tree.kind[node] !== kinds.object || this.tree.children[node] !== 1) return node;
    return this.key(node + 1) === "$amf3" ? node + 1 : node;
  }

  // The value of a node as a short text: { kind, text }. `kind` is also the name of its colour.
  preview(node) {
    const inner = this.shown(node);
    const prefix = inner === node ? "" : "AMF3 ";
    const kind = this.tree.kind[inner];
    if (kind === kinds.object) return this.previewObject(inner, prefix);
    if (kind === kinds.array) return { kind: "list", text: `${prefix}array of ${this.tree.children[inner]}` };
    if (kind === kinds.string) {
      return { kind: "string", text: prefix + JSON.stringify(this.scalar(inner, previewLength)) };
    }
    return { kind: kind === kinds.number ? "number" : "word", text: prefix + this.source(inner) };
  }

  previewObject(node, prefix) {
    const key = this.kindKey(node);
    const count = this.tree.children[node];
    const size = `${count} ${count === 1 ? "key" : "keys"}`;
    if (!key) return { kind: "object", text: `${prefix}object, ${size}` };
    const child = this.member(node, key);
    if (leafKeys.has(key)) return { kind: "special", text: prefix + this.previewLeaf(node, key, child) };
    const isNamed = this.tree.kind[child] === kinds.string;
    const name = isNamed ? this.scalar(child, previewLength) : "";
    return { kind: "object", text: `${prefix}${`${labels.get(key)} ${name}`.trim()}, ${size}` };
  }

  previewLeaf(node, key, child) {
    const label = labels.get(key);
    if (key === "$undefined" || key === "$unsupported") return label;
    const value = this.scalar(child, previewLength);
    const zone = this.member(node, "$zone");
    return `${label} ${value}${zone < 0 ? "" : `, zone ${this.source(zone)}`}`;
  }

  // messages[0].value[2].name, a["odd name"]; "" is the document.
  path(node) {
    const steps = [];
    for (let at = node; this.tree.parent[at] >= 0; at = this.tree.parent[at]) {
      const key = this.key(at);
      if (key === null) steps.push(`[${this.tree.index[at]}]`);
      else if (/^[A-Za-z_$][\w$]*$/.test(key)) steps.push(`.${key}`);
      else steps.push(`[${JSON.stringify(key)}]`);
    }
    return steps.reverse().join("").replace(/^\./, "");
  }

  // The node whose name or value stands at an offset of the bytes.
  nodeAt(offset) {
    let low = 0;
    let high = this.count - 1;
    while (low < high) {
      const middle = (low + high + 1) >> 1;
      if (this.begin(middle) <= offset) low = middle;
      else high = middle - 1;
    }
    return low;
  }
}
