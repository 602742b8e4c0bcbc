// SPDX-License-Identifier: Apache-2.0
//
// The cost of a tree: the heap of each node, from the sizes of the classes, and sums that saturate
// at their largest value. Tested by tests/guard/memory_test.cpp.
#pragma once

#include <cstdint>
#include <limits>

#include "AMF2JSON.h"

namespace amf2json::guard {

/// A sum of this value or more is saturated, and since() of a saturated sum is saturated, too. The
/// bytes of a packet are too few to wrap a sum around, so only the addition of two sums is checked.
constexpr std::uint64_t kEndless = std::uint64_t{1} << 62;

constexpr std::uint64_t plus(std::uint64_t a, std::uint64_t b) {
  return a + b < kEndless ? a + b : kEndless;
}
constexpr std::uint64_t since(std::uint64_t start, std::uint64_t total) {
  return total < kEndless ? total - start : kEndless;
}
/// The sum that is reported and compared with a limit. Only the largest limit accepts a saturated
/// sum.
constexpr std::uint64_t shown(std::uint64_t sum) {
  return sum < kEndless ? sum : std::numeric_limits<std::uint64_t>::max();
}
constexpr std::uint64_t largest(std::uint64_t limit) {
  const bool unlimited = limit == std::numeric_limits<std::uint64_t>::max();
  return unlimited || limit < kEndless ? limit : kEndless - 1;
}
/// For the numbers with 32 bits.
constexpr std::uint32_t plus(std::uint32_t a, std::uint32_t b) {
  return b > std::numeric_limits<std::uint32_t>::max() - a
             ? std::numeric_limits<std::uint32_t>::max()
             : a + b;
}
constexpr std::uint32_t since(std::uint32_t start, std::uint32_t total) {
  return total < std::numeric_limits<std::uint32_t>::max() ? total - start : total;
}

constexpr std::uint64_t kSecondHeader = sizeof(void*) < 8 ? 20 : 8;  // of a mapped block

/// Heap of one block of `bytes` bytes. malloc rounds up to 16 and adds a header. It may also return
/// 16 bytes more than requested if the rest of a free block is too small for another block. A block
/// of 128 KiB or more with its header is mapped as whole pages, with a second header;
/// 32-bit programs align it once more.
constexpr std::uint64_t block(std::uint64_t bytes) {
  constexpr std::uint64_t kMapped = 131072;
  constexpr std::uint64_t kPage = 4096;
  constexpr std::uint64_t kHeader = 8;
  const std::uint64_t withHeader = (bytes + kHeader + 15) / 16 * 16;
  if (withHeader >= kMapped) return (withHeader + kSecondHeader + kPage - 1) / kPage * kPage;
  return bytes == 0 ? 0 : (bytes + 15) / 16 * 16 + 16;
}

/// One child in a vector that doubles when it is full, and the fixed cost of such a vector.
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

/// The cost of a part of a tree.
struct Cost {
  std::uint64_t nodes;
  std::uint64_t bytes;        // heap
  std::uint64_t stringBytes;  // of them, text
  std::uint64_t rawBytes;     // of them, byte arrays

  /// Adds the cost of what a reference copies, which may be saturated.
  void addCopy(const Cost& other) {
    nodes = plus(nodes, other.nodes);
    bytes = plus(bytes, other.bytes);
    stringBytes = plus(stringBytes, other.stringBytes);
    rawBytes = plus(rawBytes, other.rawBytes);
  }
};

constexpr Cost since(const Cost& start, const Cost& total) {
  return {since(start.nodes, total.nodes), since(start.bytes, total.bytes),
          since(start.stringBytes, total.stringBytes), since(start.rawBytes, total.rawBytes)};
}

/// A string, an XML text, a byte array: the node and its bytes.
constexpr std::uint64_t stringBytes(std::uint32_t length) {
  return kString + block(length);
}
constexpr std::uint64_t xmlBytes(std::uint32_t length) {
  return kXML + block(length);
}
constexpr std::uint64_t rawBytes(std::uint32_t length) {
  return kRaw + block(length);
}
/// A member as a child, without its name and value.
constexpr std::uint64_t kMember = kPair + kSlot;

}  // namespace amf2json::guard
