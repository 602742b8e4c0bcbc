// SPDX-License-Identifier: Apache-2.0
//
// The line feeds that the library's views add to long JSON texts.
#ifndef AMF2JSON_TOOL_COMMANDS_SOFT_BREAKS_H
#define AMF2JSON_TOOL_COMMANDS_SOFT_BREAKS_H

#include <cstddef>
#include <string>

struct SoftBreaks {
  std::size_t count;  // AMFProtocol::lineBreakCount - 1
  std::size_t begin;  // of the JSON in the text
  bool pretty;        // they stand as empty lines
};

// Removes them from a view of an escaped tree (escapeForViews), in whose JSON every other line feed
// is one line end of the pretty layout. Only the places where one can stand are looked at.
void removeSoftBreaks(std::string& text, const SoftBreaks& breaks);

#endif  // AMF2JSON_TOOL_COMMANDS_SOFT_BREAKS_H
