// SPDX-License-Identifier: Apache-2.0
//
// Long texts are returned completely, and calls leak no memory.
import assert from "node:assert/strict";
import { createHash } from "node:crypto";
import { test } from "node:test";
import { api, core, fromHex, hex, wasm } from "./support.mjs";

const sha256 = (data) => createHash("sha256").update(data).digest("hex");

// Characters of one to four bytes each, so that pieces end in the middle of one.
test("a text of 100 MB", () => {
  const unit = Buffer.from("a\u00e9\u20ac\u{1f600}\ufeff");
  const count = Math.floor((100 << 20) / unit.length);
  const bytes = Buffer.concat([fromHex("0C"), Buffer.alloc(4), Buffer.alloc(unit.length * count, unit)]);
  bytes.writeUInt32BE(unit.length * count, 1);
  const { json } = api.exportJson(bytes, { as: "amf0", compact: true, maxPacketBytes: 1 << 30 });
  assert.equal(json.length, 13 + 6 * count);
  assert.equal(sha256(json), sha256('{"amf0":["' + unit.toString().repeat(count) + '"]}'));
  assert.equal(sha256(api.importJson(json, { maxPacketBytes: 1 << 30 })), sha256(bytes));
});

// The calls, with the number of instances and the size of their memory.
async function watched() {
  const module = await WebAssembly.compile(wasm);
  const seen = { instances: 0, bytes: () => 0 };
  const { Instance } = WebAssembly;
  WebAssembly.Instance = function (...args) {
    const instance = new Instance(...args);
    ++seen.instances;
    seen.bytes = () => instance.exports.memory.buffer.byteLength;
    return instance;
  };
  try {
    return { api: await core.instantiate(module), seen, release: () => (WebAssembly.Instance = Instance) };
  } catch (error) {
    WebAssembly.Instance = Instance;
    throw error;
  }
}

test("memory after 10,000 calls of each kind", async () => {
  const { api: calls, seen, release } = await watched();
  try {
    const packet = fromHex("0003 0000 0001 0001 61 0001 62 FFFFFFFF 0A 00000001 11 0A0B01 0361 0409 01");
    const { json } = calls.exportJson(packet);
    const rounds = (count) => {
      for (let i = 0; i < count; ++i) {
        calls.exportJson(packet, { external: { "a.B": 1 } });
        assert.equal(hex(calls.importJson(json)), hex(packet));
        calls.identify(packet);
        calls.fields(packet);
        calls.check(packet);
        calls.decode(packet);
        assert.throws(() => calls.exportJson(packet.subarray(0, 20), { as: "packet" }), calls.Amf2JsonError);
        assert.throws(() => calls.importJson("{"), calls.Amf2JsonError);
        assert.throws(() => calls.decode(packet.subarray(0, 20)), calls.Amf2JsonError);
      }
    };
    rounds(100);
    const before = seen.bytes();
    rounds(10_000);
    assert.equal(seen.bytes(), before);
    assert.equal(seen.instances, 1);
  } finally {
    release();
  }
});

test("an instance that has grown large is replaced", async () => {
  const { api: calls, seen, release } = await watched();
  try {
    const before = seen.bytes();
    const bytes = Buffer.concat([fromHex("0C 02000000"), Buffer.alloc(32 << 20, "a")]);
    assert.equal(calls.exportJson(bytes, { as: "amf0", compact: true }).json.length, 13 + (32 << 20));
    assert.equal(seen.instances, 2);
    assert.equal(seen.bytes(), before);
  } finally {
    release();
  }
});

test("an instance that ran out of stack is replaced", async () => {
  const { api: calls, seen, release } = await watched();
  try {
    const deep = fromHex("0A00000001".repeat(4000) + "05");
    assert.throws(() => calls.decode(deep, { as: "amf0", maxDepth: 4000 }), { code: "depthLimit" });
    assert.equal(seen.instances, 2);
    assert.match(calls.decode(fromHex("05"), { as: "amf0" }), /null/);
  } finally {
    release();
  }
});
