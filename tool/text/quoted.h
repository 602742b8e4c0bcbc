// SPDX-License-Identifier: Apache-2.0
//
// Foreign bytes in quotes: for readers, and for shells.
#ifndef AMF2JSON_TOOL_TEXT_QUOTED_H
#define AMF2JSON_TOOL_TEXT_QUOTED_H

#include <cstddef>
#include <string>
#include <string_view>

// "text", printable, \" and \\ for quotes and backslashes in it. Of more than `most` bytes only the
// first, and how many there are: "text"... (90 bytes).
std::string quoted(std::string_view bytes, std::size_t most);

// `name` as one printable word of a shell's command line that is a file's name and no option.
std::string shellWord(const std::string& name);

#endif  // AMF2JSON_TOOL_TEXT_QUOTED_H
