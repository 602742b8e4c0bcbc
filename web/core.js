// SPDX-License-Identifier: Apache-2.0
//
// The calls of core.d.ts, which call the functions of border.cpp. Of the host it uses only WebAssembly, TextEncoder,
// TextDecoder and crypto: no files, no network.
// Tested by web/tests/.

// The options in the order of struct Options (calls.h): name -> how the value becomes a number.
const asFlag = (name, value) => (typeof value === "boolean" ? Number(value) : wrong(name, "true or false"));
const asLimit = (name, value) =>
  Number.isFinite(value) && value >= 0 ? Math.trunc(value) : wrong(name, "a number from 0");
const asWord = (words) => (name, value) => (words.includes(value) ? words.indexOf(value) : wrong(name, words.join(", ")));
const optionKinds = {
  as: asWord(["auto", "packet", "amf0", "amf3", "sol", "flv"]),
  view: asWord(["json", "js", "both", "script"]),
  salvage: asFlag,
  compact: asFlag,
  originals: asFlag,
  dialect: asFlag,
  pretty: asFlag,
  maxPacketBytes: asLimit,
  maxTextBytes: asLimit,
  maxDepth: asLimit,
  maxNodes: asLimit,
  maxTreeBytes: asLimit,
  maxCopiedBytes: asLimit,
  maxStringBytes: asLimit,
  maxSwitchedReferences: asLimit,
  maxFields: asLimit,
};
const optionNames = Object.keys(optionKinds);

// The options that each call has.
const importOptions = ["maxPacketBytes", "maxTextBytes", "maxDepth", "external"];
const readOptions = [...importOptions, "as", "salvage"];
const guardOptions = [
  "as", "maxPacketBytes", "maxDepth", "maxNodes", "maxTreeBytes", "maxCopiedBytes", "maxStringBytes",
  "maxSwitchedReferences",
];
const optionsOf = {
  exportJson: [...readOptions, "compact", "originals"],
  importJson: importOptions,
  identify: [],
  fields: [...readOptions, "dialect", "maxFields"],
  check: guardOptions,
  decode: [...guardOptions, "view", "pretty"],
};

const guardForms = ["packet", "amf0", "amf3"]; // of check and decode
const mostGuardDepth = 4000; // reading and writing a tree recurse; the host's stack has to hold that
const mostMemoryBytes = 64 << 20; // an instance that has grown larger is replaced

export class Amf2JsonError extends Error {
  constructor({ code, message, ...place }) {
    super(message);
    this.name = "Amf2JsonError";
    this.code = code;
    Object.assign(this, place);
  }
}

function wrong(name, expected) {
  throw new Amf2JsonError({ code: "option", message: `${name}: expected ${expected}` });
}

const memoryFailure = () => new Amf2JsonError({ code: "memory", message: "out of memory" });

// Refuses options that the call does not have, and values of a wrong type.
function checkedOptions(call, options) {
  if (options === null || typeof options !== "object") wrong("options", "an object");
  const known = optionsOf[call];
  const checked = { external: [], numbers: optionNames.map(() => NaN) };
  for (const [name, value] of Object.entries(options)) {
    if (value === undefined) continue;
    if (!known.includes(name)) wrong(name, `an option of ${call}: ${known.join(", ") || "it has none"}`);
    if (name === "external") {
      checked.external = checkedClasses(value);
    } else {
      checked.numbers[optionNames.indexOf(name)] = optionKinds[name](name, value);
    }
  }
  if (known === optionsOf.check || known === optionsOf.decode) {
    if (options.as !== undefined && !guardForms.includes(options.as)) wrong("as", guardForms.join(", "));
    if (options.maxDepth > mostGuardDepth) wrong("maxDepth", `at most ${mostGuardDepth}`);
  }
  return checked;
}

function checkedClasses(classes) {
  if (classes === null || typeof classes !== "object") wrong("external", "an object of class names and numbers");
  for (const [name, values] of Object.entries(classes)) {
    if (!Number.isInteger(values) || values < 0 || values > 0xffffffff) wrong("external", `a number of values for ${name}`);
  }
  return Object.entries(classes);
}

function checkedBytes(bytes) {
  if (Object.prototype.toString.call(bytes) === "[object Uint8Array]") return bytes; // of any realm
  return wrong("bytes", "a Uint8Array");
}

const encoder = new TextEncoder();
const decoder = new TextDecoder("utf-8", { ignoreBOM: true });
const pieceLength = 16 << 20; // longer texts are decoded in pieces: engines refuse very long ones

// UTF-8 to a string. A piece ends where a character ends.
function textOf(bytes) {
  let text = "";
  for (let begin = 0; begin < bytes.length; ) {
    let end = Math.min(begin + pieceLength, bytes.length);
    while (end < bytes.length && (bytes[end] & 0xc0) === 0x80) ++end;
    text += decoder.decode(bytes.subarray(begin, end));
    begin = end;
  }
  return text;
}

