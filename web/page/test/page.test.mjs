// SPDX-License-Identifier: Apache-2.0
//
// The page in Chromium, from its file: what people do with it, by mouse and by keys. Exercises src/ and the module.
// AMF2JSON_PAGE is the page that script/page made.
import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, statSync } from "node:fs";
import http from "node:http";
import { tmpdir } from "node:os";
import path from "node:path";
import { after, before, test } from "node:test";
import { drop, hex, launch, markedBytes, openPage, packetOf, pageUrl, project, sample, settle, treeRow, treeText } from "./support.mjs";

let browser;
before(async () => { browser = await launch(); });
after(() => browser.close());

// A test with a page of its own; at its end no script has failed and no request was sent.
function inPage(name, run, options = {}) {
  test(name, { timeout: 60_000 }, async () => {
    const page = await openPage(browser, options);
    try {
      await run(page);
      assert.deepEqual(page.problems, []);
      assert.deepEqual(page.requests.filter((url) => url !== pageUrl && !url.startsWith("blob:null/")), []);
      assert.deepEqual(await page.evaluate(() => window.ran), []);
    } finally {
      await page.context().close();
    }
  });
}

async function saved(page, button) {
  const [download] = await Promise.all([page.waitForEvent("download"), page.click(button)]);
  const file = path.join(mkdtempSync(path.join(tmpdir(), "amf2json-")), "saved");
  await download.saveAs(file);
  return { bytes: readFileSync(file), name: download.suggestedFilename() };
}

async function paste(page, text) {
  await page.click("#paste-open");
  await page.fill("#paste-text", text);
  await page.click("#paste-ok");
  await settle(page);
}

const call = { name: "save.amf", bytes: sample("object_members") };

inPage("a packet is dropped: its method and its values are seen", async (page) => {
  await drop(page, call);
  assert.equal(await page.textContent("#what"), "Packet, version 0, 0 headers, 1 message: save");
  assert.equal(await page.textContent("#identity"), "AMF packet: version 0, 0 headers, 1 message, 51 bytes.");
  const rows = await treeText(page);
  assert.ok(rows.includes('target"save"'), rows.join("\n"));
  assert.ok(rows.includes("ontrue"));
});

inPage("an argument is changed: the downloaded bytes have the change and nothing else", async (page) => {
  await drop(page, call);
  await page.click("#tab-json");
  await page.fill("#text", (await page.inputValue("#text")).replace("1.5", "2.5"));
  await page.waitForFunction(() => /differs is at 39 /.test(document.getElementById("editor-state").textContent));
  await settle(page);
  await page.click("#tab-out");
  const expected = Buffer.from(call.bytes);
  expected.writeDoubleBE(2.5, 39);
  const file = await saved(page, "#download");
  assert.equal(file.bytes.toString("hex"), expected.toString("hex"));
  assert.equal(file.name, "save.amf");
  assert.equal((await page.inputValue("#out-text")).replace(/\s/g, ""), expected.toString("hex"));
  await page.selectOption("#out-form", "base64");
  assert.equal(await page.inputValue("#out-text"), expected.toString("base64"));
  await page.selectOption("#out-form", "curl");
  assert.match(await page.inputValue("#out-text"), /^printf %s '[\w+/=]+' \| base64 -d \|\n {2}curl --data-binary @- /);
  const json = await saved(page, "#download-json");
  assert.deepEqual(JSON.parse(json.bytes).messages[0].value.list, [2.5, null]);
});

inPage("untouched bytes come back, also those that the values alone do not bring back", async (page) => {
  const odd = packetOf(hex("01 02"));  // a boolean that import writes as 01 01
  await drop(page, { name: "odd.amf", bytes: odd });
  await page.click("#tab-json");
  await page.fill("#text", `${await page.inputValue("#text")}\n`);
  await page.waitForFunction(() => /The same 19 bytes/.test(document.getElementById("editor-state").textContent));
});

