#!/usr/bin/env node
// SPDX-License-Identifier: Apache-2.0
//
// amf2json FILE: prints the file as JSON. Tested by web/tests/package.test.mjs.
import { readFile, writeFile } from "node:fs/promises";
import { parseArgs } from "node:util";
import { gunzipSync, inflateSync } from "node:zlib";
import { Amf2JsonError, exportJson, importJson, version } from "./index.js";

const usage = `usage: amf2json [OPTION...] FILE
Prints a packet, AMF values, a shared object (.sol) or the script tags of an FLV file as JSON.
  --import OUT     the other way: reads JSON from FILE, writes its bytes to OUT
  --as FORM        packet, amf0, amf3, sol or flv; detected unless set
  --unwrap         take off gzip and zlib
  --compact        one line
  --salvage        keep sections that cannot be read as raw bytes
  --no-originals   leave out the bytes of odd sections
  --version, --help
`;

const mostBytes = 64 << 20; // larger content of gzip or zlib is refused
const mostWrappers = 8;

function fail(text, status) {
  process.stderr.write(text);
  process.exit(status);
}

function commandLine() {
  try {
    return parseArgs({
      allowPositionals: true,
      options: {
        import: { type: "string" },
        as: { type: "string" },
        unwrap: { type: "boolean" },
        compact: { type: "boolean" },
        salvage: { type: "boolean" },
        "no-originals": { type: "boolean" },
        version: { type: "boolean" },
        help: { type: "boolean" },
      },
    });
  } catch (error) {
    return fail(`amf2json: ${error.message}\n${usage}`, 2);
  }
}

const { values, positionals } = commandLine();
if (values.help) {
  process.stdout.write(usage);
} else if (values.version) {
  process.stdout.write(`amf2json ${version}\n`);
} else if (positionals.length !== 1) {
  fail(usage, 2);
} else {
  await convert(positionals[0]).catch((error) => {
    if (!(error instanceof Amf2JsonError) && !error.syscall) throw error;
    const place = error.line ? `${error.line}:${error.column}:` : error.offset === undefined ? "" : `${error.offset}:`;
    const hint = error.hint ? `    ${error.hint}\n` : "";
    fail(`${positionals[0]}:${place} ${error.message}${error.path ? ` (${error.path})` : ""}\n${hint}`, 1);
  });
}

async function convert(file) {
  if (values.import !== undefined) {
    return writeFile(values.import, importJson(await readFile(file, "utf8")));
  }
  const { as, compact, salvage } = values;
  const input = await readFile(file);
  const { bytes, wrappers } = values.unwrap ? unwrapped(input, as) : { bytes: input, wrappers: [] };
  const exported = withContext(bytes, wrappers, () =>
    exportJson(bytes, { as, compact, salvage, originals: !values["no-originals"] }));
  for (const warning of exported.warnings) process.stderr.write(`${file}: ${warning}\n`);
  process.stdout.write(exported.json + "\n");
}

// ---- Wrappers: the rules and the words of amf2json export --unwrap (tool/input/unwrap.cpp, tool/input/inflate.cpp)

function compressionOf(bytes) {
  if (bytes[0] === 0x1f && bytes[1] === 0x8b && bytes[2] === 8) return { name: "gzip", decompress: gunzipSync };
  return bytes[0] === 0x78 && (0x7800 + bytes[1]) % 31 === 0 ? { name: "zlib", decompress: inflateSync } : null;
}

function isRead(bytes, as) {
  try {
    return exportJson(bytes, { as, compact: true }) !== null;
  } catch (error) {
    if (error instanceof Amf2JsonError) return false;
    throw error;
  }
}

// Removes wrappers until there is none, or the bytes can be read as they are.
function unwrapped(input, as) {
  const wrappers = [];
  let bytes = input;
  for (let found; (found = compressionOf(bytes)) !== null && !isRead(bytes, as); ) {
    if (wrappers.length === mostWrappers) throw refusal(`more than ${mostWrappers} wrappers`, wrappers);
    bytes = decompressed(found, bytes, wrappers);
    wrappers.push(found.name);
  }
  return { bytes, wrappers };
}

function decompressed({ name, decompress }, bytes, outer) {
  try {
    const { buffer, engine } = decompress(bytes, { maxOutputLength: mostBytes, info: true });
    const hasMore = bytes.subarray(engine.bytesWritten).some((byte) => byte !== 0); // zeros are padding
    if (hasMore) throw refusal(`${name}: something else stands behind it`, outer);
    return buffer;
  } catch (error) {
    if (error.code === "ERR_BUFFER_TOO_LARGE") {
      throw refusal(`packet too large: ${name} of more than ${mostBytes} bytes`, outer);
    }
    if (error.code === "Z_BUF_ERROR") throw refusal(`${name}: ends too early`, outer);
    // The first header is valid: compressionOf() has seen it.
    const isBehind = error.message === "incorrect header check";
    if (/^Z_/.test(error.code)) {
      throw refusal(`${name}: ${isBehind ? "something else stands behind it" : error.message}`, outer);
    }
    throw error;
  }
}

function inside(wrappers) {
  return wrappers.length > 0 ? `, in what ${wrappers.join(" > ")} holds` : "";
}

function refusal(message, wrappers) {
  return new Amf2JsonError({ code: "malformed", message: message + inside(wrappers) });
}

// Runs `call`. Adds the wrappers of the bytes to its error; for gzip without --unwrap, a hint.
function withContext(bytes, wrappers, call) {
  try {
    return call();
  } catch (error) {
    if (error.offset !== undefined) error.message += inside(wrappers);
    if (!values.unwrap && compressionOf(bytes)?.name === "gzip") error.hint = "these bytes are gzip: --unwrap unpacks them";
    throw error;
  }
}
