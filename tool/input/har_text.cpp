// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/har_test.cpp and fuzz/fuzz_har.cpp.
#include "tool/input/har_text.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// ---- Strings

// The code unit of "\uXXXX" at `at`; 0 if there is none, as for U+0000.
unsigned escapedUnit(std::string_view json, std::size_t at) {
  if (at + 6 > json.size() || json.substr(at, 2) != "\\u") return 0;
  unsigned unit = 0;
  for (const char c : json.substr(at + 2, 4)) {
    const char letter = static_cast<char>(c | 0x20);
    if (!isDigit(c) && (letter < 'a' || letter > 'f')) return 0;
    unit = unit << 4 | static_cast<unsigned>(isDigit(c) ? c - '0' : letter - 'a' + 10);
  }
  return unit;
}

bool isHighSurrogate(unsigned unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(unsigned unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Returns the end of the escape sequence at `at`, or of a pair of them.
std::size_t prepareEscape(std::string& json, std::size_t at) {
  const unsigned unit = escapedUnit(json, at);
  if (!isHighSurrogate(unit)) return at + 2;
  if (isLowSurrogate(escapedUnit(json, at + 6))) return at + 12;
  json[at + 3] = "CDEF"[unit >> 8 & 3];
  return at + 6;
}

// `at` is that of the first quotation mark. Returns the end of the string.
std::size_t prepareString(std::string& json, std::size_t at) {
  const std::size_t size = json.size();
  for (++at; at < size;) {
    const char c = json[at];
    if (c == '"') return at + 1;
    at = c != '\\' ? at + 1 : json[at + 1] == 'u' ? prepareEscape(json, at) : at + 2;
  }
  return size;
}

// ---- Numbers

std::size_t digitsAt(std::string_view text, std::size_t at) {
  const std::size_t begin = at;
  while (at < text.size() && isDigit(text[at])) ++at;
  return at - begin;
}

// Whether this is a number of JSON that may be out of range.
bool isLargeNumber(std::string_view text) {
  std::size_t at = !text.empty() && text[0] == '-' ? 1 : 0;
  const std::size_t digits = digitsAt(text, at);
  if (digits == 0 || (digits > 1 && text[at] == '0')) return false;
  at += digits;
  if (at < text.size() && text[at] == '.') {
    const std::size_t decimals = digitsAt(text, at + 1);
    if (decimals == 0) return false;
    at += 1 + decimals;
  }
  if (at == text.size()) return digits > 20;
  if (text[at] != 'e' && text[at] != 'E') return false;
  ++at;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
  const std::size_t exponent = digitsAt(text, at);
  return exponent > 0 && at + exponent == text.size();
}

// Returns the end of the number at `at`.
std::size_t prepareNumber(std::string& json, std::size_t at) {
  const auto isPart = [](char c) {
    return isDigit(c) || c == '.' || c == '+' || c == '-' || c == 'e' || c == 'E';
  };
  std::size_t end = at;
  while (end < json.size() && isPart(json[end])) ++end;
  if (end - at > 2 && isLargeNumber(std::string_view(json).substr(at, end - at))) {
    std::fill(json.begin() + static_cast<std::ptrdiff_t>(at),
              json.begin() + static_cast<std::ptrdiff_t>(end), '0');
    json[at + 1] = '.';
  }
  return end;
}

// ---- The end

// RapidJSON reads all bytes of a character before it checks them.
void cutLastCharacter(std::string& json) {
  for (std::size_t left = 1; left <= 3 && left <= json.size(); ++left) {
    char& last = json[json.size() - left];
    const auto byte = static_cast<unsigned char>(last);
    const std::size_t length = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    if (length > left) last = '\xFF';
  }
}

}  // namespace

void prepareForRapidJSON(std::string& json) {
  cutLastCharacter(json);
  const std::size_t size = json.size();
  for (std::size_t at = 0; at < size;) {
    const char c = json[at];
    if (c == '"') {
      at = prepareString(json, at);
    } else {
      at = isDigit(c) || c == '-' ? prepareNumber(json, at) : at + 1;
    }
  }
}

std::size_t replaceLoneSurrogates(char* text, std::size_t length) {
  // UTF-8 has ED followed by 80 to 9F only.
  std::size_t count = 0;
  const std::string_view all(text, length);
  for (std::size_t at = 0; (at = all.find('\xED', at)) != std::string_view::npos; at += 3) {
    if (static_cast<unsigned char>(text[at + 1]) < 0xA0) continue;
    std::memcpy(text + at, "\xEF\xBF\xBD", 3);
    ++count;
  }
  return count;
}
