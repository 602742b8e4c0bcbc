// SPDX-License-Identifier: Apache-2.0
//
// Parses the command line.
#ifndef AMF2JSON_TOOL_CLI_COMMAND_LINE_H
#define AMF2JSON_TOOL_CLI_COMMAND_LINE_H

#include <optional>
#include <string>
#include <vector>

#include "tool/command.h"
#include "tool/options.h"

struct CommandLine {
  const Command* command = nullptr;
  Options options;
  std::string answer;  // output of --help and the like; then there is no command
};

// Parses the words after the program's name. Throws Problem (kUsage).
CommandLine parseCommandLine(const std::vector<std::string>& words);

// Whether an invalid command line asks for errors as JSON.
bool asksForJSONErrors(const std::vector<std::string>& words);

#endif  // AMF2JSON_TOOL_CLI_COMMAND_LINE_H
