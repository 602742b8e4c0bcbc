// SPDX-License-Identifier: Apache-2.0
//
// What a byte string is as JSON text: whether it is UTF-8, and how long it gets by escapes.
// Enter at textOf(). Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_UTF8_H
#define WIRE_UTF8_H

#include <cstddef>
#include <cstdint>

#include "wire/bytes.h"

namespace amf2json::wire {

// Eight bytes at once: a high bit is set for each byte below 0x20, above 0x7E, or a quote or a
// backslash. (0x7F needs no escape; it only leaves the fast path.)
inline std::uint64_t specialBytes(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101u;
  constexpr std::uint64_t kHigh = 0x8080808080808080u;
  const std::uint64_t quotes = word ^ kOnes * '"';
  const std::uint64_t slashes = word ^ kOnes * '\\';
  return ((word - kOnes * 0x20) | (quotes - kOnes) | (slashes - kOnes) | word | (word + kOnes)) &
         kHigh;
}

// How many bytes of a word are plain before the first of its special bytes; 0 where the processor's
// byte order makes that expensive to find.
inline std::size_t plainBytes(std::uint64_t special) {
  return kLowestFirst ? static_cast<std::size_t>(__builtin_ctzll(special)) / 8 : 0;
}

// The length of the UTF-8 sequence at `at`, 0 where there is none. At least one byte is there.
std::size_t sequenceLength(const char* at, const char* end);

// The first place that is not UTF-8, or `end`.
const char* firstBroken(const char* at, const char* end);

struct Text {
  bool isUtf8;
  std::size_t length;  // as a JSON string, without its quotes; 0 where it is not UTF-8
};
Text slowTextOf(const char* data, std::size_t length);

// Few bytes, and blanks above them.
inline std::uint64_t loadFewPlain(const char* at, std::size_t count) {
  return loadFew(at, count) | 0x2020202020202020u << 8 * count;
}

inline bool isPlain(const char* data, std::size_t length) {
  if (length < 8) return specialBytes(loadFewPlain(data, length)) == 0;
  const char* const last = data + length - 8;  // the last eight bytes may be looked at twice
  for (; data < last; data += 8) {
    if (specialBytes(loadFew(data, 8)) != 0) return false;
  }
  return specialBytes(loadFew(last, 8)) == 0;
}

inline Text textOf(const char* data, std::size_t length) {
  if (isPlain(data, length)) return {true, length};
  return slowTextOf(data, length);
}

}  // namespace amf2json::wire

#endif  // WIRE_UTF8_H
