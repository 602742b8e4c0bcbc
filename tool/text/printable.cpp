// SPDX-License-Identifier: Apache-2.0
#include "tool/text/printable.h"

#include <cstddef>
#include <cstdint>

#include "tool/text/hex.h"
#include "tool/text/utf8.h"

namespace {

// Characters that change the order or the lines in which a terminal shows what follows.
bool reorders(std::uint32_t code) {
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

bool isControl(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

std::string escaped(std::string_view text, std::string_view kept) {
  std::string safe;
  safe.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    const std::string_view bytes = text.substr(i, character.length);
    const bool isSafe =
        character.isValid && !isControl(character.code) && !reorders(character.code);
    if (isSafe || kept.find(bytes) != std::string_view::npos) {
      safe += bytes;
    } else {
      for (const char byte : bytes) safe += "\\x" + hexByte(byte);
    }
    i += character.length;
  }
  return safe;
}

}  // namespace

std::string printable(std::string_view text) {
  return escaped(text, "");
}

std::string printableLines(std::string_view text) {
  return escaped(text, "\n\t");
}
