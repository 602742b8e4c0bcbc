// SPDX-License-Identifier: Apache-2.0
//
// The page: what is open, and which part of the page shows what of it. Enter at start().
// Tested by test/page.test.mjs.
import { toHex, pluralize } from "./bytes.js";
import { CompareView } from "./compare_view.js";
import { Document, documentOf } from "./document.js";
import { Editor } from "./editor.js";
import { lossOf, problemOf } from "./har.js";
import { HexView } from "./hex_view.js";
import { fieldAt, meaningOf } from "./links.js";
import { comparison, download, outputText } from "./outputs.js";
import { PacketList } from "./packet_list.js";
import { bytesOfPaste } from "./parse_input.js";
import { Search } from "./search.js";
import { Tabs } from "./tabs.js";
import { TreeView } from "./tree_view.js";
import { Stopped, Work } from "./work.js";

const $ = (id) => document.getElementById(id);
const mostShownCharacters = 100_000;  // of texts that are only shown
const mostFileBytes = 256 << 20;
const busyAfterMs = 300;

// The sample object_members of the project: one call with an object.
const sampleHex = "000000000001000473617665 00022f32 0000001f 0300026f6e01010004 6c6973740a0000000200 3ff80000000000000 5000009";

class App {
  constructor(work) {
    this.work = work;
    this.current = null;  // the packet that is shown: { packet, bytes, doc, form, links, options }
    this.turn = 0;        // number of the latest request; answers to older ones are ignored
    this.tree = new TreeView($("tree"));
    this.hex = new HexView($("hex"));
    this.list = new PacketList({ section: $("packets"), rows: $("packet-rows"), more: $("more-packets") });
    this.editor = new Editor({
      text: $("text"), lines: $("lines"), state: $("editor-state"), scope: $("editor-scope"), goTo: $("go-to-problem"),
    });
    this.compare = new CompareView({
      element: $("diff"), state: $("diff-state"), onlyChanges: $("only-changes"), back: $("diff-back"), next: $("diff-next"),
    });
    this.tabs = new Tabs($("tabs"));
    this.connect();
  }

  // ---- What the user does

  connect() {
    const choose = () => $("files").click();
    $("choose").addEventListener("click", choose);
    $("choose-2").addEventListener("click", choose);
    $("other-file").addEventListener("click", choose);
    $("files").addEventListener("change", () => this.openFiles([...$("files").files]));
    $("sample").addEventListener("click", () => this.openText(sampleHex, "sample"));
    $("paste-open").addEventListener("click", () => $("paste-dialog").showModal());
    $("paste-dialog").addEventListener("close", () => this.paste());
    $("stop").addEventListener("click", () => this.work.stop());
    document.addEventListener("dragover", (event) => this.drag(event, true));
    document.addEventListener("dragleave", (event) => this.drag(event, event.relatedTarget !== null));
    document.addEventListener("drop", (event) => this.drop(event));
    this.work.addEventListener("busy", () => this.busy());
    this.work.addEventListener("idle", () => this.idle());
    for (const id of ["as", "salvage", "external"]) $(id).addEventListener("change", () => this.reopen());
    $("options").querySelector("form").addEventListener("submit", (event) => event.preventDefault());
    this.list.addEventListener("open", (event) => this.openPacket(event.detail.index));
    this.tabs.addEventListener("change", () => this.showTab());
    this.connectPanels();
  }

  connectPanels() {
    this.tree.addEventListener("select", (event) => this.nodeSelected(event.detail.node));
    this.hex.addEventListener("select", (event) => this.byteSelected(event.detail.offset));
    this.editor.addEventListener("edit", (event) => this.edit(event.detail));
    $("expand").addEventListener("click", () => this.tree.expandAll());
    $("collapse").addEventListener("click", () => this.tree.collapseAll());
    $("edit-value").addEventListener("click", () => this.editValue());
    $("search").addEventListener("keydown", (event) => event.key === "Enter" && this.find(event.shiftKey));
    $("search-next").addEventListener("click", () => this.find(false));
    $("search-back").addEventListener("click", () => this.find(true));
    $("revert").addEventListener("click", () => this.showPacket(this.current.packet));
    $("download").addEventListener("click", () => download(this.current.bytes, this.fileName(".amf"), "application/x-amf"));
    $("download-json").addEventListener("click", () =>
      download(this.current.doc?.bytes ?? "", this.fileName(".json"), "application/json"));
    $("out-form").addEventListener("change", () => this.showOutput());
    $("copy").addEventListener("click", () => this.copy());
    for (const id of ["core-view", "core-pretty"]) $(id).addEventListener("change", () => this.showCore());
    $("core-download").addEventListener("click", () => download(this.coreText ?? "", this.fileName(".txt"), "text/plain"));
    $("other").addEventListener("change", () => this.showCompare());
  }

