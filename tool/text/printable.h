// SPDX-License-Identifier: Apache-2.0
//
// Bytes from files and packets, made safe for terminals, quotes and shells.
#ifndef AMF2JSON_TOOL_TEXT_PRINTABLE_H
#define AMF2JSON_TOOL_TEXT_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

// Escapes as \x and two hexadecimal digits per byte: control characters (00 to 1F, 7F, U+0080 to
// U+009F), line and paragraph separators (U+2028, U+2029), characters that change the direction of
// text (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069), and bytes that are not UTF-8.
std::string printable(std::string_view text);

// The same, but line feeds and tabs are kept.
std::string printableLines(std::string_view text);

// "text": printable, with quotes and backslashes escaped. If there are more than `maxBytes` bytes,
// only the first, and the number of bytes: "text"... (90 bytes).
std::string quoteForDisplay(std::string_view bytes, std::size_t maxBytes);

// A file name as one printable word of a shell command; never taken for an option.
std::string quoteForShell(const std::string& name);

#endif  // AMF2JSON_TOOL_TEXT_PRINTABLE_H
