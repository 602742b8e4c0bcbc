// SPDX-License-Identifier: Apache-2.0
//
// amf2json identify: what a file is, and which command shows it. Tested by
// tests/tool/bytes_test.cpp.
#include "tool/commands/commands.h"

#include "tool/input/identify.h"
#include "tool/input/input.h"
#include "tool/text/json_line.h"
#include "tool/text/printable.h"

namespace {

constexpr const char* kDetails =
    "A line for each file, and the command that shows what is in it, if there is one:\n"
    "\n"
    "  FILE: gzip > AMF packet: version 3, 0 headers, 1 message, 54 bytes\n"
    "  next: amf2json decode --unwrap FILE\n"
    "\n"
    "The program recognises packets, complete, refused or with bytes after them; single values;\n"
    "shared objects and script data of FLV files; all of them in hexadecimal or base64 text,\n"
    "gzip, zlib or an HTTP message; bytes that a text decoder has changed; HTML, XML and JSON.\n"
    "Bytes are reported as a packet or value only if all of it can be read. The command shows\n"
    "all of it, or says how many bytes it does not show.\n"
    "\n"
    "With --format json each file is a line with one JSON object, a file that cannot be read\n"
    "too. Its fields are in docs/json.md.\n";

Identity identifyFile(const std::string& file, const Options& options) {
  return identify(readInput(file, options.limits.maxPacketBytes), options.limits);
}

FileResult inText(const std::string& file, const Options& options) {
  const Identity identity = identifyFile(file, options);
  FileResult result;
  result.exitCode = identity.isKnown ? kDone : kNo;
  result.text = printable(file) + ": " + identity.verdict + '\n';
  const std::string command = commandFor(identity, file);
  if (!command.empty()) result.text += "next: " + command + '\n';
  return result;
}

void fill(JsonLine& line, const Identity& identity, const std::string& file) {
  line.set("kind", identity.kind);
  line.set("verdict", identity.verdict);
  line.set("wrappers", identity.wrappers);
  const std::string command = commandFor(identity, file);
  if (!command.empty()) line.set("next", command);
}

FileResult inJSON(const std::string& file, const Options& options) {
  FileResult result;
  JsonLine line;
  line.set("file", file);
  for (const char* const name : {"kind", "verdict", "wrappers", "next", "message"}) {
    line.set(name, nullptr);
  }
  try {
    const Identity identity = identifyFile(file, options);
    result.exitCode = identity.isKnown ? kDone : kNo;
    fill(line, identity, file);
  } catch (const Problem& problem) {
    line.set("message", problem.message);
    result.problems.push_back(problem);
  }
  line.set("exit_code", static_cast<unsigned>(exitCodeOf(result)));
  result.text = line.text() + '\n';
  return result;
}

FileResult runOnFile(const std::string& file, const Options& options) {
  return options.format == ReportFormat::json ? inJSON(file, options) : inText(file, options);
}

void declare(OptionTable& table, Options& options) {
  declareFormatOption(table, options);
}

}  // namespace

Command identifyCommand() {
  return {"identify",
          "Says what files are, and the command to run next",
          kDetails,
          {{"amf2json identify capture.bin", "what it is, and the command to run next"},
           {"amf2json identify *", "a line or two for each file"},
           {"amf2json identify --format json *", "a line of JSON for each file"}},
          declare,
          runOnFile};
}
