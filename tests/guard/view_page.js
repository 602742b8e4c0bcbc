// SPDX-License-Identifier: Apache-2.0
//
// What each page of escape_browser_test.cpp loads first: objects that record what a view assigns to them, and
// a function for attacks to call. The page calls begin(), shows a view, calls end(); last, it calls report().
'use strict';
let assigned = [];
let failed = false;
let current = '';
const ran = new Set();
const wrong = new Set();

window.pwned = () => void ran.add(current);
window.addEventListener('error', () => void (failed = true));

function note(value) {
  if (typeof value === 'string') assigned.push(value);
  else if (value && typeof value === 'object') Object.values(value).forEach(note);
}

// Takes assignments to any depth: content[0].value.properties[0].name = "x".
function recorder() {
  return new Proxy(function () {}, {
    get: (_, key) => (typeof key === 'symbol' ? undefined : recorder()),
    set: (_, key, value) => (note(value), true),
  });
}

for (const name of ['amf', 'content']) Object.defineProperty(window, name, { get: recorder, set: note });

function begin(name) {
  assigned = [];
  failed = false;
  current = name;
}

// `times`: how often the view assigns the text with these UTF-16 units. `id`: of the element whose attribute it is.
function end(times, units, id) {
  const element = id && document.getElementById(id);
  if (element && element.onclick) element.onclick();
  const text = String.fromCharCode(...units);
  if (failed || assigned.filter((one) => one === text).length !== times) wrong.add(current);
}

// Every page is of an origin of its own; the one around it collects the lines.
function report(page) {
  const lists = [ran, wrong].map((names) => [...names].join(' ') || 'none');
  window.parent.postMessage([page, document.characterSet, ...lists].join('; '), '*');
}
