// SPDX-License-Identifier: Apache-2.0
//
// The calls for Node and bundlers: the module loads its WebAssembly file by itself (await at top level). core.d.ts says
// what each call takes and returns.
import type { Api } from "./core.js";

export const exportJson: Api["exportJson"];
export const importJson: Api["importJson"];
export const identify: Api["identify"];
export const fields: Api["fields"];
export const check: Api["check"];
export const decode: Api["decode"];
export const version: string;

export { Amf2JsonError } from "./core.js";
export type {
  Api, CheckOptions, DecodeOptions, Exported, ExportOptions, Field, FieldOptions, Form, GuardLimits, Identity,
  ImportOptions, ReadOptions, Verdict, WireLimits,
} from "./core.js";
