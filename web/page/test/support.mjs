// SPDX-License-Identifier: Apache-2.0
//
// What the tests in a browser share: Chromium, the page, packets, the texts that the guard's tests try to break out with.
import { readFileSync } from "node:fs";
import path from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

export const project = fileURLToPath(new URL("../../..", import.meta.url));
export const pageFile = path.resolve(process.env.AMF2JSON_PAGE ?? path.join(project, "build/page/amf2json.html"));
export const pageUrl = pathToFileURL(pageFile).href;

export function launch() {
  const executablePath = process.env.CHROMIUM ?? "/usr/bin/chromium";
  return chromium.launch({ executablePath, args: process.getuid() === 0 ? ["--no-sandbox"] : [] });
}

// ---- Bytes: as tests/support/hex.h reads them

export function hex(source) {
  let at = 0;
  const fail = () => { throw new Error(`hex: ${source} at ${at}`); };
  function sequence() {
    const parts = [];
    for (;;) {
      while (/\s/.test(source[at] ?? "")) at += 1;
      if (at >= source.length || source[at] === ")") return Buffer.concat(parts);
      const one = item();
      const times = /^\*(\d+)/.exec(source.slice(at));
      at += times?.[0].length ?? 0;
      for (let left = Number(times?.[1] ?? 1); left > 0; left -= 1) parts.push(one);
    }
  }
  function item() {
    if (source[at] === "'") {
      const end = source.indexOf("'", at + 1);
      if (end < 0) fail();
      const text = source.slice(at + 1, end);
      at = end + 1;
      return Buffer.from(text, "latin1");
    }
    if (source[at] === "(") {
      at += 1;
      const group = sequence();
      at += 1;
      return group;
    }
    const digits = /^[0-9a-fA-F]{2}/.exec(source.slice(at, at + 2));
    if (!digits) fail();
    at += 2;
    return Buffer.from(digits[0], "hex");
  }
  const all = sequence();
  if (at < source.length) fail();
  return all;
}

const u16 = (value) => Buffer.from([value >> 8 & 255, value & 255]);
export const u32 = (value) => Buffer.concat([u16(value >>> 16), u16(value & 0xffff)]);
export const text16 = (bytes) => Buffer.concat([u16(bytes.length), Buffer.from(bytes)]);

export function packetOf(value, target = "t", response = "/1") {
  return Buffer.concat([hex("0000 0000 0001"), text16(target), text16(response), hex("FFFFFFFF"), value]);
}

export function sample(name) {
  const source = readFileSync(path.join(project, "samples", `${name}.hex`), "utf8");
  return hex(source.replace(/#.*/g, ""));
}

// ---- Texts that end quotes, comments and elements: the tables kAttacks of the guard's tests

export function breakOuts() {
  const texts = new Map();
  for (const file of ["escape_browser_test.cpp", "escape_node_test.cpp"]) {
    const source = readFileSync(path.join(project, "tests/guard", file), "utf8");
    const table = /kAttacks\[\] = \{\n([^]*?)\n\};/.exec(source)[1].replace(/\/\/ .*$/gm, "");
    for (const [literal] of table.matchAll(/"(?:[^"\\]|\\.)*"/g)) {
      const text = JSON.parse(literal);
      if (!/'|\*|^([0-9A-F]{2}\s?)+$/.test(text)) continue;  // a name, or what a view shows
      try {
        texts.set(text, hex(text));
      } catch {
        // no bytes: the name of a row
      }
    }
  }
  return [...texts.values()].filter((text) => text.length > 1);
}

// ---- The page

export async function openPage(browser, options = {}) {
  const context = await browser.newContext({ viewport: { width: 1280, height: 860 }, acceptDownloads: true, ...options });
  const page = await context.newPage();
  page.requests = [];
  page.problems = [];
  page.on("request", (request) => page.requests.push(request.url()));
  page.on("console", (message) => message.type() === "error" && page.problems.push(message.text()));
  page.on("pageerror", (error) => page.problems.push(error.message));
  await page.addInitScript(() => {
    window.ran = [];
    window.pwned = () => window.ran.push("pwned");
    window.alert = () => window.ran.push("alert");
  });
  await page.goto(pageUrl);
  await page.waitForFunction(() => document.getElementById("version").textContent !== "");
  return page;
}

// The files as the data of a drag and drop.
export function carried(page, ...files) {
  const list = files.map(({ name, bytes }) => ({ name, base64: Buffer.from(bytes).toString("base64") }));
  return page.evaluateHandle((items) => {
    const data = new DataTransfer();
    for (const { name, base64 } of items) {
      data.items.add(new File([Uint8Array.from(atob(base64), (c) => c.charCodeAt(0))], name));
    }
    return data;
  }, list);
}

// Drops them on the page, and waits until the page has nothing to do.
export async function dropCarried(page, dataTransfer) {
  await page.dispatchEvent("body", "dragover", { dataTransfer });
  await page.dispatchEvent("body", "drop", { dataTransfer });
  await settle(page);
}

export async function drop(page, ...files) {
  await dropCarried(page, await carried(page, ...files));
}

// Milliseconds of the longest task of the page's main thread while `run` runs: processor time, so that other processes
// add nothing to it.
export async function longestTask(browser, page, run) {
  await browser.startTracing(page, { categories: ["toplevel"] });
  await run();
  const { traceEvents } = JSON.parse((await browser.stopTracing()).toString());
  const thread = ({ pid, tid }) => `${pid}:${tid}`;
  const main = new Set(traceEvents.filter(({ name, args }) => name === "thread_name" && args.name === "CrRendererMain").map(thread));
  const tasks = traceEvents.filter((event) => event.name === "ThreadControllerImpl::RunTask" && main.has(thread(event)) && event.tdur !== undefined);
  if (tasks.length === 0) throw new Error("no task of the page in the trace");
  return Math.max(...tasks.map(({ tdur }) => tdur)) / 1000;
}

export async function settle(page) {
  await page.waitForFunction(() => new Promise((resolve) => {
    let quiet = 0;
    const look = () => {
      quiet = document.body.getAttribute("aria-busy") === "true" ? 0 : quiet + 1;
      if (quiet > 6) resolve(true);
      else setTimeout(look, 20);
    };
    look();
  }), null, { timeout: 60_000 });
}

export async function treeText(page) {
  return page.$$eval("#tree [role=treeitem]", (rows) => rows.map((row) => row.textContent.replace(/^[▾▸]/, "")));
}

// The first row that has this text.
export function treeRow(page, text) {
  return page.locator("#tree [role=treeitem]", { hasText: text }).first();
}

export async function markedBytes(page) {
  return page.$$eval("#hex .byte.marked", (cells) => cells.map((cell) => cell.textContent).join(""));
}
