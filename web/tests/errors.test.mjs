// SPDX-License-Identifier: Apache-2.0
//
// What the calls throw: always Amf2JsonError, with a code and the place.
import assert from "node:assert/strict";
import { test } from "node:test";
import { api, core, failureOf, fromHex, wasm } from "./support.mjs";

const nested = (depth) => fromHex("0000 0000 0001 0001 61 0000 FFFFFFFF" + "0A00000001".repeat(depth) + "05");

const refusals = [
  ["truncated", () => api.exportJson(fromHex("0000 0000 0001 00"), { as: "packet" }), { offset: 6 }],
  ["malformed", () => api.exportJson(fromHex("04"), { as: "amf0" }), { offset: 0 }],
  ["unknownExternal", () => api.exportJson(fromHex("0A 07 03 61"), { as: "amf3" }), { offset: 4 }],
  ["packetLimit", () => api.exportJson(new Uint8Array(9), { maxPacketBytes: 8 }), { offset: 0 }],
  ["depthLimit", () => api.exportJson(nested(513), { as: "packet" }), {}],
  ["depthLimit", () => api.exportJson(nested(2), { maxDepth: 1 }), { offset: 20 }],
  ["textLimit", () => api.exportJson(fromHex("05 05"), { as: "amf0", maxTextBytes: 3 }), {}],
  ["flagLimit", () => api.exportJson(fromHex("0A 07 07 445341" + "80".repeat(17) + "00"), { as: "amf3" }), { offset: 22 }],
  ["syntax", () => api.importJson('{\n "amf0":[5,]}'), { line: 2, column: 12, path: "amf0" }],
  ["syntax", () => api.importJson('{"amf0":\n["a\ud800"]}'), { line: 2, column: 4, path: "" }],
  ["syntax", () => api.importJson("\ufeff{}"), { line: 1, column: 1 }],
  ["content", () => api.importJson('{"amf0":[{"a":{"$xml":""}}]}'), { line: 1, column: 16, path: "amf0[0].a.$xml" }],
  ["content", () => api.importJson("5"), { path: "" }],
  ["packetLimit", () => api.importJson('{"amf0":["aaaa"]}', { maxPacketBytes: 6 }), {}],
  ["textLimit", () => api.importJson('{"amf0":[]}', { maxTextBytes: 10 }), {}],
  ["truncated", () => api.decode(fromHex("0000")), { offset: 2 }],
  ["malformed", () => api.decode(fromHex("0F"), { as: "amf3" }), {}],
  ["packetLimit", () => api.decode(new Uint8Array(6), { maxPacketBytes: 5 }), {}],
  ["depthLimit", () => api.decode(nested(65)), {}],
  ["nodeLimit", () => api.decode(nested(3), { maxNodes: 4 }), {}],
  ["treeLimit", () => api.decode(nested(3), { maxTreeBytes: 100 }), {}],
  ["copyLimit", () => api.decode(fromHex("0A0B01 0361 060961616161 0362 0602 01"), { as: "amf3", maxCopiedBytes: 1 }), {}],
  ["stringLimit", () => api.decode(fromHex("02000361 6161"), { as: "amf0", maxStringBytes: 2 }), {}],
  ["fieldLimit", () => api.fields(fromHex("0505"), { as: "amf0", maxFields: 1 }), { offset: 1 }],
  ["textLimit", () => api.fields(fromHex("0505"), { as: "amf0", maxTextBytes: 10 }), {}],
  ["option", () => api.exportJson("text"), {}],
  ["option", () => api.exportJson([0, 0]), {}],
  ["option", () => api.exportJson(new ArrayBuffer(6)), {}],
  ["option", () => api.importJson(new Uint8Array(6)), {}],
  ["option", () => api.exportJson(new Uint8Array(6), { compakt: true }), {}],
  ["option", () => api.exportJson(new Uint8Array(6), { compact: 1 }), {}],
  ["option", () => api.exportJson(new Uint8Array(6), { as: "xml" }), {}],
  ["option", () => api.exportJson(new Uint8Array(6), { maxDepth: -1 }), {}],
  ["option", () => api.exportJson(new Uint8Array(6), { maxDepth: "7" }), {}],
  ["option", () => api.exportJson(new Uint8Array(6), { external: { a: 1.5 } }), {}],
  ["option", () => api.exportJson(new Uint8Array(6), null), {}],
  ["option", () => api.importJson("{}", { salvage: true }), {}],
  ["option", () => api.decode(new Uint8Array(6), { as: "sol" }), {}],
  ["option", () => api.decode(new Uint8Array(6), { maxDepth: 1e9 }), {}],
  ["option", () => api.decode(new Uint8Array(6), { view: "xml" }), {}],
];

