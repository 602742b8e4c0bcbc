// SPDX-License-Identifier: Apache-2.0
//
// Foreign bytes made fit for a terminal, for quotes and for shells.
#ifndef AMF2JSON_TOOL_TEXT_PRINTABLE_H
#define AMF2JSON_TOOL_TEXT_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

// Control characters (00 to 1F, 7F, U+0080 to U+009F), line and paragraph separators (U+2028,
// U+2029), characters that set the direction of writing (U+061C, U+200E, U+200F, U+202A to U+202E,
// U+2066 to U+2069) and bytes that are not UTF-8 become \x and two digits a byte.
std::string printable(std::string_view text);

// The same for a text of several lines: line feeds and tabs stay.
std::string printableLines(std::string_view text);

// "text", printable, \" and \\ for quotes and backslashes in it. Of more than `maxBytes` bytes only the
// first, and how many there are: "text"... (90 bytes).
std::string quoteForDisplay(std::string_view bytes, std::size_t maxBytes);

// `name` as one printable word of a shell's command line that is a file's name and no option.
std::string quoteForShell(const std::string& name);

#endif  // AMF2JSON_TOOL_TEXT_PRINTABLE_H
