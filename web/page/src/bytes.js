// SPDX-License-Identifier: Apache-2.0
//
// Converts bytes to base64, hexadecimal and text, and back. Tested by test/parse_input.test.mjs.

const hexDigits = Array.from({ length: 256 }, (_, byte) => byte.toString(16).padStart(2, "0"));

export const hexByte = (byte) => hexDigits[byte];

export function toHex(bytes, separator = " ", bytesPerLine = 16) {
  const lines = [];
  for (let at = 0; at < bytes.length; at += bytesPerLine) {
    lines.push(Array.from(bytes.subarray(at, at + bytesPerLine), hexByte).join(separator));
  }
  return lines.join("\n");
}

export function toBase64(bytes) {
  const parts = [];
  for (let at = 0; at < bytes.length; at += 0x6000) {  // a multiple of 3: no padding between the parts
    parts.push(btoa(String.fromCharCode(...bytes.subarray(at, at + 0x6000))));
  }
  return parts.join("");
}

// Both alphabets, with or without padding; blanks and line ends are ignored. Null: this is no base64. The program accepts
// the same texts (tool/input/base64_text.cpp).
export function fromBase64(text) {
  const whole = text.replace(/[ \t\r\n]/g, "").replace(/-/g, "+").replace(/_/g, "/");
  const [, digits, padding] = /^([A-Za-z0-9+/]+)(={0,2})$/.exec(whole) ?? [];
  if (!digits || digits.length % 4 === 1 || (padding && whole.length % 4 !== 0)) return null;
  return fromLatin1(atob(digits));
}

// One byte for each character; null where a character is above U+00FF.
export function fromLatin1(text) {
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; i += 1) {
    const code = text.charCodeAt(i);
    if (code > 0xff) return null;
    bytes[i] = code;
  }
  return bytes;
}

export const utf8 = (text) => new TextEncoder().encode(text);

// Counts EF BF BD (U+FFFD), which text decoders write in place of bytes that are not UTF-8.
export function countReplaced(bytes) {
  let count = 0;
  for (let at = bytes.indexOf(0xef); at >= 0; at = bytes.indexOf(0xef, at + 1)) {
    if (bytes[at + 1] === 0xbf && bytes[at + 2] === 0xbd) count += 1;
  }
  return count;
}

export function pluralize(count, noun) {
  return `${count.toLocaleString("en")} ${noun}${count === 1 ? "" : "s"}`;
}
