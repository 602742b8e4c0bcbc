// SPDX-License-Identifier: Apache-2.0
//
// Names the field that stands at an offset of a packet.
#ifndef AMF2JSON_TOOL_FIELD_MAP_H
#define AMF2JSON_TOOL_FIELD_MAP_H

#include <cstddef>
#include <string>

struct Field {
  const char* what;    // "boolean value"
  const char* reason;  // why the field may be written otherwise than it was read; null: it never is
  std::string section;  // "message 0"; empty for the counts around headers and messages
};

// `packet` is one that the library decodes.
Field fieldAt(const char* packet, std::size_t length, std::size_t offset);

#endif  // AMF2JSON_TOOL_FIELD_MAP_H
