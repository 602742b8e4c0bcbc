// SPDX-License-Identifier: Apache-2.0
//
// amf2json roundtrip: decodes packets, encodes them again and compares the bytes.
#ifndef AMF2JSON_TOOL_COMMANDS_ROUNDTRIP_H
#define AMF2JSON_TOOL_COMMANDS_ROUNDTRIP_H

#include "tool/command.h"

Command roundtripCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_ROUNDTRIP_H
