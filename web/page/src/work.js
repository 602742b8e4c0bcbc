// SPDX-License-Identifier: Apache-2.0
//
// The page's side of worker.js: requests as promises; a worker that takes too long can be stopped.
// Enter at the class. Tested by test/page.test.mjs.

export class Stopped extends Error {}

export class Work extends EventTarget {
  // `source` is the worker's script, `wasm` the module, packed by gzip, in base64. Dispatches "busy" and "idle".
  constructor(source, wasm) {
    super();
    this.url = URL.createObjectURL(new Blob([source], { type: "text/javascript" }));
    this.wasm = wasm;
    this.waiting = new Map();
    this.nextId = 0;
    this.start();
  }

  start() {
    this.worker = new Worker(this.url);
    this.worker.addEventListener("message", ({ data }) => this.answer(data));
    this.worker.addEventListener("error", (event) => this.fail(new Error(event.message || "The worker has failed.")));
    this.ready = this.send("start", { wasm: this.wasm });
    this.ready.catch(() => {});
  }

  // The answer of a task of worker.js. Rejects with its error, which has offset, line, column, path and code.
  // `transfer`: buffers that go to the worker without a copy.
  async ask(task, data, transfer) {
    await this.ready;
    return this.send(task, data, transfer);
  }

  send(task, data, transfer = []) {
    const id = this.nextId += 1;
    return new Promise((resolve, reject) => {
      this.waiting.set(id, { resolve, reject });
      this.worker.postMessage({ id, task, ...data }, transfer);
      if (this.waiting.size === 1) this.dispatchEvent(new Event("busy"));
    });
  }

  answer({ id, result, error }) {
    const call = this.waiting.get(id);
    if (!call) return;
    this.waiting.delete(id);
    if (this.waiting.size === 0) this.dispatchEvent(new Event("idle"));
    if (error) call.reject(Object.assign(new Error(error.message), error));
    else call.resolve(result);
  }

  fail(error) {
    const calls = [...this.waiting.values()];
    this.waiting.clear();
    this.dispatchEvent(new Event("idle"));
    for (const call of calls) call.reject(error);
  }

  // Ends the worker in the middle of its work and starts another.
  stop() {
    this.worker.terminate();
    this.fail(new Stopped("Stopped."));
    this.start();
  }
}
