// SPDX-License-Identifier: Apache-2.0
//
// Bytes that went through something that took them for text.
#ifndef AMF2JSON_TOOL_INPUT_MOJIBAKE_H
#define AMF2JSON_TOOL_INPUT_MOJIBAKE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// What stood there before each byte from 80 on was written as a character of UTF-8 (C2 or C3 and
// another byte). Nothing: there is no such pair, or something else that is no ASCII.
std::optional<std::string> undoUTF8Encoding(std::string_view bytes);

// What stood there before a 0D was put in front of each 0A. Nothing: there is none, or an 0A
// without.
std::optional<std::string> undoCRLFConversion(std::string_view bytes);

struct Replacements {
  std::size_t count;
  std::size_t first;  // offset
};

// EF BF BD, U+FFFD: written for bytes that were not UTF-8. What they were is lost.
Replacements findReplacements(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_MOJIBAKE_H