inPage("a problem is shown at its line", async (page) => {
  await drop(page, call);
  await page.click("#tab-json");
  await page.fill("#text", (await page.inputValue("#text")).replace("1.5", "nil"));
  await page.waitForSelector("#editor-state.bad");
  assert.match(await page.textContent("#editor-state"), /^line 11, column \d+: .*messages\[0\]\.value\.list/);
  assert.equal(await page.textContent("#lines .at"), "11");
  await page.click("#go-to-problem");
  const selected = await page.evaluate(() => {
    const { value, selectionStart } = document.getElementById("text");
    return value.slice(0, selectionStart).split("\n").length;
  });
  assert.equal(selected, 11);
  await page.click("#revert");
  await settle(page);
  assert.match(await page.inputValue("#text"), /1\.5/);
});

inPage("hexadecimal and base64 are pasted", async (page) => {
  await paste(page, call.bytes.toString("hex").replace(/../g, "$& "));
  assert.ok((await treeText(page)).includes('target"save"'));
  await paste(page, call.bytes.toString("base64"));
  assert.match(await page.textContent("#notes"), /Taken out of: base64/);
});

inPage("a document that was exported is opened as its bytes", async (page) => {
  await paste(page, '{"amf0":[1,"x"]}');
  await page.click("#tab-out");
  assert.equal((await page.inputValue("#out-text")).replace(/\s/g, ""), "003ff000000000000002000178");
});

inPage("the forms beside packets", async (page) => {
  await drop(page, { name: "settings.sol", bytes: sample("wire/settings") });
  assert.match((await treeText(page)).join("\n"), /^document.*\nsol/);
  await drop(page, { name: "clip.flv", bytes: sample("wire/clip") });
  assert.match((await treeText(page)).join("\n"), /onMetaData/);
  assert.ok(await page.$eval("#text", (text) => text.readOnly));
});

inPage("a value marks its bytes, a byte marks its value", async (page) => {
  await drop(page, call);
  await treeRow(page, "target").click();
  assert.equal(await markedBytes(page), "000473617665");
  assert.match(await page.textContent("#place"), /^messages\[0\]\.target: bytes 6 to b, 6 bytes/);
  await treeRow(page, "list").click();
  assert.equal(await markedBytes(page), call.bytes.subarray(0x1b, 0x30).toString("hex"));
  await page.click("#byte-39");  // in the number
  assert.equal(await markedBytes(page), "3ff8000000000000");
  assert.equal(await page.textContent("#tree [aria-selected=true] .value"), "1.5");
  assert.match(await page.textContent("#place"), /^byte 27: 3f, number 1.5, of messages\[0\]\.value\.list\[0\]/);
});

inPage("a cut packet shows its place", async (page) => {
  await drop(page, { name: "cut.amf", bytes: call.bytes.subarray(0, 42) });
  assert.match(await page.textContent("#problem"), /at byte 39 \(hexadecimal 27\)/);
  assert.equal(await page.getAttribute("#hex .byte.refused", "id"), "byte-39");
  assert.match(await page.textContent("#place"), /^byte 27: 3f/);
});

inPage("a section that cannot be read is kept on demand", async (page) => {
  const bytes = hex("0000 0000 0002 0001 'a' 0001 'b' 00000001 04 0001 'c' 0001 'd' 00000001 05");
  await drop(page, { name: "salvage.amf", bytes });
  await page.click("#problem button");
  await settle(page);
  const rows = (await treeText(page)).join("\n");
  assert.match(rows, /raw"BA=="/);
  assert.match(rows, /target"c"/);
  assert.match(await page.textContent("#notes"), /1 section could not be read/);
});

inPage("an externalizable class is told", async (page) => {
  await drop(page, { name: "x.amf", bytes: packetOf(hex("11 0A 07 07 'a.B' 04 05")) });
  assert.match(await page.textContent("#problem"), /a\.B/);
  await page.click("#options summary");
  await page.fill("#external", "a.B=1");
  await page.press("#external", "Enter");
  await settle(page);
  assert.match((await treeText(page)).join("\n"), /external a\.B/);
});

