// SPDX-License-Identifier: Apache-2.0
//
// The module without its WebAssembly file: for hosts that bring the bytes themselves, as a page does that has them as
// base64. index.d.ts has the same calls as exports, for Node and bundlers.

/** The form of some bytes. "auto": detected. */
export type Form = "auto" | "packet" | "amf0" | "amf3" | "sol" | "flv";

/** Limits are inclusive: a value equal to its limit is accepted. */
export interface WireLimits {
  /** Size of the bytes that are read or written; 64 MiB unless set. */
  maxPacketBytes?: number;
  /** Size of the JSON text in UTF-8; 256 MiB unless set. */
  maxTextBytes?: number;
  /** Objects and arrays inside one another; 512 unless set. */
  maxDepth?: number;
}

export interface ImportOptions extends WireLimits {
  /** Externalizable classes that are not built in: the number of AMF3 values in the body of each. */
  external?: { [className: string]: number };
}

export interface ReadOptions extends ImportOptions {
  /** "auto" unless set. */
  as?: Form;
  /** Keep the raw bytes of sections that cannot be read, and continue after them. Off unless set. */
  salvage?: boolean;
}

export interface ExportOptions extends ReadOptions {
  /** One line without blanks. Off unless set: indented by two blanks. */
  compact?: boolean;
  /** Keep the bytes of sections whose values alone would be imported to other bytes. On unless set to false. */
  originals?: boolean;
}

export interface Exported {
  /** The document, without a line feed at its end. */
  json: string;
  /** What the bytes were read as; never "auto". */
  form: Form;
  /** English sentences of the program amf2json about trailing bytes, wrong length fields and salvaged sections. */
  warnings: string[];
}

export interface Identity {
  /** False: nothing was recognised; `reason` then has the first bytes. */
  known: boolean;
  /** A word for programs, such as "packet", "sol" or "refused packet"; docs/json.md lists them. */
  kind: string;
  /** What the program amf2json prints: "AMF packet: version 3, 0 headers, 1 message, 54 bytes". */
  reason: string;
  /** The wrappers around the content, the outermost first, such as ["base64 text"]. */
  wrappers: string[];
  /** The form as which exportJson reads all of these bytes; null if it does not. */
  form: Form | null;
  /** Commands of the program amf2json that show what is in it; FILE stands for the file. At most one today. */
  hints: string[];
}

export interface FieldOptions extends ReadOptions {
  /** Read as the library's own dialect (as decode() does), not as the published formats. Off unless set. */
  dialect?: boolean;
  /** More fields are refused with the code "fieldLimit"; 1,000,000 unless set. */
  maxFields?: number;
}

/**
 * A run of bytes with one meaning. Fields follow one another without gaps and cover all bytes. Only the last
 * field of refused bytes may have no bytes.
 */
export interface Field {
  /** From the first byte. */
  offset: number;
  /** In bytes. */
  length: number;
  /**
   * A word for programs and colours: "version", "headerCount", "messageCount", "mustUnderstand", "declaredLength",
   * "marker0", "marker3" (value types of AMF0 and AMF3), "length", "count", "reference0", "reference3", "head" (AMF3
   * lengths, counts and traits), "integer", "number", "boolean", "timeMs", "timeZone", "headerName", "targetUri",
   * "responseUri", "className", "memberName", "string", "xml", "byteArray", "end"; in the published formats also
   * "flags", "item", "fixed", "weak", "signature", "size", "tag" and "raw" (a salvaged section, or bytes that are no
   * values). "trailing" is what follows. If bytes are refused the last field is "error": it begins at the refused byte
   * and covers the rest, and its meaning is the reason. "incomplete" before it is the beginning of what is refused.
   */
  kind: string;
  /** English, such as "number 1.5" or "string of 5 bytes". */
  meaning: string;
  /**
   * Published formats: the JSON value it belongs to, in the document of exportJson with the same options, written like
   * the paths of errors: messages[0].value[2].name, a["odd name"]. The empty path is the document itself. Absent in
   * the dialect, and for bytes that belong to no value.
   */
  path?: string;
}

