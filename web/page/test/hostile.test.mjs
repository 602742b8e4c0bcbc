// SPDX-License-Identifier: Apache-2.0
//
// Packets that were made to harm, in the page: texts that break out of quotes and elements, a million values, bombs.
// Exercises src/ and the module in Chromium.
import assert from "node:assert/strict";
import { after, before, test } from "node:test";
import { breakOuts, carried, drop, dropCarried, hex, launch, longestTask, openPage, packetOf, settle, text16, treeText, u32 } from "./support.mjs";

const longestTaskMs = 100;
const mostOpenMs = 2000;

let browser;
before(async () => { browser = await launch(); });
after(() => browser.close());

// ---- Break-outs

const own = ["<img src=x onerror=pwned()>", "<script>pwned()</script>", "javascript:pwned()", "'-alert(1)-'", "{{pwned()}}",
  "</textarea><script>pwned()</script>", "</title><script>pwned()</script>", "`${pwned()}`"].map((text) => Buffer.from(text));

// The text wherever a packet can have one: target, response, class, names, values of both formats, header.
function packetFull(text) {
  const long = text.length < 60 ? [
    hex("11 0A 0B"), Buffer.from([text.length << 1 | 1]), text, Buffer.from([text.length << 1 | 1]), text, hex("06"),
    Buffer.from([text.length << 1 | 1]), text, hex("01"),
  ] : [hex("05")];
  const value = Buffer.concat([
    hex("0A 00000004 10"), text16(text), text16(text), hex("02"), text16(text), hex("0000 09 0F"), u32(text.length), text,
    hex("08 00000001"), text16(text), hex("05 0000 09"), ...long,
  ]);
  return Buffer.concat([hex("0000 0001"), text16(text), hex("00 FFFFFFFF 02"), text16(text), packetOf(value, text, text).subarray(4)]);
}

// What the page consists of, whatever is shown in it.
function skeleton() {
  const names = [...document.querySelectorAll("*")].map((element) => element.localName);
  const attributes = [...document.querySelectorAll("*")].flatMap((element) => element.getAttributeNames());
  return {
    scripts: names.filter((name) => name === "script").length,
    odd: names.filter((name) => /^(img|iframe|svg|object|embed|link|base|video|math)$/.test(name)),
    handlers: attributes.filter((name) => /^on|^(src|href|srcdoc|action|formaction)$/.test(name)),
  };
}

test("texts that break out of scripts and elements run nothing, in no tab", { timeout: 300_000 }, async () => {
  const page = await openPage(browser);
  const before = await page.evaluate(skeleton);
  const texts = [...breakOuts(), ...own];
  assert.ok(texts.length > 40, `${texts.length} texts`);
  for (const [i, text] of texts.entries()) {
    await drop(page, { name: `${text.toString("latin1").slice(0, 60)}.amf`, bytes: packetFull(text) });
    assert.equal(await page.textContent("#problem"), "", `row ${i}`);
    if (i === 0) await page.click("#expand");
    for (const tab of ["json", "out", "core", "compare"]) {
      await page.click(`#tab-${tab}`);
      await settle(page);
    }
    for (const view of ["js", "both", "script", "json"]) {
      await page.selectOption("#core-view", view, { force: true });
      await settle(page);
    }
    await page.selectOption("#out-form", "curl", { force: true });
    await page.click("#tab-tree");
    await page.click("#expand");
    assert.deepEqual(await page.evaluate(skeleton), before, `row ${i}`);
    assert.deepEqual(await page.evaluate(() => window.ran), [], `row ${i}`);
  }
  assert.deepEqual(page.problems, []);
  assert.equal(page.requests.length, 2);  // the page and its worker
  await page.context().close();
});

test("an archive of such texts", async () => {
  const page = await openPage(browser);
  const before = await page.evaluate(skeleton);
  const entries = own.map((text) => ({
    startedDateTime: text.toString(),
    request: { method: text.toString(), url: text.toString(), headers: [], postData: { mimeType: "application/x-amf", text: "\u0000\u0000\u0000\u0000\u0000\u0000" } },
    response: { status: 200, content: { mimeType: "application/x-amf", text: "\ufffd", size: 3 } },
  }));
  await drop(page, { name: "a.har", bytes: Buffer.from(JSON.stringify({ log: { entries } })) });
  assert.equal(await page.locator("#packet-rows tr").count(), own.length * 2);
  await page.click("#tab-compare");
  await settle(page);
  assert.deepEqual(await page.evaluate(skeleton), before);
  assert.deepEqual(await page.evaluate(() => window.ran), []);
  await page.context().close();
});

// ---- Size

// Milliseconds from the drop until the tree shows rows.
async function openTime(page, transfer) {
  const start = await page.evaluate(() => {
    const canvas = document.querySelector("#tree .canvas");
    window.opened = null;
    new MutationObserver(() => { window.opened ??= performance.now(); }).observe(canvas, { childList: true });
    return performance.now();
  });
  await page.dispatchEvent("body", "drop", { dataTransfer: transfer });
  await page.waitForFunction(() => window.opened, null, { timeout: 60_000 });
  return await page.evaluate(() => window.opened) - start;
}

