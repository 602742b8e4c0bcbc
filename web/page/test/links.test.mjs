// SPDX-License-Identifier: Apache-2.0
//
// Fields joined with nodes. Exercises src/links.js and src/parse_path.js.
import assert from "node:assert/strict";
import { test } from "node:test";
import { documentOf } from "../src/document.js";
import { fieldAt, linkFields, meaningOf } from "../src/links.js";
import { stepsOf } from "../src/parse_path.js";

const docOf = (value) => documentOf(JSON.stringify(value));
const field = (offset, length, path) => ({ offset, length, kind: "string", meaning: `at ${offset}`, path });

test("steps of paths", () => {
  assert.deepEqual(stepsOf(""), []);
  assert.deepEqual(stepsOf("messages[0].value[2].$id"), ["messages", 0, "value", 2, "$id"]);
  assert.deepEqual(stepsOf('a["odd \\"name]"].b'), ["a", 'odd "name]', "b"]);
  assert.equal(stepsOf("a b"), null);
});

test("each field has its node, each node the bytes of all below", () => {
  const doc = docOf({ amf: 0, headers: [], messages: [{ target: "t", value: { a: [1, 2], "b c": 3 } }] });
  const paths = [
    "amf", undefined, "messages[0].target", "messages[0].value", "messages[0].value.a", "messages[0].value.a[0]",
    "messages[0].value.a[1]", 'messages[0].value["b c"]', "messages[0].value",
  ];
  const links = linkFields(doc, paths.map((path, i) => field(2 * i, 2, path)));
  assert.deepEqual([...links.fieldNode].map((node) => (node < 0 ? undefined : doc.path(node))), paths);
  const bytes = (path) => {
    const node = Array.from({ length: doc.count }, (_, i) => i).find((i) => doc.path(i) === path);
    return [links.nodeStart[node], links.nodeEnd[node]];
  };
  assert.deepEqual(bytes("messages[0].value.a[1]"), [12, 14]);
  assert.deepEqual(bytes("messages[0].value.a"), [8, 14]);
  assert.deepEqual(bytes("messages[0].value"), [6, 18]);
  assert.deepEqual(bytes("messages"), [4, 18]);
  assert.deepEqual(bytes("headers"), [-1, -1]);
});

test("a path that leads deeper than the document belongs to what is there", () => {
  const doc = docOf({ amf3: [{ $date: 5 }] });
  const links = linkFields(doc, [field(0, 1, "amf3[0].nothing.here"), field(1, 1, "amf3[7]")]);
  assert.deepEqual([...links.fieldNode].map((node) => doc.path(node)), ["amf3[0]", "amf3"]);
});

test("the field at an offset, and what it says", () => {
  const links = linkFields(docOf(null), [field(0, 2), field(2, 1), field(5, 3)]);
  assert.deepEqual([0, 1, 2, 3, 4, 5, 7, 8].map((at) => fieldAt(links, at)), [0, 0, 1, -1, -1, 2, 2, -1]);
  assert.deepEqual([0, 1, 2].map((i) => meaningOf(links, i)), ["at 0", "at 2", "at 5"]);
  assert.equal(fieldAt(linkFields(docOf(null), []), 0), -1);
});
