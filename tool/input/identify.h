// SPDX-License-Identifier: Apache-2.0
//
// Identifies the content of a file, for amf2json identify.
#ifndef AMF2JSON_TOOL_INPUT_IDENTIFY_H
#define AMF2JSON_TOOL_INPUT_IDENTIFY_H

#include <AMFGuard.h>

#include <string>
#include <string_view>
#include <vector>

struct Identity {
  bool isKnown = false;
  const char* kind = "unknown";            // a fixed word for programs, listed in docs/json.md
  std::string verdict = {};                // "gzip > AMF packet: version 3, 1 message, 54 bytes"
  std::vector<const char*> wrappers = {};  // the outermost first
  const char* command = nullptr;           // "decode", "export", "import", ...; null: there is none
  std::string options = {};                // of the command, for example " --unwrap"
  std::string filter = {};  // a shell filter that repairs the bytes first; may be empty
};

// Looks at the content: bytes are called a packet or value only if the library can read all of
// them.
Identity identify(std::string_view bytes, const AMFVerifyLimits& limits);

// The command that shows all of the file, or as much as can be shown and how much remains. Empty if
// there is none.
std::string commandFor(const Identity& identity, const std::string& file);

#endif  // AMF2JSON_TOOL_INPUT_IDENTIFY_H
