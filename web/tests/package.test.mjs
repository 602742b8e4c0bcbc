// SPDX-License-Identifier: Apache-2.0
//
// The npm package: its program, and what browser.js does with a server's answer.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { test } from "node:test";
import { pathToFileURL } from "node:url";
import { deflateSync, gzipSync } from "node:zlib";
import { api, binary, bytesOf, hex, packetFiles, run, sources, wasm, web } from "./support.mjs";

const start = (...args) => {
  const { status, stdout, stderr } = spawnSync(process.execPath, [binary, ...args], { encoding: "utf8", maxBuffer: 1 << 28 });
  return { status, stdout, stderr };
};

test("the WebAssembly file has at most 300 KB after gzip", () => {
  assert.ok(gzipSync(wasm, { level: 9 }).length <= 300_000);
});

test("the version is that of the library", () => {
  const [, version] = /project\(AMF2JSON VERSION ([\d.]+)/.exec(readFileSync(join(sources, "CMakeLists.txt"), "utf8"));
  assert.equal(api.version, version);
  assert.equal(JSON.parse(readFileSync(join(web, "package/package.json"), "utf8")).version, version);
});

test("bin: export and import", () => {
  const folder = mkdtempSync(join(tmpdir(), "amf2json-"));
  try {
    for (const file of packetFiles.filter((name) => /wire.*[.](amf|sol)$/.test(name))) {
      const exported = start(file);
      assert.deepEqual([exported.status, exported.stdout], [0, run("export", file).stdout.toString()], file);
      const text = join(folder, "a.json");
      const copy = join(folder, "a.amf");
      writeFileSync(text, exported.stdout);
      assert.deepEqual(start("--import", copy, text), { status: 0, stdout: "", stderr: "" });
      assert.equal(hex(bytesOf(copy)), hex(bytesOf(file)));
    }
    const text = join(folder, "a.json");
    writeFileSync(text, '{"amf0":\n[{"$x":1}]}');
    assert.deepEqual(start("--import", "never", text), {
      status: 1, stdout: "", stderr: `${text}:2:3: unknown key (amf0[0].$x)\n`,
    });
    const cut = join(folder, "cut.amf");
    writeFileSync(cut, new Uint8Array([0, 0, 0, 0, 0, 1, 0]));
    assert.equal(start("--as", "packet", cut).stderr, `${cut}:6: ${run("export", "--as", "packet", cut).problems[0].message}\n`);
  } finally {
    rmSync(folder, { recursive: true });
  }
  assert.equal(start("nowhere.amf").status, 1);
  assert.equal(start().status, 2);
  assert.equal(start("--nothing").status, 2);
  assert.match(start("--version").stdout, /^amf2json \d+\.\d+\.\d+\n$/);
});

// The program's problem as bin.js prints it, without the offset of wrappers.
const textOfProblem = (file, { message, offset, status, hint }) =>
  `${file}:${/wrapper|too large/.test(status) ? "" : `${offset}:`} ${message}\n${hint ? `    ${hint}\n` : ""}`;

test("bin: gzip and zlib, as the program reads them", () => {
  const folder = mkdtempSync(join(tmpdir(), "amf2json-"));
  const packet = new Uint8Array([0, 0, 0, 0, 0, 1, 0, 1, 0x74, 0, 1, 0x72, 0xff, 0xff, 0xff, 0xff, 5]);
  const gzip = gzipSync(packet);
  const damaged = Uint8Array.from(gzip, (byte, at) => (at === gzip.length - 8 ? byte ^ 1 : byte));
  let nine = packet;
  for (let i = 0; i < 9; ++i) nine = gzipSync(nine);
  const rows = [
    ["plain", packet], ["gzip", gzip], ["zlib", deflateSync(packet)], ["both", gzipSync(deflateSync(packet))],
    ["padded", Buffer.concat([gzip, Buffer.alloc(9)])],
    ["two parts", Buffer.concat([gzipSync(packet.subarray(0, 3)), gzipSync(packet.subarray(3))])],
    ["cut", gzip.subarray(0, 20)], ["damaged", damaged],
    ["behind", Buffer.concat([deflateSync(packet), Buffer.from("more")])],
    ["behind gzip", Buffer.concat([gzip, Buffer.from("more")])],
    ["nine", nine], ["refused inside", deflateSync(gzipSync(packet.subarray(0, 10)))],
  ];
  try {
    for (const [name, bytes] of rows) {
      const file = join(folder, name);
      writeFileSync(file, bytes);
      for (const flags of [[], ["--unwrap"]]) {
        const expected = run("export", "--as", "packet", ...flags, file);
        const found = start("--as", "packet", ...flags, file);
        assert.equal(found.stdout, expected.stdout.toString(), name);
        assert.equal(found.status === 0, expected.status === 0, name);
        if (expected.status !== 0) assert.equal(found.stderr, textOfProblem(file, expected.problems[0]), name);
      }
    }
    const bomb = join(folder, "bomb");
    writeFileSync(bomb, gzipSync(Buffer.alloc((64 << 20) + 1)));
    assert.deepEqual(start("--unwrap", bomb), {
      status: 1, stdout: "", stderr: `${bomb}: packet too large: gzip of more than 67108864 bytes\n`,
    });
    assert.match(run("export", "--unwrap", bomb).problems[0].message, /^packet too large: gzip of more than .* 67108864$/);
  } finally {
    rmSync(folder, { recursive: true });
  }
});

test("browser.js fetches the file beside it", async () => {
  const { fetch } = globalThis;
  const url = pathToFileURL(join(web, "package/browser.js")).href;
  let asked;
  globalThis.fetch = async (address) => ((asked = String(address)), new Response(wasm));
  try {
    const page = await import(url);
    assert.equal(asked, new URL("amf2json.wasm", url).href);
    assert.equal(page.exportJson(new Uint8Array([5]), { compact: true }).json, '{"amf0":[null]}');
    assert.equal(page.version, api.version);
    globalThis.fetch = async () => new Response("", { status: 404, statusText: "Not Found" });
    await assert.rejects(import(url + "?again"), /amf2json\.wasm: 404 Not Found/);
  } finally {
    globalThis.fetch = fetch;
  }
});
