// SPDX-License-Identifier: Apache-2.0
//
// Files about the program that are made by it: amf2json generate man|bash|zsh|fish. The build runs
// it.
#ifndef AMF2JSON_TOOL_CLI_MANUAL_H
#define AMF2JSON_TOOL_CLI_MANUAL_H

#include <string>

std::string manualPage();  // for man
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();

// The file that is asked for; empty where there is none of that name.
std::string generated(const std::string& name);

#endif  // AMF2JSON_TOOL_CLI_MANUAL_H