  drag(event, isOver) {
    event.preventDefault();
    document.body.classList.toggle("dropping", isOver);
  }

  drop(event) {
    this.drag(event, false);
    this.openFiles([...event.dataTransfer.files]);
  }

  paste() {
    const text = $("paste-text").value;
    if ($("paste-dialog").returnValue === "ok" && text.trim() !== "") this.openText(text, "paste");
    $("paste-dialog").returnValue = "";
  }

  busy() {
    this.busyTimer = setTimeout(() => { $("busy").hidden = false; }, busyAfterMs);
    document.body.setAttribute("aria-busy", "true");
  }

  idle() {
    clearTimeout(this.busyTimer);
    $("busy").hidden = true;
    document.body.setAttribute("aria-busy", "false");
  }

  // ---- Opening

  async openFiles(files) {
    $("files").value = "";
    for (const file of files) {
      if (file.size > mostFileBytes) this.fail(new Error(`${file.name} has more than ${mostFileBytes} bytes.`));
      else await this.openBytes(new Uint8Array(await file.arrayBuffer()), file.name);
    }
  }

  openText(text, name) {
    return this.openBytes(bytesOfPaste(text), name);
  }

  async openBytes(bytes, name) {
    this.fail(null);
    try {
      const input = await this.work.ask("parse", { bytes }, [bytes.buffer]);
      const packets = await this.packetsOf(input, name);
      if (packets.length === 0) throw new Error(`${name}: no entry of this archive carries AMF.`);
      const first = this.list.add(packets);
      if (input.kind === "har") $("status").textContent = harSummary(name, packets);
      await this.openPacket(first);
    } catch (error) {
      this.fail(error);
    }
  }

  async packetsOf(input, name) {
    if (input.kind === "har") {
      return input.entries.map((entry) => ({
        name: entry.url || name, bytes: entry.bytes, source: entry, notes: harNotes(entry), problem: problemOf(entry),
      }));
    }
    const plain = { name, source: {}, notes: [], problem: "" };
    if (input.kind === "document") {
      const bytes = await this.work.ask("import", { text: input.text, external: this.options.external });
      return [{ ...plain, bytes }];
    }
    const wrappers = input.wrappers.length > 0 ? [`Taken out of: ${input.wrappers.join(" > ")}.`] : [];
    return [{ ...plain, bytes: input.bytes, source: input.source, notes: [...wrappers, ...input.notes] }];
  }

  get options() {
    const external = {};
    for (const part of $("external").value.split(",")) {
      const match = /^\s*([^=\s]+)\s*=\s*(\d+)\s*$/.exec(part);
      if (match) external[match[1]] = Number(match[2]);
    }
    return { as: $("as").value, salvage: $("salvage").checked, external };
  }

  // Bodies of archives are read as packets: a damaged one might be read as AMF0 values.
  optionsFor(packet) {
    const { options } = this;
    return packet.source.index !== undefined && options.as === "auto" ? { ...options, as: "packet" } : options;
  }

  openPacket(index) {
    this.list.setCurrent(index);
    const packet = this.list.packets[index];
    $("welcome").hidden = true;
    $("packet").hidden = false;
    $("packet-title").textContent = packet.name;
    this.fillOthers(index);
    return this.showPacket(packet);
  }

  reopen() {
    if (this.current) this.showPacket(this.current.packet);
  }

  // Shows the packet as it was opened, without the changes of the editor.
  async showPacket(packet) {
    this.fail(null);
    this.current = { packet, bytes: packet.bytes, doc: null, form: "", links: null, error: null };
    $("notes").replaceChildren(...packet.notes.map(listItem));
    await this.read(packet.bytes, true);
  }

  // Reads bytes and shows the result. With `isNew` the editor shows their text, too.
  async read(bytes, isNew) {
    const turn = this.turn += 1;
    const { current } = this;
    const options = this.optionsFor(current.packet);
    try {
      const answer = await this.work.ask("open", { bytes, options });
      if (turn !== this.turn) return;
      const doc = new Document(answer.json, answer.tree);
      Object.assign(current, { bytes, doc, form: answer.form, links: null, error: null });
      this.tree.show(doc);
      this.hex.show(bytes);
      if (isNew) this.editor.show(doc, 0, answer.form !== "flv");
      $("tree").hidden = false;
      this.showSummary(answer.warnings);
    } catch (error) {
      if (turn !== this.turn) return;
      if (error instanceof Stopped) return this.fail(error);
      this.refused(bytes, error);
    }
    this.showTab();
    await this.describe(turn, bytes, options);
  }

