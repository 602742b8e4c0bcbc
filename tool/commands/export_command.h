// SPDX-License-Identifier: Apache-2.0
//
// amf2json export: bytes of the published formats in, JSON out. Built where AMFWire is.
#ifndef AMF2JSON_TOOL_COMMANDS_EXPORT_COMMAND_H
#define AMF2JSON_TOOL_COMMANDS_EXPORT_COMMAND_H

#include "tool/command.h"

Command exportCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_EXPORT_COMMAND_H
