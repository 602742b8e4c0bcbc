// SPDX-License-Identifier: Apache-2.0
//
// amf2json identify: what the bytes of a file are.
#ifndef AMF2JSON_TOOL_INPUT_IDENTIFY_H
#define AMF2JSON_TOOL_INPUT_IDENTIFY_H

#include <AMFGuard.h>

#include <string>
#include <string_view>
#include <vector>

struct Identity {
  bool isKnown = false;
  const char* kind = "unknown";            // a word for machines; docs/json.md lists them
  std::string verdict = {};                // "gzip > AMF packet: version 3, 1 message, 54 bytes"
  std::vector<const char*> wrappers = {};  // around it, the outermost first
  const char* command = nullptr;           // "decode" or "dump --full"; null: there is none
  std::string options = {};                // that it needs for these bytes, " --unwrap"
  std::string filter = {};                 // what repairs the bytes in front of it; or empty
};

// By looking inside: a packet or value is called one when the library can read all of it.
Identity identify(std::string_view bytes, const AMFVerifyLimits& limits);

// The command that shows all of what was identified in `file`, or all that can be shown and how
// much remains; empty if there is none.
std::string commandFor(const Identity& identity, const std::string& file);

#endif  // AMF2JSON_TOOL_INPUT_IDENTIFY_H
