// SPDX-License-Identifier: Apache-2.0
//
// The calls in a Worker, from a compiled module that was posted to it.
import assert from "node:assert/strict";
import { test } from "node:test";
import { Worker } from "node:worker_threads";
import { pathToFileURL } from "node:url";
import { join } from "node:path";
import { wasm, web } from "./support.mjs";

test("in a worker", async () => {
  const source = `
    import { parentPort, workerData } from "node:worker_threads";
    import { instantiate } from ${JSON.stringify(pathToFileURL(join(web, "package/core.js")).href)};
    const api = await instantiate(workerData);
    parentPort.postMessage(api.exportJson(new Uint8Array([5]), { compact: true }));`;
  const url = new URL("data:text/javascript," + encodeURIComponent(source));
  const worker = new Worker(url, { workerData: await WebAssembly.compile(wasm) });
  const answer = await new Promise((resolve, reject) => worker.once("message", resolve).once("error", reject));
  assert.deepEqual(answer, { json: '{"amf0":[null]}', form: "amf0", warnings: [] });
  await worker.terminate();
});
