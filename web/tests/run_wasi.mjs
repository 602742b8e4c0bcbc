// SPDX-License-Identifier: Apache-2.0
//
// node run_wasi.mjs PROGRAM.wasm ARGUMENT...: runs a program that prints.
import { readFileSync } from "node:fs";
import { WASI } from "node:wasi";

const wasi = new WASI({ version: "preview1", args: process.argv.slice(2) });
const module = await WebAssembly.compile(readFileSync(process.argv[2]));
wasi.start(await WebAssembly.instantiate(module, { wasi_snapshot_preview1: wasi.wasiImport }));