/** The limits of the guard (AMFGuard.h), which checks the bytes before decode() reads them. */
export interface GuardLimits {
  maxPacketBytes?: number;
  /** At most 4000; 64 unless set. Above 500 the host's stack may be too small, which is a "depthLimit" error. */
  maxDepth?: number;
  maxNodes?: number;
  maxTreeBytes?: number;
  maxCopiedBytes?: number;
  maxStringBytes?: number;
  maxSwitchedReferences?: number;
}

export interface CheckOptions extends GuardLimits {
  /** A packet, or one AMF0 or AMF3 value; "packet" unless set. */
  as?: "packet" | "amf0" | "amf3";
}

export interface Verdict {
  /** Whether decode() will read the bytes. */
  ok: boolean;
  /** "ok", "truncated", "malformed", "depth limit" and so on, as the program's check prints it. */
  status: string;
  /** The reason of a refusal; empty when ok. */
  message: string;
  /** Where it was refused; 0 when ok. */
  offset: number;
  /** Bytes of the input, bytes that were read, and bytes after those. */
  bytes: number;
  consumed: number;
  leftOver: number;
  headers: number;
  messages: number;
  nodes: number;
  depth: number;
  /** Bytes of memory that the tree of decode() takes in this module. */
  treeBytes: number;
  /** Declared lengths that are neither unknown nor correct. */
  lyingLengths: number;
}

export interface DecodeOptions extends CheckOptions {
  /**
   * "json" unless set. "js": a script that builds `amf`; "both": JSON and statements; "script": statements alone.
   * The last three stop at 499,999 bytes.
   */
  view?: "json" | "js" | "both" | "script";
  /** Indented. On unless set to false. */
  pretty?: boolean;
}

/** The only error that the calls throw. */
export class Amf2JsonError extends Error {
  /**
   * "truncated", "malformed", "unknownExternal", "packetLimit", "depthLimit", "textLimit", "flagLimit", "syntax",
   * "content"; of decode() also "nodeLimit", "treeLimit", "copyLimit", "stringLimit", "switchedReferenceLimit"; of
   * fields() "fieldLimit"; "option" for an argument of a wrong type or an option that does not exist, "memory" where
   * there is not enough, "bug" for what should not happen.
   */
  code: string;
  /** Bytes: the first byte of the field that is refused. */
  offset?: number;
  /** Text: where in the document. The document itself is the empty path. */
  path?: string;
  /** Text: from 1. */
  line?: number;
  /** Text: from 1, in characters. */
  column?: number;
}

export interface Api {
  /** Published AMF (packets, values, shared objects, FLV script tags) to JSON that loses nothing. */
  exportJson(bytes: Uint8Array, options?: ExportOptions): Exported;
  /** A document of exportJson() to bytes. */
  importJson(text: string, options?: ImportOptions): Uint8Array;
  /**
   * What bytes are, as the program's identify says it. Compressed bytes have the kind "compressed", and "gzip" or "zlib"
   * as the last of `wrappers`: unpack them (DecompressionStream("gzip") or ("deflate"), node:zlib), and ask again.
   */
  identify(bytes: Uint8Array): Identity;
  /** What each byte is, for a hex view. Bytes that are refused throw nothing: the last field says why. */
  fields(bytes: Uint8Array, options?: FieldOptions): Field[];
  /** What the guard says about bytes of the library's dialect. */
  check(bytes: Uint8Array, options?: CheckOptions): Verdict;
  /** The library's dialect as text; strings are escaped. Dates are in UTC. No line feed is added at the end. */
  decode(bytes: Uint8Array, options?: DecodeOptions): string;
  /** The version of the library. */
  readonly version: string;
  readonly Amf2JsonError: typeof Amf2JsonError;
}

/**
 * Returns the calls, from the bytes of amf2json.wasm or a module compiled from them. All calls are synchronous, and
 * work in a Worker, too. A call that took much memory releases it when it ends.
 */
export function instantiate(wasm: BufferSource | WebAssembly.Module): Promise<Api>;