inPage("the dialect's views", async (page) => {
  await drop(page, call);
  await page.click("#tab-core");
  await settle(page);
  assert.match(await page.textContent("#core-text"), /"targetUri" : "save"/);
  await page.selectOption("#core-view", "script");
  await settle(page);
  assert.match(await page.textContent("#core-text"), /content\[0\]\.targetUri = "save";/);
  await drop(page, { name: "vector.amf", bytes: packetOf(hex("11 0D 03 00 00000005")) });
  assert.match(await page.textContent("#core-state"), /^The dialect refuses this packet: /);
});

inPage("two packets side by side", async (page) => {
  await drop(page, { name: "before.amf", bytes: sample("wire/books_before") });
  await drop(page, { name: "after.amf", bytes: sample("wire/books_after") });
  await page.click("#tab-compare");
  await settle(page);
  assert.match(await page.textContent("#diff-state"), /^[1-9]\d* differences?\.$/);
  const changed = await page.$$eval("#diff .is-changed, #diff .is-added, #diff .is-removed", (rows) => rows.map((row) => row.firstChild.textContent));
  assert.ok(changed.length > 0);
  for (const mark of changed) assert.match(mark, /^(changed|added|removed)$/);
  await page.selectOption("#other", "opened");
  await settle(page);
  assert.match(await page.textContent("#diff-state"), /^No differences/);
});

inPage("search", async (page) => {
  await drop(page, { name: "books.amf", bytes: packetOf(hex("03 0001 'a' 02 0002 'xx' 0006 'needle' 02 0002 'yy' 0000 09")) });
  await page.fill("#search", "NEEDLE");
  await page.press("#search", "Enter");
  await page.waitForFunction(() => document.getElementById("found").textContent !== "");
  assert.equal(await page.textContent("#found"), "Found in messages[0].value.needle");
  assert.match(await page.textContent("#tree [aria-selected=true]"), /needle/);
  await page.fill("#search", "none of it");
  await page.click("#search-next");
  await page.waitForFunction(() => document.getElementById("found").textContent === "Not found");
});

inPage("an archive lists its bodies and says which ones are destroyed", async (page) => {
  await drop(page, { name: "recorder.har", bytes: readFileSync(path.join(project, "samples/har/recorder.har")) });
  const rows = await page.$$eval("#packet-rows tr", (list) => list.map((row) => [...row.children].map((cell) => cell.textContent)));
  assert.deepEqual(rows.map(([url, direction, , , state]) => [new URL(url).pathname, direction, state]), [
    ["/poll", "request", "destroyed by the recorder: EF BF BD 3 times"], ["/poll", "response", "whole"],
    ["/books", "request", "whole"], ["/books", "response", "whole"],
    ["/save", "request", "destroyed by the recorder: EF BF BD 1 time"], ["/save", "response", "whole"],
  ]);
  assert.match(rows[0][2], /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}$/);
  assert.equal(await page.textContent("#status"), "recorder.har: 6 AMF bodies, 2 of them lost to the recorder.");
  await page.click("#packet-rows tr:nth-child(3) button");
  await settle(page);
  assert.equal(await page.textContent("#problem"), "");
  assert.ok((await treeText(page)).includes('target"echo"'));
  await page.click("#tab-out");
  await page.selectOption("#out-form", "curl");
  assert.match(await page.inputValue("#out-text"), /--url 'http:\/\/127\.0\.0\.1:8931\/books'/);
});

// ---- Keys alone

