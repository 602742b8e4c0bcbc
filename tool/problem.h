// SPDX-License-Identifier: Apache-2.0
//
// Exit codes, and problems: errors and warnings before they are formatted for the user.
#ifndef AMF2JSON_TOOL_PROBLEM_H
#define AMF2JSON_TOOL_PROBLEM_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The exit codes of the program. --help, the manual page and the documents show this table. Worse
// outcomes have larger codes; the largest code of all files is the exit code of the program.
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

// A position in a JSON text.
struct TextPosition {
  std::string path;        // "messages[0].value[2]"; empty: the whole document
  std::size_t line = 0;    // from 1
  std::size_t column = 0;  // from 1, in characters
};

// An error is thrown and ends the work on a file. A warning is stored in the result.
struct Problem {
  ExitCode exitCode;
  std::string status;  // a fixed word for programs: "malformed", "depth limit", "file", ...
  std::string message;
  bool isWarning = false;
  std::string file = {};  // empty: no file; "-": standard input or output
  std::optional<std::size_t> offset = {};
  std::string section = {};     // "header 0", "message 2", "envelope"; empty: unknown
  std::string hexContext = {};  // the bytes around the offset in hexadecimal; may be empty
  std::optional<TextPosition> position = {};
  std::string hint = {};  // what the user can do; may be empty
};

// "cannot read: REASON", with the reason from errno.
Problem fileProblem(const std::string& file, const char* action);
// "cannot write: REASON", for an existing file that is not overwritten.
Problem notReplacedProblem(const std::string& file, const std::string& reason);
Problem usageProblem(const std::string& message);
Problem outOfMemory(const std::string& message = "out of memory");

// "depth limit: more than --max-depth 64".
inline std::string overLimit(const std::string& name, const char* option, std::uint64_t limit) {
  return name + ": more than " + option + " " + std::to_string(limit);
}

// The output of one file is larger than --max-output-bytes.
inline Problem outputTooLarge(std::size_t limit) {
  return {kOverLimit, "output limit", overLimit("output limit", "--max-output-bytes", limit)};
}

#endif  // AMF2JSON_TOOL_PROBLEM_H
