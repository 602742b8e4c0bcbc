// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/unwrap_test.cpp.
#include "tool/input/wrappers.h"

#include <algorithm>

#include "tool/text/digits.h"

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// The offset of the digits after "data:TYPE;base64,"; 0 if the text is no data URI.
std::size_t dataURIHeadLength(std::string_view text) {
  constexpr std::string_view kMark = ";base64,";
  if (text.substr(0, 5) != "data:") return 0;
  const std::size_t mark = text.find(kMark);
  return mark == std::string_view::npos ? 0 : mark + kMark.size();
}

struct Decoded {
  std::string bytes;
  std::size_t stop;  // offset where the text stops being base64; its length if all of it is
};

Decoded decode(std::string_view text, std::size_t at) {
  Decoded decoded{{}, 0};
  unsigned bits = 0;
  std::size_t digits = 0, padding = 0;
  for (; at < text.size(); ++at) {
    if (kBlanks.find(text[at]) != std::string_view::npos) continue;
    const int value = base64Value(text[at]);
    if (text[at] == '=') {
      if (++padding > 2) break;
      continue;
    }
    if (value < 0 || padding > 0) break;
    bits = bits << 6 | static_cast<unsigned>(value);
    if (digits++ % 4 != 0) decoded.bytes += static_cast<char>(bits >> (6 - 2 * ((digits - 1) % 4)));
  }
  const bool isWhole = digits % 4 != 1 && (padding == 0 || (digits + padding) % 4 == 0);
  decoded.stop = isWhole || at < text.size() ? at : text.size() - 1;
  return decoded;
}

}  // namespace

std::optional<std::string> decodeBase64Text(std::string_view text, std::size_t maxBytes) {
  const std::size_t begin = dataURIHeadLength(text);
  Decoded decoded = decode(text, begin);
  if (decoded.stop < text.size()) {
    if (begin == 0) return std::nullopt;
    throw malformedWrapper("base64 text: broken", decoded.stop);
  }
  if (decoded.bytes.size() > maxBytes) throw unwrappedTooLarge("base64 text", maxBytes, begin);
  if (decoded.bytes.empty()) return std::nullopt;
  return std::move(decoded.bytes);
}
