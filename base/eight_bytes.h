// SPDX-License-Identifier: Apache-2.0
//
// SWAR: tests eight bytes at once. isAtLeast() and isNot() are tests. They return a word: the high
// bit of each of its bytes is set if the same byte of `word` passes; the other bits mean nothing. A
// test compares only the low seven bits of each byte, so that no addition carries into the next
// byte.
#pragma once

#include <cstdint>

namespace amf2json {

constexpr std::uint64_t kEachByte = 0x0101010101010101u;
constexpr std::uint64_t kHighBits = 0x80 * kEachByte;

constexpr std::uint64_t isAtLeast(std::uint64_t word, std::uint8_t byte) {
  return (word & ~kHighBits) + (0x80u - byte) * kEachByte;
}
constexpr std::uint64_t isNot(std::uint64_t word, std::uint8_t byte) {
  return ((word & ~kHighBits) ^ byte * kEachByte) + 0x7F * kEachByte;
}
// Whether all eight bytes passed a test, whose result is `answer`.
constexpr bool isEach(std::uint64_t answer) {
  return (answer & kHighBits) == kHighBits;
}

}  // namespace amf2json
