// SPDX-License-Identifier: Apache-2.0
//
// Paths of the module, such as messages[0].value[2].name or a["odd name"]. Enter at stepsOf().
// Tested by test/links.test.mjs.

const step = /\[(\d+)\]|\[("(?:[^"\\]|\\.)*")\]|\.?([A-Za-z_$][\w$]*)/y;

// The steps after `from`: numbers are indexes, strings are names. Null: this is no path.
export function stepsOf(path, from = 0) {
  const steps = [];
  step.lastIndex = from;
  while (step.lastIndex < path.length) {
    const match = step.exec(path);
    if (!match) return null;
    if (match[1] !== undefined) steps.push(Number(match[1]));
    else steps.push(match[2] === undefined ? match[3] : JSON.parse(match[2]));
  }
  return steps;
}
