// SPDX-License-Identifier: Apache-2.0
//
// The limits of verifyPacket: what each of them measures, where it refuses, and what they do with
// packets made to exhaust memory or time. Exercises guard/packet_walk.h and guard/charge.h.
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "guard/charge.h"
#include "support/guard_packets.h"
#include "support/guard_shapes.h"

using namespace support;
using Status = AMFVerifyStatus;

namespace {

// ---- Packets made to hurt, under the default limits ---------------------------------------------

struct Attack {
  const char* name;
  std::string packet;
  Status status;
  std::size_t offset;
};

std::string nested(const char* level, std::size_t count, const char* core) {
  return repeat(hex(level), count) + hex(core);
}

std::vector<Attack> attacks() {
  return {
      {"string beyond the buffer", packetOf("02 FFFF 'A'"), Status::truncated, 19},
      {"long string beyond the buffer", packetOf("0C FFFFFFFF 'A'"), Status::stringLimit, 21},
      {"URI beyond the buffer", hex("0000 0000 0001 FFFF 't'"), Status::truncated, 8},
      {"variable-length integer above 29 bits", packetOf("11 06 80 80 80 FF"), Status::stringLimit,
       22},
      {"count beyond the buffer", packetOf("0A FFFFFFFF 05 05"), Status::truncated, 23},
      {"nested AMF0 arrays", packetWith(nested("0A 00000001", 65, "05")), Status::depthLimit, 341},
      {"100,000 nested AMF0 arrays", packetWith(nested("0A 00000001", 100000, "05")),
       Status::depthLimit, 341},
      {"100,000 nested AMF0 objects", packetWith(nested("03 0000", 100000, "05")),
       Status::depthLimit, 16 + 64 * 3 + 1},
      {"100,000 nested AMF3 arrays", packetWith(hex("11") + nested("09 03 01", 100000, "01")),
       Status::depthLimit, 17 + 64 * 3 + 2},
      {"deep tree from flat bytes", referenceChain(5000), Status::depthLimit, 339},
      {"AMF3 doubling, 40 levels", doubling3(40), Status::copyLimit, 141},
      {"AMF3 doubling, 200 levels", doubling3(200), Status::copyLimit, 142},
      {"AMF0 doubling, 40 levels", doubling0(40), Status::copyLimit, 213},
      {"AMF0 doubling, 200 levels", doubling0(200), Status::copyLimit, 213},
      {"one string, many references", stringBomb(60000, 20000), Status::copyLimit, 62260},
      {"the same in 2 MiB", stringBomb(1048576, 524288), Status::copyLimit, 1048731},
      {"traits referenced", traitsBomb(1000, 1000), Status::copyLimit, 282585},
      {"a million nulls", packetWith(hex("0A 000F4240") + std::string(1000000, '\x05')),
       Status::nodeLimit, 1000017},
      {"200,000 small objects",
       packetWith(hex("0A 00030D40") +
                  repeat(hex("03 0002 'id' 00 0000000000000000 0004 'name' 02 0005 'xxxxx' 000009"),
                         200000)),
       Status::nodeLimit, 3874995},
      {"switched references",
       packetWith(hex("0A 000000FF 11 0A 03 01") + repeat(hex("11 0A 00"), 254)),
       Status::switchedReferenceLimit, 16 + 5 + 4 + 65 * 3},
      // The bytes may be fine and the text harmful: that is for escapeForViews.
      {"script in a target", hex("0000 0000 0001 000E 5C 22 '+alert(1),//' 0001 'r' FFFFFFFF 05"),
       Status::ok, 0},
      {"not a number", packetOf("00 7FF8000000000000"), Status::ok, 0},
      {"integer the writer refuses", packetOf("11 04 80 80 80 80"), Status::ok, 0},
      {"members after an empty array", packetOf("08 00000000 0001 'a' 05 000009"), Status::ok, 0},
      {"one switched reference", packetOf("0A 00000002 11 0A 03 01 11 0A 00"), Status::ok, 0},
      {"AMF3 doubling, 16 levels", doubling3(16), Status::ok, 0},
      {"dynamic members, names by reference",
       packetWith(hex("11 0A 0B 01 03 'a' 01") + repeat(hex("00 01"), 300000) + hex("01")),
       Status::ok, 0},
  };
}

TEST(GuardLimits, StopsPacketsMadeToHurt) {
  if (sizeof(void*) != 8) GTEST_SKIP() << "the offsets are those of 64-bit nodes";
  for (const Attack& row : attacks()) {
    SCOPED_TRACE(row.name);
    const AMFVerifyResult result = verify(row.packet);
    EXPECT_EQ(row.status, result.status);
    EXPECT_EQ(row.offset, result.offset);
    EXPECT_STREQ(describe(row.status), result.message);
  }
}

template <class Work>
std::chrono::nanoseconds bestOf(int rounds, const Work& work) {
  auto best = std::chrono::nanoseconds::max();
  for (; rounds > 0; --rounds) {
    const auto start = std::chrono::steady_clock::now();
    work();
    best = std::min<std::chrono::nanoseconds>(best, std::chrono::steady_clock::now() - start);
  }
  return best;
}

// As long as it takes to look at so many bytes one after the other.
std::chrono::nanoseconds timeToLookAt(const std::string& packet, std::size_t count) {
  return bestOf(5, [&] {
    volatile std::uint32_t seen = 0;
    for (std::size_t i = 0; i < count; ++i)
      seen = seen * 31 + static_cast<unsigned char>(packet[i]);
  });
}

// Whatever would come of it, a packet costs its bytes and no more, up to where it is refused: bombs
// after few of them, bulk where there is too much of it.
TEST(GuardLimits, RefusesAtTheCostOfTheBytesUpToThere) {
  constexpr std::chrono::microseconds kFixed(100);
  constexpr int kForEachByte = 60;
  for (const Attack& row : attacks()) {
    if (row.status == Status::ok) continue;
    SCOPED_TRACE(row.name);
    AMFVerifyResult result;
    const auto best = bestOf(5, [&] { result = verify(row.packet); });
    ASSERT_NE(Status::ok, result.status);
    const auto floor = timeToLookAt(row.packet, result.consumed);
    EXPECT_LT(best.count(), (kFixed + kForEachByte * floor).count());
    std::printf("%-40s %8zu bytes %10.1f us, %5.2f of the floor\n", row.name, result.consumed,
                static_cast<double>(best.count()) / 1000,
                static_cast<double>(best.count()) / static_cast<double>(floor.count()));
  }
}

TEST(GuardLimits, LargePacketsKeepTheirShape) {
  EXPECT_EQ(136u, doubling3(16).size());
  EXPECT_EQ(304u, doubling3(40).size());
  EXPECT_EQ(466u, doubling0(40).size());
  EXPECT_EQ(80u, doubling3(8).size());
}

// ---- Depth -------------------------------------------------------------------------------------

TEST(GuardLimits, DepthIsExact) {
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    for (const std::uint32_t depth : {63u, 64u, 65u, 66u, 200u}) {
      const std::string packet = shape.packet(depth);
      const AMFVerifyResult free = verify(packet, AMFVerifyLimits::unlimited());
      EXPECT_EQ(Status::ok, free.status) << free.message << " at " << free.offset;
      EXPECT_EQ(depth, free.depth);
      EXPECT_EQ(packet.size(), free.consumed);
      EXPECT_EQ(depth <= 64 ? Status::ok : Status::depthLimit, verify(packet).status);
      AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
      limits.maxDepth = depth;
      EXPECT_EQ(Status::ok, verify(packet, limits).status);
      limits.maxDepth = depth - 1;
      EXPECT_EQ(Status::depthLimit, verify(packet, limits).status);
    }
  }
}

