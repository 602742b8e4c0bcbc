// SPDX-License-Identifier: Apache-2.0
#include "tool/text/printable.h"

#include <cstddef>

#include "tool/text/hex.h"

namespace {

unsigned byteAt(std::string_view text, std::size_t index) {
  return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
}

bool continues(std::string_view text, std::size_t index) {
  return (byteAt(text, index) & 0xC0) == 0x80;
}

// Characters that change the order or the lines in which a terminal shows what follows: U+061C,
// U+200E, U+200F, U+2028 to U+202E, U+2066 to U+2069.
bool reorders(std::string_view text, std::size_t i) {
  const unsigned first = byteAt(text, i);
  const unsigned second = byteAt(text, i + 1);
  const unsigned third = byteAt(text, i + 2);
  if (first == 0xD8) return second == 0x9C;
  if (first != 0xE2) return false;
  if (second == 0x81) return third >= 0xA6 && third <= 0xA9;
  return second == 0x80 && (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE));
}

// Length of the character that begins at `i`; 0 for a control character and for what is not UTF-8.
std::size_t printableLength(std::string_view text, std::size_t i) {
  const unsigned first = byteAt(text, i);
  const unsigned second = byteAt(text, i + 1);
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  if (first < 0xC2 || first > 0xF4 || !continues(text, i + 1)) return 0;
  if (first < 0xE0) return first == 0xC2 && second < 0xA0 ? 0 : 2;
  if (!continues(text, i + 2)) return 0;
  if (first < 0xF0) {
    const bool tooLong = first == 0xE0 && second < 0xA0;
    const bool surrogate = first == 0xED && second >= 0xA0;
    return tooLong || surrogate ? 0 : 3;
  }
  const bool outOfRange = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
  return outOfRange || !continues(text, i + 3) ? 0 : 4;
}

std::string escaped(std::string_view text, std::string_view kept) {
  std::string safe;
  safe.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = reorders(text, i) ? 0 : printableLength(text, i);
    if (length > 0) {
      safe.append(text, i, length);
    } else if (kept.find(text[i]) != std::string_view::npos) {
      safe += text[i];
    } else {
      safe += "\\x" + hexByte(text[i]);
    }
    i += length > 0 ? length : 1;
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
