// SPDX-License-Identifier: Apache-2.0
//
// The words of a command line: options, their values and files. Tested by
// tests/tool_manual_test.cpp.
#ifndef AMF2JSON_TOOL_CLI_OPTION_PARSER_H
#define AMF2JSON_TOOL_CLI_OPTION_PARSER_H

#include <string>
#include <vector>

#include "tool/cli/option_table.h"

enum class HelpWanted { none, brief, full };

// Stores what the words say. An option that needs a value takes what stands behind =, or else the
// next word; that value, and each word that is no option, is taken byte for byte. After -- all
// words are files. Ends at the first word that asks for help. Throws Problem (kUsage).
HelpWanted parseOptions(const OptionTable& table, const std::vector<std::string>& words);

#endif  // AMF2JSON_TOOL_CLI_OPTION_PARSER_H
