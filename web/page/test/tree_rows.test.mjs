// SPDX-License-Identifier: Apache-2.0
//
// Rows of a tree: folding, pages of long lists, finding a node. Exercises src/tree_rows.js and src/search.js.
import assert from "node:assert/strict";
import { test } from "node:test";
import { documentOf } from "../src/document.js";
import { Search } from "../src/search.js";
import { TreeRows } from "../src/tree_rows.js";

const docOf = (value) => documentOf(JSON.stringify(value));
const textOf = (rows) => rows.rows.map(({ node, level, page }) =>
  " ".repeat(level - 1) + (page ? `${page.first}+${page.count}` : rows.doc.path(node)));

test("open, close, open again", () => {
  const rows = new TreeRows(docOf({ a: { b: 1, c: [2] }, d: 3 }));
  assert.deepEqual(textOf(rows), ["", " a", " d"]);
  rows.expand(1);
  rows.expand(3);
  assert.deepEqual(textOf(rows), ["", " a", "  a.b", "  a.c", "   a.c[0]", " d"]);
  rows.collapse(1);
  assert.deepEqual(textOf(rows), ["", " a", " d"]);
  rows.expand(1);  // what was open in it is open again
  assert.deepEqual(textOf(rows), ["", " a", "  a.b", "  a.c", "   a.c[0]", " d"]);
  assert.equal(rows.parentOf(4), 3);
  rows.collapseAll();
  assert.deepEqual(textOf(rows), ["", " a", " d"]);
});

test("places among siblings", () => {
  const rows = new TreeRows(docOf({ a: 1, b: 2, c: 3 }));
  assert.deepEqual(rows.rows.slice(1).map(({ position, siblings }) => [position, siblings]), [[1, 3], [2, 3], [3, 3]]);
});

test("lists of more than 100 come in pages", () => {
  const rows = new TreeRows(docOf(Array.from({ length: 250 }, (_, i) => i)));
  assert.deepEqual(textOf(rows), ["", " 0+100", " 100+100", " 200+50"]);
  rows.expand(3);
  assert.equal(rows.count, 54);
  assert.equal(textOf(rows).at(-1), "  [249]");
});

test("a million elements: 100 pages of 10,000, each of 100 pages", () => {
  const rows = new TreeRows(docOf(new Array(1_000_000).fill(0)));
  assert.equal(rows.count, 101);
  rows.expand(100);
  assert.equal(rows.count, 201);
  rows.expand(200);
  assert.equal(textOf(rows).at(-1), "   [999999]");
});

test("a node in a page is found", () => {
  const doc = docOf({ list: new Array(12345).fill(0).map((_, i) => ({ i })) });
  const rows = new TreeRows(doc);
  const node = doc.children(doc.children(0)[0])[12000] + 1;
  const index = rows.reveal(node);
  assert.equal(rows.rows[index].node, node);
  assert.equal(doc.path(node), "list[12000].i");
});

test("what a row stands for is found by its parts", () => {
  const doc = docOf({ a: { $amf3: { $date: 5 } } });
  const rows = new TreeRows(doc);
  for (const node of [1, 2, 3]) assert.equal(doc.path(rows.rows[rows.reveal(node)].node), "a");
  assert.equal(rows.count, 2);
});

test("opening all stops at a bound", () => {
  const rows = new TreeRows(docOf(new Array(300).fill([1, 2])));
  rows.expandAll(100_000);
  assert.equal(rows.count, 1 + 3 + 300 + 600);
  const bounded = new TreeRows(docOf(new Array(300).fill([1, 2])));
  bounded.expandAll(50);
  assert.ok(bounded.count < 500);
});

const pause = async () => {};

test("search goes through names and values, around the end", async () => {
  const doc = docOf({ alpha: "Beta", list: ["beta", "a.b", { BETA: 1 }], quote: "x\"y" });
  const search = new Search(doc, "beta");
  const found = [];
  for (let node = 0, i = 0; i < 4; i += 1) found.push(doc.path(node = await search.next(node, false, pause)));
  assert.deepEqual(found, ["alpha", "list[0]", "list[2].BETA", "alpha"]);
  assert.equal(doc.path(await search.next(0, true, pause)), "list[2].BETA");
});

test("search finds texts, not the punctuation of JSON", async () => {
  const doc = docOf({ a: ["x\"y", "c:d", "a,b"], b: 1 });
  const find = async (needle) => {
    const node = await new Search(doc, needle).next(0, false, pause);
    return node < 0 ? null : doc.path(node);
  };
  assert.equal(await find('"'), "a[0]");
  assert.equal(await find(":"), "a[1]");
  assert.equal(await find(","), "a[2]");
  assert.equal(await find("["), null);
  assert.equal(await find("a.b"), null);  // no pattern
  assert.equal(await find(""), null);
});