const million = 1_000_000;
const object = hex("03 0001 'a' 05 0001 'b' 05 0001 'c' 05 0001 'd' 0101 0000 09");
const shapes = [
  ["a list of a million numbers", packetOf(Buffer.concat([hex("0A"), u32(million), Buffer.alloc(million, hex("05"))]))],
  ["200,000 objects of four members", packetOf(Buffer.concat([hex("0A"), u32(200_000),
    Buffer.alloc(200_000 * object.length, object)]))],
];

// What a person does with a large packet.
async function use(page) {
  await settle(page);
  assert.equal(await page.textContent("#problem"), "");
  await page.focus("#tree");
  for (let i = 0; i < 6; i += 1) {  // to its end, by keys
    await page.keyboard.press("End");
    await page.keyboard.press("ArrowRight");
  }
  await page.click("#expand");
  await page.evaluate(async () => {  // by the scroll bar
    const tree = document.getElementById("tree");
    for (let i = 0; i <= 50; i += 1) {
      tree.scrollTop = tree.scrollHeight * i / 50;
      await new Promise(requestAnimationFrame);
    }
  });
  assert.ok((await treeText(page)).length > 10);
  await page.fill("#search", "not in it");
  await page.press("#search", "Enter");
  await page.waitForFunction(() => document.getElementById("found").textContent === "Not found");
  for (const tab of ["json", "out", "compare", "tree"]) {
    await page.click(`#tab-${tab}`);
    await settle(page);
  }
}

for (const [name, bytes] of shapes) {
  test(name, { timeout: 240_000 }, async (context) => {
    const times = [];
    let task = 0;
    do {  // other processes only ever add to the time: the best of some runs counts
      const page = await openPage(browser);
      const transfer = await carried(page, { name: "large.amf", bytes });
      task = await longestTask(browser, page, async () => {
        times.push(await openTime(page, transfer));
        await use(page);
      });
      await page.context().close();
      assert.ok(task <= longestTaskMs, `${task} ms`);
    } while (times.length < 5 && Math.min(...times) >= mostOpenMs);
    context.diagnostic(`the tree was there after ${times.map(Math.round)} ms; longest task of the page: ${Math.round(task)} ms`);
    assert.ok(Math.min(...times) < mostOpenMs, `${times} ms`);
  });
}

test("a bomb of references shows the bound's message", { timeout: 120_000 }, async () => {
  const page = await openPage(browser);
  // An array of one string and 20,000 references to it: 1.3 GB of text.
  const string = Buffer.concat([hex("06 88 80 01"), Buffer.alloc(65536, "x")]);
  const references = Buffer.alloc(2 * 20_000, hex("06 00"));
  const count = 20_001 << 1 | 1;
  const u29 = Buffer.from([0x80 | count >> 14, 0x80 | (count >> 7 & 127), count & 127]);
  const bomb = packetOf(Buffer.concat([hex("11 09"), u29, hex("01"), string, references]));
  const transfer = await carried(page, { name: "bomb.amf", bytes: bomb });
  const task = await longestTask(browser, page, () => dropCarried(page, transfer));
  assert.match(await page.textContent("#problem"), /text/);
  assert.ok(task <= longestTaskMs, `${task} ms`);
  await page.context().close();
});

test("depth has a bound, too", async () => {
  const page = await openPage(browser);
  await drop(page, { name: "deep.amf", bytes: packetOf(Buffer.concat([hex("(0A 00000001)*600 05")])) });
  assert.match(await page.textContent("#problem"), /more than 512 levels deep/);
  await drop(page, { name: "less-deep.amf", bytes: packetOf(Buffer.concat([hex("(0A 00000001)*500 05")])) });
  assert.equal(await page.textContent("#problem"), "");
  await page.click("#expand");
  await page.focus("#tree");
  await page.keyboard.press("End");
  assert.match(await page.textContent("#tree [aria-selected=true]"), /null/);
  await page.context().close();
});

test("a worker that takes too long is stopped, and the page goes on", async () => {
  const page = await openPage(browser);
  await page.evaluate(() => {
    // The button may be there for a moment only: it is clicked as soon as it appears.
    const busy = document.getElementById("busy");
    new MutationObserver(() => {
      if (!busy.hidden) document.getElementById("stop").click();
    }).observe(busy, { attributes: true });
    const source = `{"amf0":[${"0,".repeat(30_000_000)}0]}`;
    const data = new DataTransfer();
    data.items.add(new File([source], "long.json"));
    document.body.dispatchEvent(new DragEvent("drop", { dataTransfer: data, bubbles: true }));
  });
  await page.waitForFunction(() => document.getElementById("problem").textContent === "Stopped.");
  await drop(page, { name: "next.amf", bytes: packetOf(hex("05")) });
  assert.ok((await treeText(page)).includes("valuenull"));
  await page.context().close();
});
