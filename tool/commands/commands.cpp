// SPDX-License-Identifier: Apache-2.0
//
// The table of the commands, and the options that several of them share. Tested by
// tests/tool/manual_test.cpp.
#include "tool/commands/commands.h"

#include <charconv>

#include "tool/problem.h"

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {
      decodeCommand(), checkCommand(),  identifyCommand(), dumpCommand(), roundtripCommand(),
#ifdef AMF2JSON_HAVE_WIRE
      exportCommand(), importCommand(),
#endif
  };
  return table;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const Command& command : commands()) names.push_back(command.name);
  return names;
}

void declareAll(const Command& command, OptionTable& table, Options& options) {
  command.declareOptions(table, options);
  (command.declareShared != nullptr ? command.declareShared : declareCommonOptions)(table, options);
}

// ---- Options

void declareOutputOptions(OptionTable& table, Options& options) {
  table.text("-o,--output", "FILE", options.output,
             "File to write; for several inputs, the directory");
  table.flag("--force", options.force, "Replace read-only files, and files in a directory");
}

void declareUnwrapOption(OptionTable& table, Options& options) {
  table.flag("--unwrap", options.unwrap, "Remove hexadecimal, base64, gzip, zlib and HTTP");
}

void declareTrailingOption(OptionTable& table, Options& options) {
  table.flag("--allow-trailing", options.allowTrailing, "Accept bytes after the last message");
}

void declareFormOptions(OptionTable& table, Options& options) {
  table.choice("--as", "FORM", options.form, "What the bytes are",
               {{"packet", "a packet"},
                {"amf0", "one AMF0 value; shown in a message without URIs"},
                {"amf3", "one AMF3 value; the same"}});
  declareUnwrapOption(table, options);
  table.number("--skip", options.skip, "Ignore the first N bytes, after unwrapping", "0");
}

namespace {

// "CLASS" or "CLASS=VALUES".
AMFWireExternalClass externalClass(const std::string& word) {
  const std::size_t mark = word.rfind('=');
  const std::string name = word.substr(0, mark);
  AMFWireExternalClass found{name, 1};
  bool isRead = !name.empty();
  if (mark != std::string::npos) {
    const char* const end = word.data() + word.size();
    const auto number = std::from_chars(word.data() + mark + 1, end, found.values);
    isRead = isRead && number.ec == std::errc() && number.ptr == end;
  }
  if (isRead) return found;
  throw usageProblem("--external: '" + word + "' is not CLASS or CLASS=VALUES, a number of values");
}

}  // namespace

void declareExternalOption(OptionTable& table, Options& options) {
  table.list(
      "--external", "CLASS[=VALUES]",
      [&options](const std::string& word) {
        options.wire.externalClasses.push_back(externalClass(word));
      },
      "A class whose body is so many values (1); repeatable");
}

void declareFormatOption(OptionTable& table, Options& options) {
  table.choice("--format", "FORM", options.format, "Form of the answer",
               {{"text", "for people"}, {"json", "one JSON object a line for each file"}});
}

void declareRunOptions(OptionTable& table, Options& options) {
  table.number("-j,--jobs", options.jobs, "Files to process at the same time", "all processors");
  table.choice("--color", "WHEN", options.color, "Colour of texts and errors",
               {{"auto", "on a terminal, unless NO_COLOR is set"},
                {"always", "also into files and pipes"},
                {"never", "no colour"}});
  table.choice(
      "--error-format", "FORM", options.errorFormat, "Form of errors",
      {{"text", "FILE:OFFSET: MESSAGE (SECTION), and bytes"}, {"json", "one JSON object a line"}});
}

void declareCommonOptions(OptionTable& table, Options& options) {
  declareTrailingOption(table, options);
  declareRunOptions(table, options);
  AMFVerifyLimits& limits = options.limits;
  table.limit("--max-packet-bytes", limits.maxPacketBytes,
              "Bytes of a file, and of the packet in it");
  table.limit("--max-depth", limits.maxDepth, "Objects and arrays inside one another");
  table.limit("--max-nodes", limits.maxNodes, "Values, names and URIs");
  table.limit("--max-tree-bytes", limits.maxTreeBytes, "Memory for all of them");
  table.limit("--max-copied-bytes", limits.maxCopiedBytes, "The part of it that references copy");
  table.limit("--max-string-bytes", limits.maxStringBytes, "One string, XML text or byte array");
  table.limit("--max-switched-references", limits.maxSwitchedReferences,
              "AMF3 references directly after a switch");
  table.limit("--max-output-bytes", options.maxOutputBytes, "The text made of one file");
  table.files(options.files);
}
