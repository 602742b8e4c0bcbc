// SPDX-License-Identifier: Apache-2.0
#include "tool/shared_options.h"

void declareOutput(OptionTable& table, Options& options) {
  table.text("-o,--output", "FILE", options.output, "File to write; of several inputs, the folder");
  table.flag("--force", options.force, "Replace read-only files and old results in a folder");
}

void declareForm(OptionTable& table, Options& options) {
  table.choice("--as", "FORM", options.form, "What the bytes are",
               {{"packet", "a packet"},
                {"amf0", "one AMF0 value; shown in a message without URIs"},
                {"amf3", "one AMF3 value; the same"}});
  table.flag("--unwrap", options.unwrap, "Take off hexadecimal, base64, gzip, zlib and HTTP");
  table.number("--skip", options.skip, "Leave out the first N bytes, once unwrapped", "0");
}

void declareFormat(OptionTable& table, Options& options) {
  table.choice("--format", "FORM", options.format, "Form of the answer",
               {{"text", "for people"}, {"json", "one JSON object a line for each file"}});
}

void declareShared(OptionTable& table, Options& options) {
  table.flag("--allow-trailing", options.allowTrailing, "Accept bytes behind the last message");
  table.number("-j,--jobs", options.jobs, "Files to work on at once", "all processors");
  table.choice("--color", "WHEN", options.color, "Colour of texts and errors",
               {{"auto", "on a terminal, unless NO_COLOR is set"},
                {"always", "also into files and pipes"},
                {"never", "no colour"}});
  table.choice(
      "--error-format", "FORM", options.errorFormat, "Form of errors",
      {{"text", "FILE:OFFSET: MESSAGE (SECTION), and bytes"}, {"json", "one JSON object a line"}});
  AMFVerifyLimits& limits = options.limits;
  table.limit("--max-packet-bytes", limits.maxPacketBytes,
              "Bytes of a file, and of the packet in it");
  table.limit("--max-depth", limits.maxDepth, "Objects and arrays inside one another");
  table.limit("--max-nodes", limits.maxNodes, "Values, names and URIs");
  table.limit("--max-tree-bytes", limits.maxTreeBytes, "Memory for all of them");
  table.limit("--max-copied-bytes", limits.maxCopiedBytes, "The part of it that references copy");
  table.limit("--max-string-bytes", limits.maxStringBytes, "One string, XML text or byte array");
  table.limit("--max-switched-references", limits.maxSwitchedReferences,
              "AMF3 references right behind a switch");
  table.limit("--max-output-bytes", options.maxOutputBytes, "The text made of one file");
  table.files(options.files, "Packets to read; - or none: standard input");
}
