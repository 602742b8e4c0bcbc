// SPDX-License-Identifier: Apache-2.0
//
// amf2json decode: a packet in, a view of it out.
#ifndef AMF2JSON_TOOL_COMMANDS_DECODE_H
#define AMF2JSON_TOOL_COMMANDS_DECODE_H

#include "tool/command.h"

Command decodeCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_DECODE_H
