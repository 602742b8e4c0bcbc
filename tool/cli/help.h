// SPDX-License-Identifier: Apache-2.0
//
// What the program tells about itself: on a terminal, as a manual page, to shells.
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

// Files about the program that are made by it: amf2json generate man|bash|zsh|fish. The build runs
// it.
std::string manualPage();  // for man
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

// The file that is asked for; empty where there is none of that name.
std::string generated(const std::string& name);

#endif  // AMF2JSON_TOOL_CLI_HELP_H
