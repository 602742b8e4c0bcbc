// SPDX-License-Identifier: Apache-2.0
//
// Bytes as texts. Exercises src/outputs.js: the commands run in a shell, with a fake curl that saves its arguments.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { test } from "node:test";
import { comparison, curlCommand, outputText } from "../src/outputs.js";

const bytes = Uint8Array.from({ length: 256 }, (_, i) => i);

function run(command) {
  const script = `curl() { printf '%s\\n' "$@"; if [ "$2" = @- ]; then od -An -v -tx1 | tr -d ' \\n'; fi; }\n${command}`;
  return execFileSync("/bin/sh", ["-c", script], { encoding: "utf8" }).split("\n");
}

test("the command sends these bytes to this address, whatever is in it", () => {
  for (const url of ["https://a.example/x", "x'; touch pwned; '", "$(touch pwned)", "-o/etc/x", "a\\b`c`"]) {
    const lines = run(curlCommand(bytes, url, "p.amf"));
    assert.equal(lines.at(-1), Buffer.from(bytes).toString("hex"));
    assert.equal(lines[lines.indexOf("--url") + 1], url);
  }
});

test("long packets are sent from their file", () => {
  const lines = run(curlCommand(new Uint8Array(100_000), "https://a.example/x", "p.amf"));
  assert.deepEqual(lines.slice(0, 2), ["--data-binary", "@p.amf"]);
});

test("hexadecimal and base64", () => {
  assert.equal(outputText("hex", bytes.subarray(0, 18)), "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n10 11");
  assert.equal(outputText("base64", bytes), Buffer.from(bytes).toString("base64"));
  const long = new Uint8Array(65536).fill(255);
  assert.equal(outputText("base64", long), Buffer.from(long).toString("base64"));
  assert.equal(outputText("hex", new Uint8Array(65537)), null);
});

test("what differs", () => {
  assert.equal(comparison(bytes, bytes), "The same 256 bytes that were opened.");
  assert.match(comparison(bytes, bytes.subarray(0, 17)), /^17 bytes; 256 bytes were opened\. .* at 17 \(hexadecimal 11\)/);
});
