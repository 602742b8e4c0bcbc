// SPDX-License-Identifier: Apache-2.0
//
// Decodes UTF-8 that may be invalid.
#ifndef AMF2JSON_TOOL_TEXT_UTF8_H
#define AMF2JSON_TOOL_TEXT_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string_view>

// Replaces bytes that are not UTF-8.
constexpr std::uint32_t kReplacementCharacter = 0xFFFD;

struct Character {
  std::uint32_t code;  // kReplacementCharacter if it is not valid
  std::size_t length;  // in bytes, at least 1; if invalid, the longest prefix of a valid character
  bool isValid;
};

// Decodes the character at `offset`, which is less than the length of `text`.
Character characterAt(std::string_view text, std::size_t offset);

bool isUTF8(std::string_view text);

#endif  // AMF2JSON_TOOL_TEXT_UTF8_H
