// SPDX-License-Identifier: Apache-2.0
//
// HTTP messages in files and pastes, as curl -i writes them. Enter at parseHttp().
// Tested by test/parse_input.test.mjs.

const firstLine = /^(HTTP\/[\d.]+ \d{3}|[A-Z]+ \S+ HTTP\/[\d.]+)/;
const mostHeadBytes = 1 << 20;
const mostBodyBytes = 64 << 20;

const latin1 = (bytes) => new TextDecoder("latin1").decode(bytes);

export function beginsHttp(bytes) {
  return firstLine.test(latin1(bytes.subarray(0, 2048)));
}

// { start, fields: Map of lower-case names, body }. Interim responses (1xx) before it are skipped.
// Throws Error where the head has no end.
export function splitHttp(bytes) {
  const text = latin1(bytes.subarray(0, mostHeadBytes));
  const blank = /\r?\n\r?\n/.exec(text);
  if (!blank) throw new Error("HTTP message: no empty line ends the head");
  const [start, ...lines] = text.slice(0, blank.index).split(/\r?\n/);
  const body = bytes.subarray(blank.index + blank[0].length);
  if (/^HTTP\/[\d.]+ 1\d\d/.test(start) && beginsHttp(body)) return splitHttp(body);
  const fields = new Map();
  for (const line of lines) {
    const colon = line.indexOf(":");
    if (colon > 0) fields.set(line.slice(0, colon).trim().toLowerCase(), line.slice(colon + 1).trim());
  }
  return { start, fields, body };
}

// The content of a chunked body. Null if it is not chunked: curl removes the chunks and keeps the header field.
export function fromChunks(bytes) {
  const parts = [];
  for (let at = 0; ;) {
    const line = /^([0-9a-fA-F]{1,8})[ \t]*(;[^\r\n]*)?\r?\n/.exec(latin1(bytes.subarray(at, at + 256)));
    if (!line) return null;
    const length = parseInt(line[1], 16);
    at += line[0].length;
    if (length === 0) return concat(parts);
    if (at + length > bytes.length) return null;
    parts.push(bytes.subarray(at, at + length));
    at += length;
    if (bytes[at] === 13) at += 1;
    if (bytes[at] !== 10) return null;
    at += 1;
  }
}

export function concat(parts) {
  const all = new Uint8Array(parts.reduce((sum, part) => sum + part.length, 0));
  let at = 0;
  for (const part of parts) {
    all.set(part, at);
    at += part.length;
  }
  return all;
}

// Decompresses gzip, or zlib (called "deflate" here), to at most `most` bytes.
export async function inflate(bytes, format, most = mostBodyBytes) {
  const stream = new Blob([bytes]).stream().pipeThrough(new DecompressionStream(format));
  const reader = stream.getReader();
  const parts = [];
  let length = 0;
  for (;;) {
    let step;
    try {
      step = await reader.read();
    } catch (error) {
      throw new Error(`${format}: ${error.message}`);
    }
    if (step.done) return concat(parts);
    length += step.value.length;
    if (length > most) {
      await reader.cancel();
      throw new Error(`${format}: packet too large: more than ${most} bytes`);
    }
    parts.push(step.value);
  }
}

// The body without chunks and content codings, which tools may have removed already.
export async function parseHttp(bytes) {
  const { start, fields, body } = splitHttp(bytes);
  const length = Number(fields.get("content-length") ?? NaN);
  let content = body.length > length ? body.subarray(0, length) : body;
  if (/chunked/i.test(fields.get("transfer-encoding") ?? "")) content = fromChunks(body) ?? body;
  const isGzip = content[0] === 0x1f && content[1] === 0x8b;
  if (isGzip) content = await inflate(content, "gzip");
  else if (/deflate/i.test(fields.get("content-encoding") ?? "") && (content[0] & 15) === 8) {
    content = await inflate(content, "deflate");
  }
  const missing = length > body.length && !isGzip ? length - body.length : 0;
  return { start, fields, body: content, missing };
}
