// SPDX-License-Identifier: Apache-2.0
//
// The big-endian loads and stores of the packet format, each defined once. Every read... call moves
// the cursor past what it read. Tested by all reader and writer tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/compiler.h"

namespace amf2json::big_endian {

#ifdef AMF2JSON_CHECKED_WIRE
// Only in test builds: the readers know where the input ends, and throw before the first field that
// does not fit. So tests can read truncated packets too.
struct EndOfInput {
  std::size_t missing;  // how many bytes of the field are after the end of the input
};
inline thread_local const char* inputEnd = nullptr;
inline void need(const char* cursor, std::size_t count) {
  const auto remaining = static_cast<std::size_t>(inputEnd - cursor);
  if (remaining < count) throw EndOfInput{count - remaining};
}
#else  // the library does not check: the packet must be complete
inline void need(const char*, std::size_t) {}
#endif

inline std::uint8_t byteAt(const char* at) {
  return static_cast<std::uint8_t>(*at);
}

inline std::uint8_t readU8(const char*& cursor) {
  need(cursor, 1);
  return byteAt(cursor++);
}

// Returns the next byte and does not move the cursor.
inline std::uint8_t peekU8(const char* cursor) {
  need(cursor, 1);
  return byteAt(cursor);
}

inline std::uint16_t readU16(const char*& cursor) {
  need(cursor, 2);
  const auto value = static_cast<std::uint16_t>(byteAt(cursor) << 8 | byteAt(cursor + 1));
  cursor += 2;
  return value;
}

inline std::uint32_t loadU32(const char* at) {
  return std::uint32_t{byteAt(at)} << 24 | std::uint32_t{byteAt(at + 1)} << 16 |
         std::uint32_t{byteAt(at + 2)} << 8 | std::uint32_t{byteAt(at + 3)};
}

inline std::uint32_t readU32(const char*& cursor) {
  need(cursor, 4);
  const std::uint32_t value = loadU32(cursor);
  cursor += 4;
  return value;
}

// Reads an AMF3 integer of one to four bytes. Kept: the fourth byte is added as a signed number,
// and all arithmetic wraps at 32 bits.
AMF2JSON_HOT std::uint32_t readU29(const char*& cursor) {
  std::uint32_t value = 0;
  for (int group = 0; group < 3; ++group) {
    const std::uint8_t byte = big_endian::readU8(cursor);
    value = (value << 7) + (byte & 0x7Fu);
    if ((byte & 0x80u) == 0) return value;
  }
  const auto last = static_cast<std::int8_t>(big_endian::readU8(cursor));
  return (value << 8) + static_cast<std::uint32_t>(std::int32_t{last});
}

// Doubles are copied as bytes and not returned: on some machines, a floating-point register changes
// the bits of a NaN.
inline void readDouble(const char*& cursor, double& value) {
  need(cursor, 8);
  const std::uint64_t bits = std::uint64_t{loadU32(cursor)} << 32 | loadU32(cursor + 4);
  cursor += 8;
  std::memcpy(&value, &bits, sizeof value);
}

// Returns `count` bytes, which the caller copies, and moves the cursor past them.
inline const char* readBytes(const char*& cursor, std::uint32_t count) {
  need(cursor, count);
  const char* const bytes = cursor;
  cursor += count;
  return bytes;
}

// Moves the cursor past `count` bytes without reading them.
inline void skip(const char*& cursor, std::size_t count) {
  need(cursor, count);
  cursor += count;
}

inline void storeU16(char* at, std::uint32_t value) {
  at[0] = static_cast<char>(value >> 8 & 0xFF);
  at[1] = static_cast<char>(value & 0xFF);
}

inline void storeU32(char* at, std::uint32_t value) {
  storeU16(at, value >> 16);
  storeU16(at + 2, value);
}

inline void storeDouble(char* at, const double& value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  storeU32(at, static_cast<std::uint32_t>(bits >> 32));
  storeU32(at + 4, static_cast<std::uint32_t>(bits));
}

}  // namespace amf2json::big_endian