// ---- Where the limits strike -------------------------------------------------------------------

struct Strike {
  const char* value;
  std::uint64_t nodes;  // limit, after the four of the envelope
  std::size_t offset;   // from the value's first byte
};

const Strike kNodeStrikes[] = {
    {"00 0000000000000000", 0, 9},
    {"01 01", 0, 2},
    {"02 0002 'ab'", 0, 5},
    {"0C 00000002 'ab'", 0, 7},
    {"0F 00000002 'ab'", 0, 7},
    {"05", 0, 1},
    {"06", 0, 1},
    {"09", 0, 1},
    {"0B 0000000000000000 0000", 0, 11},
    {"0A 00000001 05", 0, 5},
    {"0A 00000001 05", 1, 6},
    {"08 00000001 0001 'a' 05", 1, 8},  // member and name, at the name
    {"08 00000001 0001 'a' 05", 2, 8},
    {"08 00000001 0001 'a' 05", 3, 9},
    {"03 0001 'a' 05 000009", 0, 1},
    {"03 0001 'a' 05 000009", 1, 1},  // object and class name, at the marker
    {"03 0001 'a' 05 000009", 3, 4},
    {"03 0001 'a' 05 000009", 4, 5},
    {"10 0001 'C' 000009", 0, 1},
    {"10 0001 'C' 000009", 1, 4},
    {"0A 00000002 03 000009 07 0000", 4, 12},
    {"11 00", 0, 2},
    {"11 01", 0, 2},
    {"11 02", 0, 2},
    {"11 04 81 00", 0, 4},
    {"11 05 0000000000000000", 0, 10},
    {"11 06 05 'ab'", 0, 5},
    {"11 07 05 'ab'", 0, 5},
    {"11 0C 05 'ab'", 0, 5},
    {"11 08 01 0000000000000000", 0, 11},
    {"11 09 03 01 01", 0, 3},
    {"11 09 03 01 01", 1, 5},
    {"11 09 01 03 'a' 01 01", 2, 5},
    {"11 09 05 01 06 03 'a' 06 00", 2, 9},
    {"11 0A 13 03 'C' 03 'a' 01", 0, 3},
    {"11 0A 13 03 'C' 03 'a' 01", 1, 5},
    {"11 0A 13 03 'C' 03 'a' 01", 3, 7},
    {"11 0A 13 03 'C' 03 'a' 01", 4, 8},
    {"11 0A 0B 01 03 'a' 01 01", 3, 6},
    {"11 0A 07 43 'flex.messaging.io.ArrayCollection' 01", 0, 3},
    {"11 0A 07 43 'flex.messaging.io.ArrayCollection' 01", 1, 37},
    {"11 0A 07 43 'flex.messaging.io.ArrayCollection' 01", 3, 37},
    {"11 0A 07 43 'flex.messaging.io.ArrayCollection' 01", 4, 38},
    // Object, class name, member, name, null; then the second object, and what it copies, at its
    // head.
    {"11 09 05 01 0A 13 01 03 'a' 01 0A 01 01", 6, 12},
    {"11 09 05 01 0A 13 01 03 'a' 01 0A 01 01", 9, 12},
    {"11 09 05 01 0A 13 01 03 'a' 01 0A 01 01", 10, 13},
};

