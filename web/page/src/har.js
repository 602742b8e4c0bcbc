// SPDX-License-Identifier: Apache-2.0
//
// HTTP archives (HAR), as browsers and proxies save them: which entries carry AMF, and what is left of their bytes.
// Enter at readHar(). Tested by test/har.test.mjs.
import { countReplaced, fromBase64, fromLatin1, utf8 } from "./bytes.js";

const amfType = /^\s*application\/(x-amf|amf)\b/i;

// A list of { index, direction, method, url, status, time, bytes, how, replaced, missing, isAmf }:
// how: "base64", "code points" or "text"; replaced: number of U+FFFD, in `bytes` as EF BF BD;
// missing: bytes that the archive counts and does not hold. `isRead(bytes)` says whether bytes are a packet to the last one.
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
    method: String(entry?.request?.method ?? ""),
    url: String(entry?.request?.url ?? ""),
    status: Number(entry?.response?.status ?? 0),
    time: String(entry?.startedDateTime ?? ""),
  };
}

function request(entry, index, isRead) {
  const data = entry?.request?.postData;
  const type = data?.mimeType || fieldOf(entry?.request, "content-type");
  const body = bodyOf(data, entry?.request?.bodySize, isRead);
  return { ...common(entry, index, "request"), ...body, isAmf: data !== undefined && isAmf(type, body.bytes) };
}

function response(entry, index, isRead) {
  const content = entry?.response?.content;
  const type = content?.mimeType || fieldOf(entry?.response, "content-type");
  const body = bodyOf(content, content?.size, isRead);
  const isKept = body.bytes.length > 0 || body.missing > 0;
  return { ...common(entry, index, "response"), ...body, isAmf: isKept && isAmf(type, body.bytes) };
}

function fieldOf(message, name) {
  const fields = Array.isArray(message?.headers) ? message.headers : [];
  return String(fields.find((field) => String(field?.name).toLowerCase() === name)?.value ?? "");
}

// By its type; or a packet's first bytes in something of no type.
function isAmf(type, bytes) {
  if (type) return amfType.test(type);
  return bytes.length >= 6 && bytes[0] === 0 && (bytes[1] === 0 || bytes[1] === 3);
}

// Three ways to hold bytes in JSON: base64; one character a byte; UTF-8 that was decoded, which loses bytes.
function bodyOf(holder, size, isRead) {
  const text = String(holder?.text ?? "");
  const counted = Number.isInteger(size) && size > 0 ? size : 0;
  const missing = text === "" ? counted : 0;
  if (holder?.encoding === "base64") {
    const bytes = fromBase64(text);
    if (bytes) return { bytes, how: "base64", replaced: isRead(bytes) ? 0 : countReplacedBody(bytes), missing };
  }
  const latin1 = fromLatin1(text);
  const bytes = utf8(text);
  const isText = !latin1 || (bytes.length === counted || isRead(bytes)) && !(latin1.length === counted || isRead(latin1));
  return isText ? { bytes, how: "text", replaced: isRead(bytes) ? 0 : countReplaced(bytes), missing }
    : { bytes: latin1, how: "code points", replaced: 0, missing };
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
