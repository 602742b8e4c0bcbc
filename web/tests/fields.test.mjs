// SPDX-License-Identifier: Apache-2.0
//
// The fields of bytes: they cover all of the bytes, each path leads to a value in the document of exportJson, and that
// value is equal to the bytes of the field.
import assert from "node:assert/strict";
import { test } from "node:test";
import { api, bytesOf, failureOf, fromHex, generated, packetFiles, run, scale } from "./support.mjs";

const missing = Symbol("missing");

// The value at a path such as messages[0].value["odd name"][2].
function valueAt(document, path) {
  let value = document;
  const step = /\.?([A-Za-z_$][\w$]*)|\[(\d+)\]|\[("(?:[^"\\]|\\.)*")\]/gy;
  while (step.lastIndex < path.length) {
    const match = step.exec(path);
    assert.ok(match, `not a path: ${path}`);
    const key = match[1] ?? (match[2] ? Number(match[2]) : JSON.parse(match[3]));
    if (value === null || typeof value !== "object" || !Object.hasOwn(value, key)) return missing;
    value = value[key];
  }
  return value;
}

const words = { NaN: NaN, Infinity: Infinity, "-Infinity": -Infinity, "-0": -0 };

function numberOf(value) {
  if (typeof value === "number") return value;
  const word = value.$double ?? value.$date;
  if (typeof word === "number") return word;
  if (word in words) return words[word];
  return word.startsWith("0x") ? NaN : Date.parse(word);
}

// The string of a JSON value that is a string or XML.
function textOf(value) {
  return value?.$xml ?? value?.$xmldoc ?? value;
}

function assertSame(field, bytes, value, what) {
  const own = bytes.subarray(field.offset, field.offset + field.length);
  const view = new DataView(own.buffer, own.byteOffset, own.length);
  switch (field.kind) {
    case "number":
    case "timeMs":
      if (own.length === 8) assert.ok(Object.is(numberOf(value), view.getFloat64(0)) , what);
      return 1;
    case "item": {
      const found = numberOf(value);
      if (own.length === 8) assert.ok(Object.is(found, view.getFloat64(0)), what);
      else assert.ok(found === view.getInt32(0) || found === view.getUint32(0), what);
      return 1;
    }
    case "boolean":
      assert.equal(value, own[0] !== 0, what);
      return 1;
    case "integer":
      assert.equal(field.meaning, `integer ${value}`, what);
      return 1;
    case "string":
    case "xml":
    case "targetUri":
    case "responseUri":
    case "headerName": {
      const text = textOf(value);
      const same = typeof text === "string" ? Buffer.from(text) : Buffer.from(text.$string64, "base64");
      assert.ok(Buffer.compare(same, own) === 0, what);
      return 1;
    }
    case "byteArray":
      assert.ok(Buffer.compare(Buffer.from(value.$bytes, "base64"), own) === 0, what);
      return 1;
    case "raw":
      if (typeof value === "string") assert.ok(Buffer.compare(Buffer.from(value, "base64"), own) === 0, what);
      return 1;
    case "trailing":
      assert.ok(Buffer.compare(Buffer.from(value, "base64"), own) === 0, what);
      return 1;
    case "version":
      if (typeof value === "number") assert.equal(value, Number(field.meaning.split(" ")[1]), what);
      return 1;
    case "marker0":
    case "marker3":
      assert.match(field.meaning, new RegExp(`^${field.kind} ${Buffer.from(own).toString("hex").toUpperCase()} `));
      return 0;
    default:
      return 0;
  }
}

function assertCovered(list, bytes, what) {
  let end = 0;
  for (const [index, { offset, length }] of list.entries()) {
    assert.equal(offset, end, what);
    assert.ok(length > 0 || index === list.length - 1, what);
    end += length;
  }
  assert.equal(end, bytes.length, what);
}

// How many values were compared.
function assertFields(bytes, options, what) {
  const list = api.fields(bytes, options);
  assertCovered(list, bytes, what);
  let exported;
  try {
    exported = api.exportJson(bytes, { ...options, compact: true });
  } catch (error) {
    assert.equal(list.at(-1).kind, "error", what);
    assert.equal(list.at(-1).offset, error.offset, what);
    assert.equal(list.at(-1).meaning, error.message, what);
    return 0;
  }
  const document = JSON.parse(exported.json);
  let compared = 0;
  for (const field of list) {
    assert.notEqual(field.kind, "error", what);
    if (field.path === undefined) continue;
    const value = valueAt(document, field.path);
    assert.notEqual(value, missing, `${what}: ${JSON.stringify(field)}`);
    compared += assertSame(field, bytes, value, `${what}: ${JSON.stringify(field)}`);
  }
  return compared;
}

test(`fields of ${packetFiles.length} files`, () => {
  let compared = 0;
  for (const file of packetFiles) {
    compared += assertFields(bytesOf(file), {}, file);
    assertFields(bytesOf(file), { salvage: true }, file);
  }
  assert.ok(compared >= 200);
});

for (const form of ["packet", "amf0", "amf3", "sol", "flv"]) {
  const count = Math.ceil(3000 * scale);
  test(`fields of ${count} generated inputs, ${form}`, () => {
    let compared = 0;
    for (const line of generated("packet_generator.py", form, count)) {
      const bytes = new Uint8Array(Buffer.from(line, "base64"));
      compared += assertFields(bytes, { as: form }, line);
      assertFields(bytes, { as: form, salvage: true }, line);
    }
    assert.ok(compared > 2 * count);
  });
}

test("what a field says", () => {
  const list = api.fields(fromHex("0A 13 07 612E42 03 61 05 3FF8000000000000"), { as: "amf3" });
  assert.deepEqual(list.map(({ offset, length, kind, meaning, path }) => [offset, length, kind, meaning, path]), [
    [0, 1, "marker3", "marker3 0A object", "amf3[0]"],
    [1, 1, "head", "traits: 1 sealed member", "amf3[0]"],
    [2, 1, "head", "length 3 of className", "amf3[0]"],
    [3, 3, "className", 'className "a.B"', "amf3[0]"],
    [6, 1, "head", "length 1 of memberName", "amf3[0]"],
    [7, 1, "memberName", 'memberName "a"', "amf3[0]"],
    [8, 1, "marker3", "marker3 05 double", "amf3[0].a"],
    [9, 8, "number", "number 1.5", "amf3[0].a"],
  ]);
});

test("fields of the dialect are the rows of the program's dump", () => {
  let compared = 0;
  for (const file of packetFiles.filter((name) => name.endsWith(".amf"))) {
    const bytes = bytesOf(file);
    const list = api.fields(bytes, { dialect: true });
    assertCovered(list, bytes, file);
    const rows = run("dump", "--full", file).stdout.toString("latin1");
    for (const { offset, length, kind } of list) {
      if (["trailing", "incomplete", "error"].includes(kind) || length === 0) continue;
      const place = offset.toString(16).toUpperCase().padStart(8, "0");
      assert.match(rows, new RegExp(`^${place}  .*\\b${kind}\\b`, "m"), `${file} ${place} ${kind}`);
      ++compared;
    }
    const { ok, offset, message } = api.check(bytes);
    if (!ok) assert.ok(list.at(-1).kind === "error" && list.at(-1).offset >= offset, `${file}: ${message}`);
  }
  assert.ok(compared >= 500);
});

test("refused options", () => {
  assert.equal(failureOf(() => api.fields(fromHex("05"), { compact: true })).code, "option");
});
