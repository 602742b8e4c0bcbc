// SPDX-License-Identifier: Apache-2.0
//
// amf2json import: the JSON of `export` in, bytes out. Built where AMFWire is.
#ifndef AMF2JSON_TOOL_COMMANDS_IMPORT_COMMAND_H
#define AMF2JSON_TOOL_COMMANDS_IMPORT_COMMAND_H

#include "tool/command.h"

Command importCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_IMPORT_COMMAND_H
