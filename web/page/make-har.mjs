// SPDX-License-Identifier: Apache-2.0
//
// node make-har.mjs FOLDER: archives (HAR) as recorders write them, of a page in Chromium that posts samples as AMF to
// a local server and is answered with samples. script/make-har calls it.
//   recorder.har   recorded by the browser driver (recordHar)
//   protocol.har   made from the events of the DevTools protocol, as the network panel exports it
import { readFileSync, writeFileSync } from "node:fs";
import http from "node:http";
import path from "node:path";
import { gzipSync } from "node:zlib";
import { launch, sample } from "./test/support.mjs";

const [folder] = process.argv.slice(2);
if (!folder) {
  console.error("usage: node make-har.mjs FOLDER");
  process.exit(2);
}

// path -> the bytes that are posted, the answer, and what encodes it.
const calls = new Map([
  ["/poll", { call: sample("wire/poll"), answer: sample("wire/poll_reply") }],
  ["/books", { call: sample("echo_string"), answer: sample("wire/books_before"), encoding: "gzip" }],
  ["/save", { call: sample("object_members"), answer: sample("empty_packet") }],
]);
const amf = { "content-type": "application/x-amf" };

const server = http.createServer((request, response) => {
  const found = calls.get(request.url);
  request.resume().on("end", () => {
    if (!found) return response.writeHead(200, { "content-type": "text/html" }).end("<title>AMF</title>");
    const isGzip = found.encoding === "gzip";
    response.writeHead(200, isGzip ? { ...amf, "content-encoding": "gzip" } : amf);
    return response.end(isGzip ? gzipSync(found.answer) : found.answer);
  });
});
await new Promise((resolve) => { server.listen(8931, "127.0.0.1", resolve); });
const origin = `http://127.0.0.1:${server.address().port}`;

const post = ([where, base64]) => fetch(where, {
  method: "POST",
  headers: { "content-type": "application/x-amf" },
  body: Uint8Array.from(atob(base64), (c) => c.charCodeAt(0)),
}).then((response) => response.arrayBuffer());

async function postAll(page) {
  await page.goto(`${origin}/`);
  for (const [where, { call }] of calls) await page.evaluate(post, [where, call.toString("base64")]);
}

async function withRecorder(browser, file) {
  const context = await browser.newContext({ recordHar: { path: file, content: "embed", mode: "minimal" } });
  await postAll(await context.newPage());
  await context.close();
}

// The network panel requests each body by these two calls, and saves the answers.
async function withProtocol(browser, file) {
  const context = await browser.newContext();
  const page = await context.newPage();
  const session = await context.newCDPSession(page);
  const seen = new Map();
  const bodies = [];
  session.on("Network.requestWillBeSent", (event) => seen.set(event.requestId, { request: event.request, wallTime: event.wallTime }));
  session.on("Network.responseReceived", ({ requestId, response }) => { seen.get(requestId).response = response; });
  session.on("Network.loadingFinished", ({ requestId, encodedDataLength }) => {
    const one = seen.get(requestId);
    one.size = encodedDataLength;
    bodies.push(session.send("Network.getResponseBody", { requestId }).then((body) => { one.body = body; }));
    if (one.request.hasPostData) {
      bodies.push(session.send("Network.getRequestPostData", { requestId }).then((data) => { one.data = data; }));
    }
  });
  await session.send("Network.enable");
  await postAll(page);
  await page.waitForTimeout(500);
  await Promise.all(bodies);
  const entries = [...seen.values()].filter(({ body }) => body).map(entryOf);
  const creator = { name: "DevTools protocol", version: browser.version() };
  writeFileSync(file, `${JSON.stringify({ log: { version: "1.2", creator, pages: [], entries } }, null, 2)}\n`);
  await context.close();
}

const fields = (headers) => Object.entries(headers).map(([name, value]) => ({ name, value }));

function entryOf({ request, response, wallTime, body, data }) {
  const mimeType = request.headers["Content-Type"] ?? request.headers["content-type"];
  const length = body.base64Encoded ? Buffer.from(body.body, "base64").length : Buffer.byteLength(body.body);
  return {
    startedDateTime: new Date(wallTime * 1000).toISOString(),
    time: 0,
    request: {
      method: request.method, url: request.url, httpVersion: "HTTP/1.1", cookies: [], headers: fields(request.headers),
      queryString: [], headersSize: -1, bodySize: -1,
      ...(data && { postData: { mimeType, text: data.postData, ...(data.base64Encoded && { encoding: "base64" }) } }),
    },
    response: {
      status: response.status, statusText: response.statusText, httpVersion: "HTTP/1.1", cookies: [],
      headers: fields(response.headers), redirectURL: "", headersSize: -1, bodySize: -1,
      content: {
        size: length, mimeType: response.mimeType, text: body.body, ...(body.base64Encoded && { encoding: "base64" }),
      },
    },
    cache: {},
    timings: { send: 0, wait: 0, receive: 0 },
  };
}

const browser = await launch();
await withRecorder(browser, path.join(folder, "recorder.har"));
await withProtocol(browser, path.join(folder, "protocol.har"));
await browser.close();
server.close();
for (const name of ["recorder.har", "protocol.har"]) {
  console.log(`${name}: ${readFileSync(path.join(folder, name)).length} bytes`);
}
