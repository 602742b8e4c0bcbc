// SPDX-License-Identifier: Apache-2.0
//
// HTTP archives (HAR), as browsers and proxies save them: the bodies that carry AMF, and what is wrong with them.
// Enter at readHar(). Tested by test/har.test.mjs; web/tests/archives.test.mjs compares it with the program.
import { countReplaced, fromBase64, fromLatin1, pluralize, utf8 } from "./bytes.js";

const amfType = /^application\/(x-amf|amf)([; \t]|$)/i;
const loneSurrogate = /\p{Surrogate}/gu;

// Returns a list of { index, direction, method, url, status, time, bytes, how, isBadBase64, replaced, surrogates, missing,
// isAmf }. how: "base64", "code points" or "text". isBadBase64: the archive calls the text base64, but it is not; `bytes`
// is the text, and no packet. replaced, surrogates: number of U+FFFD and of lone surrogates, each EF BF BD in `bytes`.
// missing: bytes that the archive counts and does not contain. `isRead(bytes)` returns whether all bytes are a packet.
// Throws Error if the text is not an archive.
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

// By its media type; without one, by the first bytes of a packet.
function isAmf(type, bytes) {
  if (type) return amfType.test(type);
  return bytes.length >= 6 && bytes[0] === 0 && [0, 1, 3].includes(bytes[1]);
}

// JSON contains bytes in one of three ways: base64; one character a byte; decoded as UTF-8, which loses bytes.
function bodyOf(holder, size, isRead) {
  const text = stringOf(holder?.text);
  const missing = text === "" ? size : 0;
  const isCalledBase64 = text !== "" && stringOf(holder?.encoding).toLowerCase() === "base64";
  const decoded = isCalledBase64 ? fromBase64(text.replace(/^data:[^]*?;base64,/, "")) : null;
  if (decoded) {
    const replaced = isRead(decoded) ? 0 : countReplacedBody(decoded);
    return { bytes: decoded, how: "base64", isBadBase64: false, replaced, surrogates: 0, missing };
  }
  const body = textBody(text, size, isRead);
  return { ...body, isBadBase64: isCalledBase64 && !isRead(body.bytes), missing };
}

// The body of a text that is not base64.
function textBody(text, size, isRead) {
  const latin1 = fromLatin1(text);
  const bytes = utf8(text);
  const isText = !latin1 || (bytes.length === size || isRead(bytes)) && !(latin1.length === size || isRead(latin1));
  if (!isText) return { bytes: latin1, how: "code points", replaced: 0, surrogates: 0 };
  // A sender may have written U+FFFD, but not a lone surrogate.
  const surrogates = text.match(loneSurrogate)?.length ?? 0;
  const replaced = surrogates > 0 || !isRead(bytes) ? countReplaced(bytes) - surrogates : 0;
  return { bytes, how: "text", replaced, surrogates };
}

// Counts the U+FFFD of bytes that cannot be read. A recorder may have decoded them as text before it encoded them as
// base64; then all of them are UTF-8. Other bytes prove that they were not decoded.
function countReplacedBody(bytes) {
  try {
    new TextDecoder("utf-8", { fatal: true }).decode(bytes);
  } catch {
    return 0;
  }
  return countReplaced(bytes);
}

// How the recorder lost bytes of a body; empty if it has all bytes.
export function lossOf({ replaced, surrogates, missing }) {
  if (missing > 0) return `not in the archive: ${pluralize(missing, "byte")}`;
  const lost = [];
  if (replaced > 0) lost.push(`EF BF BD ${pluralize(replaced, "time")}`);
  if (surrogates > 0) lost.push(`half a surrogate pair ${pluralize(surrogates, "time")}`);
  return lost.length > 0 ? `destroyed by the recorder: ${lost.join(", ")}` : "";
}

// What is wrong with a body, in the words of the program (tool/commands/export_har.cpp); empty if nothing is.
export function problemOf(body) {
  const text = body.isBadBase64 ? `not base64, but the archive says so: ${pluralize(body.bytes.length, "byte")}` : "";
  return lossOf(body) || text;
}
