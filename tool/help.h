// SPDX-License-Identifier: Apache-2.0
//
// What the program tells about itself.
#ifndef AMF2JSON_TOOL_HELP_H
#define AMF2JSON_TOOL_HELP_H

#include <string>

#include "tool/command.h"

// -h: one screen, of the program and of a command.
std::string shortHelp();
std::string shortHelp(const Command& command, const OptionTable& table);

// --help: everything.
std::string longHelp();
std::string longHelp(const Command& command, const OptionTable& table);

// --version: the program's, the library's, and its ABI.
std::string versionText();

#endif  // AMF2JSON_TOOL_HELP_H
