// SPDX-License-Identifier: Apache-2.0
//
// What a command is: its texts, its options, and the functions that run it. commands() is the table
// of all.
#ifndef AMF2JSON_TOOL_COMMAND_H
#define AMF2JSON_TOOL_COMMAND_H

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tool/options.h"
#include "tool/problem.h"

class OptionTable;

// The result of running a command on one file or one line.
struct FileResult {
  std::string text;               // complete, for standard output or the output file
  bool isJSON = false;            // JSON or a script: may be coloured
  bool isBinary = false;          // written unchanged; --max-output-bytes does not apply
  ExitCode exitCode = kDone;      // kDone or kNo
  std::vector<Problem> problems;  // reported after the text
};

// The largest exit code of the result and its problems.
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
  // Declares the options of this command. The shared options follow them.
  void (*declareOptions)(OptionTable& table, Options& options);
  // Runs the command on one file. May run on several threads at once. Throws Problem if the command
  // cannot finish this file.
  FileResult (*runOnFile)(const std::string& file, const Options& options);
  // The extension that is appended to the name of an input for the name of its result in a
  // directory. Null: the command has no -o.
  const char* (*extension)(const Options& options) = nullptr;
  // An extension that is removed from the input's name instead, if the name has it. May be null.
  const char* removedExtension = nullptr;
  // Declares the options that are shared with other commands. Null: declareCommonOptions().
  void (*declareShared)(OptionTable& table, Options& options) = nullptr;
  // Whether the command reads lines instead of whole files. Throws Problem (kUsage) for options
  // that exclude each other. Null: never.
  bool (*worksOnLines)(const Options& options) = nullptr;
  // Runs the command on one line; line and result have no line feed at the end. The problems of the
  // result are warnings and, if the line was refused, the refusal that the text reports. Throws
  // only std::bad_alloc.
  FileResult (*runOnLine)(std::string_view line, const Options& options) = nullptr;
  // Whether the result is binary and must not be written to a terminal. Null: never.
  bool (*writesBinary)(const Options& options) = nullptr;
};

// Declares the options of a command, in the order of its help.
void declareAll(const Command& command, OptionTable& table, Options& options);

const std::vector<Command>& commands();
std::vector<std::string> commandNames();

#endif  // AMF2JSON_TOOL_COMMAND_H
