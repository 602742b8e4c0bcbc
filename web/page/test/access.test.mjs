// SPDX-License-Identifier: Apache-2.0
//
// Accessibility of each state of the page, by axe: light and dark, wide and narrow. Exercises index.html and page.css.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { after, before, test } from "node:test";
import { drop, launch, openPage, sample, settle } from "./support.mjs";

const axe = readFileSync(createRequire(import.meta.url).resolve("axe-core/axe.min.js"), "utf8");

let browser;
before(async () => { browser = await launch(); });
after(() => browser.close());

// Rule and elements of each finding that matters.
async function findings(page) {
  await page.evaluate(axe);
  const { violations } = await page.evaluate(() => window.axe.run(document, { resultTypes: ["violations"] }));
  return violations.filter(({ impact }) => impact === "serious" || impact === "critical")
    .map(({ id, nodes }) => `${id}: ${nodes.map(({ target }) => target.join(" ")).slice(0, 3).join(", ")}`);
}

const looks = [
  ["light", { colorScheme: "light" }],
  ["dark", { colorScheme: "dark" }],
  ["narrow", { viewport: { width: 360, height: 740 } }],
];

for (const [name, options] of looks) {
  test(`nothing serious, ${name}`, { timeout: 120_000 }, async () => {
    const page = await openPage(browser, options);
    const check = async (state) => assert.deepEqual(await findings(page), [], state);
    await check("welcome");
    await page.click("#paste-open");
    await check("paste");
    await page.keyboard.press("Escape");
    await drop(page, { name: "books.amf", bytes: sample("wire/books_before") });
    await check("tree");
    await drop(page, { name: "poll.amf", bytes: sample("wire/poll") });
    await page.click("#tree [role=treeitem]:nth-child(5)");
    await check("tree with a selection");
    for (const tab of ["json", "out", "core", "compare"]) {
      await page.click(`#tab-${tab}`);
      await settle(page);
      await check(tab);
    }
    await page.click("#tab-json");
    await page.fill("#text", "{");
    await page.waitForSelector("#editor-state.bad");
    await check("a problem in the text");
    await drop(page, { name: "cut.amf", bytes: sample("wire/poll").subarray(0, 60) });
    await page.click("#tab-tree");
    await check("a refused packet");
    await page.context().close();
  });
}

test("narrow screens do not scroll sideways", async () => {
  const page = await openPage(browser, { viewport: { width: 360, height: 740 } });
  await drop(page, { name: "a-name-that-is-rather-long-for-such-a-screen.amf", bytes: sample("wire/poll") });
  for (const tab of ["tree", "json", "out", "core", "compare"]) {
    await page.click(`#tab-${tab}`);
    await settle(page);
    const { wide, width } = await page.evaluate(() => ({ wide: document.documentElement.scrollWidth, width: innerWidth }));
    assert.ok(wide <= width, `${tab}: ${wide} > ${width}`);
  }
  await page.context().close();
});

test("what happens is said: status, alert, roles", async () => {
  const page = await openPage(browser);
  const roles = await page.$$eval("[role]", (elements) => elements.map((element) => element.getAttribute("role")));
  for (const role of ["status", "alert", "tree", "tablist", "tab", "tabpanel", "grid"]) assert.ok(roles.includes(role), role);
  await drop(page, { name: "poll.amf", bytes: sample("wire/poll") });
  assert.match(await page.textContent("#status"), /^poll\.amf: \d+ values in \d+ bytes\.$/);
  const row = page.locator("#tree [role=treeitem]").nth(3);
  for (const name of ["aria-level", "aria-posinset", "aria-setsize", "aria-selected"]) assert.ok(await row.getAttribute(name), name);
  await page.context().close();
});
