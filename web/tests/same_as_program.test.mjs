// SPDX-License-Identifier: Apache-2.0
//
// Module and program give the same texts, bytes and errors: for the samples, the packets of a folder, and generated
// inputs.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { basename, join } from "node:path";
import { test } from "node:test";
import { deflateSync, gzipSync } from "node:zlib";
import { answers, api, bytesOf, failureOf, generated, hex, native, packetFiles, program, run, scale } from "./support.mjs";

const base64 = (bytes) => Buffer.from(bytes).toString("base64");
const fromBase64 = (line) => new Uint8Array(Buffer.from(line, "base64"));

// Both refuse at the same place. The program names options in the messages of limits, so these differ.
function assertSameRefusal(error, problem, what) {
  assert.equal(error.offset, problem.offset, what);
  if (!/Limit$/.test(error.code)) assert.equal(error.message, problem.message, what);
}

test(`export and import: ${packetFiles.length} files`, () => {
  assert.ok(packetFiles.length >= 28);
  for (const file of packetFiles) {
    const bytes = bytesOf(file);
    for (const [flags, options] of [
      [[], {}],
      [["--compact"], { compact: true }],
      [["--compact", "--salvage", "--no-originals"], { compact: true, salvage: true, originals: false }],
    ]) {
      const expected = run("export", ...flags, file);
      if (expected.stdout.length === 0) {
        assertSameRefusal(failureOf(() => api.exportJson(bytes, options)), expected.problems[0], file);
        continue;
      }
      const exported = api.exportJson(bytes, options);
      assert.equal(exported.json + "\n", expected.stdout.toString(), file);
      assert.deepEqual(exported.warnings, expected.problems.map((problem) => problem.message), file);
      if (exported.form === "flv" || options.originals === false) continue;
      assert.equal(hex(api.importJson(exported.json)), hex(bytes), file);
    }
  }
});

test(`decode, check and identify: ${packetFiles.length} files`, () => {
  let decoded = 0;
  for (const file of packetFiles) {
    const bytes = bytesOf(file);
    for (const view of ["json", "js", "both", "script"]) {
      for (const pretty of [true, false]) {
        const expected = run("decode", "--to", view, ...(pretty ? [] : ["--compact"]), file);
        if (expected.stdout.length === 0) {
          assertSameRefusal(failureOf(() => api.decode(bytes, { view, pretty })), expected.problems[0], file);
          continue;
        }
        ++decoded;
        const text = api.decode(bytes, { view, pretty });
        assert.equal(text.endsWith("\n") ? text : text + "\n", expected.stdout.toString(), `${file} ${view}`);
      }
    }
    const verdict = JSON.parse(run("check", "--format", "json", file).stdout);
    const checked = api.check(bytes);
    for (const [name, value] of Object.entries({
      bytes: verdict.bytes, consumed: verdict.consumed, leftOver: verdict.left_over, headers: verdict.headers,
      messages: verdict.messages, nodes: verdict.nodes, depth: verdict.depth, lyingLengths: verdict.lying_lengths,
    })) {
      assert.equal(checked[name], value, `${file} ${name}`);
    }
    if (checked.ok) assert.ok(["ok", "left over"].includes(verdict.status), file);
    if (!checked.ok) {
      assert.equal(checked.status, verdict.status, file);
      assert.equal(checked.message, verdict.message, file);
      assert.equal(checked.offset, verdict.offset, file);
    }
    const identity = JSON.parse(run("identify", "--format", "json", file).stdout);
    const identified = api.identify(bytes);
    assert.equal(identified.kind, identity.kind, file);
    assert.equal(identified.reason, identity.verdict, file);
    assert.deepEqual(identified.wrappers, identity.wrappers, file);
    const hints = identity.next === null ? [] : [identity.next.slice(0, identity.next.lastIndexOf(" ")) + " FILE"];
    assert.deepEqual(identified.hints, hints, file);
    if (identified.form !== null) assert.equal(api.exportJson(bytes, { as: identified.form }).form, identified.form);
  }
  assert.ok(decoded >= 100);
});

// The host decompresses, and both identify the same content.
test(`identify compressed bytes: ${packetFiles.length} files`, () => {
  const folder = mkdtempSync(join(tmpdir(), "amf2json-"));
  try {
    for (const file of packetFiles) {
      for (const [name, pack] of [["gzip", gzipSync], ["zlib", deflateSync]]) {
        const packed = new Uint8Array(pack(bytesOf(file)));
        const path = join(folder, name);
        writeFileSync(path, packed);
        const { kind, verdict } = JSON.parse(run("identify", "--format", "json", path).stdout);
        const outside = api.identify(packed);
        assert.deepEqual([outside.known, outside.kind, outside.wrappers, outside.form], [true, "compressed", [name], null]);
        assert.equal(outside.reason, `${name}: this build of amf2json has no zlib; unpack it first`);
        assert.deepEqual(outside.hints, name === "gzip" ? ["gzip -dc FILE | amf2json identify"] : []);
        const inside = api.identify(bytesOf(file));
        assert.deepEqual([kind, verdict], [inside.kind, `${name} > ${inside.reason}`], file);
      }
    }
    const inBase64 = api.identify(Buffer.from(gzipSync(bytesOf(packetFiles[0])).toString("base64")));
    assert.deepEqual([inBase64.kind, inBase64.wrappers, inBase64.hints], ["compressed", ["base64 text", "gzip"], []]);
  } finally {
    rmSync(folder, { recursive: true });
  }
});

