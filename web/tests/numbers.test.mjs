// SPDX-License-Identifier: Apache-2.0
//
// The module writes and reads doubles exactly as the native build does: ten million of them, random bit patterns and
// edge cases. numbers.cpp prints hashes of the results.
import assert from "node:assert/strict";
import { join } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { linesOf, native, scale, web } from "./support.mjs";

const runner = fileURLToPath(new URL("run_wasi.mjs", import.meta.url));

const wanted = Math.ceil(10_000_000 * scale);

test(`${wanted} doubles`, () => {
  const count = String(wanted);
  const expected = linesOf(join(native, "numbers"), [count]);
  const found = linesOf(process.execPath, [runner, join(web, "numbers.wasm"), count]);
  assert.ok(expected.length > Number(count) / 100_000);
  assert.deepEqual(found, expected);
});
