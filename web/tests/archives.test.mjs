// SPDX-License-Identifier: Apache-2.0
//
// The page and the program read the same bodies out of archives: web/page/src/har.js with the module, and
// amf2json export --as har.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";
import { test } from "node:test";
import { gzipSync } from "node:zlib";
import { problemOf, readHar } from "../page/src/har.js";
import { api, program, sources } from "./support.mjs";

const call = Buffer.from("00000000000100017400017200000009" + "004045400000000000", "hex");
const amf = { mimeType: "application/x-amf" };
const call64 = { ...amf, text: call.toString("base64"), encoding: "base64" };
const textOf = (digits) => Buffer.from(digits, "hex").toString("utf8");
const message = "0000000000010000000000000005" + "02";

const archiveOf = (...entries) => JSON.stringify({ log: { entries } });
const answered = (content) => ({
  startedDateTime: "2026-01-02T03:04:05.678Z",
  request: { method: "POST", url: "http://a.example/x" },
  response: { status: 200, content: { ...amf, ...content } },
});
const posted = (postData, bodySize) => ({ request: { method: "POST", url: "u", postData, bodySize }, response: { status: 204 } });

const archives = {
  "base64": archiveOf(answered(call64), posted(call64, call.length)),
  "other spellings": archiveOf(
    answered({ ...call64, encoding: "Base64", mimeType: "Application/X-AMF; a=b" }),
    answered({ ...call64, text: `data:x;base64,${call64.text}` }),
    answered({ ...call64, mimeType: "application/x-amf-other" })),
  "the media type in a header field": archiveOf({
    response: { headers: [{ name: "Content-Type", value: "application/amf" }], content: { ...call64, mimeType: "" } },
  }),
  "no media type": archiveOf({ response: { content: { ...call64, mimeType: undefined } } }),
  "characters and UTF-8": archiveOf(
    answered({ text: textOf(`${message}0002c3a9`), size: 19 }), answered({ text: textOf(`${message}0002c3a9`), size: -1 }),
    answered({ text: textOf(`${message}0002c383c2a9`), size: 19 }), posted({ ...amf, text: textOf(`${message}0002c383c2a9`) }, 19)),
  "U+FFFD": archiveOf(
    answered({ text: textOf("000000000001000000000000000602" + "0003efbfbd") }), answered({ text: "\0\x03\0\0\0\x01\ufffd\ufffd" }),
    answered({ text: "AAMAAAABAAFhAADvv70=", encoding: "base64" })),
  "lone surrogates": archiveOf(
    answered({ text: "\0\x03\0\0\0\0\ud800" }), answered({ text: "\0\x03\0\0\0\0\udaff\ud9ff\udc00\udc00\ufffd" }),
    answered({ text: textOf("000000000001000000000000000602" + "0003") + "\udead" }),
    { ...answered(call64), startedDateTime: "\udc00", request: { method: "\ud800", url: "http://\ud800/\ud83d\ude00" } }),
  "numbers out of range": archiveOf(answered({ ...call64, size: 0 }), { ...answered(call64), time: 0 })
    .replaceAll('"size":0', '"size":1e999').replaceAll('"status":200', `"status":${"9".repeat(400)}`)
    .replaceAll('"time":0', '"time":-1E+400'),
  "not recorded": archiveOf(answered({ size: 1234 }), {
    request: { bodySize: 7, headers: [{ name: "content-type", value: "application/x-amf" }] },
  }),
  "not base64": archiveOf(
    ...["!", "AAMA!", "AAMAA", "AA=A", "AAM=A===", "AAM=A", "AA=", " ", "A\u00e9", "\ufffd!", "data:x;base64,!", "data:x,AAMA"]
      .map((text) => answered({ ...call64, text })),
    answered({ ...call64, text: call.toString("base64url") }), answered({ ...call64, text: call.toString("latin1") })),
  "refused and left over": archiveOf(
    answered({ ...call64, text: "AAMAAAABAAF0" }), answered({ ...call64, text: "AAAAAAAAAQ==" }), answered(call64),
    answered({ ...call64, text: gzipSync(call).toString("base64") })),
  "other types": archiveOf(null, 5, "x", [], {}, { request: 5, response: [] }, {
    startedDateTime: 5, request: { method: 5, url: [], headers: 7, postData: null }, response: { status: "x", content: call64 },
  }, { response: { headers: [5, { name: 5 }], content: { text: {}, mimeType: [], size: 1e300 } } }),
  ...Object.fromEntries(["protocol.har", "recorder.har"].map((name) =>
    [name, readFileSync(join(sources, "samples/har", name), "utf8")])),
};

const isPacket = (bytes) => {
  try {
    return api.exportJson(bytes, { as: "packet" }).warnings.every((warning) => !/left over/.test(warning));
  } catch {
    return false;
  }
};

function exported(bytes) {
  try {
    return JSON.parse(api.exportJson(bytes, { as: "packet", compact: true }).json);
  } catch ({ message: error, offset }) {
    return { error, offset, bytes: bytes.length };
  }
}

// What the program writes for a body, from what the page reads.
function expectedOf(entry) {
  const { index, direction, method, url, status, time, bytes, isBadBase64, replaced, surrogates, missing } = entry;
  const source = { index, direction, method, url, status, time };
  if (missing > 0) return { source, bytes: missing };
  if (replaced + surrogates === 0 && isBadBase64) return { source, error: problemOf(entry), bytes: bytes.length };
  if (replaced + surrogates === 0) return { source, ...exported(bytes) };
  return { source, bytes: bytes.length, ...(replaced > 0 && { replaced }), ...(surrogates > 0 && { surrogates }) };
}

for (const [name, text] of Object.entries(archives)) {
  test(name, () => {
    const { stdout } = spawnSync(program, ["export", "--as", "har", "--lines", "-"], { input: text });
    const found = stdout.toString().split("\n").slice(0, -1).map((line) => JSON.parse(line));
    const expected = readHar(text, isPacket).map(expectedOf);
    assert.ok(expected.length > 0);
    assert.equal(found.length, expected.length);
    for (const [i, one] of expected.entries()) {
      const { error, ...rest } = found[i];
      assert.equal(error !== undefined, one.amf === undefined, error);
      assert.deepEqual("error" in one ? found[i] : rest, one);
    }
  });
}