TEST(GuardLimits, NodesAreCountedAtTheFieldThatMakesThem) {
  for (const Strike& row : kNodeStrikes) {
    SCOPED_TRACE(std::string(row.value) + " nodes " + std::to_string(row.nodes));
    AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
    limits.maxNodes = 4 + row.nodes;
    const AMFVerifyResult result = verify(packetOf(row.value), limits);
    EXPECT_EQ(Status::nodeLimit, result.status);
    EXPECT_EQ(kEnvelopeLength + row.offset, result.offset);
    EXPECT_EQ(result.offset, result.consumed);
    EXPECT_GT(result.nodes, limits.maxNodes);
  }
}

TEST(GuardLimits, NodesOfTheEnvelope) {
  const std::string packet =
      hex("0000 0001 0001 'h' 00 FFFFFFFF 05 0001 0001 't' 0001 'r' FFFFFFFF 05");
  const std::size_t offsets[] = {2, 7, 7, 13, 18, 18, 21, 26};
  for (std::uint64_t nodes = 0; nodes < 8; ++nodes) {
    AMFVerifyLimits limits;
    limits.maxNodes = nodes;
    const AMFVerifyResult result = verify(packet, limits);
    EXPECT_EQ(Status::nodeLimit, result.status);
    EXPECT_EQ(offsets[nodes], result.offset) << nodes;
  }
  EXPECT_EQ(8u, verify(packet).nodes);
}

