// SPDX-License-Identifier: Apache-2.0
//
// Bytes to copy or download: hexadecimal, base64, a command for curl, downloads. Enter at outputText().
// Tested by test/outputs.test.mjs.
import { toBase64, toHex, pluralize } from "./bytes.js";

const mostTextBytes = 64 << 10;

// Quotes any text as one word of a POSIX shell.
export function shellWord(text) {
  return `'${text.replaceAll("'", "'\\''")}'`;
}

// A command that sends the bytes; if they are long, from the file that was downloaded.
export function curlCommand(bytes, url, file) {
  const send = `-H 'Content-Type: application/x-amf' -o reply.amf --url ${shellWord(url)}\n`;
  if (bytes.length > mostTextBytes) return `curl --data-binary @${shellWord(file)} ${send}`;
  return `printf %s ${shellWord(toBase64(bytes))} | base64 -d |\n  curl --data-binary @- ${send}`;
}

// The bytes in this form. Null if they are too many for a text.
export function outputText(form, bytes, url, file) {
  if (form === "curl") return curlCommand(bytes, url || "https://example.org/gateway", file);
  if (bytes.length > mostTextBytes) return null;
  return form === "hex" ? toHex(bytes) : toBase64(bytes);
}

// "the same 54 bytes that were opened", or what differs.
export function comparison(opened, bytes) {
  if (!opened) return `${pluralize(bytes.length, "byte")}.`;
  const shorter = Math.min(opened.length, bytes.length);
  let at = 0;
  while (at < shorter && opened[at] === bytes[at]) at += 1;
  if (at === opened.length && at === bytes.length) return `The same ${pluralize(at, "byte")} that were opened.`;
  return `${pluralize(bytes.length, "byte")}; ${pluralize(opened.length, "byte")} were opened. ` +
    `The first that differs is at ${at} (hexadecimal ${at.toString(16)}).`;
}

export function download(content, name, type) {
  const url = URL.createObjectURL(new Blob([content], { type }));
  const link = document.createElement("a");
  link.href = url;
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(url), 60_000);
}
