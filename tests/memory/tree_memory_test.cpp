// SPDX-License-Identifier: Apache-2.0
//
// The heap memory of a tree in a thread that has no chunks yet, compared with what the check
// reports: the chunks of the pool, counted whole, and every other block.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "AMFGuard.h"
#include "memory/node_pool.h"
#include "support/counted_heap.h"
#include "support/packet_generator.h"
#include "support/process.h"

using namespace amf2json;

namespace {

// Heap of the tree alone: the chunks its thread has taken, and what deleting it returns.
std::uint64_t heapOf(const std::string& packet) {
  std::uint64_t heap = 0;
  std::thread([&] {
    AMFProtocol protocol;
    protocol.parse(packet.data());
    heap = chunksOfThisThread() * kChunkBytes;
    const std::uint64_t before = support::liveBytes;
    delete protocol.package;
    protocol.package = nullptr;
    heap += before - support::liveBytes;
  }).join();
  return heap;
}

void expectWithin(const std::string& packet) {
  const AMFVerifyResult checked =
      verifyPacket(packet.data(), packet.size(), AMFVerifyLimits::unlimited());
  ASSERT_EQ(checked.status, AMFVerifyStatus::ok);
  EXPECT_LE(heapOf(packet), checked.treeBytes / 8 * 9 + (128u << 10));
}

TEST(TreeMemory, SamplesStayWithinWhatTheCheckAnnounces) {
  unsigned count = 0;
  for (const auto& file : std::filesystem::directory_iterator(AMF2JSON_SAMPLES)) {
    if (file.path().extension() != ".amf") continue;
    SCOPED_TRACE(file.path().filename());
    std::ifstream in(file.path(), std::ios::binary);
    expectWithin(std::string(std::istreambuf_iterator<char>(in), {}));
    ++count;
  }
  EXPECT_GT(count, 10u);
}

TEST(TreeMemory, GeneratedPacketsStayWithinWhatTheCheckAnnounces) {
  packets::PacketGenerator generator(7);
  for (unsigned i = 0; i < 1000; ++i) {
    SCOPED_TRACE(i);
    expectWithin(generator.next().bytes);
  }
}

std::string u16(std::size_t value) {
  return {static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}
std::string u32(std::size_t value) {
  return u16(value >> 16) + u16(value);
}

// A strict array of `count` times the same value.
std::string packetOf(const std::string& value, std::size_t count) {
  std::string packet = u16(0) + u16(0) + u16(1) + u16(1) + 't' + u16(0) + u32(0xFFFFFFFF);
  packet += '\x0A' + u32(count);
  for (std::size_t i = 0; i < count; ++i) packet += value;
  return packet;
}
std::string stringOf(std::size_t length) {
  return '\x02' + u16(length) + std::string(length, 'x');
}

struct ManyRow {
  const char* name;
  std::string value;
};
const ManyRow kMany[] = {
    {"null", "\x05"},
    {"number", '\0' + std::string(8, '@')},
    {"empty string", stringOf(0)},
    {"one byte", stringOf(1)},
    {"a chunk does not take the 31st", stringOf(2041)},
    {"the longest after its node", stringOf(2048)},
    {"the shortest apart from it", stringOf(2049)},
    {"empty object", std::string("\x03\0\0\x09", 4)},
    {"object", std::string("\x03\0\1a\x05\0\1b\x05\0\0\x09", 12)},
};

TEST(TreeMemory, ManyOfOneKindStayWithinWhatTheCheckAnnounces) {
  for (const ManyRow& row : kMany) {
    SCOPED_TRACE(row.name);
    expectWithin(packetOf(row.value, 3000));
  }
}

// glibc maps blocks of about 128 KiB and more by whole pages: with the pages, the bound is exact.
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 33)

std::uint64_t bytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST(TreeMemory, MappedBlocksAreChargedByWholePages) {
  if (support::kAddressSanitizer || support::kThreadSanitizer)
    GTEST_SKIP() << "needs malloc of glibc";
  if (support::pageSize() != 4096) GTEST_SKIP() << "the bound is for pages of 4 KiB";
  mallopt(M_MMAP_THRESHOLD, 128 << 10);  // and freed blocks do not raise it
  constexpr std::size_t kCount = 100;
  for (const std::size_t length :
       {100000u, 131024u, 131032u, 131040u, 131048u, 131049u, 131050u, 131056u, 131057u, 131072u,
        135144u, 135145u, 135152u, 135153u, 135160u, 135168u, 200000u, 1000000u}) {
    SCOPED_TRACE(length);
    const std::string packet = packetOf('\x0C' + u32(length) + std::string(length, 'x'), kCount);
    const AMFVerifyResult checked =
        verifyPacket(packet.data(), packet.size(), AMFVerifyLimits::unlimited());
    AMFProtocol protocol;
    protocol.parse(packetOf("\x05", 1).data());  // the object's own tables
    const std::uint64_t before = bytesInUse();
    protocol.parse(packet.data());
    const std::uint64_t heap = bytesInUse() - before;
    EXPECT_LE(heap, checked.treeBytes);  // chunks of the pool are not in it
    EXPECT_GE(heap, checked.treeBytes / 100 * 96);
  }
}

#endif

// The storage of child lists goes from one package to the next, and is not kept beyond that.
TEST(TreeMemory, TheSamePacketAgainTakesItsListsOver) {
  if (!isPoolOn()) GTEST_SKIP() << "every node is an allocation";
  const std::string packet = packetOf(std::string("\x03\0\1a\x05\0\1b\x05\0\0\x09", 12), 3000);
  AMFProtocol protocol;
  protocol.parse(packet.data());
  protocol.parse(packet.data());
  const std::uint64_t before = support::allocations;
  protocol.parse(packet.data());
  EXPECT_LE(support::allocations, before + 2);  // the lists of the array and the package
}

TEST(TreeMemory, ListsAreNotKeptForLong) {
  const std::string small = packetOf("\x05", 1);
  const std::string large = packetOf(std::string("\x03\0\1a\x05\0\1b\x05\0\0\x09", 12), 20000);
  const auto blocksAfter = [&](unsigned largeOnes) {
    const std::uint64_t before = support::liveBlocks;
    AMFProtocol protocol;
    for (unsigned i = 0; i < largeOnes; ++i) protocol.parse(large.data());
    protocol.parse(small.data());
    return support::liveBlocks - before;
  };
  EXPECT_LE(blocksAfter(2), blocksAfter(0) + 4);  // the object's own tables
}

}  // namespace
