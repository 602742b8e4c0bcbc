// SPDX-License-Identifier: Apache-2.0
//
// node build.mjs MODULE_FOLDER OUTPUT: one HTML file of index.html, page.css, src/ and the module (core.js and
// amf2json.wasm of the folder). script/page calls it. Everything is inline; the policy names the hashes of what may run.
import { createHash } from "node:crypto";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import path from "node:path";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";
import { build } from "esbuild";

const here = path.dirname(fileURLToPath(import.meta.url));
const [moduleFolder, output] = process.argv.slice(2);
if (!output) {
  console.error("usage: node build.mjs MODULE_FOLDER OUTPUT");
  process.exit(2);
}

const inFolder = (name) => path.resolve(moduleFolder, name);
const hash = (text) => `'sha256-${createHash("sha256").update(text).digest("base64")}'`;

async function bundle(entry) {
  const result = await build({
    entryPoints: [path.join(here, "src", entry)],
    alias: { "amf2json-module": inFolder("core.js") },
    bundle: true,
    format: "iife",
    target: "es2022",
    charset: "utf8",
    minifySyntax: true,
    minifyWhitespace: true,
    write: false,
    logLevel: "warning",
  });
  return result.outputFiles[0].text;
}

// A script element ends at the first "</script"; esbuild escapes it in strings.
function checked(script, name) {
  if (/<\/script|<!--/i.test(script)) throw new Error(`${name} would end its element`);
  return script;
}

const [template, css, wasm, page, worker] = await Promise.all([
  readFile(path.join(here, "index.html"), "utf8"),
  readFile(path.join(here, "page.css"), "utf8"),
  readFile(inFolder("amf2json.wasm")),
  bundle("main.js"),
  bundle("worker.js"),
]);

const packed = gzipSync(wasm, { level: 9 });  // a third of its size; the worker unpacks it

// Only what is inline is allowed: no connection, image, font, frame, form target or base.
const policy = [
  "default-src 'none'",
  `script-src ${hash(page)} 'wasm-unsafe-eval'`,
  `style-src ${hash(css)}`,
  "worker-src blob:",
  "base-uri 'none'",
  "form-action 'none'",
].join("; ");

const parts = {
  policy: `<meta http-equiv="Content-Security-Policy" content="${policy}">`,
  styles: `<style>${css}</style>`,
  scripts: [
    `<script type="text/plain" id="worker-script">${checked(worker, "worker.js")}</script>`,
    `<script type="text/plain" id="module-gzip-base64">${packed.toString("base64")}</script>`,
    `<script>${checked(page, "main.js")}</script>`,
  ].join("\n"),
};
const html = template.replace(/<!-- (policy|styles|scripts) -->/g, (_, name) => parts[name]);
await mkdir(path.dirname(path.resolve(output)), { recursive: true });
await writeFile(output, html);
console.log(`${output}: ${html.length} bytes, ${packed.length} of them the packed module before base64`);
