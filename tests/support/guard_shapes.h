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
  std::string (*packet)(std::uint32_t depth);
};

const Shape kShapes[] = {
    {"AMF0 objects",
     [](std::uint32_t depth) {
       return packetWith(repeat(hex("03 0001 'a'"), depth) + hex("05") +
                         repeat(hex("000009"), depth));
     }},
    {"AMF0 strict arrays",
     [](std::uint32_t depth) { return packetWith(repeat(hex("0A 00000001"), depth) + hex("05")); }},
    {"AMF0 associative arrays",
     [](std::uint32_t depth) {
       return packetWith(repeat(hex("08 00000001 0001 'a'"), depth) + hex("05"));
     }},
    {"AMF3 arrays, dense",
     [](std::uint32_t depth) {
       return packetWith(hex("11") + repeat(hex("09 03 01"), depth) + hex("01"));
     }},
    {"AMF3 arrays, associative",
     [](std::uint32_t depth) {
       return packetWith(hex("11") + repeat(hex("09 01 03 'a'"), depth) + hex("01") +
                         repeat(hex("01"), depth));
     }},
    {"AMF3 objects, sealed",
     [](std::uint32_t depth) {
       return packetWith(hex("11") + repeat(hex("0A 13 01 03 'a'"), depth) + hex("01"));
     }},
    {"AMF3 objects, dynamic",
     [](std::uint32_t depth) {
       return packetWith(hex("11") + repeat(hex("0A 0B 01 03 'a'"), depth) + hex("01") +
                         repeat(hex("01"), depth));
     }},
    {"AMF3 externalizable objects",
     [](std::uint32_t depth) {
       return packetWith(hex("11 0A 07 43 'flex.messaging.io.ArrayCollection'") +
                         repeat(hex("0A 07 00"), depth - 1) + hex("01"));
     }},
    {"AMF3 in AMF0",
     [](std::uint32_t depth) {
       return packetWith(repeat(hex("0A 00000001"), depth - 3) + hex("11") +
                         repeat(hex("09 03 01"), 3) + hex("01"));
     }},
    {"chain of references", [](std::uint32_t depth) { return referenceChain(depth - 2); }},
    {"AMF0 chain of references",
     [](std::uint32_t depth) {
       std::string value = hex("0A") + u32(depth - 1) + hex("0A 00000000");
       for (std::uint32_t i = 0; i + 2 < depth; ++i) value += hex("0A 00000001 07") + u16(i);
       return packetWith(value);
     }},
};

}  // namespace support

#endif  // TESTS_SUPPORT_GUARD_SHAPES_H
