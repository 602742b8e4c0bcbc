// SPDX-License-Identifier: Apache-2.0
//
// What can go wrong with a file or a command line, before it is worded for somebody.
#ifndef AMF2JSON_TOOL_PROBLEM_H
#define AMF2JSON_TOOL_PROBLEM_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The exit codes of the program: the one table that --help, the manual and the documents show.
// Worse outcomes have larger numbers: of several files the largest counts.
enum ExitCode : int {
  kDone = 0,
  kNo = 1,
  kUsage = 2,
  kTrailingBytes = 3,
  kViewCut = 4,
  kTruncated = 5,
  kMalformed = 6,
  kOverLimit = 7,
  kCannotEncode = 8,
  kFileFailure = 9,
  kOutOfMemory = 10,
  kBug = 11,
};

struct ExitCodeRow {
  ExitCode code;
  const char* meaning;
};

const std::vector<ExitCodeRow>& exitCodes();

// A place in a JSON text.
struct TextPosition {
  std::string path;        // "messages[0].value[2]"; empty: the document itself
  std::size_t line = 0;    // from 1
  std::size_t column = 0;  // from 1, in characters
};

// Thrown where the work on a file ends; kept beside the result where it goes on (a warning).
struct Problem {
  ExitCode exitCode;
  std::string status;  // one of a few words for machines: "malformed", "depth limit", "file", ...
  std::string message;
  bool isWarning = false;
  std::string file = {};  // empty: none, "-": standard input or output
  std::optional<std::size_t> offset = {};
  std::string section = {};     // "header 0", "message 2", "envelope"; empty: unknown
  std::string hexContext = {};  // around the offset, in hexadecimal; empty: none to show
  std::optional<TextPosition> position = {};
  std::string hint = {};  // what to do about it; empty: nothing is known
};

// "cannot read: REASON" and the like, from errno.
Problem fileProblem(const std::string& file, const char* action);
// "cannot write: REASON", about a file that is there and stays as it is.
Problem notReplacedProblem(const std::string& file, const std::string& reason);
Problem usageProblem(const std::string& message);
Problem outOfMemory(const std::string& message = "out of memory");

// "depth limit: more than --max-depth 64".
inline std::string overLimit(const std::string& name, const char* option, std::uint64_t limit) {
  return name + ": more than " + option + " " + std::to_string(limit);
}

// --max-output-bytes: the size of the text that is made of one file.
inline Problem outputTooLarge(std::size_t limit) {
  return {kOverLimit, "output limit", overLimit("output limit", "--max-output-bytes", limit)};
}

#endif  // AMF2JSON_TOOL_PROBLEM_H
