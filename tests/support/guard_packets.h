// SPDX-License-Identifier: Apache-2.0
//
// Packets for the tests of the guard: an envelope around one value, integers of variable length,
// and bombs of any size. Used by guard_*_test.cpp.
#ifndef TESTS_SUPPORT_GUARD_PACKETS_H
#define TESTS_SUPPORT_GUARD_PACKETS_H

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include <AMFGuard.h>

#include "support/hex.h"

namespace support {

/// No headers, one message from "t" to "r", length unknown: 16 bytes in front of its value.
inline std::string envelope() {
  return hex("0000 0000 0001 0001 't' 0001 'r' FFFFFFFF");
}
constexpr std::size_t kEnvelopeLength = 16;

/// A packet whose one message has this value, spelled in hex or given as bytes.
inline std::string packetOf(std::string_view hexValue) {
  return envelope() + hex(hexValue);
}
inline std::string packetWith(const std::string& value) {
  return envelope() + value;
}

inline std::string u16(std::uint32_t value) {
  return {static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}
inline std::string u32(std::uint32_t value) {
  return u16(value >> 16) + u16(value & 0xFFFF);
}
/// 0 to 0x1FFFFF: one to three bytes.
inline std::string u29(std::uint32_t value) {
  std::string bytes(1, static_cast<char>(value & 0x7F));
  for (value >>= 7; value != 0; value >>= 7) {
    bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
  }
  return bytes;
}

inline std::string repeat(const std::string& bytes, std::size_t count) {
  std::string all;
  all.reserve(bytes.size() * count);
  for (; count > 0; --count) all += bytes;
  return all;
}

/// Level by level two references to the level before: about 2^levels nodes.
inline std::string doubling3(std::uint32_t levels) {
  std::string value = hex("11 09") + u29((levels + 1) << 1 | 1) + hex("01 09 03 01 01");
  for (std::uint32_t i = 1; i <= levels; ++i) {
    value += hex("09 05 01") + repeat(hex("09") + u29(i << 1), 2);
  }
  return packetWith(value);
}
inline std::string doubling0(std::uint32_t levels) {
  std::string value = hex("0A") + u32(levels + 1) + hex("0A 00000000");
  for (std::uint32_t i = 0; i < levels; ++i) {
    value += hex("0A 00000002") + repeat(hex("07") + u16(i), 2);
  }
  return packetWith(value);
}

/// Two deep on the wire, `levels` + 2 deep in the tree: each array refers to the one before.
inline std::string referenceChain(std::uint32_t levels) {
  std::string value = hex("11 09") + u29((levels + 1) << 1 | 1) + hex("01 09 01 01");
  for (std::uint32_t i = 1; i <= levels; ++i) value += hex("09 03 01 09") + u29(i << 1);
  return packetWith(value);
}

/// One string of `length` bytes and `count` references to it.
inline std::string stringBomb(std::uint32_t length, std::uint32_t count) {
  const std::uint32_t head = length << 1 | 1;
  // Four bytes: three groups of seven bits, then eight.
  const std::string longHead = {
      static_cast<char>(0x80 | (head >> 22 & 0x7F)), static_cast<char>(0x80 | (head >> 15 & 0x7F)),
      static_cast<char>(0x80 | (head >> 8 & 0x7F)), static_cast<char>(head & 0x7F)};
  return packetWith(hex("11 09") + u29((count + 1) << 1 | 1) + hex("01 06") +
                    (head > 0x1FFFFF ? longHead : u29(head)) + std::string(length, 'x') +
                    repeat(hex("06 00"), count));
}

/// `objects` objects of `sealed` null members, the names of all but the first by reference to its
/// traits.
inline std::string traitsBomb(std::uint32_t sealed, std::uint32_t objects) {
  const std::string values(sealed, '\x01');
  return packetWith(hex("11 09") + u29(objects << 1 | 1) + hex("01 0A") + u29(sealed << 4 | 3) +
                    hex("01") + repeat(hex("03 'a'"), sealed) + values +
                    repeat(hex("0A 01") + values, objects - 1));
}

inline AMFVerifyResult verify(const std::string& packet,
                              const AMFVerifyLimits& limits = AMFVerifyLimits()) {
  return verifyPacket(packet.data(), packet.size(), limits);
}

}  // namespace support

inline std::ostream& operator<<(std::ostream& out, AMFVerifyStatus status) {
  return out << describe(status);
}

#endif  // TESTS_SUPPORT_GUARD_PACKETS_H
