// SPDX-License-Identifier: Apache-2.0
//
// Bytes of the test tables. hex("02 0003 'abc'") gives 02 00 03 61 62 63:
//   - pairs of hex digits, blanks and line ends ignored between bytes;
//   - 'text' stands for its ASCII bytes (no escapes; a quote is 27);
//   - *N after a byte, a text or a (group) repeats it N times in all: 61*1200, 'ab'*3, (06
//   01)*500.
// Anything else throws std::invalid_argument, so that a mistyped row fails.
#ifndef TESTS_SUPPORT_HEX_H
#define TESTS_SUPPORT_HEX_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace support {

namespace detail {

inline int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

class HexParser {
 public:
  explicit HexParser(std::string_view source) : text(source) {}

  std::string all() {
    std::string bytes = sequence();
    if (at < text.size()) fail();
    return bytes;
  }

 private:
  std::string sequence() {
    std::string bytes;
    for (skipBlanks(); at < text.size() && text[at] != ')'; skipBlanks()) {
      const std::string one = item();
      for (std::size_t remaining = repetition(); remaining > 0; --remaining) bytes += one;
    }
    return bytes;
  }

  std::string item() {
    if (text[at] == '\'') return quoted();
    if (text[at] == '(') {
      ++at;
      std::string group = sequence();
      if (at >= text.size()) fail();
      ++at;
      return group;
    }
    const int high = hexDigit(text[at]);
    const int low = at + 1 < text.size() ? hexDigit(text[at + 1]) : -1;
    if (high < 0 || low < 0) fail();
    at += 2;
    return std::string(1, static_cast<char>(high * 16 + low));
  }

  std::string quoted() {
    const std::size_t end = text.find('\'', at + 1);
    if (end == std::string_view::npos) fail();
    std::string bytes(text.substr(at + 1, end - at - 1));
    at = end + 1;
    return bytes;
  }

  std::size_t repetition() {
    if (at >= text.size() || text[at] != '*') return 1;
    std::size_t count = 0;
    const std::size_t first = ++at;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
      count = count * 10 + static_cast<std::size_t>(text[at] - '0');
    if (at == first) fail();
    return count;
  }

  void skipBlanks() {
    while (at < text.size() && (text[at] == ' ' || text[at] == '\n' || text[at] == '\t')) ++at;
  }

  [[noreturn]] void fail() const {
    throw std::invalid_argument("bad hex at offset " + std::to_string(at) +
                                " of: " + std::string(text));
  }

  std::string_view text;
  std::size_t at = 0;
};

}  // namespace detail

/// The bytes that `text` spells.
inline std::string hex(std::string_view text) {
  return detail::HexParser(text).all();
}

/// "02 00 FF": the other way round, for failure messages and byte comparisons.
inline std::string toHex(std::string_view bytes, std::string_view separator = " ") {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (!text.empty()) text += separator;
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace support

#endif  // TESTS_SUPPORT_HEX_H
