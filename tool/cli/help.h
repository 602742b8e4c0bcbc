// SPDX-License-Identifier: Apache-2.0
//
// What the program tells about itself on a terminal.
#ifndef AMF2JSON_TOOL_CLI_HELP_H
#define AMF2JSON_TOOL_CLI_HELP_H

#include <string>

#include "tool/cli/command_page.h"

// -h: one screen of 24 lines and 80 columns, of the program and of a command.
std::string shortHelp();
std::string shortHelp(const CommandPage& page);

// --help: everything.
std::string longHelp();
std::string longHelp(const CommandPage& page);

// --version: the program's, the library's, and its ABI.
std::string versionText();

#endif  // AMF2JSON_TOOL_CLI_HELP_H
