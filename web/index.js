// SPDX-License-Identifier: Apache-2.0
//
// The module in Node: reads amf2json.wasm, which is in the same folder. browser.js is the same for pages.
import { readFile } from "node:fs/promises";
import { Amf2JsonError, instantiate } from "./core.js";

const api = await instantiate(await readFile(new URL("./amf2json.wasm", import.meta.url)));

export const { exportJson, importJson, identify, fields, check, decode, version } = api;
export { Amf2JsonError };