struct LongString {
  const char* packet;
  std::size_t offset;
};

// Each holds one string of 5 bytes; the offset is that after its length.
const LongString kLongStrings[] = {
    {"0000 0001 0005 'abcde'", 6},
    {"0000 0000 0001 0005 'abcde'", 8},
    {"0000 0000 0001 0000 0005 'abcde'", 10},
    {"0000 0000 0001 0000 0000 FFFFFFFF 02 0005 'abcde'", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 0C 00000005 'abcde'", 19},
    {"0000 0000 0001 0000 0000 FFFFFFFF 0F 00000005 'abcde'", 19},
    {"0000 0000 0001 0000 0000 FFFFFFFF 03 0005 'abcde' 05", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 08 00000001 0005 'abcde' 05", 21},
    {"0000 0000 0001 0000 0000 FFFFFFFF 10 0005 'abcde'", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 06 0B 'abcde'", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 07 0B 'abcde'", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 0B 0B 'abcde'", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 0C 0B 'abcde'", 17},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 09 01 0B 'abcde' 01", 18},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 0A 13 0B 'abcde' 01", 18},
    {"0000 0000 0001 0000 0000 FFFFFFFF 11 0A 13 01 0B 'abcde' 01", 19},
};

TEST(GuardLimits, StringLimitAppliesAfterTheLength) {
  for (const LongString& row : kLongStrings) {
    SCOPED_TRACE(row.packet);
    const std::string packet = hex(row.packet);
    AMFVerifyLimits limits;
    limits.maxStringBytes = 4;
    const AMFVerifyResult result = verify(packet, limits);
    EXPECT_EQ(Status::stringLimit, result.status);
    EXPECT_EQ(row.offset, result.offset);
    // Whether or not the bytes are there.
    EXPECT_EQ(Status::stringLimit, verify(packet.substr(0, row.offset), limits).status);
    limits.maxStringBytes = 5;
    EXPECT_NE(Status::stringLimit, verify(packet, limits).status);
  }
}

struct Switched {
  const char* value;
  std::uint32_t count;
};

const Switched kSwitched[] = {
    {"0A 00000002 11 06 03 'a' 11 06 00", 1},
    {"0A 00000002 11 07 01 11 07 00", 1},
    {"0A 00000002 11 08 01 0000000000000000 11 08 00", 1},
    {"0A 00000002 11 0C 01 11 0C 00", 1},
    {"0A 00000002 11 09 01 01 11 09 00", 1},
    {"0A 00000002 11 0A 03 01 11 0A 00", 1},
    {"0A 00000004 11 0A 03 01 11 0A 00 05 11 0A 00", 2},
    {"0A 00000002 11 0A 13 01 03 'a' 01 11 0A 01 01", 0},  // traits only
    {"0A 00000002 11 06 03 'a' 11 09 03 01 06 00", 0},     // inside AMF3
    // Inside an AMF0 array that is copied twice: three times in the tree.
    {"0A 00000004 11 0A 03 01 0A 00000001 11 0A 00 07 0000 07 0000", 3},
    {"0A 00000004 11 0A 03 01 0A 00000001 11 0A 00 0A 00000001 07 0000 07 0001", 3},
};

TEST(GuardLimits, SwitchedReferencesAreCountedUnfolded) {
  for (const Switched& row : kSwitched) {
    SCOPED_TRACE(row.value);
    const std::string packet = packetOf(row.value);
    AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
    EXPECT_EQ(row.count, verify(packet, limits).switchedReferences);
    limits.maxSwitchedReferences = row.count;
    EXPECT_EQ(Status::ok, verify(packet, limits).status);
    if (row.count == 0) continue;
    limits.maxSwitchedReferences = row.count - 1;
    const AMFVerifyResult result = verify(packet, limits);
    EXPECT_EQ(Status::switchedReferenceLimit, result.status);
    EXPECT_EQ(packet.size(), result.offset);
  }
}

// A class name by reference is a copy, whatever the class.
TEST(GuardLimits, CopiesAreCountedAtTheFieldThatMakesThem) {
  struct Copy {
    const char* value;
    std::size_t offset;
  };
  const Copy kCopies[] = {
      {"11 09 05 01 06 43 'flex.messaging.io.ArrayCollection' 0A 07 00 01", 42},
      {"11 09 05 01 06 03 'C' 0A 03 00", 10},
      {"11 09 05 01 06 03 'a' 0A 13 01 00 01", 11},
      {"11 09 05 01 06 03 'a' 0A 0B 01 00 01 01", 11},
      {"11 09 05 01 06 03 'a' 06 00", 9},
      {"11 09 05 01 0A 03 01 0A 01", 9},
      {"0A 00000002 0A 00000000 07 0000", 13},
  };
  for (const Copy& row : kCopies) {
    SCOPED_TRACE(row.value);
    AMFVerifyLimits limits;
    limits.maxCopiedBytes = 0;
    const AMFVerifyResult result = verify(packetOf(row.value), limits);
    EXPECT_EQ(Status::copyLimit, result.status);
    EXPECT_EQ(kEnvelopeLength + row.offset, result.offset);
    EXPECT_EQ(result.offset, result.consumed);
    EXPECT_STREQ("copy limit", result.message);
  }
}

TEST(GuardLimits, AtOneFieldTheRefusalComesFirstThenTheLimitsInOrder) {
  AMFVerifyLimits limits;
  limits.maxNodes = 6;
  limits.maxDepth = 1;
  // The second reference would be one node too many, but leads nowhere.
  EXPECT_EQ(Status::malformed, verify(packetOf("11 09 07 01 06 03 'a' 06 02"), limits).status);
  EXPECT_EQ(Status::malformed, verify(packetOf("11 09 03 01 0A 01"), limits).status);  // depth 2
  EXPECT_EQ(Status::malformed, verify(packetOf("11 09 03 01 09 00"), limits).status);

  const std::string copy = packetOf("0A 00000003 0A 00000000 11 06 03 'a' 0A 00000001 07 0000");
  struct Order {
    std::uint32_t depth;
    std::uint64_t nodes, tree, copied;
    Status status;
  };
  const AMFVerifyResult whole = verify(copy);
  ASSERT_EQ(Status::ok, whole.status);
  const Order kOrders[] = {
      {2, whole.nodes - 1, whole.treeBytes - 1, 0, Status::depthLimit},
      {3, whole.nodes - 1, whole.treeBytes - 1, 0, Status::nodeLimit},
      {3, whole.nodes, whole.treeBytes - 1, 0, Status::treeLimit},
      {3, whole.nodes, whole.treeBytes, 0, Status::copyLimit},
      {3, whole.nodes, whole.treeBytes, whole.copiedBytes, Status::ok},
  };
  for (const Order& row : kOrders) {
    limits = AMFVerifyLimits();
    limits.maxDepth = row.depth;
    limits.maxNodes = row.nodes;
    limits.maxTreeBytes = row.tree;
    limits.maxCopiedBytes = row.copied;
    const AMFVerifyResult result = verify(copy, limits);
    EXPECT_EQ(row.status, result.status);
    EXPECT_EQ(row.status == Status::ok ? 0 : copy.size(), result.offset);
  }
  // Switched references come last.
  const std::string switched = packetOf("0A 00000002 11 06 03 'a' 11 06 00");
  limits = AMFVerifyLimits();
  limits.maxSwitchedReferences = 0;
  EXPECT_EQ(Status::switchedReferenceLimit, verify(switched, limits).status);
  limits.maxCopiedBytes = 0;
  EXPECT_EQ(Status::copyLimit, verify(switched, limits).status);
}

// ---- Every limit at what was measured, and one less

std::vector<std::string> sampleValues() {
  std::vector<std::string> packets;
  for (const Shape& shape : kShapes) packets.push_back(shape.packet(7));
  for (const Switched& row : kSwitched) packets.push_back(packetOf(row.value));
  for (const Strike& row : kNodeStrikes) packets.push_back(packetOf(row.value));
  packets.push_back(doubling0(6));
  packets.push_back(doubling3(6));
  packets.push_back(stringBomb(40, 12));
  packets.push_back(traitsBomb(5, 4));
  packets.push_back(
      packetOf("11 09 05 01 0A 17 43 'flex.messaging.io.ArrayCollection' 01 0A 01 01"));
  packets.push_back(hex(
      "0000 0001 0001 'h' 00 FFFFFFFF 03 0001 'a' 0F 00000001 '<' 0001 '!' 09 0001 0001 't' 0001 "
      "'r' FFFFFFFF 0A 00000003 11 0C 05 0102 02 0002 'zz' 0A 00000000"));
  return packets;
}

struct Measure {
  const char* name;
  Status status;
  std::uint64_t (*measured)(const AMFVerifyResult&);
  void (*set)(AMFVerifyLimits&, std::uint64_t);
};

const Measure kMeasures[] = {
    {"depth", Status::depthLimit, [](const AMFVerifyResult& r) -> std::uint64_t { return r.depth; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxDepth = static_cast<std::uint32_t>(v); }},
    {"nodes", Status::nodeLimit, [](const AMFVerifyResult& r) { return r.nodes; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxNodes = v; }},
    {"tree bytes", Status::treeLimit, [](const AMFVerifyResult& r) { return r.treeBytes; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxTreeBytes = v; }},
    {"copied bytes", Status::copyLimit, [](const AMFVerifyResult& r) { return r.copiedBytes; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxCopiedBytes = v; }},
    {"switched references", Status::switchedReferenceLimit,
     [](const AMFVerifyResult& r) -> std::uint64_t { return r.switchedReferences; },
     [](AMFVerifyLimits& l, std::uint64_t v) {
       l.maxSwitchedReferences = static_cast<std::uint32_t>(v);
     }},
};

// The field that crosses a limit is the first one with which the sum over the bytes up to it is
// above. What is measured of a cut packet shows that sum. An AMF0 name counts once the byte after
// it is known.
void expectStrikesWhereTheSumCrosses(const std::string& packet, const Measure& measure,
                                     std::uint64_t limit) {
  const AMFVerifyLimits unlimited = AMFVerifyLimits::unlimited();
  AMFVerifyLimits limits = unlimited;
  measure.set(limits, limit);
  const AMFVerifyResult result = verify(packet, limits);
  ASSERT_EQ(measure.status, result.status);
  std::size_t crossing = 0;
  while (measure.measured(verifyPacket(packet.data(), crossing, unlimited)) <= limit) ++crossing;
  const AMFVerifyResult before = verifyPacket(packet.data(), result.offset, unlimited);
  const bool lookedAhead =
      crossing == result.offset + 1 && before.offset == result.offset && before.needed == 1;
  EXPECT_TRUE(crossing == result.offset || lookedAhead)
      << "strikes at " << result.offset << ", crosses at " << crossing;
}

TEST(GuardLimits, EveryLimitAtTheMeasuredValueAndOneLess) {
  for (const std::string& packet : sampleValues()) {
    SCOPED_TRACE(toHex(packet));
    const AMFVerifyResult whole = verify(packet, AMFVerifyLimits::unlimited());
    ASSERT_EQ(Status::ok, whole.status) << whole.message << " at " << whole.offset;
    for (const Measure& measure : kMeasures) {
      SCOPED_TRACE(measure.name);
      const std::uint64_t measured = measure.measured(whole);
      AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
      measure.set(limits, measured);
      EXPECT_EQ(Status::ok, verify(packet, limits).status);
      for (std::uint64_t less = 1; less <= std::min<std::uint64_t>(measured, 40); ++less) {
        expectStrikesWhereTheSumCrosses(packet, measure, measured - less);
      }
    }
  }
}

TEST(GuardLimits, LimitsOnlySubtract) {
  AMFVerifyLimits none = AMFVerifyLimits::unlimited();
  none.maxDepth = 0;
  none.maxNodes = none.maxTreeBytes = none.maxCopiedBytes = 0;
  none.maxStringBytes = none.maxSwitchedReferences = 0;
  for (const std::string& packet : sampleValues()) {
    EXPECT_NE(Status::ok, verify(packet, none).status);
    // What is refused without limits is refused with them.
    for (std::size_t length = 0; length < packet.size(); ++length) {
      EXPECT_NE(Status::ok, verifyPacket(packet.data(), length).status);
    }
  }
}

// ---- Cut packets -------------------------------------------------------------------------------

TEST(GuardLimits, EveryPrefixIsTruncatedUpToWhatParseReads) {
  for (const std::string& packet : sampleValues()) {
    SCOPED_TRACE(toHex(packet));
    const std::size_t consumed = verify(packet).consumed;
    const std::string longer = packet + "tail";
    for (std::size_t length = 0; length <= longer.size(); ++length) {
      const AMFVerifyResult result =
          verifyPacket(longer.data(), length, AMFVerifyLimits::unlimited());
      if (length >= consumed) {
        ASSERT_EQ(Status::ok, result.status) << length;
        ASSERT_EQ(consumed, result.consumed);
        continue;
      }
      ASSERT_EQ(Status::truncated, result.status) << length;
      ASSERT_LE(result.offset, length);
      ASSERT_GE(result.needed, 1u);
      ASSERT_GT(result.offset + result.needed + (length - result.offset), length);
      ASSERT_LE(length + result.needed, consumed);  // at least so many: never more than there are
    }
  }
}

// ---- Sums --------------------------------------------------------------------------------------

TEST(GuardLimits, SumsStopAtTheirLargestValue) {
  const AMFVerifyLimits unlimited = AMFVerifyLimits::unlimited();
  for (const std::string& packet : {doubling0(200), doubling3(200)}) {
    const AMFVerifyResult result = verify(packet, unlimited);
    EXPECT_EQ(Status::ok, result.status);
    EXPECT_EQ(UINT64_MAX, result.nodes);
    EXPECT_EQ(UINT64_MAX, result.treeBytes);
    EXPECT_EQ(UINT64_MAX, result.copiedNodes);
    EXPECT_EQ(UINT64_MAX, result.copiedBytes);
    EXPECT_EQ(202u, result.depth);
    EXPECT_EQ(400u, result.references);
    // One below the largest value is enough to stop them.
    for (const Measure& measure : kMeasures) {
      if (measure.measured(result) != UINT64_MAX) continue;
      AMFVerifyLimits limits = unlimited;
      measure.set(limits, UINT64_MAX - 1);
      EXPECT_EQ(measure.status, verify(packet, limits).status);
    }
  }
  // Switched references double as well.
  std::string value = hex("0A 00000080 11 0A 03 01 0A 00000001 11 0A 00");
  for (std::uint32_t i = 0; i < 126; ++i)
    value += hex("0A 00000002") + repeat(hex("07") + u16(i), 2);
  const AMFVerifyResult result = verify(packetWith(value), unlimited);
  EXPECT_EQ(Status::ok, result.status);
  EXPECT_EQ(UINT32_MAX, result.switchedReferences);
}

TEST(GuardLimits, DoublingCountsAsCalculated) {
  for (std::uint32_t levels = 0; levels < 30; ++levels) {
    // Level k has 3 * 2^k - 1 nodes; all levels, the array around them and the four of the
    // envelope.
    std::uint64_t nodes = 5;
    for (std::uint32_t i = 0; i <= levels; ++i) nodes += (std::uint64_t{3} << i) - 1;
    const AMFVerifyResult result = verify(doubling3(levels), AMFVerifyLimits::unlimited());
    EXPECT_EQ(nodes, result.nodes);
    EXPECT_EQ(levels + 2, result.depth);
  }
  EXPECT_EQ(1529u, verify(doubling3(8)).nodes);
  EXPECT_EQ(393201u, verify(doubling3(16)).nodes);
  EXPECT_EQ(5002u, verify(referenceChain(5000), AMFVerifyLimits::unlimited()).depth);
}

}  // namespace
