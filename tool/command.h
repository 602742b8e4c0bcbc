// SPDX-License-Identifier: Apache-2.0
//
// The commands of the program, in one table.
#ifndef AMF2JSON_TOOL_COMMAND_H
#define AMF2JSON_TOOL_COMMAND_H

#include <string>
#include <vector>

#include "tool/option_table.h"
#include "tool/options.h"
#include "tool/problem.h"

// What became of one file.
struct FileResult {
  std::string text;               // whole, for standard output or the output file
  bool isJSON = false;            // or a script: can be coloured
  ExitCode answer = kDone;        // kDone or kNo
  std::vector<Problem> problems;  // told behind the text
};

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
  void (*declare)(OptionTable& table, Options& options);
  // One file. May run on any thread, several at once. Throws Problem where the work on this file
  // ends.
  FileResult (*work)(const std::string& file, const Options& options);
  // What is added to the name of a file for that of its result in a folder. Null: the command takes
  // no -o.
  const char* (*extension)(const Options& options) = nullptr;
};

const std::vector<Command>& commands();

#endif  // AMF2JSON_TOOL_COMMAND_H
