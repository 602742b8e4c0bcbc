// SPDX-License-Identifier: Apache-2.0
//
// amf2json export: published formats to JSON. Only in builds with AMFWire. Tested by
// tests/tool/export_test.cpp.
#include "tool/commands/commands.h"

#include <utility>

#include "tool/commands/export_har.h"
#include "tool/commands/export_warnings.h"
#include "tool/commands/wire_problem.h"
#include "tool/input/input.h"
#include "tool/input/published_format.h"
#include "tool/input/unwrap.h"
#include "tool/output/report.h"
#include "tool/text/hex.h"
#include "tool/text/packet_encoding.h"
#include "tool/text/words.h"

namespace {

constexpr const char* kDetails =
    "Reads AMF0 and AMF3 as Flash Player, Flex and their servers write them: packets, runs of\n"
    "values, shared objects, and the script tags of FLV files. The JSON loses nothing: import\n"
    "writes the same bytes again, except those of FLV files. With --as auto the form is\n"
    "detected, as identify does.\n"
    "\n"
    "With --lines each document is one line. With --from base64 or --from hex as well, each line\n"
    "of the input is one packet, and the output has one line for it, in the same order. All\n"
    "lines that were read are answered before the program waits for more input. For a line that\n"
    "is refused, the output is a JSON object with error and offset. At the end, warnings and\n"
    "refusals are counted on standard error.\n"
    "\n"
    "With --as har each AMF body of an HTTP archive is one document, with its place in source.\n"
    "Bodies that the recorder has destroyed, or has not stored, have an error instead of a\n"
    "document. The first 20 problems are reported on standard error, the others are counted.\n"
    "\n"
    "Trailing bytes, wrong length fields, salvaged sections, and sections that import will write as\n"
    "other bytes because they have no originals, are reported on standard error, and set the exit\n"
    "code.\n";

std::size_t minusOne(std::size_t limit) {
  return limit == 0 ? 0 : limit - 1;
}

AMFWireExportOptions exportOptions(const Options& options) {
  AMFWireExportOptions result;
  const bool isArchive = options.wire.form == ExportForm::har;  // its bodies are packets
  result.form = isArchive ? AMFWireForm::packet : static_cast<AMFWireForm>(options.wire.form);
  result.salvage = options.wire.salvage;
  result.limits = options.wire.limits;
  result.limits.maxTextBytes = minusOne(options.maxOutputBytes);  // leaves space for the line feed
  result.externalClasses = options.wire.externalClasses;
  result.originals = !options.wire.noOriginals;
  result.pretty = !options.wire.compact && !options.wire.lines;
  return result;
}

// ---- Warnings

Problem problemOf(const ExportWarning& warning) {
  switch (warning.kind) {
    case ExportWarning::trailingBytes: return {kTrailingBytes, "left over", warning.text};
    case ExportWarning::wrongLengths: return {kNo, "lying lengths", warning.text};
    case ExportWarning::changedBytes: return {kNo, "changed", warning.text};
    default: return {kViewCut, "salvaged", warning.text};
  }
}

void addWarnings(std::vector<Problem>& problems, const AMFWireStatistics& statistics,
                 std::string_view bytes, const Options& options) {
  for (const ExportWarning& warning : exportWarnings(statistics)) {
    const bool isTrailing = warning.kind == ExportWarning::trailingBytes;
    if (isTrailing && options.allowTrailing) continue;
    Problem problem = problemOf(warning);
    problem.isWarning = true;
    if (isTrailing || warning.kind == ExportWarning::cutInput) {
      problem.offset = bytes.size() - static_cast<std::size_t>(statistics.trailingBytes);
      problem.hexContext = hexAround(bytes, *problem.offset);
    }
    problems.push_back(std::move(problem));
  }
}

// ---- Files

Unwrapped unwrappedBytes(std::string bytes, const AMFWireReadOptions& read,
                         const Options& options) {
  if (!options.unwrap) return {std::move(bytes), {}};
  return unwrap(std::move(bytes), options.wire.limits.maxPacketBytes, matchPublished(read));
}

void addWrapperText(Problem& problem, const Unwrapped& unwrapped) {
  if (problem.offset) problem.message += insideWrappers(unwrapped.wrappers);
}

FileResult exportUnwrapped(const Unwrapped& unwrapped, const AMFWireExportOptions& wireOptions,
                           const Options& options) {
  const std::string& bytes = unwrapped.bytes;
  FileResult result;
  AMFWireStatistics statistics;
  const AMFWireResult done =
      amfWireExport(bytes.data(), bytes.size(), result.text, wireOptions, &statistics);
  if (!done.ok()) {
    Problem problem = exportProblem(done, bytes, wireOptions, options);
    addWrapperText(problem, unwrapped);
    throw problem;
  }
  result.text += '\n';
  result.isJSON = true;
  if (!options.allowTrailing) result.problems = unwrapped.trailingWarnings;
  addWarnings(result.problems, statistics, bytes, options);
  for (Problem& problem : result.problems) addWrapperText(problem, unwrapped);
  return result;
}

FileResult runOnFile(const std::string& file, const Options& options) {
  const AMFWireExportOptions wireOptions = exportOptions(options);
  if (options.wire.form == ExportForm::har) {
    std::string archive = readInput(file, options.wire.limits.maxPacketBytes);
    return exportHar(archive, options, wireOptions, [&](const std::string& bytes) {
      return exportUnwrapped(unwrappedBytes(bytes, wireOptions, options), wireOptions, options);
    });
  }
  const std::size_t maxBytes = options.wire.limits.maxPacketBytes;
  return exportUnwrapped(unwrappedBytes(readInput(file, maxBytes), wireOptions, options),
                         wireOptions, options);
}

// ---- Lines

FileResult runOnLine(std::string_view line, const Options& options) {
  const AMFWireExportOptions wireOptions = exportOptions(options);
  std::string bytes;
  if (const auto broken = decodePacketLine(line, options.wire.encoding, bytes))
    return refusedLine(*broken);
  FileResult result;
  AMFWireStatistics statistics;
  const AMFWireResult done =
      amfWireExport(bytes.data(), bytes.size(), result.text, wireOptions, &statistics);
  if (!done.ok()) return refusedLine(exportProblem(done, bytes, wireOptions, options));
  addWarnings(result.problems, statistics, bytes, options);
  return result;
}

bool worksOnLines(const Options& options) {
  const bool isSpelled = options.wire.encoding != PacketEncoding::binary;
  if (isSpelled && !options.wire.lines) {
    throw usageProblem("--from: needs --lines; --unwrap reads whole files of text");
  }
  if (isSpelled && options.wire.form == ExportForm::har) {
    throw Problem{kUsage, "usage", "--from: an archive (--as har) is a file, not a line"};
  }
  return isSpelled;
}

void declare(OptionTable& table, Options& options) {
  table.choice("--as", "FORM", options.wire.form, "Kind of input",
               {{"auto", "detected"},
                {"packet", "a packet"},
                {"amf0", "AMF0 values"},
                {"amf3", "AMF3 values"},
                {"sol", "a shared object"},
                {"flv", "a video file"},
                {"har", "an HTTP archive with packets in it"}});
  table.flag("--compact", options.wire.compact, "No indentation and no line ends");
  table.flag("--lines", options.wire.lines, "One document a line");
  table.choice("--from", "FORM", options.wire.encoding, "With --lines: one packet a line",
               {{"binary", "no, whole files"}, {"base64", "in base64"}, {"hex", "in hexadecimal"}});
  table.flag("--salvage", options.wire.salvage, "Keep sections that cannot be read as raw bytes");
  table.flag("--no-originals", options.wire.noOriginals, "Omit the bytes of unusual sections");
  declareExternalOption(table, options);
  declareUnwrapOption(table, options);
  declareOutputOptions(table, options);
  table.hideInShortHelp();
}

void declareShared(OptionTable& table, Options& options) {
  declareTrailingOption(table, options);
  declareRunOptions(table, options);
  AMFWireLimits& limits = options.wire.limits;
  table.limit("--max-packet-bytes", limits.maxPacketBytes,
              "Bytes of a file, and of the packet in it");
  table.limit("--max-depth", limits.maxDepth, "Objects and arrays inside one another");
  table.limit("--max-output-bytes", options.maxOutputBytes, "The text made of one file");
  table.files(options.files);
}

const char* extensionOf(const Options&) {
  return ".json";
}

}  // namespace

Command exportCommand() {
  Command command{"export",
                  "Turns published AMF into JSON that loses nothing",
                  kDetails,
                  {{"amf2json export packet.amf", "a packet as JSON"},
                   {"amf2json export packet.amf | amf2json import -o copy.amf", "and back"},
                   {"amf2json export --lines --from hex <capture.txt", "a packet a line"}},
                  declare,
                  runOnFile,
                  extensionOf};
  command.declareShared = declareShared;
  command.worksOnLines = worksOnLines;
  command.runOnLine = runOnLine;
  return command;
}
