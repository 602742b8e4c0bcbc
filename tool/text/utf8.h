// SPDX-License-Identifier: Apache-2.0
//
// Characters of UTF-8 texts that may be broken.
#ifndef AMF2JSON_TOOL_TEXT_UTF8_H
#define AMF2JSON_TOOL_TEXT_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string_view>

// Written in place of bytes that are not UTF-8.
constexpr std::uint32_t kReplacementCharacter = 0xFFFD;

struct Character {
  std::uint32_t code;  // kReplacementCharacter if it is not valid
  std::size_t length;  // in bytes, from 1; of an invalid one, as many as could begin a character
  bool isValid;
};

// The character that begins at `offset`, which is inside of `text`.
Character characterAt(std::string_view text, std::size_t offset);

bool isUTF8(std::string_view text);

#endif  // AMF2JSON_TOOL_TEXT_UTF8_H
