// SPDX-License-Identifier: Apache-2.0
//
// Differences of two documents. Exercises src/diff.js.
import assert from "node:assert/strict";
import { test } from "node:test";
import { diffDocuments, states } from "../src/diff.js";
import { documentOf } from "../src/document.js";

const docOf = (value) => documentOf(JSON.stringify(value));

// "path: state" for each row that is a difference.
function differences(left, right) {
  const [a, b] = [docOf(left), docOf(right)];
  const rows = diffDocuments(a, b);
  const names = Object.entries(states);
  const list = [];
  rows.state.forEach((state, i) => {
    if (state === states.same || state === states.inside) return;
    const path = rows.left[i] >= 0 ? a.path(rows.left[i]) : b.path(rows.right[i]);
    list.push(`${path}: ${names.find(([, value]) => value === state)[0]}`);
  });
  assert.equal(rows.differences, list.length);
  return list;
}

const cases = [
  ["the same", { a: [1] }, { a: [1] }, []],
  ["a scalar", { a: 1, b: 2 }, { a: 1, b: 3 }, ["b: changed"]],
  ["members", { a: 1, b: 2 }, { b: 2, c: 3 }, ["a: removed", "c: added"]],
  ["deep", { a: { b: [{ c: 1 }] } }, { a: { b: [{ c: 2 }] } }, ["a.b[0].c: changed"]],
  ["one element more", [1, 2, 3], [1, 9, 2, 3], ["[1]: added"]],
  ["one element less", [1, 2, 3, 4], [1, 3, 4], ["[1]: removed"]],
  ["two places", [1, 2, 3, 4, 5], [1, 3, 4, 6, 5], ["[1]: removed", "[3]: added"]],
  ["an element changed", [{ a: 1 }, { a: 2 }], [{ a: 1 }, { a: 3 }], ["[1].a: changed"]],
  ["another type", { a: [] }, { a: {} }, ["a: changed"]],
  ["another kind of object", { a: { $vector: "int", $items: [1] } }, { a: { $ecma: true, b: 1 } }, ["a: changed"]],
  ["another class", { $class: "a", x: 1 }, { $class: "b", x: 1 }, ["$class: changed"]],
  ["dates are one value", { $date: 1, $zone: 2 }, { $date: 1, $zone: 3 }, [": changed"]],
  ["within an AMF3 value", [{ $amf3: [1, 2] }], [{ $amf3: [1, 3] }], ["[0].$amf3[1]: changed"]],
  ["AMF3 beside AMF0", [{ $amf3: [1] }], [[1]], ["[0]: changed"]],
  ["nothing in common", [1, 2], [3], ["[0]: changed", "[1]: removed"]],
];

for (const [name, left, right, expected] of cases) {
  test(name, () => {
    assert.deepEqual(differences(left, right), expected);
    assert.equal(differences(right, left).length, expected.length);
  });
}

test("long lists that differ everywhere take no square of time", () => {
  const left = Array.from({ length: 20000 }, (_, i) => i);
  const right = left.map((i) => -1 - i);
  assert.equal(differences(left, right).length, 20000);
});

test("rows are bounded, differences are all counted", () => {
  const rows = diffDocuments(docOf([1, 2, 3, 4]), docOf([5, 6, 7, 8]), 3);
  assert.equal(rows.state.length, 3);
  assert.equal(rows.differences, 4);
  assert.ok(rows.isCut);
});
