// SPDX-License-Identifier: Apache-2.0
//
//   node web_bench.mjs MODULE WIRE_BENCH CODEC FILE...
//
// The time of exportJson for each packet as a ratio to the native library, for both layouts. If CODEC is not empty: the
// time of its decode(bytes) and JSON.stringify as a ratio to exportJson. Each ratio is the median of ROUNDS (7) pairs
// that are measured in turn. Started by script/bench web.
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { basename } from "node:path";
import { pathToFileURL } from "node:url";

const [modulePath, wireBench, codecPath, ...files] = process.argv.slice(2);
const rounds = Number(process.env.ROUNDS ?? 7);
const { exportJson } = await import(pathToFileURL(modulePath));
const codec = codecPath ? await import(pathToFileURL(codecPath)) : null;

// The least milliseconds of a call, from calls of 0.3 seconds.
function leastTime(call) {
  let least = Infinity;
  const end = performance.now() + 300;
  for (let begin = performance.now(); begin < end; ) {
    call();
    const now = performance.now();
    least = Math.min(least, now - begin);
    begin = now;
  }
  return least;
}

function median(numbers) {
  return numbers.sort((a, b) => a - b)[Math.floor(numbers.length / 2)].toFixed(2);
}

const columns = ["", "compact / native", "pretty / native", ...(codec ? ["codec / compact"] : [])];
const print = (cells) => console.log(cells.map((cell, i) => (i === 0 ? cell.padEnd(12) : cell.padStart(18))).join(""));
print(columns);
for (const file of files) {
  const bytes = new Uint8Array(readFileSync(file));
  const ratios = columns.slice(1).map(() => []);
  for (let round = 0; round < rounds; ++round) {
    const native = execFileSync(wireBench, ["exports", file], { encoding: "utf8" }).trim().split("\n").map(Number);
    const compact = leastTime(() => exportJson(bytes, { as: "packet", compact: true }));
    const pretty = leastTime(() => exportJson(bytes, { as: "packet" }));
    ratios[0].push(compact / native[0]);
    ratios[1].push(pretty / native[1]);
    if (codec) ratios[2].push(leastTime(() => JSON.stringify(codec.decode(bytes))) / compact);
  }
  print([basename(file, ".amf"), ...ratios.map(median)]);
}
