// SPDX-License-Identifier: Apache-2.0
//
// Mojibake: bytes that were converted as if they were text.
#ifndef AMF2JSON_TOOL_INPUT_MOJIBAKE_H
#define AMF2JSON_TOOL_INPUT_MOJIBAKE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The bytes before each byte from 80 on was encoded as UTF-8 (C2 or C3 and another byte). Nothing
// if there is no such pair, or if there are other bytes that are not ASCII.
std::optional<std::string> undoUTF8Encoding(std::string_view bytes);

// The bytes before a 0D was inserted before each 0A. Nothing if there is no 0A, or one without 0D.
std::optional<std::string> undoCRLFConversion(std::string_view bytes);

struct Replacements {
  std::size_t count;
  std::size_t first;  // offset of the first one
};

// Finds EF BF BD (U+FFFD), which replaces bytes that are not UTF-8. The original bytes are lost.
Replacements findReplacements(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_MOJIBAKE_H
