// SPDX-License-Identifier: Apache-2.0
//
// amf2json check: what the check of untrusted packets says, without decoding anything.
#ifndef AMF2JSON_TOOL_COMMANDS_CHECK_H
#define AMF2JSON_TOOL_COMMANDS_CHECK_H

#include "tool/command.h"

Command checkCommand();

#endif  // AMF2JSON_TOOL_COMMANDS_CHECK_H
