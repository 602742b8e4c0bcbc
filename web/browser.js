// SPDX-License-Identifier: Apache-2.0
//
// The module for pages and bundlers: fetches amf2json.wasm, which is in the same folder.
import { Amf2JsonError, instantiate } from "./core.js";

const response = await fetch(new URL("./amf2json.wasm", import.meta.url));
if (!response.ok) throw new Error(`amf2json.wasm: ${response.status} ${response.statusText}`);
const api = await instantiate(await response.arrayBuffer());

export const { exportJson, importJson, identify, fields, check, decode, version } = api;
export { Amf2JsonError };
