// SPDX-License-Identifier: Apache-2.0
//
// The commands of the program, in one table.
#ifndef AMF2JSON_TOOL_COMMAND_H
#define AMF2JSON_TOOL_COMMAND_H

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tool/options.h"
#include "tool/problem.h"

class OptionTable;

// What became of one file.
struct FileResult {
  std::string text;               // whole, for standard output or the output file
  bool isJSON = false;            // or a script: can be coloured
  bool isBinary = false;          // no text: written as it stands, has a limit of its own
  ExitCode exitCode = kDone;      // kDone or kNo
  std::vector<Problem> problems;  // told behind the text
};

// The worst of the answer and the problems.
inline ExitCode exitCodeOf(const FileResult& result) {
  ExitCode worst = result.exitCode;
  for (const Problem& problem : result.problems) worst = std::max(worst, problem.exitCode);
  return worst;
}

struct Example {
  const char* line;  // as typed
  const char* what;
};

struct Command {
  const char* name;
  const char* summary;  // one line, no full stop
  const char* details;  // for --help and the manual: paragraphs
  std::vector<Example> examples;
  // Its own options; the shared ones are added behind them.
  void (*declareOptions)(OptionTable& table, Options& options);
  // One file. May run on any thread, several at once. Throws Problem where the work on this file
  // ends.
  FileResult (*runOnFile)(const std::string& file, const Options& options);
  // What is added to the name of a file for that of its result in a folder. Null: the command takes
  // no -o.
  const char* (*extension)(const Options& options) = nullptr;
  // An ending that such a name loses instead, where the file has it. May be null.
  const char* removedExtension = nullptr;
  // The options that it shares with others; null: those of declareCommonOptions().
  void (*declareShared)(OptionTable& table, Options& options) = nullptr;
  // Whether it works on lines rather than files. Throws Problem (kUsage) for options that do not go
  // together. Null: never.
  bool (*worksOnLines)(const Options& options) = nullptr;
  // One line without its end: an answer without one. Its problems are warnings, and the refusal
  // that the answer tells of. Throws nothing but std::bad_alloc.
  FileResult (*runOnLine)(std::string_view line, const Options& options) = nullptr;
  // Whether the result is no text, and so nothing for a terminal. Null: never.
  bool (*writesBinary)(const Options& options) = nullptr;
};

// Declares the options of a command, in the order of its help.
void declareAll(const Command& command, OptionTable& table, Options& options);

const std::vector<Command>& commands();
std::vector<std::string> commandNames();

#endif  // AMF2JSON_TOOL_COMMAND_H
