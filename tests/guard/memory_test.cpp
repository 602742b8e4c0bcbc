// SPDX-License-Identifier: Apache-2.0
//
// The guard and memory: its own, which is bounded and may fail; that of the tree, which it
// predicts. It reads no memory outside of the packet, and does not write to the packet. Exercises
// guard/table.h and guard/charge.h.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "guard/charge.h"
#include "guard/table.h"
#include "support/counted_heap.h"
#include "support/fenced_pages.h"
#include "support/guard_generator.h"
#include "support/guard_packets.h"

using namespace amf2json;

using namespace support;
using Status = AMFVerifyStatus;

namespace {

// ---- Tables ------------------------------------------------------------------------------------

TEST(GuardMemory, TableKeepsEntriesInPlace) {
  guard::Table<int> table;
  EXPECT_TRUE(table.empty());
  std::vector<int*> places;
  for (int i = 0; i < 1000; ++i) {
    int* const entry = table.append();
    ASSERT_NE(nullptr, entry);
    *entry = i;
    places.push_back(entry);
    EXPECT_EQ(i, table.top());
  }
  EXPECT_EQ(1000u, table.size());
  for (std::size_t i = 0; i < 1000; ++i) {
    EXPECT_EQ(places[i], &table[i]);
    EXPECT_EQ(static_cast<int>(i), table[i]);
  }
  for (int i = 0; i < 500; ++i) table.pop();
  EXPECT_EQ(499, table.top());
  const std::uint64_t before = allocations;
  for (int i = 0; i < 500; ++i) ASSERT_NE(nullptr, table.append());  // segments are still there
  EXPECT_EQ(before, allocations);
  EXPECT_EQ(places[700], &table[700]);
}

TEST(GuardMemory, TableNeedsNoHeapWhileSmallAndGivesItBack) {
  const std::uint64_t blocks = liveBlocks;
  guard::Table<int> table;
  for (std::size_t i = 0; i < guard::Table<int>::kSegment; ++i) table.append();
  EXPECT_EQ(blocks, liveBlocks);
  table.append();
  EXPECT_EQ(blocks + 2, liveBlocks);
  table.clear();
  EXPECT_EQ(blocks, liveBlocks);
  EXPECT_TRUE(table.empty());
  for (int i = 0; i < 70; ++i) *table.append() = i;
  EXPECT_EQ(69, table[69]);
}

TEST(GuardMemory, TableIsBoundedAndSurvivesFailures) {
  guard::Table<int, 3> table;
  for (int i = 0; i < 64 * 4; ++i) ASSERT_NE(nullptr, table.append());
  EXPECT_EQ(nullptr, table.append());
  EXPECT_EQ(64u * 4, table.size());

  guard::Table<int> other;
  for (int i = 0; i < 64; ++i) *other.append() = i;
  for (const std::uint64_t failing : {0u, 1u}) {  // the directory, the segment
    failingAllocation = allocations + failing;
    EXPECT_EQ(nullptr, other.append());
    failingAllocation = kNoFailure;
    EXPECT_EQ(64u, other.size());
    EXPECT_EQ(63, other.top());
  }
  EXPECT_NE(nullptr, other.append());
}

// ---- Charging ----------------------------------------------------------------------------------

TEST(GuardMemory, BlocksAreRoundedUp) {
  EXPECT_EQ(0u, guard::block(0));
  EXPECT_EQ(32u, guard::block(1));
  EXPECT_EQ(32u, guard::block(16));
  EXPECT_EQ(48u, guard::block(17));
  // From 128 KiB on, whole pages, with two headers of 8 bytes; 32-bit programs align once more.
  constexpr unsigned kLastOfThePage = sizeof(void*) < 8 ? 135128 : 135144;
  EXPECT_EQ(131072u, guard::block(131048));
  EXPECT_EQ(131072u + 4096, guard::block(131049));
  EXPECT_EQ(131072u + 4096, guard::block(kLastOfThePage));
  EXPECT_EQ(131072u + 8192, guard::block(kLastOfThePage + 1));
  EXPECT_EQ(0x100001000u, guard::block(0xFFFFFFFF));
}

TEST(GuardMemory, SumsStay) {
  constexpr std::uint64_t kEndless = guard::kEndless;
  EXPECT_EQ(kEndless, guard::plus(kEndless, std::uint64_t{1}));
  EXPECT_EQ(kEndless, guard::plus(kEndless, kEndless));
  EXPECT_EQ(kEndless - 1, guard::plus(kEndless - 2, std::uint64_t{1}));
  EXPECT_EQ(kEndless, guard::plus(kEndless - 1, std::uint64_t{1}));
  EXPECT_EQ(7u, guard::since(std::uint64_t{3}, std::uint64_t{10}));
  EXPECT_EQ(kEndless, guard::since(std::uint64_t{3}, kEndless));
  EXPECT_EQ(kEndless, guard::since(std::uint64_t{3}, kEndless + 5));
  EXPECT_EQ(kEndless - 1, guard::shown(kEndless - 1));
  EXPECT_EQ(UINT64_MAX, guard::shown(kEndless));
  EXPECT_EQ(UINT64_MAX, guard::largest(UINT64_MAX));
  EXPECT_EQ(kEndless - 1, guard::largest(UINT64_MAX - 1));
  EXPECT_EQ(kEndless - 1, guard::largest(kEndless));
  EXPECT_EQ(kEndless - 1, guard::largest(kEndless - 1));
  EXPECT_EQ(5u, guard::largest(5));
  EXPECT_EQ(UINT32_MAX, guard::plus(UINT32_MAX, 1u));
  EXPECT_EQ(UINT32_MAX, guard::plus(UINT32_MAX - 1, 1u));
  EXPECT_EQ(3u, guard::plus(1u, 2u));
  EXPECT_EQ(UINT32_MAX, guard::since(1u, UINT32_MAX));
  EXPECT_EQ(2u, guard::since(1u, 3u));
}

TEST(GuardMemory, TreeBytesAreTheSumOfTheBlocks) {
  using guard::block;
  const std::uint64_t package = block(sizeof(AMFPackage)) + 40;
  EXPECT_EQ(package, verify(hex("0003 0000 0000")).treeBytes);
  const std::uint64_t string = block(sizeof(AMFString));
  const std::uint64_t slot = 2 * sizeof(void*);
  const std::uint64_t envelope =
      package + slot + block(sizeof(AMFMessage)) + 2 * (string + block(1));
  struct Sum {
    const char* value;
    std::uint64_t bytes, copied;
  };
  const std::uint64_t pair = block(sizeof(AMFPair)) + slot;
  const std::uint64_t object = block(sizeof(AMFObject)) + 40 + string;
  const std::uint64_t array = block(sizeof(AMFArray)) + 40;
  const std::uint64_t null = block(sizeof(AMFNull));
  const Sum kSums[] = {
      {"05", null, 0},
      {"09", block(sizeof(AMFUndefined)), 0},
      {"00 0000000000000000", block(sizeof(AMFDouble)), 0},
      {"01 00", block(sizeof(AMFBool)), 0},
      {"0B 0000000000000000 0000", block(sizeof(AMFDate)), 0},
      {"0F 00000011 (61)*17", block(sizeof(AMFXML)) + 48, 0},
      {"11 04 00", block(sizeof(AMFInt)), 0},
      {"11 0C 03 00", block(sizeof(AMFRaw)) + 32, 0},
      {"0A 00000002 05 05", array + 2 * (slot + null), 0},
      {"03 0001 'a' 05 000009", object + pair + string + 32 + null, 0},
      {"10 0001 'C' 000009", object + 32, 0},
      {"0A 00000002 0A 00000001 05 07 0000", 3 * array + 4 * slot + 2 * null, array + slot + null},
      {"11 09 05 01 06 03 'a' 06 00", array + 2 * (slot + string + 32), string + 32},
      {"11 0A 13 03 'C' 03 'a' 01", object + 32 + pair + string + 32 + null, 0},
      {"11 09 05 01 0A 13 03 'C' 03 'a' 01 0A 01 01",
       array + 2 * (slot + object + 32 + pair + string + 32 + null),
       string + 32 + pair + string + 32},
      {"11 0A 07 43 'flex.messaging.io.ArrayCollection' 01", object + 64 + pair + string + null, 0},
  };
  for (const Sum& row : kSums) {
    SCOPED_TRACE(row.value);
    const AMFVerifyResult result = verify(packetOf(row.value));
    EXPECT_EQ(Status::ok, result.status);
    EXPECT_EQ(envelope + row.bytes, result.treeBytes);
    EXPECT_EQ(row.copied, result.copiedBytes);
  }
  EXPECT_EQ(package + slot + block(sizeof(AMFHeader)) + string + 32 + null,
            verify(hex("0000 0001 0001 'h' 00 FFFFFFFF 05 0000")).treeBytes);
}

struct Bulk {
  const char* name;
  std::string packet;
};

std::vector<Bulk> bulk() {
  return {
      {"nulls", packetWith(hex("0A 00009C40") + std::string(40000, '\x05'))},
      {"AMF0 objects",
       packetWith(hex("0A 00002710") + repeat(hex("03 0001 'a' 05 000009"), 10000))},
      {"AMF3 objects, own traits", packetWith(hex("11 09") + u29(10000 << 1 | 1) + hex("01") +
                                              repeat(hex("0A 13 01 03 'a' 01"), 10000))},
      {"AMF3 objects, one traits", traitsBomb(50, 500)},
      {"AMF3 arrays",
       packetWith(hex("11 09") + u29(10000 << 1 | 1) + hex("01") + repeat(hex("09 01 01"), 10000))},
      {"dates", packetWith(hex("11 09") + u29(10000 << 1 | 1) + hex("01") +
                           repeat(hex("08 01 0000000000000000"), 10000))},
      {"strings", packetWith(hex("11 09") + u29(10000 << 1 | 1) + hex("01") +
                             repeat(hex("06 03 'a'"), 10000))},
      {"long string", stringBomb(100000, 50)},
      {"AMF3 doubling", doubling3(12)},
      {"AMF0 doubling", doubling0(12)},
      {"chain", referenceChain(300)},
      {"nested", packetWith(repeat(hex("0A 00000001"), 900) + hex("05"))},
  };
}

// ---- The guard's own memory

TEST(GuardMemory, SmallPacketsNeedNone) {
  const std::string packet = packetOf("0A 00000002 03 0001 'a' 05 000009 11 0A 13 01 03 'a' 01");
  const std::uint64_t before = allocations;
  EXPECT_EQ(Status::ok, verify(packet).status);
  EXPECT_EQ(before, allocations);
}

TEST(GuardMemory, StaysBelow64BytesForEachEntryAndLevel) {
  struct Bound {
    const char* name;
    std::string packet;
    std::uint64_t entries;  // containers, entries of the AMF3 tables, levels of depth
  };
  const auto list3 = [](const char* element, std::uint32_t count) {
    return packetWith(hex("11 09") + u29(count << 1 | 1) + hex("01") + repeat(hex(element), count));
  };
  std::vector<Bound> bounds;
  for (const std::uint32_t count : {64u, 65u, 66u, 127u, 128u, 129u, 193u, 257u, 1000u, 40000u}) {
    bounds.push_back(
        {"AMF0 arrays",
         packetWith(hex("0A") + u32(count - 1) + repeat(hex("0A 00000000"), count - 1)),
         count + 2});
    bounds.push_back({"AMF3 arrays", list3("09 01 01", count - 1), count + 2});
    bounds.push_back({"AMF3 dates", list3("08 01 0000000000000000", count - 1), count + 1});
    bounds.push_back({"AMF3 strings", list3("06 03 'a'", count), count + 2});
    bounds.push_back({"AMF3 traits", list3("0A 03 01", count - 1), 2 * count + 1});
    bounds.push_back(
        {"nested", packetWith(repeat(hex("0A 00000001"), count) + hex("05")), 2 * count});
    bounds.push_back({"nested",
                      packetWith(hex("11") + repeat(hex("0A 13 01 00"), 0) +
                                 repeat(hex("09 03 01"), count) + hex("01")),
                      2 * count});
  }
  for (const Bound& row : bounds) {
    SCOPED_TRACE(std::string(row.name) + " " + std::to_string(row.entries));
    const std::uint64_t before = peakBytes = liveBytes;
    EXPECT_EQ(Status::ok, verify(row.packet, AMFVerifyLimits::unlimited()).status);
    EXPECT_LE(peakBytes - before, 64 * row.entries);
    EXPECT_EQ(before, liveBytes);
  }
}

TEST(GuardMemory, OnlyReachableAMF0EntriesAreKept) {
  const std::string packet =
      packetWith(hex("0A 000186A0") + repeat(hex("0A 00000000"), 99999) + hex("07 FFFF"));
  const std::uint64_t before = peakBytes = liveBytes;
  EXPECT_EQ(Status::ok, verify(packet).status);
  EXPECT_LE(peakBytes - before, 64u * 65536);
}

TEST(GuardMemory, SectionsDoNotAddUp) {
  // Each message fills another table.
  const std::string elements[] = {hex("06 03 'a'"), hex("09 01 01"), hex("0A 03 01"),
                                  hex("08 01 0000000000000000")};
  constexpr std::uint32_t kCount = 20000;
  std::string packet = hex("0000 0000 0005 0000 0000 FFFFFFFF 0A") + u32(kCount) +
                       repeat(hex("0A 00000000"), kCount);
  for (const std::string& element : elements) {
    packet += hex("0000 0000 FFFFFFFF 11 09") + u29(kCount << 1 | 1) + hex("01") +
              repeat(element, kCount);
  }
  const std::uint64_t before = peakBytes = liveBytes;
  EXPECT_EQ(Status::ok, verify(packet).status);
  EXPECT_LE(peakBytes - before,
            64u * 2 * (kCount + 2));  // objects with their traits are the largest
}

TEST(GuardMemory, FailureIsAStatus) {
  for (const Bulk& row : bulk()) {
    SCOPED_TRACE(row.name);
    const AMFVerifyResult whole = verify(row.packet, AMFVerifyLimits::unlimited());
    const std::uint64_t blocks = liveBlocks;
    const std::uint64_t start = allocations;
    verify(row.packet, AMFVerifyLimits::unlimited());
    const std::uint64_t needed = allocations - start;
    std::size_t lastOffset = 0;
    for (const bool on : {false, true}) {
      for (std::uint64_t i = 0; i < needed; i += i < 20 ? 1 : 1 + needed / 20) {
        failingAllocation = allocations + i;
        failsOn = on;
        const AMFVerifyResult result = verify(row.packet, AMFVerifyLimits::unlimited());
        failingAllocation = kNoFailure;
        failsOn = false;
        ASSERT_EQ(Status::outOfMemory, result.status);
        ASSERT_STREQ("out of memory", result.message);
        ASSERT_EQ(0u, result.section);
        ASSERT_LE(result.offset, row.packet.size());
        ASSERT_EQ(result.offset, result.consumed);
        ASSERT_EQ(blocks, liveBlocks);
        lastOffset = std::max(lastOffset, result.offset);
      }
    }
    EXPECT_LE(lastOffset, whole.consumed);
    EXPECT_EQ(Status::ok, verify(row.packet, AMFVerifyLimits::unlimited()).status);
  }
}

TEST(GuardMemory, ParseVerifiedReportsBothKindsOfFailure) {
  const std::string packet = packetWith(repeat(hex("0A 00000001"), 64) + hex("05") + hex(""));
  AMFProtocol protocol;
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  const std::string many = bulk()[1].packet;
  AMFVerifyResult result;
  failingAllocation = allocations;
  EXPECT_EQ(nullptr, parseVerified(protocol, many.data(), many.size(), AMFVerifyLimits(), &result));
  failingAllocation = kNoFailure;
  EXPECT_EQ(Status::outOfMemory, result.status);
  EXPECT_NE(nullptr, protocol.package);
  // The guard needs nothing for this one: what fails is the tree.
  failingAllocation = allocations;
  EXPECT_THROW(parseVerified(protocol, packet.data(), packet.size(), AMFVerifyLimits(), &result),
               std::bad_alloc);
  failingAllocation = kNoFailure;
  EXPECT_EQ(Status::ok, result.status);
}

// ---- The packet's memory

TEST(GuardMemory, ReadsNothingOutsideThePacketAndWritesNothing) {
  const char* const values[] = {
      "02 FFFF 'A'",
      "0C FFFFFFFF 'A'",
      "0A FFFFFFFF 05 05",
      "11 06 80 80 80 FF",
      "11 04 FF FF FF",
      "0B 0000000000000000",
      "03 0001 'a'",
      "08 00000001 0000",
      "11 0A FF FF FF F3 01",
      "0A 00000003 03 0001 'a' 05 000009 11 0A 1B 03 'C' 03 'a' 06 00 03 'd' 08 01 "
      "0000000000000000 01 "
      "07 0000",
      "11 0A 07 43 'flex.messaging.io.ArrayCollection' 09 05 01 0C 03 00 0C 04",
  };
  for (const char* const value : values) {
    SCOPED_TRACE(value);
    const std::string packet = packetOf(value);
    FencedPages pages(packet.size());
    for (std::size_t length = 0; length <= packet.size(); ++length) {
      for (const bool atEnd : {true, false}) {
        const char* const place = pages.hold(packet.substr(0, length), atEnd);
        const AMFVerifyResult fenced = verifyPacket(place, length, AMFVerifyLimits::unlimited());
        const AMFVerifyResult plain =
            verifyPacket(packet.data(), length, AMFVerifyLimits::unlimited());
        ASSERT_EQ(plain.status, fenced.status);
        ASSERT_EQ(plain.offset, fenced.offset);
        if (fenced.status != Status::ok) continue;
        AMFProtocol protocol;
        protocol.parse(place);
        ASSERT_EQ(place + fenced.consumed, protocol.readCursor);
      }
    }
  }
}

// The reader knows no end: what the check lets pass must not need to know one.
TEST(GuardMemory, ReaderStaysInsideWhatWasChecked) {
  GuardGenerator generator(12);
  AMFProtocol protocol;
  int read = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string& packet = generator.next();
    const AMFVerifyResult checked = verify(packet);
    if (checked.status != Status::ok) continue;
    FencedPages pages(checked.consumed);
    const char* const place = pages.hold(packet.substr(0, checked.consumed), true);
    protocol.parse(place);
    ASSERT_EQ(place + checked.consumed, protocol.readCursor);
    ++read;
  }
  EXPECT_GT(read, 4000);
}

}  // namespace
