// SPDX-License-Identifier: Apache-2.0
//
// HTTP archives (HAR), as browsers and proxies save them: which entries carry AMF, and what is left of their bytes.
// Enter at readHar(). Tested by test/har.test.mjs; web/tests/archives.test.mjs compares it with the program.
import { countReplaced, fromBase64, fromLatin1, utf8 } from "./bytes.js";

const amfType = /^application\/(x-amf|amf)([; \t]|$)/i;
const loneSurrogate = /\p{Surrogate}/gu;

// A list of { index, direction, method, url, status, time, bytes, how, replaced, surrogates, missing, isAmf }:
// how: "base64", "code points" or "text"; replaced: number of U+FFFD, in `bytes` as EF BF BD; surrogates: number of lone
// ones, likewise; missing: bytes that the archive counts and does not hold. `isRead(bytes)` says whether bytes are a packet to the last one.
// Throws Error where it is no archive.
export function readHar(text, isRead = () => false) {
  const entries = JSON.parse(text)?.log?.entries;
  if (!Array.isArray(entries)) throw new Error("HAR: no log.entries");
  return entries.flatMap((entry, index) => [request(entry, index, isRead), response(entry, index, isRead)])
    .filter((one) => one.isAmf);
}

export function looksLikeHar(text) {
  return /^\s*\{/.test(text) && /"log"\s*:/.test(text.slice(0, 4096)) && text.includes('"entries"');
}

function common(entry, index, direction) {
  return {
    index,
    direction,
    method: wellFormed(entry?.request?.method),
    url: wellFormed(entry?.request?.url),
    status: countOf(entry?.response?.status),
    time: wellFormed(entry?.startedDateTime),
  };
}

const stringOf = (value) => (typeof value === "string" ? value : "");
const wellFormed = (value) => stringOf(value).replace(loneSurrogate, "\ufffd");
const countOf = (value) => (Number.isInteger(value) && value > 0 ? value : 0);

function request(entry, index, isRead) {
  const { postData, bodySize } = entry?.request ?? {};
  return { ...common(entry, index, "request"), ...message(entry?.request, postData, bodySize, isRead) };
}

function response(entry, index, isRead) {
  const content = entry?.response?.content;
  return { ...common(entry, index, "response"), ...message(entry?.response, content, content?.size, isRead) };
}

function message(head, holder, size, isRead) {
  const type = stringOf(holder?.mimeType) || fieldOf(head, "content-type");
  const body = bodyOf(holder, countOf(size), isRead);
  const isKept = body.bytes.length > 0 || body.missing > 0;
  return { ...body, isAmf: isKept && isAmf(type, body.bytes) };
}

function fieldOf(message, name) {
  const fields = Array.isArray(message?.headers) ? message.headers : [];
  return stringOf(fields.find((field) => stringOf(field?.name).toLowerCase() === name)?.value);
}

// By its type; or a packet's first bytes in something of no type.
function isAmf(type, bytes) {
  if (type) return amfType.test(type);
  return bytes.length >= 6 && bytes[0] === 0 && (bytes[1] === 0 || bytes[1] === 3);
}

// Three ways to hold bytes in JSON: base64; one character a byte; UTF-8 that was decoded, which loses bytes.
function bodyOf(holder, size, isRead) {
  const text = stringOf(holder?.text);
  const missing = text === "" ? size : 0;
  if (stringOf(holder?.encoding).toLowerCase() === "base64") {
    const bytes = fromBase64(text.replace(/^data:[^]*?;base64,/, ""));
    const replaced = bytes && !isRead(bytes) ? countReplacedBody(bytes) : 0;
    if (bytes) return { bytes, how: "base64", replaced, surrogates: 0, missing };
  }
  const latin1 = fromLatin1(text);
  const bytes = utf8(text);
  const isText = !latin1 || (bytes.length === size || isRead(bytes)) && !(latin1.length === size || isRead(latin1));
  if (!isText) return { bytes: latin1, how: "code points", replaced: 0, surrogates: 0, missing };
  // A sender may have written U+FFFD, but not half a character.
  const surrogates = text.match(loneSurrogate)?.length ?? 0;
  const replaced = surrogates > 0 || !isRead(bytes) ? countReplaced(bytes) - surrogates : 0;
  return { bytes, how: "text", replaced, surrogates, missing };
}

// Of bytes that cannot be read. In base64, too, may stand what a recorder had decoded before: then they are UTF-8. Bytes
// from 80 on that belong to no character prove that nothing was decoded.
function countReplacedBody(bytes) {
  try {
    new TextDecoder("utf-8", { fatal: true }).decode(bytes);
  } catch {
    return 0;
  }
  return countReplaced(bytes);
}
