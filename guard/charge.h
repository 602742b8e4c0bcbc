// SPDX-License-Identifier: Apache-2.0
//
// What a tree costs: the heap of each node, from the sizes of the real classes, and sums that stop
// at their largest value instead of wrapping. Tested by tests/guard_charge_test.cpp.
#pragma once

#include <cstdint>
#include <limits>

#include "AMF2JSON.h"

namespace guard {

/// A total that stands here has overflowed: every difference and sum made from it stands here too.
template <class Number>
constexpr Number kSaturated = std::numeric_limits<Number>::max();

template <class Number>
constexpr Number plus(Number a, Number b) {
  return b > kSaturated<Number> - a ? kSaturated<Number> : a + b;
}

/// What was added since `start`.
template <class Number>
constexpr Number since(Number start, Number total) {
  return total == kSaturated<Number> ? total : total - start;
}

/// Heap of one block of `bytes` bytes: malloc rounds up to 16 and puts a header in front; it may
/// also hand out 16 bytes more than asked when the rest of a free block is too small to be one of
/// its own.
constexpr std::uint64_t block(std::uint64_t bytes) {
  return bytes == 0 ? 0 : (bytes + 15) / 16 * 16 + 16;
}

/// One child in a vector that doubles as it grows, and what any such vector costs on top.
constexpr std::uint64_t kSlot = 2 * sizeof(AMFNode*);
constexpr std::uint64_t kChildren = 40;

constexpr std::uint64_t kNull = block(sizeof(AMFNull));
constexpr std::uint64_t kUndefined = block(sizeof(AMFUndefined));
constexpr std::uint64_t kBool = block(sizeof(AMFBool));
constexpr std::uint64_t kInt = block(sizeof(AMFInt));
constexpr std::uint64_t kDouble = block(sizeof(AMFDouble));
constexpr std::uint64_t kDate = block(sizeof(AMFDate));
constexpr std::uint64_t kRaw = block(sizeof(AMFRaw));
constexpr std::uint64_t kString = block(sizeof(AMFString));
constexpr std::uint64_t kXML = block(sizeof(AMFXML));
constexpr std::uint64_t kArray = block(sizeof(AMFArray)) + kChildren;
constexpr std::uint64_t kObject = block(sizeof(AMFObject)) + kChildren;  // without the class name
constexpr std::uint64_t kPair = block(sizeof(AMFPair));                  // without name and value
constexpr std::uint64_t kHeader = block(sizeof(AMFHeader));
constexpr std::uint64_t kMessage = block(sizeof(AMFMessage));
constexpr std::uint64_t kPackage = block(sizeof(AMFPackage)) + kChildren;

/// What some part of a tree costs.
struct Cost {
  std::uint64_t nodes;
  std::uint64_t bytes;        // heap
  std::uint64_t stringBytes;  // of them, text
  std::uint64_t rawBytes;     // of them, byte arrays

  Cost& operator+=(const Cost& other) {
    nodes = plus(nodes, other.nodes);
    bytes = plus(bytes, other.bytes);
    stringBytes = plus(stringBytes, other.stringBytes);
    rawBytes = plus(rawBytes, other.rawBytes);
    return *this;
  }
};

constexpr Cost since(const Cost& start, const Cost& total) {
  return {since(start.nodes, total.nodes), since(start.bytes, total.bytes),
          since(start.stringBytes, total.stringBytes), since(start.rawBytes, total.rawBytes)};
}

/// One node without payload.
constexpr Cost nodeCost(std::uint64_t bytes) {
  return {1, bytes, 0, 0};
}
/// One string node with its text.
constexpr Cost stringCost(std::uint32_t length) {
  return {1, kString + block(length), length, 0};
}
constexpr Cost xmlCost(std::uint32_t length) {
  return {1, kXML + block(length), length, 0};
}
constexpr Cost rawCost(std::uint32_t length) {
  return {1, kRaw + block(length), 0, length};
}
/// A member as the child of something, its name and value apart.
constexpr Cost pairCost() {
  return {1, kPair + kSlot, 0, 0};
}

}  // namespace guard
