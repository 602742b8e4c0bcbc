// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/identify_test.cpp.
#include "tool/input/mojibake.h"

std::optional<std::string> undoUTF8Encoding(std::string_view bytes) {
  std::string before;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte < 0x80) {
      before += bytes[i];
    } else {
      const bool isPair =
          (byte & 0xFE) == 0xC2 && i + 1 < bytes.size() && (bytes[i + 1] & 0xC0) == 0x80;
      if (!isPair) return std::nullopt;
      before += static_cast<char>((byte & 3) << 6 | (bytes[++i] & 0x3F));
    }
  }
  if (before.size() == bytes.size()) return std::nullopt;
  return before;
}

std::optional<std::string> undoCRLFConversion(std::string_view bytes) {
  std::string before;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\n' && (before.empty() || bytes[i - 1] != '\r')) return std::nullopt;
    if (bytes[i] == '\n') before.pop_back();
    before += bytes[i];
  }
  if (before.size() == bytes.size()) return std::nullopt;
  return before;
}

Replacements findReplacements(std::string_view bytes) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  Replacements found{0, 0};
  for (std::size_t at = bytes.find(kReplacement); at != std::string_view::npos;
       at = bytes.find(kReplacement, at + kReplacement.size())) {
    if (found.count++ == 0) found.first = at;
  }
  return found;
}