  // Bytes that cannot be read are shown in the hex view only.
  refused(bytes, error) {
    Object.assign(this.current, { bytes, doc: null, links: null, error });
    const offset = error.offset ?? -1;
    this.hex.show(bytes, offset);
    $("tree").hidden = true;
    $("what").textContent = "This cannot be read.";
    $("place").textContent = "";
    this.editor.show(documentOf("null"), 0, false);
    this.fail(new Error(offset >= 0 ? `${error.message}, at byte ${offset} (hexadecimal ${offset.toString(16)})` : error.message));
    if (error.code !== "textLimit" && !$("salvage").checked) this.offerSalvage();
  }

  offerSalvage() {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = "Keep what can be read";
    button.addEventListener("click", () => {
      $("salvage").checked = true;
      this.reopen();
    });
    $("problem").append(button);
  }

  async describe(turn, bytes, options) {
    try {
      const identity = await this.work.ask("identify", { bytes });
      if (turn !== this.turn) return;
      $("identity").textContent = `${identity.reason}.`;
      const links = await this.work.ask("link", { bytes, options, json: this.current.doc?.bytes });
      if (turn !== this.turn) return;
      this.current.links = links;
      if (this.current.doc) this.nodeSelected(this.tree.node);
      else if (this.current.error?.offset !== undefined) this.describeByte(this.current.error.offset);
    } catch (error) {
      if (turn === this.turn) $("place").textContent = `Bytes and values are not linked: ${error.message}`;
    }
  }

  showSummary(warnings) {
    const { packet } = this.current;
    $("what").textContent = headline(this.current.form, this.current.doc);
    $("notes").replaceChildren(...[...packet.notes, ...warnings].map(listItem));
    const what = `${packet.name}: ${pluralize(this.current.doc.count, "value")} in ${pluralize(this.current.bytes.length, "byte")}.`;
    if (packet.source.index === undefined) $("status").textContent = what;
  }

  fail(error) {
    $("problem").replaceChildren(error ? error.message : "");
  }

  // ---- Tree and bytes

  nodeSelected(node) {
    const { doc, links } = this.current;
    $("place").textContent = doc.path(node) || "document";
    if (!links) return;
    const start = links.nodeStart[node];
    if (start < 0 || node === 0) return this.hex.mark(0, 0);
    const end = links.nodeEnd[node];
    this.hex.mark(start, end);
    $("place").textContent += `: bytes ${start.toString(16)} to ${(end - 1).toString(16)}, ${pluralize(end - start, "byte")}`;
  }

  byteSelected(offset) {
    const { doc, links } = this.current;
    const field = links ? fieldAt(links, offset) : -1;
    if (field >= 0) {
      const start = links.fieldStart[field];
      this.hex.mark(start, start + links.fieldLength[field], offset);
      if (doc && links.fieldNode[field] >= 0) this.tree.selectNode(links.fieldNode[field], false);
    }
    this.describeByte(offset);
  }

  describeByte(offset) {
    const { bytes, links, doc } = this.current;
    const field = links ? fieldAt(links, offset) : -1;
    const byte = offset < bytes.length ? toHex(bytes.subarray(offset, offset + 1)) : "the end";
    let text = `byte ${offset.toString(16)}: ${byte}`;
    if (field >= 0) text += `, ${meaningOf(links, field)}`;
    if (doc && field >= 0 && links.fieldNode[field] >= 0) text += `, of ${doc.path(links.fieldNode[field]) || "document"}`;
    $("place").textContent = text;
  }

  async find(isBack) {
    const { doc } = this.current;
    const needle = $("search").value;
    if (!doc || needle === "") return;
    const pause = () => new Promise((resolve) => { setTimeout(resolve); });
    const found = await new Search(doc, needle).next(this.tree.node, isBack, pause);
    if (doc !== this.current.doc) return;
    $("found").textContent = found < 0 ? "Not found" : `Found in ${doc.path(found)}`;
    if (found >= 0) this.tree.selectNode(found, true);
  }

  editValue() {
    const { doc, form } = this.current;
    if (!doc) return;
    this.editor.show(doc, this.tree.node, form !== "flv");
    this.tabs.show("json");
    $("text").focus();
  }

  // ---- JSON to bytes

  async edit(part) {
    const turn = this.turn += 1;
    try {
      const bytes = await this.work.ask("import", { ...part, external: this.options.external });
      if (turn !== this.turn) return;
      this.fail(null);
      this.editor.report(null, `${comparison(this.current.packet.bytes, bytes)}`);
      await this.read(bytes, false);
    } catch (error) {
      if (turn === this.turn) this.editor.report(error, "");
    }
  }

  // ---- The other tabs

  showTab() {
    if (!this.current) return;
    if (this.tabs.name === "out") this.showOutput();
    if (this.tabs.name === "core") this.showCore();
    if (this.tabs.name === "compare") this.showCompare();
  }

