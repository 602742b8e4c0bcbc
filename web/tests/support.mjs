// SPDX-License-Identifier: Apache-2.0
//
// What the tests share: files, the program and its output. script/test-web sets the environment variables.
import { execFileSync, spawnSync } from "node:child_process";
import { readdirSync, readFileSync, statSync } from "node:fs";
import { join } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";

function setting(name) {
  const value = process.env[name];
  if (!value) throw new Error(`${name} is not set: run script/test-web`);
  return value;
}

export const program = setting("AMF2JSON_PROGRAM"); // the native program
export const native = setting("AMF2JSON_NATIVE"); // the folder of the tests' native programs
export const web = setting("AMF2JSON_WEB"); // the build folder of the module
export const scale = Number(process.env.AMF2JSON_SCALE ?? 1); // below 1: fewer generated inputs

const packageFolder = join(web, "package");
export const api = await import(pathToFileURL(join(packageFolder, "index.js")));
export const core = await import(pathToFileURL(join(packageFolder, "core.js")));
export const wasm = readFileSync(join(packageFolder, "amf2json.wasm"));
export const binary = join(packageFolder, "bin.js");
export const sources = fileURLToPath(new URL("../..", import.meta.url));

function filesBelow(folder) {
  return readdirSync(folder, { recursive: true })
    .map((name) => join(folder, name))
    .filter((name) => statSync(name).isFile() && /\.(amf|sol|flv)$/.test(name))
    .sort();
}

// The samples, and the packets of the folder that script/test-web was given.
export const packetFiles = [
  ...filesBelow(setting("AMF2JSON_SAMPLES")),
  ...(process.env.AMF2JSON_PACKETS ? filesBelow(process.env.AMF2JSON_PACKETS) : []),
];

export const bytesOf = (file) => new Uint8Array(readFileSync(file));
export const fromHex = (digits) => new Uint8Array(Buffer.from(digits.replaceAll(" ", ""), "hex"));
export const hex = (bytes) => Buffer.from(bytes).toString("hex");

const options = { maxBuffer: 1 << 30, env: { ...process.env, LC_ALL: "C", TZ: "UTC" } };

// The program's answer: standard output, and standard error as an array of objects.
export function run(...args) {
  const { stdout, stderr, status } = spawnSync(program, [...args, "--error-format", "json"], options);
  const problems = stderr.toString().split("\n").filter(Boolean).map((line) => JSON.parse(line));
  return { stdout, problems, status };
}

export function linesOf(command, args, input = "") {
  const text = execFileSync(command, args, { ...options, input, stdio: ["pipe", "pipe", "ignore"] }).toString();
  return text.split("\n").slice(0, -1);
}

// The same where the program's status says that some lines were refused.
export function answers(args, lines) {
  const { stdout } = spawnSync(program, args, { ...options, input: lines.map((line) => line + "\n").join("") });
  return stdout.toString().split("\n").slice(0, -1);
}

export function generated(script, form, count) {
  return linesOf("python3", [join(sources, "tests/wire/plain", script), form, String(count)]);
}

// The error that a call throws; it must be an Amf2JsonError.
export function failureOf(call) {
  try {
    call();
  } catch (error) {
    if (error instanceof api.Amf2JsonError) return error;
    throw error;
  }
  throw new Error("nothing was thrown");
}
