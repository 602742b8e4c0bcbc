// SPDX-License-Identifier: Apache-2.0
//
// What somebody drops or pastes, as packets: binary files, hexadecimal, base64, HTTP messages, gzip, zlib, archives
// (HAR), documents. Enter at parseInput(). Tested by test/parse_input.test.mjs.
import { countReplaced, fromBase64, fromLatin1, utf8 } from "./bytes.js";
import { looksLikeHar, readHar } from "./har.js";
import { beginsHttp, inflate, parseHttp } from "./http_message.js";

const mostWrappers = 8;
const mostArchiveBytes = 64 << 20;  // of all bodies of an archive that are decompressed

// Returns { kind: "bytes", bytes, wrappers, notes, source }, { kind: "har", entries } or { kind: "document", text }.
// Throws Error with a sentence for the user.
// `isRead(bytes)` says whether bytes are a packet to the last one.
export async function parseInput(bytes, isRead) {
  const wrappers = [];
  const notes = [];
  let source = {};
  let content = bytes;
  for (;;) {
    const text = plainTextOf(content);
    if (text !== null && looksLikeHar(text)) return { kind: "har", entries: await decompressed(readHar(text, isRead)) };
    if (text !== null && looksLikeDocument(text)) return { kind: "document", text };
    const inner = await unwrapOnce(content, text);
    if (!inner) break;
    if (wrappers.length === mostWrappers) throw new Error("more than 8 wrappers");
    wrappers.push(inner.name);
    notes.push(...(inner.notes ?? []));
    source = { ...source, ...inner.source };
    content = inner.bytes;
  }
  if (content.length === 0) throw new Error("There are no bytes in it.");
  if (plainTextOf(content) !== null && wrappers.length === 0) {
    throw new Error("This is text, but neither hexadecimal nor base64, an HTTP message, an archive or a document.");
  }
  const replaced = countReplaced(content);
  if (replaced > 0) {
    notes.push(`EF BF BD stands ${replaced} times in it: a text decoder has replaced bytes. What they were is lost.`);
  }
  return { kind: "bytes", bytes: content, wrappers, notes, source };
}

// A paste is text. An HTTP message without characters above U+00FF is read as one byte a character, other pastes as UTF-8.
export function bytesOfPaste(text) {
  return /^HTTP\//.test(text) ? fromLatin1(text) ?? utf8(text) : utf8(text);
}

// The bytes as text, if they are UTF-8, without control characters in the first 4096; else null.
function plainTextOf(bytes) {
  if (bytes.length === 0 || bytes.subarray(0, 4096).some((byte) => byte < 32 && (byte < 9 || byte > 13))) return null;
  try {
    return new TextDecoder("utf-8", { fatal: true }).decode(bytes);
  } catch {
    return null;
  }
}

function looksLikeDocument(text) {
  return /^\s*\{/.test(text) && /"(amf|amf0|amf3|sol|flv)"\s*:/.test(text);
}

// The compression, by the first bytes: the name of the wrapper, and the format for DecompressionStream. Null: none.
function compressionOf(bytes) {
  if (bytes[0] === 0x1f && bytes[1] === 0x8b) return { name: "gzip", format: "gzip" };
  return bytes[0] === 0x78 && (0x7800 + bytes[1]) % 31 === 0 ? { name: "zlib", format: "deflate" } : null;
}

// The bodies of an archive, decompressed where they were recorded compressed; such an entry has a `wrapper`. A body that
// cannot be decompressed, or would be too large together with those before it, stays as it is.
async function decompressed(entries) {
  const result = [];
  let left = mostArchiveBytes;
  for (const entry of entries) {
    const compression = compressionOf(entry.bytes);
    const bytes = compression && await inflate(entry.bytes, compression.format, left).catch(() => null);
    left -= bytes?.length ?? 0;
    result.push(bytes ? { ...entry, bytes, wrapper: compression.name } : entry);
  }
  return result;
}

// Removes the outermost wrapper; null if there is none.
async function unwrapOnce(bytes, text) {
  const compression = text === null ? compressionOf(bytes) : null;
  if (compression) return { name: compression.name, bytes: await inflate(bytes, compression.format) };
  if (beginsHttp(bytes)) {
    const { start, fields, body, missing } = await parseHttp(bytes);
    const notes = missing > 0 ? [`The head says ${missing} bytes more than follow.`] : [];
    return { name: "HTTP message", bytes: body, notes, source: sourceOf(start, fields) };
  }
  if (text === null) return null;
  const hex = fromHexText(text);
  if (hex) return { name: "hexadecimal", bytes: hex };
  const base64 = fromBase64(text.trim().replace(/^data:[^,]*;base64,/i, ""));
  return base64 ? { name: "base64", bytes: base64 } : null;
}

function sourceOf(start, fields) {
  const request = /^([A-Z]+) (\S+) HTTP/.exec(start);
  if (!request) return { direction: "response" };
  const host = fields.get("host");
  return { direction: "request", url: /^\//.test(request[2]) && host ? `http://${host}${request[2]}` : request[2] };
}

// Pairs of digits with blanks, commas, 0x and # comments; the columns of xxd, hexdump -C and od -Ax -tx1z.
// Null: this is something else.
export function fromHexText(text) {
  const lines = text.split(/\r?\n/).map((line) => line.replace(/(^|\s)#.*/, "")).filter((line) => line.trim() !== "");
  const digits = lines.map(isDump(lines) ? dumpDigits : plainDigits);
  if (digits.some((some) => some === null)) return null;
  const all = digits.join("");
  if (all === "" || all.length % 2 !== 0) return null;
  return Uint8Array.from({ length: all.length / 2 }, (_, i) => parseInt(all.slice(2 * i, 2 * i + 2), 16));
}

// Whether the lines begin with offsets: the first is 0 and followed by a colon or two blanks, or the second is 16.
function isDump(lines) {
  if (!lines.every((line) => /^\s*[0-9a-fA-F]{6,16}(:?\s|:?$)/.test(line))) return false;
  return /^\s*0{6,16}(:|\s\s)/.test(lines[0]) || (lines.length > 1 && /^\s*0+ /.test(lines[0]) && /^\s*0+[12]0 /.test(lines[1]));
}

function plainDigits(line) {
  const digits = line.replace(/0x|\\x/gi, "").replace(/[\s,;:{}]/g, "");
  return /^[0-9a-fA-F]*$/.test(digits) ? digits : null;
}

function dumpDigits(line) {
  const columns = line.replace(/^\s*[0-9a-fA-F]+:?/, "").replace(/\s+[|>].*$/, "");
  const digits = /^((?:\s{0,2}[0-9a-fA-F]{2})+)(?:\s{2,}.*)?$/.exec(columns.replace(/\s+$/, ""));
  if (columns.trim() === "") return "";
  return digits ? digits[1].replace(/\s/g, "") : null;
}
