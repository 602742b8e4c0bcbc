// SPDX-License-Identifier: Apache-2.0
//
// amf2json identify: what a file is, and how to go on with it.
#ifndef AMF2JSON_TOOL_COMMANDS_IDENTIFY_COMMAND_H
#define AMF2JSON_TOOL_COMMANDS_IDENTIFY_COMMAND_H

#include "tool/command.h"

Command identifyCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_IDENTIFY_COMMAND_H
