// SPDX-License-Identifier: Apache-2.0
//
// The command line of the program.
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
  std::string answer;  // --help, --version: to be shown; there is no command then
};

// The words behind the program's name. Throws Problem (kUsage).
CommandLine parseCommandLine(const std::vector<std::string>& words);

// Whether a command line that could not be parsed asks for errors as JSON.
bool asksForJSONErrors(const std::vector<std::string>& words);

#endif  // AMF2JSON_TOOL_CLI_COMMAND_LINE_H