for (const [index, [code, call, place]] of refusals.entries()) {
  test(`refusal ${index}: ${code}`, () => {
    const error = failureOf(call);
    assert.equal(error.name, "Amf2JsonError");
    assert.ok(error instanceof Error);
    assert.equal(error.code, code);
    assert.ok(error.message.length > 0);
    for (const [name, value] of Object.entries(place)) assert.equal(error[name], value, name);
    assert.equal(api.exportJson(fromHex("05"), { as: "amf0", compact: true }).json, '{"amf0":[null]}');
  });
}

test("options", () => {
  const external = fromHex("0A 07 03 61 04 01 04 02");
  assert.equal(
    api.exportJson(external, { as: "amf3", compact: true, external: { a: 2 } }).json,
    '{"amf3":[{"$external":"a","$values":[1,2]}]}',
  );
  assert.deepEqual(api.importJson('{"amf3":[{"$external":"a","$values":[1,2]}]}', { external: { a: 2 } }), external);
  const names = Object.fromEntries(Array.from({ length: 1000 }, (_, i) => [`class ${i} \u20ac`, i]));
  assert.equal(api.exportJson(external, { as: "amf3", external: { ...names, a: 2 } }).form, "amf3");
  assert.equal(failureOf(() => api.exportJson(external, { as: "amf3" })).code, "unknownExternal");
  assert.equal(api.exportJson(fromHex("05"), { as: undefined, compact: true }).form, "amf0");
  assert.equal(api.exportJson(fromHex("05"), { maxTextBytes: 1e300 }).form, "amf0");
  assert.equal(api.decode(nested(200), { maxDepth: 200 }).length > 0, true);
});

test("bytes of a larger buffer, and what is returned, are the caller's", () => {
  const bytes = fromHex("FF 05 FF").subarray(1, 2);
  assert.equal(api.exportJson(bytes, { compact: true }).json, '{"amf0":[null]}');
  const first = api.importJson('{"amf0":[true]}');
  api.importJson('{"amf0":[false,false,false]}');
  assert.deepEqual(first, fromHex("0101"));
  assert.equal(first.buffer.byteLength, 2);
});

test("dates are in UTC", () => {
  const text = api.decode(fromHex("0B 0000000000000000 0000"), { as: "amf0", pretty: false });
  assert.match(text, /Thu Jan  1 00:00:00 1970/);
});

test("deep values: an answer or an error, and calls go on", () => {
  for (const depth of [1000, 2000, 4000]) {
    const bytes = nested(depth);
    let text = "";
    try {
      text = api.decode(bytes, { maxDepth: 4000 });
    } catch (error) {
      assert.equal(error.code, "depthLimit");
    }
    if (text) assert.equal(text.split("strict").length, depth + 1);
    assert.equal(JSON.parse(api.exportJson(bytes, { as: "packet", maxDepth: 5000 }).json).amf, 0);
  }
});

test("no memory: an error, and calls go on", async () => {
  const small = await core.instantiate(wasm);
  const huge = new Uint8Array(1800 << 20);
  huge.set(fromHex("0000 0000 0000"));
  for (let i = 0; i < 2; ++i) {
    const error = failureOf(() => small.exportJson(huge, { maxPacketBytes: 4e9, maxTextBytes: 4e9, as: "packet" }));
    assert.equal(error.code, "memory");
    assert.equal(small.exportJson(fromHex("05"), { compact: true }).json, '{"amf0":[null]}');
  }
});
