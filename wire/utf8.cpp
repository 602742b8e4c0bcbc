// SPDX-License-Identifier: Apache-2.0
//
// The slow path for strings as JSON text. Tested by tests/wire/texts_test.cpp.
#include "wire/utf8.h"

#include <cstring>

namespace amf2json::wire {

namespace {

bool isContinuationByte(const char* at) {
  return (static_cast<unsigned char>(*at) & 0xC0u) == 0x80;
}

// The range of the second byte: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isSecondByte(unsigned first, unsigned second) {
  switch (first) {
    case 0xE0: return second >= 0xA0 && second <= 0xBF;
    case 0xED: return second >= 0x80 && second <= 0x9F;
    case 0xF0: return second >= 0x90 && second <= 0xBF;
    case 0xF4: return second >= 0x80 && second <= 0x8F;
    default: return second >= 0x80 && second <= 0xBF;
  }
}

std::size_t escapedLength(unsigned char byte) {
  switch (byte) {
    case '"':
    case '\\':
    case '\b':
    case '\f':
    case '\n':
    case '\r':
    case '\t': return 2;
    default: return byte < 0x20 ? 6 : 1;
  }
}

}  // namespace

std::size_t sequenceLength(const char* at, const char* end) {
  const auto first = static_cast<unsigned char>(*at);
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (static_cast<std::size_t>(end - at) < length) return 0;
  if (!isSecondByte(first, static_cast<unsigned char>(at[1]))) return 0;
  if (length > 2 && !isContinuationByte(at + 2)) return 0;
  if (length > 3 && !isContinuationByte(at + 3)) return 0;
  return length;
}

const char* firstNotUtf8(const char* at, const char* end) {
  while (at < end) {
    std::uint64_t word;
    if (end - at >= 8 && (std::memcpy(&word, at, 8), (word & 0x8080808080808080u) == 0)) {
      at += 8;
      continue;
    }
    const std::size_t length = sequenceLength(at, end);
    if (length == 0) break;
    at += length;
  }
  return at;
}

Text slowTextOf(const char* data, std::size_t length) {
  const char* const end = data + length;
  std::size_t escaped = 0;
  while (data < end) {
    if (end - data >= 8) {
      const std::uint64_t special = specialBytes(loadUpTo8(data, 8));
      const std::size_t plain = special == 0 ? 8 : plainBytes(special);
      data += plain;
      escaped += plain;
      if (special == 0) continue;
    }
    do {  // special bytes often follow one another
      const std::size_t sequence = sequenceLength(data, end);
      if (sequence == 0) return {false, 0};
      escaped += sequence == 1 ? escapedLength(static_cast<unsigned char>(*data)) : sequence;
      data += sequence;
    } while (data < end && !isPlainByte(*data));
  }
  return {true, escaped};
}

}  // namespace amf2json::wire
