// SPDX-License-Identifier: Apache-2.0
//
// Archives: which bodies carry AMF, and what the recorder left of them. Exercises src/har.js.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import path from "node:path";
import { test } from "node:test";
import { deflateSync, gzipSync } from "node:zlib";
import { utf8 } from "../src/bytes.js";
import { looksLikeHar, lossOf, problemOf, readHar } from "../src/har.js";
import { parseInput } from "../src/parse_input.js";
import { project, sample } from "./support.mjs";

const packet = Buffer.from("00000000000100017400017200000009" + "004045400000000000", "hex");
const decoded = new TextDecoder().decode(Buffer.from("0003000000010004ff9980e9", "hex"));
const latin1 = Buffer.from("000300ff80", "hex").toString("latin1");

function har(request, response) {
  return JSON.stringify({
    log: {
      entries: [{
        startedDateTime: "2026-01-02T03:04:05.678Z",
        request: { method: "POST", url: "https://a.example/gateway", headers: [], ...request },
        response: { status: 200, headers: [], ...response },
      }],
    },
  });
}

const amf = { mimeType: "application/x-amf" };
const content = (body) => har({}, { content: { ...amf, ...body } });

test("base64", () => {
  const [entry] = readHar(content({ text: packet.toString("base64"), encoding: "base64", size: packet.length }));
  assert.deepEqual(
    { ...entry, bytes: Buffer.from(entry.bytes) },
    { index: 0, direction: "response", method: "POST", url: "https://a.example/gateway", status: 200,
      time: "2026-01-02T03:04:05.678Z", bytes: packet, how: "base64", isBadBase64: false, replaced: 0, surrogates: 0, missing: 0,
      isAmf: true });
});

test("code points", () => {
  const [entry] = readHar(har({ bodySize: 5, postData: { ...amf, text: latin1 } }, {}));
  assert.equal(entry.direction, "request");
  assert.equal(Buffer.from(entry.bytes).toString("hex"), "000300ff80");
  assert.equal(entry.how, "code points");
});

test("characters up to U+00FF: the size says whether they are bytes, else what can be read", () => {
  const how = (size, isRead) => readHar(content({ text: "\u0000\u0003\u00e9", size }), isRead)[0].how;
  assert.equal(how(3), "code points");
  assert.equal(how(4), "text");
  assert.equal(how(-1), "code points");
  assert.equal(how(-1, (bytes) => bytes.length === 4), "text");
  assert.equal(how(-1, (bytes) => bytes.length === 3), "code points");
});

test("decoded as UTF-8: what is lost is counted", () => {
  const [entry] = readHar(content({ text: decoded, size: 12 }));
  assert.equal(entry.how, "text");
  assert.equal(entry.replaced, 4);
});

test("decoded, and put into base64 after that", () => {
  const [entry] = readHar(content({ text: Buffer.from(utf8(decoded)).toString("base64"), encoding: "base64" }));
  assert.equal(entry.replaced, 4);
});

test("a U+FFFD beside bytes that are no UTF-8 was written by the sender", () => {
  const bytes = Buffer.concat([packet, utf8("\ufffd"), Buffer.from([0xff])]);
  const [entry] = readHar(content({ text: bytes.toString("base64"), encoding: "base64" }));
  assert.equal(entry.replaced, 0);
});

test("a lone surrogate: the body is lost, even if it reads as a packet", () => {
  const [entry] = readHar(content({ text: "\u0000\u0003\ud800\ufffd\udc00\ud83d\ude00" }), () => true);
  assert.deepEqual([entry.replaced, entry.surrogates], [1, 2]);
  assert.equal(Buffer.from(entry.bytes).toString("hex"), "0003" + "efbfbd".repeat(3) + "f09f9880");
  const [other] = readHar(har({ method: "\ud800", url: "http://\udc00/\ud83d\ude00", postData: { ...amf, text: "x" } }, {}));
  assert.deepEqual([other.method, other.url], ["\ufffd", "http://\ufffd/\ud83d\ude00"]);
});

test("numbers out of range are ignored", () => {
  const text = har({ bodySize: 1, postData: { ...amf, text: "x" } }, { status: 2 });
  const [entry] = readHar(text.replace('"bodySize":1', '"bodySize":1e999').replace('"status":2', '"status":-1e999'));
  assert.deepEqual([entry.status, entry.missing, entry.bytes.length], [0, 0, 1]);
});

