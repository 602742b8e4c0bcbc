// SPDX-License-Identifier: Apache-2.0
//
// The seed of the hash tables: each instance has its own, and the results are the same.
import assert from "node:assert/strict";
import { test } from "node:test";
import { api, bytesOf, core, packetFiles, wasm } from "./support.mjs";

// An instance, and the words that core.js has seeded it with.
async function instanceWithSeed() {
  const { Instance } = WebAssembly;
  const seeds = [];
  WebAssembly.Instance = function seeded(module, imports) {
    const { exports } = new Instance(module, imports);
    const web_seed = (...words) => {
      seeds.push(words);
      exports.web_seed(...words);
    };
    return { exports: { ...exports, web_seed } };
  };
  try {
    const instance = await core.instantiate(wasm);
    assert.equal(seeds.length, 1);
    assert.equal(seeds[0].length, 2);
    for (const word of seeds[0]) assert.ok(Number.isInteger(word) && word >= 0 && word < 2 ** 32);
    return { instance, seed: seeds[0].join() };
  } finally {
    WebAssembly.Instance = Instance;
  }
}

function answersOf(one) {
  return packetFiles.map((file) => {
    try {
      const { json } = one.exportJson(bytesOf(file), { salvage: true });
      return [json, one.fields(bytesOf(file)).length, one.identify(bytesOf(file))];
    } catch (error) {
      return error.message;
    }
  });
}

async function checkSeeds() {
  const [first, second] = [await instanceWithSeed(), await instanceWithSeed()];
  assert.notEqual(first.seed, second.seed);
  const expected = answersOf(api);
  assert.deepEqual(answersOf(first.instance), expected);
  assert.deepEqual(answersOf(second.instance), expected);
}

test("two instances have different seeds and give the same texts", checkSeeds);

test("so do those of a host without crypto", async () => {
  const known = Object.getOwnPropertyDescriptor(globalThis, "crypto");
  Object.defineProperty(globalThis, "crypto", { value: undefined, configurable: true });
  try {
    await checkSeeds();
  } finally {
    if (known) Object.defineProperty(globalThis, "crypto", known);
    else delete globalThis.crypto;
  }
});

test("the words are those of crypto.getRandomValues", async () => {
  const known = Object.getOwnPropertyDescriptor(globalThis, "crypto");
  const getRandomValues = (words) => words.fill(0xfffffffe);
  Object.defineProperty(globalThis, "crypto", { value: { getRandomValues }, configurable: true });
  try {
    assert.equal((await instanceWithSeed()).seed, "4294967294,4294967294");
  } finally {
    if (known) Object.defineProperty(globalThis, "crypto", known);
    else delete globalThis.crypto;
  }
});
