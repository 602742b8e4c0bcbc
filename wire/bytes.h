// SPDX-License-Identifier: Apache-2.0
//
// Big-endian loads and stores. Tested through all reader and writer tests.
#ifndef WIRE_BYTES_H
#define WIRE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace amf2json::wire {

inline std::uint8_t byteAt(const char* at) {
  return static_cast<std::uint8_t>(*at);
}

inline std::uint16_t loadU16(const char* at) {
  return static_cast<std::uint16_t>(byteAt(at) << 8 | byteAt(at + 1));
}

inline std::uint32_t loadU24(const char* at) {
  return std::uint32_t{byteAt(at)} << 16 | std::uint32_t{loadU16(at + 1)};
}

inline std::uint32_t loadU32(const char* at) {
  return std::uint32_t{byteAt(at)} << 24 | loadU24(at + 1);
}

inline std::uint64_t loadU64(const char* at) {
  return std::uint64_t{loadU32(at)} << 32 | loadU32(at + 4);
}

// Copies through memory: a floating-point register of some processors changes the bits of a NaN.
inline void loadDouble(const char* at, double& value) {
  const std::uint64_t bits = loadU64(at);
  std::memcpy(&value, &bits, sizeof value);
}

inline std::uint64_t bitsOf(const double& value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr bool kLowestFirst = false;
#else
constexpr bool kLowestFirst = true;
#endif

// Loads up to eight bytes as a word. The first byte is the lowest, and missing bytes are 0. No byte
// after them is read. The bytes are combined in registers: storing single bytes and loading them as
// one word would stall.
inline std::uint64_t loadUpTo8(const char* at, std::size_t count) {
  if (count >= 8) {
    std::uint64_t word;
    std::memcpy(&word, at, 8);
    return word;
  }
  if (count >= 4) {
    std::uint32_t low;
    std::uint32_t high;
    std::memcpy(&low, at, 4);
    std::memcpy(&high, at + count - 4, 4);
    return low | std::uint64_t{high} << 8 * (count - 4);
  }
  if (count == 0) return 0;
  return byteAt(at) | std::uint64_t{byteAt(at + count / 2)} << 8 * (count / 2) |
         std::uint64_t{byteAt(at + count - 1)} << 8 * (count - 1);
}

inline void storeU16(char* at, std::uint32_t value) {
  at[0] = static_cast<char>(value >> 8 & 0xFF);
  at[1] = static_cast<char>(value & 0xFF);
}

inline void storeU32(char* at, std::uint32_t value) {
  storeU16(at, value >> 16);
  storeU16(at + 2, value);
}

inline void storeU64(char* at, std::uint64_t value) {
  storeU32(at, static_cast<std::uint32_t>(value >> 32));
  storeU32(at + 4, static_cast<std::uint32_t>(value));
}

}  // namespace amf2json::wire

#endif  // WIRE_BYTES_H
