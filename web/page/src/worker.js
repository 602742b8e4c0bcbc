// SPDX-License-Identifier: Apache-2.0
//
// The worker, for all that takes time: reading what was dropped, the module's calls, the flat arrays, differences. A
// request is { id, task, ... }, its answer { id, result } or { id, error }. No state is kept between tasks: the page may
// stop the worker at any time and start another. Enter at `tasks`. Tested by test/page.test.mjs.
import { instantiate } from "amf2json-module";
import { diffDocuments } from "./diff.js";
import { Document, buffersOf, documentOf } from "./document.js";
import { scanJson } from "./json_scan.js";
import { linkBuffers, linkFields } from "./links.js";
import { parseInput } from "./parse_input.js";

const compactFrom = 1 << 20;        // bytes: longer packets are shown without indentation
const mostTextBytes = 192 << 20;    // longer texts are refused: memory of the page
const mostLinkedBytes = 8 << 20;
const mostDocumentNodes = 3_000_000;
let api = null;

const limits = { maxTextBytes: mostTextBytes };

function readDocument(json) {
  const doc = documentOf(json);
  if (doc.count > mostDocumentNodes) {
    throw new Error(`The document has ${doc.count} values; the page shows up to ${mostDocumentNodes}.`);
  }
  return doc;
}

async function unpacked(base64) {
  const packed = Uint8Array.from(atob(base64), (c) => c.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("gzip"));
  return new Uint8Array(await new Response(stream).arrayBuffer());
}

const decode = (bytes) => new TextDecoder().decode(bytes);

const tasks = {
  start: async ({ wasm }) => {
    api = await instantiate(await unpacked(wasm));
    return { result: { version: api.version } };
  },

  parse: async ({ bytes }) => {
    const result = await parseInput(bytes, (some) => api.identify(some).form === "packet");
    return { result, transfer: result.kind === "bytes" ? [result.bytes.buffer] : [] };
  },

  identify: ({ bytes }) => ({ result: api.identify(bytes) }),

  open: ({ bytes, options }) => {
    const compact = bytes.length > compactFrom;
    const { json, form, warnings } = api.exportJson(bytes, { ...limits, ...options, compact });
    const doc = readDocument(json);
    return { result: { json: doc.bytes, form, warnings, tree: doc.tree }, transfer: buffersOf(doc) };
  },

  // Bytes that are refused have fields up to the refused one, and no document.
  link: ({ bytes, options, json }) => {
    if (bytes.length > mostLinkedBytes) return { result: null };
    const doc = json ? new Document(json, scanJson(json)) : documentOf("null");
    const links = linkFields(doc, api.fields(bytes, { ...limits, ...options }));
    return { result: links, transfer: linkBuffers(links) };
  },

  // `text` is a document, or stands for the bytes from `start` to `end` of the document `json`.
  import: ({ text, json, start, end, external }) => {
    const whole = json ? decode(json.subarray(0, start)) + text + decode(json.subarray(end)) : text;
    const bytes = api.importJson(whole, { ...limits, external });
    return { result: bytes, transfer: [bytes.buffer] };
  },

  decode: ({ bytes, view, pretty }) => {
    const verdict = api.check(bytes);
    return { result: { verdict, text: verdict.ok ? api.decode(bytes, { view, pretty }) : "" } };
  },

  diff: ({ left, right, options }) => {
    const [a, b] = [left, right].map((bytes) =>
      readDocument(api.exportJson(bytes, { ...limits, ...options, compact: true, originals: false }).json));
    const rows = diffDocuments(a, b);
    return {
      result: { rows, left: { json: a.bytes, tree: a.tree }, right: { json: b.bytes, tree: b.tree } },
      transfer: [...buffersOf(a), ...buffersOf(b)],
    };
  },
};

function plainError(error) {
  const { message, offset, path, line, column, code } = error;
  return { message: String(message ?? error), offset, path, line, column, code };
}

self.addEventListener("message", async ({ data }) => {
  try {
    const { result, transfer } = await tasks[data.task](data);
    self.postMessage({ id: data.id, result }, transfer ?? []);
  } catch (error) {
    self.postMessage({ id: data.id, error: plainError(error) });
  }
});
