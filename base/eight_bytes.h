// SPDX-License-Identifier: Apache-2.0
//
// Questions to eight bytes at once: the high bit of each byte of the answer is set where that byte
// of the word says yes. Only its low seven bits are asked; no sum leaves its byte.
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
constexpr bool isEach(std::uint64_t answer) {
  return (answer & kHighBits) == kHighBits;
}

}  // namespace amf2json
