// SPDX-License-Identifier: Apache-2.0
//
// Runs the texts of views and reports what they did: node run_views.js FILE
//
// FILE holds blobs, each after its length (32 bits, little-endian). Two kinds of records:
//   "shape"  name, the four views of a packet whose texts are w0, w1, ...
//   "packet" group, name, the name of its shape, the number of texts, the texts themselves, the four views
// The views come in the order of kViews. Printed is a line for each view of each packet: group, name, view and
// verdict, with tabs between. The verdict is "ok" when the view did exactly what that of its shape did, with the
// packet's own texts in place of w0, w1, ...; else what went wrong.
'use strict';
const fs = require('fs');
const vm = require('vm');

const kViews = ['json', 'js', 'both', 'script'];
const kSeparator = '\n\nJS representaion\n\n';

const file = fs.readFileSync(process.argv[2]);
let at = 0;
function blob() {
  const start = at + 4;
  at = start + file.readUInt32LE(at);
  return file.toString('utf8', start, at);
}

// ---- Globals that record what a script does with them

let journal = [];
let ran = 0;

// Takes every assignment to any depth: a.b[0].c = 1 is noted as ["a.b.0.c", 1].
function recorder(path) {
  return new Proxy(function () {}, {
    get: (_, key) => (typeof key === 'symbol' ? undefined : recorder(path + '.' + key)),
    set: (_, key, value) => journal.push([path + '.' + String(key), value]) > 0,
    apply: () => void ++ran,
  });
}

function newWorld() {
  const world = vm.createContext({ alert: () => void ++ran, content: recorder('content') });
  Object.defineProperty(world, 'amf', {
    get: () => recorder('amf'),
    set: (value) => void journal.push(['amf', value]),
  });
  return world;
}

let world = newWorld();
const kGlobals = Object.getOwnPropertyNames(world).join();

const isTemporary = (name) => /^qxAmfTemporary\d+$/.test(name);

function run(script) {
  vm.runInContext(script, world);
  const names = Object.getOwnPropertyNames(world);
  if (names.join() === kGlobals) return;
  if (names.filter((name) => !isTemporary(name)).join() !== kGlobals) journal.push('other globals');
  world = newWorld();
}

const kPlayers = {
  json: (text) => journal.push(['json', JSON.parse(text)]),
  js: run,
  script: run,
  both: (text) => {
    const cut = text.indexOf(kSeparator);
    run('amf = ' + text.slice(0, cut));
    run(text.slice(cut + kSeparator.length));
  },
};

// What a view did, as one text, and what else is to be said about it.
function play(view, text) {
  journal = [];
  ran = 0;
  const faults = [];
  try {
    kPlayers[view](text);
  } catch (error) {
    faults.push('threw ' + error.name);
    world = newWorld();
  }
  if (ran) faults.push('ran ' + ran);
  if (text.includes('<')) faults.push('a tag in the text');
  if (/[\u007F-\u009F\u061C\u200E\u200F\u2028-\u202E\u2066-\u2069]/.test(text)) {
    faults.push('a character in the text that nobody sees');
  }
  if (view !== 'json' && /[&'>\u0080-\uFFFF]/.test(text)) faults.push('not fit for every page');
  return { deeds: JSON.stringify(journal), faults };
}

// ---- Records

const shapes = new Map();

function readShape() {
  const name = blob();
  const deeds = kViews.map((view) => {
    const played = play(view, blob());
    if (played.faults.length) throw new Error(`shape ${name}, ${view}: ${played.faults}`);
    if (!/w\d/.test(played.deeds)) throw new Error(`shape ${name}, ${view}: nothing was assigned`);
    return played.deeds;
  });
  shapes.set(name, deeds);
}

function withTexts(deeds, texts) {
  const filled = JSON.parse(deeds, (_, value) =>
    typeof value === 'string' && /^w\d+$/.test(value) ? texts[Number(value.slice(1))] : value);
  return JSON.stringify(filled);
}

function readPacket() {
  const group = blob();
  const name = blob();
  const shape = shapes.get(blob());
  const texts = Array.from({ length: Number(blob()) }, blob);
  kViews.forEach((view, index) => {
    const played = play(view, blob());
    if (played.deeds !== withTexts(shape[index], texts)) played.faults.push('another value');
    lines.push([group, name, view, played.faults.join(', ') || 'ok'].join('\t'));
  });
}

const lines = [];
while (at < file.length) {
  if (blob() === 'shape') readShape();
  else readPacket();
}
fs.writeSync(1, lines.join('\n') + '\n');
