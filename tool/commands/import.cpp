// SPDX-License-Identifier: Apache-2.0
//
// amf2json import: the JSON of export to bytes. Only in builds with AMFWire. Tested by
// tests/tool/export_test.cpp.
#include "tool/commands/commands.h"

#include "tool/commands/wire_problem.h"
#include "tool/input/input.h"
#include "tool/output/report.h"
#include "tool/text/packet_encoding.h"

namespace {

constexpr const char* kDetails =
    "Reads the JSON that export wrote, and writes it as bytes. If you have changed the JSON, the\n"
    "bytes contain the change. All unchanged parts become the same bytes as before.\n"
    "\n"
    "An error is reported as FILE:LINE:COLUMN: MESSAGE (PATH). With --error-format json the\n"
    "object also has path, line and column.\n"
    "\n"
    "Packets are binary: they are not written to a terminal unless --force is given. With --to\n"
    "base64 or --to hex they are written as text. With --lines as well, each line of the input\n"
    "is one document, and the output has one line for it, as with export --lines.\n";

AMFWireImportOptions importOptions(const Options& options) {
  return {options.wire.limits, options.wire.externalClasses};
}

FileResult runOnFile(const std::string& file, const Options& options) {
  const std::string text = readInput(file, options.wire.limits.maxTextBytes, "--max-text-bytes");
  FileResult result;
  const AMFWireResult done =
      amfWireImport(text.data(), text.size(), result.text, importOptions(options));
  if (!done.ok()) {
    Problem problem = importProblem(done, options);
    problem.file = file;
    throw problem;
  }
  result.isBinary = true;
  if (options.wire.encoding != PacketEncoding::binary) {
    result.text = encodePacketLine(result.text, options.wire.encoding) + '\n';
  }
  return result;
}

FileResult runOnLine(std::string_view line, const Options& options) {
  FileResult result;
  std::string bytes;
  const AMFWireResult done = amfWireImport(line.data(), line.size(), bytes, importOptions(options));
  if (done.ok()) {
    result.text = encodePacketLine(bytes, options.wire.encoding);
    return result;
  }
  return refusedLine(importProblem(done, options));
}

bool worksOnLines(const Options& options) {
  if (options.wire.lines && options.wire.encoding == PacketEncoding::binary) {
    throw usageProblem("--lines: needs --to base64 or --to hex");
  }
  return options.wire.lines;
}

bool writesBinary(const Options& options) {
  return options.wire.encoding == PacketEncoding::binary;
}

void declare(OptionTable& table, Options& options) {
  table.choice("--to", "FORM", options.wire.encoding, "How packets are written",
               {{"binary", "as they are"},
                {"base64", "in base64, one line each"},
                {"hex", "in hexadecimal, one line each"}});
  table.flag("--lines", options.wire.lines, "One document a line");
  declareExternalOption(table, options);
  declareOutputOptions(table, options);
}

void declareShared(OptionTable& table, Options& options) {
  declareRunOptions(table, options);
  AMFWireLimits& limits = options.wire.limits;
  table.limit("--max-packet-bytes", limits.maxPacketBytes, "The packet made of one file");
  table.limit("--max-depth", limits.maxDepth, "Objects and arrays inside one another");
  table.limit("--max-text-bytes", limits.maxTextBytes, "Bytes of a file");
  table.files(options.files);
}

const char* extensionOf(const Options& options) {
  return options.wire.encoding == PacketEncoding::binary ? ".amf" : ".txt";
}

}  // namespace

Command importCommand() {
  Command command{
      "import",
      "Converts the JSON of export back to bytes",
      kDetails,
      {{"amf2json export packet.amf | amf2json import --to hex", "the bytes as text"},
       {"amf2json export packet.amf | amf2json import -o new.amf", "to a file"},
       {"amf2json export --lines *.amf | amf2json import --lines --to base64", "a packet a line"}},
      declare,
      runOnFile,
      extensionOf};
  command.removedExtension = ".json";
  command.declareShared = declareShared;
  command.worksOnLines = worksOnLines;
  command.runOnLine = runOnLine;
  command.writesBinary = writesBinary;
  return command;
}
