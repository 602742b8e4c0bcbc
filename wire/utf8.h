// SPDX-License-Identifier: Apache-2.0
//
// A byte string as JSON text: whether it is UTF-8, and its length with escapes.
// Enter at textOf(). Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_UTF8_H
#define WIRE_UTF8_H

#include <cstddef>
#include <cstdint>

#include "wire/bytes.h"

namespace amf2json::wire {

// Tests eight bytes at once. A high bit is set for each byte that is below 0x20, above 0x7E, a
// quote or a backslash. (0x7F needs no escape. It only takes the slow path.)
inline std::uint64_t specialBytes(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101u;
  constexpr std::uint64_t kHigh = 0x8080808080808080u;
  const std::uint64_t quotes = word ^ kOnes * '"';
  const std::uint64_t slashes = word ^ kOnes * '\\';
  return ((word - kOnes * 0x20) | (quotes - kOnes) | (slashes - kOnes) | word | (word + kOnes)) &
         kHigh;
}

// The opposite test of one byte: whether specialBytes() sets no bit for it.
inline bool isPlainByte(char byte) {
  return byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
}

// The number of plain bytes before the first special byte of a word; 0 on processors whose byte
// order makes that expensive to find.
inline std::size_t plainBytes(std::uint64_t special) {
  return kLowestFirst ? static_cast<std::size_t>(__builtin_ctzll(special)) / 8 : 0;
}

// The length of the UTF-8 sequence at `at`; 0 if there is none. There must be at least one byte.
std::size_t sequenceLength(const char* at, const char* end);

// The first place that is not UTF-8, or `end`.
const char* firstNotUtf8(const char* at, const char* end);

struct Text {
  bool isUtf8;
  std::size_t length;  // as a JSON string, without its quotes; 0 if it is not UTF-8
};
Text slowTextOf(const char* data, std::size_t length);

// Loads a few bytes, and fills the word with spaces.
inline std::uint64_t loadPaddedWithSpaces(const char* at, std::size_t count) {
  return loadUpTo8(at, count) | 0x2020202020202020u << 8 * count;
}

inline bool isPlain(const char* data, std::size_t length) {
  if (length < 8) return specialBytes(loadPaddedWithSpaces(data, length)) == 0;
  const char* const last = data + length - 8;  // some of the last bytes may be tested twice
  for (; data < last; data += 8) {
    if (specialBytes(loadUpTo8(data, 8)) != 0) return false;
  }
  return specialBytes(loadUpTo8(last, 8)) == 0;
}

inline Text textOf(const char* data, std::size_t length) {
  if (isPlain(data, length)) return {true, length};
  return slowTextOf(data, length);
}

}  // namespace amf2json::wire

#endif  // WIRE_UTF8_H
