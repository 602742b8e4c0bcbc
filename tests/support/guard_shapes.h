// SPDX-License-Identifier: Apache-2.0
//
// Packets of exactly a given depth, one shape for each way to get there. Used by
// guard/limits_test.cpp and guard/cost_test.cpp.
#ifndef TESTS_SUPPORT_GUARD_SHAPES_H
#define TESTS_SUPPORT_GUARD_SHAPES_H

#include <cstdint>
#include <string>

#include "support/guard_packets.h"

namespace support {

struct Shape {
  const char* name;
  const char* begin;
  const char* level;                                    // once for each level
  const char* value;                                    // at the deepest level
  const char* end;                                      // once for each level
  std::uint32_t otherLevels = 0;                        // those in `begin` and `value`
  std::string (*chain)(std::uint32_t depth) = nullptr;  // in place of all these

  std::string packet(std::uint32_t depth) const {
    if (chain != nullptr) return chain(depth);
    const std::uint32_t count = depth - otherLevels;
    return packetWith(hex(begin) + repeat(hex(level), count) + hex(value) +
                      repeat(hex(end), count));
  }
};

inline std::string referenceChain0(std::uint32_t depth) {
  std::string value = hex("0A") + u32(depth - 1) + hex("0A 00000000");
  for (std::uint32_t i = 0; i + 2 < depth; ++i) value += hex("0A 00000001 07") + u16(i);
  return packetWith(value);
}

const Shape kShapes[] = {
    {"AMF0 objects", "", "03 0001 'a'", "05", "000009"},
    {"AMF0 strict arrays", "", "0A 00000001", "05", ""},
    {"AMF0 associative arrays", "", "08 00000001 0001 'a'", "05", ""},
    {"AMF3 arrays, dense", "11", "09 03 01", "01", ""},
    {"AMF3 arrays, associative", "11", "09 01 03 'a'", "01", "01"},
    {"AMF3 objects, sealed", "11", "0A 13 01 03 'a'", "01", ""},
    {"AMF3 objects, dynamic", "11", "0A 0B 01 03 'a'", "01", "01"},
    {"AMF3 externalizable objects", "11 0A 07 43 'flex.messaging.io.ArrayCollection'", "0A 07 00",
     "01", "", 1},
    {"AMF3 in AMF0", "", "0A 00000001", "11 (09 03 01)*3 01", "", 3},
    {"chain of references", "", "", "", "", 0,
     [](std::uint32_t depth) { return referenceChain(depth - 2); }},
    {"AMF0 chain of references", "", "", "", "", 0, referenceChain0},
};

}  // namespace support

#endif  // TESTS_SUPPORT_GUARD_SHAPES_H