  showOutput() {
    const { packet, bytes } = this.current;
    this.outText = outputText($("out-form").value, bytes, packet.source.url, this.fileName(".amf"));
    $("out-state").textContent = comparison(packet.bytes, bytes);
    if (this.outText === null) $("out-state").textContent += " They are too many for a text: download them.";
    $("out-text").value = this.outText ?? "";
    $("copy").disabled = this.outText === null;
    $("copied").textContent = "";
  }

  async copy() {
    try {
      await navigator.clipboard.writeText(this.outText);
    } catch {
      $("out-text").select();
      document.execCommand("copy");
    }
    $("copied").textContent = "Copied";
  }

  async showCore() {
    const turn = this.turn;
    $("core-state").textContent = "";
    try {
      const { verdict, text } = await this.work.ask("decode", {
        bytes: this.current.bytes, view: $("core-view").value, pretty: $("core-pretty").checked,
      });
      if (turn !== this.turn) return;
      this.coreText = text;
      $("core-text").textContent = text.slice(0, mostShownCharacters);
      $("core-state").classList.toggle("bad", !verdict.ok);
      if (!verdict.ok) $("core-state").textContent = `The dialect refuses this packet: ${verdict.message}, at byte ${verdict.offset}`;
      else if (text.length > mostShownCharacters) $("core-state").textContent = "The beginning; the download has all of it.";
    } catch (error) {
      $("core-state").textContent = error.message;
    }
  }

  fillOthers(index) {
    const options = this.list.packets.slice(0, 1000).map((packet, i) => {
      const { direction = "" } = packet.source;
      const option = new Option(`${i + 1}: ${packet.name} ${direction}`.trim(), i);
      option.disabled = i === index;
      return option;
    });
    const opened = new Option("itself as it was opened", "opened");
    $("other").replaceChildren(opened, ...options);
    $("other").value = index > 0 ? String(index - 1) : "opened";
  }

  async showCompare() {
    const { packet, bytes } = this.current;
    const { value } = $("other");
    const other = value === "opened" ? packet : this.list.packets[Number(value)];
    const turn = this.turn;
    try {
      const answer = await this.work.ask("diff", { left: other.bytes, right: bytes, options: this.optionsFor(packet) });
      if (turn !== this.turn) return;
      this.compare.show(answer);
      const name = value === "opened" ? "as it was opened" : other.name;
      $("diff-sides").textContent = `On the left: ${name}. On the right: ${packet.name}.`;
    } catch (error) {
      this.compare.clear(error.message);
      $("diff-state").classList.add("bad");
    }
  }

  fileName(extension) {
    const last = this.current.packet.name.split(/[/\\]/).at(-1).split("?")[0].replace(/[^\w.-]/g, "_");
    return (last || "packet").replace(/\.(amf|bin|hex|json|txt)$/i, "") + extension;
  }
}

function listItem(text) {
  const element = document.createElement("li");
  element.textContent = text;
  return element;
}

const formNames = { packet: "Packet", amf0: "AMF0 values", amf3: "AMF3 values", sol: "Shared object", flv: "FLV" };
const mostTargets = 5;

// "Packet, version 0, one message: save": the kind of a document, and the targets of its messages.
function headline(form, doc) {
  if (form !== "packet") return `${formNames[form]}.`;
  const messages = doc.children(doc.member(0, "messages"));
  const targets = [...messages.subarray(0, mostTargets)].map((message) => doc.member(message, "target"))
    .map((target) => (target < 0 ? "" : doc.preview(target).text.replace(/^"|"$/g, "")));
  const more = messages.length > mostTargets ? ", …" : "";
  const calls = messages.length > 0 ? `: ${targets.join(", ")}${more}` : "";
  const headers = doc.children(doc.member(0, "headers")).length;
  return `Packet, version ${doc.source(doc.member(0, "amf"))}, ${pluralize(headers, "header")}, ${pluralize(messages.length, "message")}${calls}`;
}

function harNotes(entry) {
  const notes = [`${entry.direction} of ${entry.method} ${entry.url}, ${entry.time}`];
  if (problemOf(entry)) notes.push(`The body is ${problemOf(entry)}.`);
  if (entry.wrapper) notes.push(`Taken out of: ${entry.wrapper}.`);
  return notes;
}

function harSummary(name, packets) {
  const lost = packets.filter((packet) => lossOf(packet.source)).length;
  const bodies = `${packets.length} AMF ${packets.length === 1 ? "body" : "bodies"}`;
  return `${name}: ${bodies}, ${lost} of them lost to the recorder.`;
}

export async function start(workerSource, wasm) {
  const work = new Work(workerSource, wasm);
  const app = new App(work);
  try {
    const { version } = await work.ready;
    $("version").textContent = `version ${version}`;
  } catch (error) {
    app.fail(new Error(`The module does not start: ${error.message}`));
  }
  return app;
}