// A string to UTF-8. Refuses lone surrogates, which TextEncoder would replace silently.
function bytesOf(text) {
  if (typeof text !== "string") wrong("text", "a string");
  const lone = /\p{Surrogate}/u.exec(text);
  if (lone === null) return encoder.encode(text);
  const lines = text.slice(0, lone.index).split("\n");
  throw new Amf2JsonError({
    code: "syntax",
    message: "half a surrogate pair is not UTF-8",
    path: "",
    line: lines.length,
    column: Array.from(lines[lines.length - 1]).length + 1,
  });
}

// Two random words of 32 bits, for the hash tables of an instance. Node 18 has no global crypto.
function randomWords() {
  const words = new Uint32Array(2);
  if (globalThis.crypto?.getRandomValues) return globalThis.crypto.getRandomValues(words);
  return words.map(() => Math.random() * 2 ** 32);
}

// An instance of the WebAssembly file. After a failure of the engine (no memory, no stack) its state is unknown, and
// it is replaced; so is one that has grown large, since its memory does not shrink.
class Machine {
  constructor(module) {
    this.module = module;
    this.start();
  }

  start() {
    const imports = {
      env: { emscripten_notify_memory_growth() {} },
      wasi_snapshot_preview1: {
        proc_exit(status) {
          throw new Error(`the library has ended with status ${status}`);
        },
      },
    };
    this.exports = new WebAssembly.Instance(this.module, imports).exports;
    this.exports._initialize();
    this.exports.web_seed(...randomWords());
  }

  // Addresses and sizes come as signed numbers.
  bytesAt(address, size) {
    return new Uint8Array(this.exports.memory.buffer, address >>> 0, size >>> 0);
  }

  copyInput(bytes) {
    const address = this.exports.web_input(bytes.length);
    if (address === 0) throw memoryFailure();
    this.bytesAt(address, bytes.length).set(bytes);
  }

  failure() {
    const { web_facts, web_facts_size } = this.exports;
    return new Amf2JsonError(JSON.parse(textOf(this.bytesAt(web_facts(), web_facts_size()))));
  }

  configure({ external, numbers }) {
    const { web_options, web_external, memory } = this.exports;
    new Float64Array(memory.buffer, web_options() >>> 0, numbers.length).set(numbers);
    for (const [name, values] of external) {
      this.copyInput(encoder.encode(name));
      if (web_external(values) === 0) throw this.failure();
    }
  }

  // `take` receives the result's bytes, which it must copy, and the facts.
  run(call, bytes, options, take) {
    let isSound = false;
    try {
      this.configure(options);
      this.copyInput(bytes);
      if (this.exports[call]() === 0) throw this.failure();
      const { web_result, web_result_size, web_facts, web_facts_size } = this.exports;
      const facts = textOf(this.bytesAt(web_facts(), web_facts_size()));
      const taken = take(this.bytesAt(web_result(), web_result_size()), facts);
      isSound = true;
      return taken;
    } catch (error) {
      if (!(error instanceof Amf2JsonError)) throw translated(error);
      isSound = error.code !== "memory" && error.code !== "bug";
      throw error;
    } finally {
      if (isSound) this.exports.web_release();
      if (!isSound || this.exports.memory.buffer.byteLength > mostMemoryBytes) this.start();
    }
  }
}

// The error for an exception of the engine.
function translated(error) {
  if (error instanceof RangeError && /call stack/.test(error.message)) {
    return new Amf2JsonError({ code: "depthLimit", message: "the host's stack is too small for this depth" });
  }
  if (error instanceof RangeError) return memoryFailure();
  return new Amf2JsonError({ code: "bug", message: String(error?.message ?? error) });
}

const parsed = (result, facts) => JSON.parse(facts);

function apiOf(machine) {
  const run = (name, call, bytes, options, take) => machine.run(call, bytes, checkedOptions(name, options), take);
  return {
    exportJson: (bytes, options = {}) =>
      run("exportJson", "web_export", checkedBytes(bytes), options,
        (result, facts) => ({ json: textOf(result), ...JSON.parse(facts) })),
    importJson: (text, options = {}) =>
      run("importJson", "web_import", bytesOf(text), options, (result) => result.slice()),
    identify: (bytes) => run("identify", "web_identify", checkedBytes(bytes), {}, parsed),
    fields: (bytes, options = {}) =>
      run("fields", "web_fields", checkedBytes(bytes), options, (result) => JSON.parse(textOf(result))),
    check: (bytes, options = {}) => run("check", "web_check", checkedBytes(bytes), options, parsed),
    decode: (bytes, options = {}) =>
      run("decode", "web_decode", checkedBytes(bytes), options, (result) => textOf(result)),
    version: versionOf(machine),
    Amf2JsonError,
  };
}

function versionOf(machine) {
  const bytes = machine.bytesAt(machine.exports.web_version(), 32);
  return textOf(bytes.subarray(0, bytes.indexOf(0)));
}

export async function instantiate(wasm) {
  const module = wasm instanceof WebAssembly.Module ? wasm : await WebAssembly.compile(wasm);
  return apiOf(new Machine(module));
}
