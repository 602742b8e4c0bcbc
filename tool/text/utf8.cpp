// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/json_line_test.cpp and tests/tool/terminal_test.cpp.
#include "tool/text/utf8.h"

namespace {

// What the first byte of a character determines.
struct Lead {
  std::size_t length;                      // of the character in bytes; 0: invalid
  std::uint32_t bits;                      // of the code point
  unsigned lowest = 0x80, highest = 0xBF;  // range of the second byte
};

Lead leadOf(unsigned byte) {
  if (byte < 0x80) return {1, byte};
  if (byte < 0xC2 || byte > 0xF4) return {0, 0};
  if (byte < 0xE0) return {2, byte & 0x1F};
  // No overlong forms, no surrogates, nothing above U+10FFFF.
  if (byte < 0xF0)
    return {3, byte & 0x0F, byte == 0xE0 ? 0xA0u : 0x80u, byte == 0xED ? 0x9Fu : 0xBFu};
  return {4, byte & 0x07, byte == 0xF0 ? 0x90u : 0x80u, byte == 0xF4 ? 0x8Fu : 0xBFu};
}

}  // namespace

Character characterAt(std::string_view text, std::size_t offset) {
  const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[offset + i]); };
  const Lead lead = leadOf(byteAt(0));
  if (lead.length == 0) return {kReplacementCharacter, 1, false};
  std::uint32_t code = lead.bits;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const unsigned lowest = i == 1 ? lead.lowest : 0x80;
    const unsigned highest = i == 1 ? lead.highest : 0xBF;
    const bool continues = offset + i < text.size() && byteAt(i) >= lowest && byteAt(i) <= highest;
    if (!continues) return {kReplacementCharacter, i, false};
    code = code << 6 | (byteAt(i) & 0x3Fu);
  }
  return {code, lead.length, true};
}

bool isUTF8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    if (!character.isValid) return false;
    i += character.length;
  }
  return true;
}
