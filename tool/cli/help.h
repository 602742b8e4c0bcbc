// SPDX-License-Identifier: Apache-2.0
//
// The texts of --help, the manual page and the completions.
#ifndef AMF2JSON_TOOL_CLI_HELP_H
#define AMF2JSON_TOOL_CLI_HELP_H

#include <string>

#include "tool/cli/command_page.h"

// -h: one screen of 24 lines and 80 columns, for the program and for a command.
std::string shortHelp();
std::string shortHelp(const CommandPage& page);

// --help: the complete help.
std::string longHelp();
std::string longHelp(const CommandPage& page);

// --version: the versions of the program and the library, and the ABI.
std::string versionText();

// Files that the build generates by running the program: amf2json generate man|bash|zsh|fish.
std::string manualPage();  // for man
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

// The generated file of this name; empty if there is none.
std::string generated(const std::string& name);

#endif  // AMF2JSON_TOOL_CLI_HELP_H
