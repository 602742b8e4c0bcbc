// SPDX-License-Identifier: Apache-2.0
//
// The soft breaks: line feeds that the library's views add to long JSON texts.
#ifndef AMF2JSON_TOOL_COMMANDS_SOFT_BREAKS_H
#define AMF2JSON_TOOL_COMMANDS_SOFT_BREAKS_H

#include <cstddef>
#include <string>

struct SoftBreaks {
  std::size_t count;  // AMFProtocol::lineBreakCount - 1
  std::size_t begin;  // offset of the JSON in the text
  bool pretty;        // then soft breaks are empty lines
};

// Removes the soft breaks from a view of an escaped tree (see escapeForViews), where every other
// line feed in the JSON is a line end of the pretty layout. Only places where a soft break can be
// are examined.
void removeSoftBreaks(std::string& text, const SoftBreaks& breaks);

#endif  // AMF2JSON_TOOL_COMMANDS_SOFT_BREAKS_H
