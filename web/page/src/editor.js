// SPDX-License-Identifier: Apache-2.0
//
// The JSON as text to edit, with line numbers and a mark at the line of a problem. Of a long document it shows one value.
// Enter at the class. Tested by test/page.test.mjs.

const mostCharacters = 128 << 10;
const lineHeight = 20;
const pauseMs = 250;

export class Editor extends EventTarget {
  // Dispatches "edit" with { text, json, start, end } after a pause in typing: `text` replaces
  // the bytes from `start` to `end` of the document `json`.
  constructor({ text, lines, state, scope, goTo }) {
    super();
    Object.assign(this, { text, lines, state, scope, goTo });
    this.part = { json: new Uint8Array(), start: 0, end: 0 };
    this.problem = null;
    this.shownLines = 0;
    text.addEventListener("input", () => this.changed());
    text.addEventListener("scroll", () => this.scroll());
    goTo.addEventListener("click", () => this.goToProblem());
  }

  // Shows the document, or of a long one the value `node`.
  show(doc, node, canEdit) {
    const isWhole = doc.bytes.length <= mostCharacters;
    const start = isWhole ? 0 : doc.tree.start[node];
    const end = isWhole ? doc.bytes.length : doc.tree.end[node];
    const isShort = end - start <= mostCharacters;
    this.part = { json: doc.bytes, start, end };
    this.text.value = isShort ? indented(doc.slice(start, end)) : "";
    this.text.readOnly = !isShort || !canEdit;
    const name = doc.path(node) || "document";
    const length = (end - start).toLocaleString("en");
    if (isWhole) this.scope.textContent = "The whole document.";
    else if (isShort) this.scope.textContent = `The document is long: this is ${name} of it.`;
    else this.scope.textContent = `${name} has ${length} bytes as text, which is too long to change here. Select a smaller value in the tree.`;
    if (!canEdit) this.scope.textContent += " FLV is only read: the text cannot be changed here.";
    this.report(null, "");
  }

  get isChangeable() {
    return !this.text.readOnly;
  }

  changed() {
    this.number();
    clearTimeout(this.timer);
    this.timer = setTimeout(() => {
      this.dispatchEvent(new CustomEvent("edit", { detail: { text: this.text.value, ...this.part } }));
    }, pauseMs);
  }

  // `problem`: what the module says of the whole text ({ message, line, column, path }), or null.
  report(problem, message) {
    this.problem = problem && this.placeHere(problem);
    const place = this.problem ? `line ${this.problem.line}, column ${this.problem.column}: ` : "";
    const path = problem?.path ? ` (${problem.path})` : "";
    this.state.textContent = problem ? place + problem.message + path : message;
    this.state.classList.toggle("bad", problem !== null);
    this.text.setAttribute("aria-invalid", problem !== null);
    this.goTo.hidden = this.problem === null;
    this.number();
  }

  // The place in the text that is shown, from the place in the whole document.
  placeHere({ line, column }) {
    if (!line) return null;
    const { lines, characters } = extent(this.part.json.subarray(0, this.part.start));
    return { line: line - lines, column: line - lines === 1 ? column - characters : column };
  }

  number() {
    const count = this.text.value.split("\n").length;
    if (count !== this.shownLines) {
      const numbers = Array.from({ length: count }, (_, i) => i + 1).join("\n");
      this.lines.replaceChildren(document.createTextNode(numbers));
      this.shownLines = count;
    }
    this.lines.querySelector(".at")?.remove();
    if (!this.problem) return;
    const mark = document.createElement("span");
    mark.className = "at";
    mark.textContent = this.problem.line;
    mark.style.top = `${8 + (this.problem.line - 1) * lineHeight}px`;
    this.lines.append(mark);
  }

  scroll() {
    this.lines.scrollTop = this.text.scrollTop;
  }

  goToProblem() {
    const lines = this.text.value.split("\n");
    const { line, column } = this.problem;
    const before = lines.slice(0, line - 1).join("\n").length + (line > 1 ? 1 : 0);
    const at = before + [...(lines[line - 1] ?? "")].slice(0, column - 1).join("").length;
    this.text.focus();
    this.text.setSelectionRange(at, at + 1);
    this.text.scrollTop = Math.max(0, (line - 4) * lineHeight);
    this.scroll();
  }
}

// Long documents have no indentation. export writes numbers as JavaScript does, so this changes none.
function indented(text) {
  return text.includes("\n") ? text : JSON.stringify(JSON.parse(text), null, 2);
}

// Counts the line feeds of UTF-8 text, and the characters after the last one.
function extent(bytes) {
  let lines = 0;
  for (let at = bytes.indexOf(10); at >= 0; at = bytes.indexOf(10, at + 1)) lines += 1;
  let characters = 0;
  for (let at = bytes.lastIndexOf(10) + 1; at < bytes.length; at += 1) characters += (bytes[at] & 0xc0) === 0x80 ? 0 : 1;
  return { lines, characters };
}
