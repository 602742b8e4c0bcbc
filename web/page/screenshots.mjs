// SPDX-License-Identifier: Apache-2.0
//
// node screenshots.mjs FOLDER: pictures of six states of the page for the documents. AMF2JSON_PAGE is the page.
import { readFileSync } from "node:fs";
import path from "node:path";
import { drop, launch, openPage, project, sample, settle } from "./test/support.mjs";

const [folder] = process.argv.slice(2);
if (!folder) {
  console.error("usage: node screenshots.mjs FOLDER");
  process.exit(2);
}
const file = (name, bytes = sample(name.replace(/\.\w+$/, ""))) => ({ name: path.basename(name), bytes });
const wide = { viewport: { width: 1100, height: 720 } };
const narrow = { viewport: { width: 390, height: 780 } };

const states = [
  ["page-tree", wide, async (page) => {
    await drop(page, file("wire/poll_reply.amf"));
    await page.click("#expand");
    await page.locator("#tree [role=treeitem]", { hasText: "symbol" }).first().click();
  }],
  ["page-problem", wide, async (page) => {
    await drop(page, file("object_members.amf"));
    await page.click("#tab-json");
    await page.fill("#text", (await page.inputValue("#text")).replace("1.5", "1,5x"));
    await page.waitForSelector("#editor-state.bad");
    await page.click("#go-to-problem");
  }],
  ["page-archive", wide, async (page) => {
    await drop(page, file("recorder.har", readFileSync(path.join(project, "samples/har/recorder.har"))));
    await page.click("#packet-rows tr:nth-child(2) button");
  }],
  ["page-compare", wide, async (page) => {
    await drop(page, file("wire/books_before.amf"), file("wire/books_after.amf"));
    await page.click("#tab-compare");
  }],
  ["page-dark", { ...wide, colorScheme: "dark" }, async (page) => {
    const { bytes } = file("wire/poll.amf");
    await drop(page, file("cut.amf", bytes.subarray(0, 70)));
  }],
  ["page-narrow", narrow, async (page) => {
    await drop(page, file("wire/settings.sol"));
    await page.click("#tab-out");
    await page.selectOption("#out-form", "curl");
  }],
];

const browser = await launch();
for (const [name, options, make] of states) {
  const page = await openPage(browser, options);
  await make(page);
  await settle(page);
  await page.screenshot({ path: path.join(folder, `${name}.png`) });
  await page.context().close();
}
await browser.close();
