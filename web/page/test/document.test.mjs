// SPDX-License-Identifier: Apache-2.0
//
// Flat arrays of a text, and what a document says of its nodes. Exercises src/json_scan.js and src/document.js.
import assert from "node:assert/strict";
import { test } from "node:test";
import { documentOf } from "../src/document.js";
import { scanJson } from "../src/json_scan.js";

const docOf = (value, indent = 2) => documentOf(JSON.stringify(value, null, indent));

// The value again, out of the arrays.
function rebuilt(doc, node) {
  if (!doc.isContainer(node)) return JSON.parse(doc.source(node));
  const children = [...doc.children(node)];
  if (doc.source(node)[0] === "[") return children.map((child) => rebuilt(doc, child));
  return Object.fromEntries(children.map((child) => [doc.key(child), rebuilt(doc, child)]));
}

const scan = (text) => scanJson(new TextEncoder().encode(text));

const values = [
  null, true, false, 0, -1.5e-7, "", "a\"b\\", "\\\\", "\u0000\u20ac\ud83d\ude00", [], {}, [[]], [{}], { "": "" },
  { a: [1, { b: "]}" }], "c\"d": { e: null } }, ["x", "y:z", "\\\""], { "k\\\"": "v" },
];

for (const indent of [0, 2]) {
  test(`a scan holds all of a text, indented by ${indent}`, () => {
    for (const value of values) {
      const doc = docOf(value, indent);
      assert.deepEqual(rebuilt(doc, 0), value);
      assert.equal(doc.tree.size[0], doc.count);
    }
  });
}

test("sizes, depths, parents and indexes", () => {
  const { tree, count } = docOf({ a: [1, 2], b: { c: 3 } });
  const list = (array) => [...array.subarray(0, count)];
  assert.deepEqual(list(tree.size), [6, 3, 1, 1, 2, 1]);
  assert.deepEqual(list(tree.depth), [0, 1, 2, 2, 1, 2]);
  assert.deepEqual(list(tree.parent), [-1, 0, 1, 1, 0, 4]);
  assert.deepEqual(list(tree.index), [0, 0, 0, 1, 1, 0]);
  assert.deepEqual(list(tree.children), [2, 2, 0, 0, 1, 0]);
});

test("nothing recurses: 100,000 levels", () => {
  const text = "[".repeat(60000) + "]".repeat(60000);
  assert.equal(scan(text).count, 60000);
});

test("a cut text is refused", () => {
  for (const text of ['{"a', '{"a":1', "[", '"a']) assert.throws(() => scan(text), SyntaxError);
});

const previews = [
  [null, "word", "null"],
  [5, "number", "5"],
  ["a\nb", "string", '"a\\nb"'],
  [[1, 2], "list", "array of 2"],
  [{ a: 1 }, "object", "object, 1 key"],
  [{ $class: "a.B", x: 1 }, "object", "a.B, 2 keys"],
  [{ $id: 1, $class: "a.B" }, "object", "a.B, 2 keys"],
  [{ $external: "DSC", operation: 5 }, "object", "external DSC, 2 keys"],
  [{ $vector: "int", $items: [] }, "object", "vector of int, 2 keys"],
  [{ $ecma: true, a: 1 }, "object", "ECMA array, 2 keys"],
  [{ $ecma: 0 }, "object", "ECMA array, 1 key"],
  [{ $dictionary: [] }, "object", "dictionary, 1 key"],
  [{ $date: "2009-02-13T23:31:30.123Z", $zone: -60 }, "special", "date 2009-02-13T23:31:30.123Z, zone -60"],
  [{ $undefined: true }, "special", "undefined"],
  [{ $ref: 3 }, "special", "reference to 3"],
  [{ $id: 2, $bytes: "AQI=" }, "special", "bytes AQI="],
  [{ $amf3: 5 }, "number", "AMF3 5"],
  [{ $amf3: { $class: "a.B" } }, "object", "AMF3 a.B, 1 key"],
  [{ $$amf3: 5 }, "object", "object, 1 key"],
];

test("previews", () => {
  for (const [value, kind, text] of previews) assert.deepEqual(docOf(value).preview(0), { kind, text });
});

test("long strings are cut between their escapes", () => {
  for (let shift = 0; shift < 12; shift += 1) {
    const text = "x".repeat(shift) + "\u0001\\\"".repeat(60);
    const shown = JSON.parse(docOf(text).preview(0).text);
    assert.ok(shown.endsWith("…"));
    assert.ok(text.startsWith(shown.slice(0, -1)), shown);
    assert.ok(shown.length > 40);
  }
});

test("paths", () => {
  const doc = docOf({ messages: [{ value: { "odd name": [7], $amf3: 1 } }] });
  const paths = Array.from({ length: doc.count }, (_, node) => doc.path(node));
  assert.deepEqual(paths, ["", "messages", "messages[0]", "messages[0].value", 'messages[0].value["odd name"]',
    'messages[0].value["odd name"][0]', "messages[0].value.$amf3"]);
});

test("the node at an offset", () => {
  const doc = docOf({ ab: [10, "cd"] }, 0);
  assert.equal(doc.slice(0), '{"ab":[10,"cd"]}');
  const nodes = Array.from(doc.bytes, (_, offset) => doc.nodeAt(offset));
  assert.deepEqual(nodes, [0, 1, 1, 1, 1, 1, 1, 2, 2, 2, 3, 3, 3, 3, 3, 3]);
});