test("text that is not base64, though the archive says so", () => {
  const problem = (text, isRead) => problemOf(readHar(content({ text, encoding: "base64" }), isRead)[0]);
  for (const text of ["!", "AAMA!", "AAMAA", "AA=A", "AAM=A===", "data:x;base64,!"]) {
    assert.equal(problem(text), `not base64, but the archive says so: ${text.length} byte${text.length === 1 ? "" : "s"}`, text);
  }
  assert.equal(problem("AAM="), "");
  assert.equal(problem("\u0000\u0003\ufffd", () => true), "");  // a packet, whatever the archive says
  const [destroyed] = readHar(content({ text: "\ufffd!", encoding: "base64" }));
  assert.equal(problemOf(destroyed), "destroyed by the recorder: EF BF BD 1 time");
  const [bad] = readHar(content({ text: "!", encoding: "base64" }));
  assert.equal(lossOf(bad), "");
});

test("a body that was not recorded", () => {
  const [entry] = readHar(content({ size: 1234 }));
  assert.equal(entry.missing, 1234);
});

test("both directions of an entry, the request first", () => {
  const body = { ...amf, text: packet.toString("base64"), encoding: "base64" };
  const entries = readHar(har({ postData: body }, { content: body }));
  assert.deepEqual(entries.map((entry) => entry.direction), ["request", "response"]);
});

test("the type may stand in the fields of the head, or be missing", () => {
  const body = { text: packet.toString("base64"), encoding: "base64" };
  const headers = [{ name: "Content-Type", value: "application/x-amf" }];
  assert.equal(readHar(har({}, { headers, content: body })).length, 1);
  assert.equal(readHar(har({}, { content: body })).length, 1);
  assert.equal(readHar(har({}, { content: { ...body, mimeType: "image/png" } })).length, 0);
  const found = [0, 1, 2, 3, 4].filter((version) =>
    readHar(har({}, { content: { text: btoa(`\0${String.fromCharCode(version)}\0\0\0\0`), encoding: "base64" } })).length);
  assert.deepEqual(found, [0, 1, 3]);
});

test("entries of other shapes do no harm", () => {
  const entries = [null, 5, {}, { request: 5, response: [] }, { request: { headers: 7, postData: null }, response: { content: "x" } },
    { response: { content: { mimeType: {}, text: {} } } }];
  assert.deepEqual(readHar(JSON.stringify({ log: { entries } })), []);
  assert.throws(() => readHar("{}"), /no log.entries/);
  assert.throws(() => readHar('{"log":{"entries":{}}}'), /no log.entries/);
});

test("bodies that were recorded compressed", async () => {
  for (const [wrapper, pack] of [["gzip", gzipSync], ["zlib", deflateSync]]) {
    const { entries } = await parseInput(utf8(content({ text: pack(packet).toString("base64"), encoding: "base64" })));
    assert.equal(entries[0].wrapper, wrapper);
    assert.deepEqual(Buffer.from(entries[0].bytes), packet);
  }
  const cut = gzipSync(packet).subarray(0, 20);
  const { entries } = await parseInput(utf8(content({ text: cut.toString("base64"), encoding: "base64" })));
  assert.equal(entries[0].wrapper, undefined);
  assert.deepEqual(Buffer.from(entries[0].bytes), cut);
});

test("compressed bodies have a bound together", async () => {
  const body = { ...amf, text: gzipSync(Buffer.alloc(40 << 20)).toString("base64"), encoding: "base64" };
  const { entries } = await parseInput(utf8(har({ postData: body }, { content: body })));
  assert.deepEqual(entries.map(({ wrapper }) => wrapper), ["gzip", undefined]);
});

test("archives are recognised", async () => {
  const text = content({ text: "AAMAAAAA", encoding: "base64" });
  assert.ok(looksLikeHar(text));
  assert.ok(!looksLikeHar('{"amf":0}'));
  const input = await parseInput(utf8(text));
  assert.equal(input.kind, "har");
  assert.equal(input.entries.length, 1);
});

// ---- As recorders write them: script/make-har

const recorded = (name) => readHar(readFileSync(path.join(project, "samples/har", name), "utf8"));
const sentAndAnswered = ["wire/poll", "wire/poll_reply", "echo_string", "wire/books_before", "object_members", "empty_packet"];

test("a recording of the DevTools protocol holds all bytes", () => {
  const entries = recorded("protocol.har");
  assert.deepEqual(entries.map((entry) => Buffer.from(entry.bytes)), sentAndAnswered.map(sample));
  assert.ok(entries.every((entry) => entry.replaced === 0 && entry.missing === 0));
});

test("a recorder of a browser's driver destroys what is posted", () => {
  const entries = recorded("recorder.har");
  assert.deepEqual(entries.map((entry) => entry.replaced), [3, 0, 0, 0, 1, 0]);
  entries.forEach((entry, i) => {
    if (entry.replaced === 0) assert.deepEqual(Buffer.from(entry.bytes), sample(sentAndAnswered[i]));
  });
});
