// SPDX-License-Identifier: Apache-2.0
//
// What can be dropped and pasted. Exercises src/parse_input.js, src/http_message.js and src/bytes.js.
import assert from "node:assert/strict";
import { test } from "node:test";
import { deflateSync, gzipSync } from "node:zlib";
import { toBase64, toHex, utf8 } from "../src/bytes.js";
import { inflate } from "../src/http_message.js";
import { bytesOfPaste, fromHexText, parseInput } from "../src/parse_input.js";

// Version 0, one message with the string "hi".
const packet = Uint8Array.from(Buffer.from("0000000000010004746573740002" + "2f31ffffffff0200026869", "hex"));
const hex = Buffer.from(packet).toString("hex");
const base64 = toBase64(packet);
const join = (...parts) => Buffer.concat(parts.map((part) => Buffer.from(part)));
const head = (...lines) => `${lines.join("\r\n")}\r\n\r\n`;

const offsetRows = (offset, ascii) => [0, 16].map((at) => offset(at) + toHex(packet.subarray(at, at + 16)) + ascii).join("\n");

const inputs = [
  ["bytes", packet, []],
  ["hexadecimal", hex, ["hexadecimal"]],
  ["... with blanks, commas and 0x", hex.replace(/../g, "0x$&, "), ["hexadecimal"]],
  ["... with comments", `# a packet\n${hex.slice(0, 20)}   # the head\n${hex.slice(20)}\n`, ["hexadecimal"]],
  ["... in groups of four bytes, the first all zero", hex.replace(/.{8}/g, "$& "), ["hexadecimal"]],
  ["xxd", offsetRows((at) => `${at.toString(16).padStart(8, "0")}: `, "  ..ab cd"), ["hexadecimal"]],
  ["hexdump -C", `${offsetRows((at) => `${at.toString(16).padStart(8, "0")}  `, "  |..ab cd|")}\n00000019\n`, ["hexadecimal"]],
  ["od -Ax -tx1", offsetRows((at) => `${at.toString(16).padStart(6, "0")} `, ""), ["hexadecimal"]],
  ["base64", base64, ["base64"]],
  ["... in lines, without padding", `${base64.slice(0, 8)}\n${base64.slice(8)}\n`.replaceAll("=", ""), ["base64"]],
  ["... of the other alphabet", base64.replaceAll("+", "-").replaceAll("/", "_"), ["base64"]],
  ["... as data URI", `data:application/x-amf;base64,${base64}`, ["base64"]],
  ["gzip", gzipSync(packet), ["gzip"]],
  ["gzip in base64", toBase64(gzipSync(packet)), ["base64", "gzip"]],
  ["zlib", deflateSync(packet), ["zlib"]],
  ["curl -i", join(head("HTTP/1.1 200 OK", "Content-Type: application/x-amf"), packet), ["HTTP message"]],
  ["... with line feeds alone", join("HTTP/1.1 200 OK\nServer: x\n\n", packet), ["HTTP message"]],
  ["... over HTTP/2", join(head("HTTP/2 200", "content-length: 25"), packet), ["HTTP message"]],
  ["... behind an interim answer", join(head("HTTP/1.1 100 Continue"), head("HTTP/1.1 200 OK"), packet), ["HTTP message"]],
  ["... in gzip", join(head("HTTP/1.1 200 OK", "Content-Encoding: gzip"), gzipSync(packet)), ["HTTP message"]],
  ["... in deflate", join(head("HTTP/1.1 200 OK", "Content-Encoding: deflate"), deflateSync(packet)), ["HTTP message"]],
  ["... in chunks", join(head("HTTP/1.1 200 OK", "Transfer-Encoding: chunked"), "5\r\n", packet.subarray(0, 5), "\r\n14;x=1\r\n",
    packet.subarray(5), "\r\n0\r\n\r\n"), ["HTTP message"]],
  ["... whose chunks curl took off", join(head("HTTP/1.1 200 OK", "Transfer-Encoding: chunked"), packet), ["HTTP message"]],
  ["a request", join(head("POST /gateway HTTP/1.1", "Host: a.example"), packet), ["HTTP message"]],
];

for (const [name, input, wrappers] of inputs) {
  test(name, async () => {
    const result = await parseInput(typeof input === "string" ? utf8(input) : new Uint8Array(input));
    assert.equal(result.kind, "bytes");
    assert.equal(Buffer.from(result.bytes).toString("hex"), hex);
    assert.deepEqual(result.wrappers, wrappers);
    assert.deepEqual(result.notes, []);
  });
}

test("an answer that was pasted: its characters are bytes", async () => {
  const paste = head("HTTP/1.1 200 OK") + String.fromCharCode(...packet);
  const result = await parseInput(bytesOfPaste(paste));
  assert.equal(Buffer.from(result.bytes).toString("hex"), hex);
});

test("an answer that was pasted from a terminal: bytes are lost, and that is said", async () => {
  const result = await parseInput(bytesOfPaste(`${head("HTTP/1.1 200 OK")}\u0000\ufffd\ufffd`));
  assert.match(result.notes.join(), /EF BF BD stands 2 times/);
});

test("a body shorter than the head says", async () => {
  const result = await parseInput(new Uint8Array(join(head("HTTP/1.1 200 OK", "Content-Length: 30"), packet)));
  assert.deepEqual(result.notes, ["The head says 5 bytes more than follow."]);
});

test("a request tells where it went", async () => {
  const result = await parseInput(new Uint8Array(join(head("POST /gateway HTTP/1.1", "Host: a.example"), packet)));
  assert.equal(result.source.url, "http://a.example/gateway");
});

test("documents", async () => {
  const text = '{"amf":0,"headers":[],"messages":[]}';
  assert.deepEqual(await parseInput(utf8(text)), { kind: "document", text });
});

test("refusals", async () => {
  const refusals = [
    ["", /no bytes/], ["hello, world", /neither hexadecimal/], ["<html>", /neither/], ['{"a":1}', /neither/],
    ["HTTP/1.1 200 OK\r\n", /no empty line/],
  ];
  for (const [text, message] of refusals) await assert.rejects(parseInput(utf8(text)), { message });
  await assert.rejects(parseInput(new Uint8Array(gzipSync(packet)).subarray(0, 20)), /gzip: /);
});

test("nine wrappers are too many", async () => {
  let bytes = packet;
  for (let i = 0; i < 9; i += 1) bytes = gzipSync(bytes);
  await assert.rejects(parseInput(new Uint8Array(bytes)), /more than 8 wrappers/);
});

test("a bomb of gzip stops at the bound", async () => {
  const bomb = gzipSync(Buffer.alloc(1 << 20));
  await assert.rejects(inflate(bomb, "gzip", 65536), /packet too large: more than 65536 bytes/);
});

test("odd digits and other letters are no hexadecimal", () => {
  for (const text of ["0", "abc", "0g", "", "# only a comment"]) assert.equal(fromHexText(text), null);
});
