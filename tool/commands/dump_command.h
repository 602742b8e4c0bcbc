// SPDX-License-Identifier: Apache-2.0
//
// amf2json dump: a packet in, its bytes field by field out.
#ifndef AMF2JSON_TOOL_COMMANDS_DUMP_COMMAND_H
#define AMF2JSON_TOOL_COMMANDS_DUMP_COMMAND_H

#include "tool/command.h"

Command dumpCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_DUMP_COMMAND_H
