// SPDX-License-Identifier: Apache-2.0
//
// amf2json check: the result of the check of untrusted packets, without decoding them. Tested by
// tests/tool/check_test.cpp.
#include "tool/commands/commands.h"

#include "tool/input/packet.h"
#include "tool/text/json_line.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace {

constexpr const char* kDetails =
    "One line for each file that can be read:\n"
    "\n"
    "  FILE: STATUS: HEADERS, MESSAGES, NODES, DEPTH, TREE BYTES, LEFT OVER, LIES\n"
    "\n"
    "Nothing is decoded. If a packet is refused, the figures count what was read before that,\n"
    "and the problem is reported on standard error. LEFT OVER counts the bytes that were not\n"
    "read. LIES counts the declared lengths that are neither unknown (FFFFFFFF) nor the length\n"
    "of their value. decode ignores them, but other decoders may use them.\n"
    "\n"
    "With --format json each file is a line with one JSON object, a file that cannot be read\n"
    "too. Its fields are in docs/json.md.\n";

std::string figures(const Packet& packet) {
  const AMFVerifyResult& checked = packet.checked;
  return pluralize(checked.headers, "header") + ", " + pluralize(checked.messages, "message") +
         ", " + pluralize(checked.nodes, "node") + ", depth " + std::to_string(checked.depth) +
         ", " + pluralize(checked.treeBytes, "tree byte") + ", " +
         pluralize(packet.bytes.size() - checked.consumed, "byte left over", "bytes left over") +
         ", " + pluralize(checked.lengthMismatches, "length that lies", "lengths that lie");
}

FileResult inText(const Packet& packet, const Options& options) {
  FileResult result;
  result.text = printable(packet.file) + ": " + describe(packet.checked.status) + ": " +
                figures(packet) + "\n";
  if (packet.checked.lengthMismatches != 0) result.exitCode = kNo;
  addVerdict(result, packet, options);
  return result;
}

// All fields in order. For a file that cannot be read, all but the first and the last ones stay
// null.
JsonLine emptyLine(const std::string& file) {
  JsonLine line;
  line.set("file", file);
  for (const char* const name :
       {"status", "message", "offset", "section", "wrappers", "bytes", "consumed", "left_over",
        "headers", "messages", "nodes", "depth", "tree_bytes", "lying_lengths", "exit_code"}) {
    line.set(name, nullptr);
  }
  return line;
}

void fillProblem(JsonLine& line, const Problem& problem) {
  line.set("status", problem.status);
  line.set("message", problem.message);
  if (problem.offset) line.set("offset", *problem.offset);
  if (!problem.section.empty()) line.set("section", problem.section);
}

void fillFigures(JsonLine& line, const Packet& packet) {
  const AMFVerifyResult& checked = packet.checked;
  line.set("status", describe(checked.status));
  line.set("wrappers", packet.wrappers);
  line.set("bytes", packet.payload().size());
  line.set("consumed", packet.fileOffset(checked.consumed) - packet.skipped);
  line.set("left_over", packet.bytes.size() - checked.consumed);
  line.set("headers", checked.headers);
  line.set("messages", checked.messages);
  line.set("nodes", checked.nodes);
  line.set("depth", checked.depth);
  line.set("tree_bytes", checked.treeBytes);
  line.set("lying_lengths", checked.lengthMismatches);
}

FileResult inJSON(const std::string& file, const Options& options) {
  FileResult result;
  JsonLine line = emptyLine(file);
  try {
    const Packet packet = readPacket(file, options);
    fillFigures(line, packet);
    if (packet.checked.lengthMismatches != 0) result.exitCode = kNo;
    addVerdict(result, packet, options);
  } catch (const Problem& problem) {
    result.problems.push_back(problem);
  }
  if (!result.problems.empty()) fillProblem(line, result.problems.front());
  line.set("exit_code", static_cast<unsigned>(exitCodeOf(result)));
  result.text = line.text() + '\n';
  return result;
}

FileResult check(const std::string& file, const Options& options) {
  if (options.format == ReportFormat::json) return inJSON(file, options);
  return inText(readPacket(file, options), options);
}

void declare(OptionTable& table, Options& options) {
  declareFormatOption(table, options);
  declareFormOptions(table, options);
}

}  // namespace

Command checkCommand() {
  return {"check",
          "Says what is in packets without decoding them",
          kDetails,
          {{"amf2json check packet.amf", "whether it can be decoded, and how large its tree gets"},
           {"amf2json check --allow-trailing *.amf", "bytes after the last message are accepted"},
           {"amf2json check --format json *.amf", "a line of JSON for each file"}},
          declare,
          check};
}
