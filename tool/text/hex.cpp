// SPDX-License-Identifier: Apache-2.0
#include "tool/text/hex.h"

#include <algorithm>

std::string hexByte(char byte) {
  static const char kDigits[] = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  return {kDigits[value >> 4], kDigits[value & 15]};
}

std::string hexAround(std::string_view bytes, std::size_t offset, std::size_t firstOffset) {
  constexpr std::size_t kShown = 16;
  if (bytes.empty()) return {};
  const std::size_t last = bytes.size() - std::min(kShown, bytes.size());
  const std::size_t first = std::min(last, offset - std::min(kShown / 2, offset));
  std::string text = "at " + std::to_string(firstOffset + first) + ":";
  for (std::size_t i = first; i < std::min(bytes.size(), first + kShown); ++i) {
    if (i == offset) text += " |";
    text += " " + hexByte(bytes[i]);
  }
  if (offset >= bytes.size()) text += " |";
  return text;
}
