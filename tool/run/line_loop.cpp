// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/export_test.cpp.
#include "tool/run/run.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <system_error>

#include "tool/input/input.h"
#include "tool/output/destination.h"
#include "tool/output/overwrite_check.h"
#include "tool/output/report.h"
#include "tool/output/style.h"
#include "tool/output/write.h"
#include "tool/port/platform.h"
#include "tool/text/packet_encoding.h"
#include "tool/text/words.h"

namespace {

constexpr std::size_t kBlock = 65536;

// ---- Answers

FileResult tooLongLine(std::size_t maxBytes) {
  Problem problem{kOverLimit, "line limit",
                  "line limit: more than " + pluralize(maxBytes, "byte") + " in one line"};
  problem.offset = maxBytes;
  return refusedLine(problem);
}

FileResult answerLine(const Command& command, std::string_view line, const Options& options) try {
  return command.runOnLine(line, options);
} catch (const std::bad_alloc&) {
  return refusedLine(outOfMemory());
}

// Counts the lines with each kind of problem, and reports each kind once at the end: details are in
// the results.
class Summary {
 public:
  void add(const FileResult& result) {
    ++lines;
    for (const Problem& problem : result.problems) {
      Row& row = rows[problem.status];
      ++row.count;
      row.exitCode = std::max(row.exitCode, problem.exitCode);
      row.isWarning = problem.isWarning;
    }
  }
  ExitCode tell(const std::string& file, const ReportStyle& style) const {
    ExitCode worst = kDone;
    for (const auto& [status, row] : rows) {
      Problem problem{
          row.exitCode, status,
          pluralize(row.count, "line") + " of " + std::to_string(lines) + ": " + status};
      problem.isWarning = row.isWarning;
      problem.file = file;
      report(problem, style);
      worst = std::max(worst, row.exitCode);
    }
    return worst;
  }

 private:
  struct Row {
    std::uint64_t count = 0;
    ExitCode exitCode = kDone;
    bool isWarning = false;
  };
  std::map<std::string, Row> rows;  // by status
  std::uint64_t lines = 0;
};

// The longest line that can be valid within the limits.
std::size_t maxLineBytes(const Options& options) {
  const AMFWireLimits& limits = options.wire.limits;
  return std::max(limits.maxTextBytes, limits.maxPacketBytes > std::string().max_size() / 4
                                           ? std::string().max_size() / 2
                                           : 2 * limits.maxPacketBytes);
}

Summary answerAll(const Command& command, const Options& options, const Sink& sink) {
  const std::string& file = options.files.front();
  const Descriptor opened(file == "-" ? -1 : platform::openToRead(file));
  if (file != "-" && opened.number < 0) throw fileProblem(file, "read");
  const std::size_t maxBytes = maxLineBytes(options);
  LineReader lines(file == "-" ? platform::kInput : opened.number, file, maxBytes);
  Summary summary;
  std::string answers;
  const auto flush = [&] {
    if (!answers.empty()) sink(answers);
    answers.clear();
  };
  lines.consumeAll(
      [&](std::string_view line, bool isTooLong) {
        const FileResult result =
            isTooLong ? tooLongLine(maxBytes) : answerLine(command, line, options);
        summary.add(result);
        answers.append(result.text).append(1, '\n');
        if (answers.size() > kBlock) flush();
      },
      flush);
  flush();
  return summary;
}

// ---- Output

// A temporary file without a name. Results wait there for the end of the input, so that the output
// file is complete, and nothing remains if the program is ended earlier.
class SpoolFile {
 public:
  SpoolFile() : file(std::tmpfile(), std::fclose) {
    if (file == nullptr) throw fileProblem("a temporary file", "write");
  }
  void put(std::string_view piece) {
    if (std::fwrite(piece.data(), 1, piece.size(), file.get()) == piece.size()) return;
    throw fileProblem("a temporary file", "write");
  }
  void pour(const Sink& sink) {
    if (std::fflush(file.get()) != 0) throw fileProblem("a temporary file", "write");
    std::rewind(file.get());
    std::string block(kBlock, '\0');
    for (std::size_t got; (got = std::fread(&block[0], 1, kBlock, file.get())) > 0;) {
      sink(std::string_view(block).substr(0, got));
    }
    if (std::ferror(file.get()) != 0) throw fileProblem("a temporary file", "read");
  }

 private:
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
};

Summary answerToFile(const Command& command, const Options& options, const std::string& path) {
  checkFile(path, options);
  SpoolFile spool;
  const Summary summary =
      answerAll(command, options, [&](std::string_view piece) { spool.put(piece); });
  FairSharedMutex fileMutex;
  const platform::DeferredSignals signals(fileMutex);
  writeFile(
      path, [&](const Sink& sink) { spool.pour(sink); }, Existing::replace, fileMutex);
  return summary;
}

Summary answerToStream(const Command& command, const Options& options, Destination& destination) {
  checkStream(destination.descriptor(), options);
  const TextStyle style = textStyle(options, destination);
  return answerAll(command, options, [&](std::string_view piece) {
    if (!style.printable) return destination.write(piece);
    FileResult answers;
    answers.text = piece;
    writeStyled(answers, {true, false}, [&](std::string_view part) { destination.write(part); });
  });
}

}  // namespace

ExitCode runOnLines(const Command& command, const Options& options) {
  if (options.files.size() > 1) {
    throw usageProblem("lines are read from one file, or from standard input");
  }
  Destination destination(options);
  if (destination.kind() == Destination::Kind::folder) {
    throw usageProblem("-o: lines are written to a file, not to a folder");
  }
  const Summary summary = destination.kind() == Destination::Kind::file
                              ? answerToFile(command, options, destination.path())
                              : answerToStream(command, options, destination);
  return summary.tell(options.files.front(), reportStyle(options));
}