for (const [form, count] of [["packet", 14000], ["amf0", 2000], ["amf3", 2000], ["sol", 1000], ["flv", 1000]]) {
  const wanted = Math.ceil(count * scale);
  test(`export: ${wanted} generated inputs, ${form}`, () => {
    const lines = generated("packet_generator.py", form, wanted);
    assert.equal(lines.length, wanted);
    for (const [flags, options] of [[[], {}], [["--salvage", "--no-originals"], { salvage: true, originals: false }]]) {
      const expected = answers(["export", "--lines", "--from", "base64", "--as", form, ...flags], lines);
      assert.equal(expected.length, lines.length);
      let refused = 0;
      for (const [index, line] of lines.entries()) {
        const call = () => api.exportJson(fromBase64(line), { as: form, compact: true, ...options });
        if (expected[index].startsWith('{"error"')) {
          const { error, offset } = JSON.parse(expected[index]);
          assertSameRefusal(failureOf(call), { message: error, offset }, line);
          ++refused;
        } else {
          assert.equal(call().json, expected[index], line);
        }
      }
      assert.ok(refused < lines.length / 2);
    }
  });
}

for (const [form, count] of [["packet", 3000], ["amf0", 1000], ["amf3", 1000], ["sol", 500]]) {
  const wanted = Math.ceil(count * scale);
  test(`import: ${wanted} edited documents, ${form}`, () => {
    const lines = generated("text_generator.py", form, wanted);
    const expected = answers(["import", "--lines", "--to", "base64"], lines);
    assert.equal(expected.length, lines.length);
    let written = 0;
    for (const [index, line] of lines.entries()) {
      if (expected[index].startsWith("{")) {
        const { error, path, line: row, column } = JSON.parse(expected[index]);
        const { message, ...place } = failureOf(() => api.importJson(line));
        assert.deepEqual([place.path, place.line, place.column], [path, row, column], line);
        if (!/Limit$/.test(place.code)) assert.equal(failureOf(() => api.importJson(line)).message, error, line);
      } else {
        assert.equal(base64(api.importJson(line)), expected[index], line);
        ++written;
      }
    }
    assert.ok(written > lines.length / 10);
  });
}

function dialectPackets(count) {
  const stream = execFileSync(join(native, "dialect_packets"), [String(count)], { maxBuffer: 1 << 30 });
  const packets = [];
  for (let at = 0; at < stream.length; ) {
    const end = at + 4 + stream.readUInt32BE(at);
    packets.push(new Uint8Array(stream.subarray(at + 4, end)));
    at = end;
  }
  return packets;
}

test("decode: generated packets of the dialect", () => {
  const packets = dialectPackets(Math.ceil(20000 * scale));
  const folder = mkdtempSync(join(tmpdir(), "amf2json-"));
  try {
    const files = packets.map((packet, number) => {
      const file = join(folder, `${number}.amf`);
      writeFileSync(file, packet);
      return file;
    });
    for (const [view, pretty, share] of [["json", true, 1], ["json", false, 0.2], ["js", true, 0.2], ["both", false, 0.1], ["script", true, 0.2]]) {
      const some = files.slice(0, Math.ceil(files.length * share));
      const out = join(folder, `${view}${pretty}`);
      mkdirSync(out);
      const flags = ["decode", "--to", view, ...(pretty ? [] : ["--compact"]), "-o", out];
      // The status is not 0 if a view was cut.
      spawnSync("xargs", ["-0", program, ...flags, "--allow-trailing", "--max-depth", "200"], {
        input: some.join("\0"), env: { ...process.env, TZ: "UTC" }, stdio: ["pipe", "ignore", "ignore"],
      });
      const extension = view === "json" ? ".json" : view === "both" ? ".txt" : ".js";
      for (const [number, file] of some.entries()) {
        const expected = readFileSync(join(out, basename(file) + extension), "utf8");
        const text = api.decode(packets[number], { view, pretty, maxDepth: 200 });
        assert.equal(text.endsWith("\n") ? text : text + "\n", expected, `packet ${number}, ${view}`);
      }
    }
  } finally {
    rmSync(folder, { recursive: true });
  }
});
