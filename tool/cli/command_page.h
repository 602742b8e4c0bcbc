// SPDX-License-Identifier: Apache-2.0
//
// A command and all its options, for --help, the manual page and the completions.
#ifndef AMF2JSON_TOOL_CLI_COMMAND_PAGE_H
#define AMF2JSON_TOOL_CLI_COMMAND_PAGE_H

#include <vector>

#include "tool/cli/option_table.h"
#include "tool/command.h"

struct CommandPage {
  Command command;
  std::vector<OptionInfo> options;  // in the order they were declared; -h and --help last
};

CommandPage pageOf(const Command& command);
std::vector<CommandPage> commandPages();

// The options of the program without a command.
const std::vector<OptionInfo>& programOptions();

struct OptionNames {
  std::string shortName;  // "-o"; empty: none
  std::string longName;   // "--output"; empty: none
};
OptionNames namesOf(const OptionInfo& option);

#endif  // AMF2JSON_TOOL_CLI_COMMAND_PAGE_H