inPage("everything with keys", async (page) => {
  const press = async (...keys) => { for (const key of keys) await page.keyboard.press(key); };
  const focused = () => page.evaluate(() => document.activeElement.id);
  const tabTo = async (id) => {
    for (let i = 0; i < 40 && await focused() !== id; i += 1) await press("Tab");
    assert.equal(await focused(), id);
  };
  await tabTo("paste-open");
  await press("Enter");
  await page.keyboard.type(call.bytes.toString("hex"));
  await tabTo("paste-ok");
  await press("Enter");
  await settle(page);
  await tabTo("tree");
  await press("Home", "ArrowDown", "ArrowDown", "ArrowDown", "ArrowRight", "ArrowRight");
  assert.match(await page.textContent("#tree [aria-selected=true]"), /target/);
  assert.equal(await markedBytes(page), "000473617665");
  const active = await page.getAttribute("#tree", "aria-activedescendant");
  assert.equal(await page.getAttribute(`#${active}`, "aria-selected"), "true");
  await press("ArrowLeft", "ArrowLeft");
  assert.equal(await page.getAttribute("#tree [aria-selected=true]", "aria-expanded"), "false");
  await tabTo("hex");
  await press("End", "ArrowLeft", "ArrowUp");
  assert.match(await page.textContent("#place"), /^byte 21: 0a, /);
  await page.focus("#tab-tree");
  await press("ArrowRight");
  assert.equal(await focused(), "tab-json");
  await tabTo("text");
  await press("Control+Home", "ArrowDown", "End", "ArrowLeft", "Backspace", "3");  // "amf": 3
  await page.waitForFunction(() => /differs is at 1 /.test(document.getElementById("editor-state").textContent));
  await settle(page);
  await page.focus("#tab-json");
  await press("ArrowRight");
  await settle(page);
  const expected = Buffer.from(call.bytes);
  expected[1] = 3;
  assert.equal((await page.inputValue("#out-text")).replace(/\s/g, ""), expected.toString("hex"));
  await tabTo("download");
  const [download] = await Promise.all([page.waitForEvent("download"), press("Enter")]);
  assert.equal(download.suggestedFilename(), "paste.amf");
});

// ---- No connection

test("nothing leaves the page: its policy stops what a script would try", { timeout: 60_000 }, async (context) => {
  let connections = 0;
  const server = http.createServer((request, response) => response.end("reached")).on("connection", () => { connections += 1; });
  await new Promise((resolve) => { server.listen(0, "127.0.0.1", resolve); });
  context.after(() => {
    server.close();
    server.closeAllConnections();
  });
  const url = `http://127.0.0.1:${server.address().port}/`;
  const page = await openPage(browser);
  await drop(page, call);
  for (const id of ["json", "out", "core", "compare", "tree"]) await page.click(`#tab-${id}`);
  await settle(page);
  assert.deepEqual(page.requests.map((one) => one.replace(/[\w-]{36}$/, "ID")), [pageUrl, "blob:null/ID"]);
  const tried = await page.evaluate(async (address) => {
    const outcome = (promise) => promise.then(() => "reached", () => "refused");
    const loaded = (element) => new Promise((resolve, reject) => {
      element.onload = resolve;
      element.onerror = reject;
      document.body.append(element);
    });
    const make = (name, attributes) => Object.assign(document.createElement(name), attributes);
    return {
      fetch: await outcome(fetch(address)),
      image: await outcome(loaded(make("img", { src: `${address}a.png` }))),
      script: await outcome(loaded(make("script", { src: `${address}a.js` }))),
      style: await outcome(loaded(make("link", { rel: "stylesheet", href: `${address}a.css` }))),
      evaluated: await outcome(new Promise((resolve) => { resolve(new Function("return 1")()); })),
    };
  }, url);
  assert.deepEqual(tried, { fetch: "refused", image: "refused", script: "refused", style: "refused", evaluated: "refused" });
  assert.equal(connections, 0);
  await page.context().close();
});

test("the page stays below 700 KB", () => {
  assert.ok(statSync(new URL(pageUrl)).size < 700_000);
});

test("the policy", () => {
  const html = readFileSync(new URL(pageUrl), "utf8");
  const policy = /http-equiv="Content-Security-Policy" content="([^"]*)"/.exec(html)[1];
  assert.match(policy, /^default-src 'none'; script-src 'sha256-[\w+/=]{44}' 'wasm-unsafe-eval'; style-src 'sha256-[\w+/=]{44}'; worker-src blob:; base-uri 'none'; form-action 'none'$/);
  assert.doesNotMatch(html, /\s(src|href|style|on\w+)=/);
  assert.ok(html.indexOf("Content-Security-Policy") < html.indexOf("<script"));
});
