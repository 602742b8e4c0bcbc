// SPDX-License-Identifier: Apache-2.0
//
// Finds the field at an offset of a packet.
#ifndef AMF2JSON_TOOL_COMMANDS_FIELD_FINDER_H
#define AMF2JSON_TOOL_COMMANDS_FIELD_FINDER_H

#include <cstddef>
#include <string>

struct Field {
  std::string name;    // "boolean in message 0"
  const char* reason;  // why it is encoded in another way than it was read; null: it should not be
};

// `packet` must be one that the library decodes.
Field fieldAt(const char* packet, std::size_t length, std::size_t offset);

#endif  // AMF2JSON_TOOL_COMMANDS_FIELD_FINDER_H
