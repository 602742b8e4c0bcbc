// SPDX-License-Identifier: Apache-2.0
//
// The types, as hosts use them; tsc --noEmit is the test. Lines after @ts-expect-error must not compile.
import { Amf2JsonError, check, decode, exportJson, fields, identify, importJson, version } from "amf2json";
import type { Field, Form } from "amf2json";
import { instantiate } from "amf2json/core";
import type { Api } from "amf2json/core";

const bytes = new Uint8Array(6);
const { json, form, warnings }: { json: string; form: Form; warnings: string[] } = exportJson(bytes, {
  as: "packet", compact: true, salvage: false, originals: true, external: { "a.B": 1 }, maxDepth: 3,
  maxPacketBytes: 4, maxTextBytes: 5,
});
const again: Uint8Array = importJson(json, { external: { "a.B": 1 } });
const list: Field[] = fields(again, { dialect: true, maxFields: 10 });
const path: string | undefined = list[0]?.path;
const text: string = decode(bytes, { view: "script", pretty: false }) + version + path + form + warnings.join();
const counts: number[] = [check(bytes).nodes, identify(bytes).hints.length, text.length];

// @ts-expect-error
exportJson("text");
// @ts-expect-error
exportJson(bytes, { compakt: true });
// @ts-expect-error
decode(bytes, { view: "xml" });
// @ts-expect-error
importJson(bytes);

try {
  importJson("{");
} catch (error) {
  if (error instanceof Amf2JsonError && error.code === "syntax") counts.push(error.line ?? 0, error.column ?? 0);
}

export async function load(wasm: ArrayBuffer): Promise<Api> {
  const api = await instantiate(wasm);
  api.exportJson(bytes).json.length;
  return api;
}
