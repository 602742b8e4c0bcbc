// SPDX-License-Identifier: Apache-2.0
//
// The output chunks: their order, their stable addresses, what clean(), a second compile() and the
// destructor release, and the state after a failed allocation. The program counts its allocations.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "support/counted_heap.h"
#include "support/hex.h"
#include "support/pieces.h"
#include "support/trees.h"

namespace {

using namespace trees;
using support::liveBlocks;
using support::liveBytes;
using support::pieces;

// Lets `count` allocations pass and fails all further ones, while it lives.
class FailingAfter {
 public:
  explicit FailingAfter(std::size_t count) {
    support::failAllocation(count, support::Failing::fromThenOn);
  }
  ~FailingAfter() { support::failNothing(); }
  FailingAfter(const FailingAfter&) = delete;
  FailingAfter& operator=(const FailingAfter&) = delete;
};

// Small and large pieces, both versions, references.
std::unique_ptr<AMFPackage> samplePackage(std::size_t largeBytes = 5000) {
  return std::unique_ptr<AMFPackage>(
      package(k3, {header("h", array(k3, {string(k3, "a"), reference(string(k3, "a"), 0)}), true),
                   message("target", "/1",
                           array(k0,
                                 {raw(k3, std::string(largeBytes, 'r')), number(k0, 1),
                                  string(k0, std::string(largeBytes, 's')),
                                  object(k0, "C", {member(k0, "m", date(k0, 2))})},
                                 1))}));
}

std::string result(const AMFProtocol& protocol) {
  return std::string(protocol.resultBuffer, protocol.getResultLength());
}

TEST(OutputChunks, AFreshObjectHasNone) {
  const AMFProtocol protocol;
  EXPECT_TRUE(protocol.outputChunks.empty());
  EXPECT_EQ(protocol.outputChunks.size(), 0u);
  EXPECT_EQ(protocol.outputChunks.begin(), protocol.outputChunks.end());
}

TEST(OutputChunks, InOrderWithBytesAndLengths) {
  AMFProtocol protocol;
  const AMFDouble number(k0);
  const std::unique_ptr<AMFString> text(string(k0, "abc"));
  protocol.setAMF0Double(&number);
  protocol.setAMF0String(text.get(), true, AMFProtocol::AMF0_LONG_STRING);
  protocol.setAMF0Reference(7);
  std::vector<std::uint32_t> lengths;
  for (const auto& piece : protocol.outputChunks) lengths.push_back(piece.length);
  EXPECT_EQ(lengths, (std::vector<std::uint32_t>{1, 8, 1, 4, 3, 1, 2}));
  EXPECT_EQ(protocol.outputChunks.size(), 7u);
  EXPECT_FALSE(protocol.outputChunks.empty());
  EXPECT_EQ(pieces(protocol), "00|00 00 00 00 00 00 00 00|0C|00 00 00 03|61 62 63|07|00 07");
}

TEST(OutputChunks, BytesAreCopies) {
  AMFProtocol protocol;
  {
    const std::unique_ptr<AMFRaw> bytes(raw(k3, "xyz"));
    protocol.setByteArray(bytes.get());
    bytes->data[0] = '!';
  }
  EXPECT_EQ(pieces(protocol), "78 79 7A");
}

TEST(OutputChunks, BytesNeverMoveWhileListed) {
  AMFProtocol protocol;
  std::vector<const char*> addresses;  // of the pieces listed at the last look
  const std::unique_ptr<AMFRaw> large(raw(k3, std::string(3000, 'L')));
  const std::unique_ptr<AMFRaw> medium(raw(k3, std::string(700, 'M')));
  for (unsigned i = 0; i < 100000; ++i) {
    if (i % 1000 == 999) {
      protocol.setByteArray(large.get());
    } else if (i % 1000 == 499) {
      protocol.setByteArray(medium.get());
    } else {
      protocol.setVLInteger(i & 0x3F);
    }
    if (i % 5000 != 4999) continue;
    std::size_t known = 0;
    for (const auto& piece : protocol.outputChunks) {
      if (known == addresses.size()) addresses.push_back(piece.bytes);
      ASSERT_EQ(piece.bytes, addresses[known]) << known;
      const unsigned j = static_cast<unsigned>(known++);
      const unsigned in = j % 1000;
      ASSERT_EQ(piece.length, in == 999 ? 3000u : in == 499 ? 700u : 1u) << j;
      const char first = in == 999 ? 'L' : in == 499 ? 'M' : static_cast<char>(j & 0x3F);
      ASSERT_EQ(piece.bytes[0], first) << j;
      ASSERT_EQ(piece.bytes[piece.length - 1], first) << j;
    }
    ASSERT_EQ(known, i + 1);
    ASSERT_EQ(protocol.outputChunks.size(), i + 1);
  }
}

// A piece of each length around the steps in how lengths are kept.
TEST(OutputChunks, EveryLength) {
  for (const std::uint32_t length : {1u, 2u, 254u, 255u, 256u, 257u, 1022u, 1023u, 1024u, 1025u}) {
    AMFProtocol protocol;
    const std::unique_ptr<AMFRaw> bytes(raw(k3, std::string(length, 'b')));
    for (int i = 0; i < 40; ++i) protocol.setByteArray(bytes.get());
    std::size_t count = 0;
    for (const auto& piece : protocol.outputChunks) {
      ASSERT_EQ(piece.length, length);
      ASSERT_EQ(std::string(piece.bytes, piece.length), std::string(length, 'b'));
      ++count;
    }
    EXPECT_EQ(count, 40u) << length;
  }
}

TEST(OutputChunks, IteratorsMoveBothWaysOfIncrement) {
  AMFProtocol protocol;
  const AMFDouble number(k0);
  protocol.setAMF0Double(&number);
  auto it = protocol.outputChunks.begin();
  const auto first = it++;
  EXPECT_EQ(first->length, 1u);
  EXPECT_EQ(it->length, 8u);
  EXPECT_NE(first, it);
  EXPECT_EQ(++it, protocol.outputChunks.end());
}

TEST(OutputChunks, PiecesOutliveTheJoining) {
  AMFProtocol protocol;
  const auto tree = samplePackage();
  protocol.compile(tree.get());
  delete[] protocol.resultBuffer;
  protocol.loseResultBuffer();
  EXPECT_EQ(support::written(protocol).substr(0, 2), support::hex("0003"));
}

TEST(OutputChunks, CleanAfterEachCompileKeepsMemoryFlat) {
  const auto tree = samplePackage();
  AMFProtocol protocol;
  protocol.compile(tree.get());
  protocol.clean();
  const std::uint64_t before = liveBytes;
  for (int i = 0; i < 1000; ++i) {
    protocol.compile(tree.get());
    protocol.clean();
    ASSERT_EQ(liveBytes, before) << "after compile " << i;
  }
}

TEST(OutputChunks, CleanReleasesWhatItLists) {
  const auto tree = samplePackage(100000);
  AMFProtocol protocol;
  const std::uint64_t before = liveBytes;
  protocol.compile(tree.get());
  EXPECT_GT(liveBytes, before + 400000);  // the pieces and the joined packet
  protocol.clean();
  EXPECT_LT(liveBytes, before + 250000);
}

// A second compile lists anew. What the first one listed keeps its bytes until the object goes.
TEST(OutputChunks, WithoutCleanTheEarlierPiecesAreKept) {
  const auto tree = samplePackage();
  const std::uint64_t outside = liveBlocks;
  {
    AMFProtocol protocol;
    std::vector<std::vector<AMFOutputChunks::Chunk>> runs;
    std::uint64_t lastLive = 0;
    for (int i = 0; i < 50; ++i) {
      protocol.compile(tree.get());
      EXPECT_EQ(protocol.outputChunks.size(),
                runs.empty() ? protocol.outputChunks.size() : runs[0].size());
      runs.emplace_back(protocol.outputChunks.begin(), protocol.outputChunks.end());
      EXPECT_GT(liveBytes, lastLive + 10000) << "the pieces of run " << i << " are held";
      lastLive = liveBytes;
    }
    const std::string bytes = result(protocol);
    protocol.clean();  // the listed ones only
    runs.pop_back();
    for (const auto& run : runs) {
      std::string joined;
      for (const auto& piece : run) joined.append(piece.bytes, piece.length);
      EXPECT_EQ(joined, bytes);
    }
  }
  EXPECT_EQ(liveBlocks, outside);
}

TEST(OutputChunks, ARefusedCompileLeavesPiecesForClean) {
  const std::unique_ptr<AMFPackage> refused(package(
      k3, {message("t", "r", array(k0, {raw(k3, std::string(9000, 'r')), integer(k0, 1)}, 1))}));
  const std::uint64_t outside = liveBlocks;
  {
    AMFProtocol protocol;
    EXPECT_THROW(protocol.compile(refused.get()), AMFException);
    EXPECT_FALSE(protocol.outputChunks.empty());
    protocol.clean();
    EXPECT_TRUE(protocol.outputChunks.empty());
    EXPECT_THROW(protocol.compile(refused.get()), AMFException);
    EXPECT_THROW(protocol.compile(refused.get()), AMFException);
  }
  EXPECT_EQ(liveBlocks, outside);
}

// Every allocation of compile fails once: bad_alloc, the old result stays, nothing leaks, and the
// object compiles as soon as there is memory.
TEST(OutputChunks, FailingAllocations) {
  const auto tree = samplePackage();
  AMFProtocol whole;
  whole.compile(tree.get());
  const std::string expected = result(whole);
  const std::uint64_t outside = liveBlocks;
  bool succeeded = false;
  std::size_t count = 0;
  for (; !succeeded && count < 10000; ++count) {
    AMFProtocol protocol;
    try {
      const FailingAfter failing(count);
      protocol.compile(tree.get());
      succeeded = true;
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(protocol.resultBuffer, nullptr);
      EXPECT_EQ(protocol.getResultLength(), 0u);
    }
    protocol.compile(tree.get());
    ASSERT_EQ(result(protocol), expected) << "after failure " << count;
    ASSERT_EQ(support::written(protocol), expected);
  }
  EXPECT_TRUE(succeeded);
  EXPECT_GT(count, 3u) << "some allocations were there to fail";
  EXPECT_EQ(liveBlocks, outside) << "blocks leaked";
}

TEST(OutputChunks, FailingAllocationsOfALaterCompile) {
  const auto tree = samplePackage();
  const std::unique_ptr<AMFPackage> small(package(k3, {}));
  AMFProtocol whole;
  whole.compile(tree.get());
  const std::string expected = result(whole);
  const std::uint64_t outside = liveBlocks;
  bool succeeded = false;
  int earlierKept = 0;
  int earlierGone = 0;
  for (std::size_t count = 0; !succeeded && count < 10000; ++count) {
    AMFProtocol protocol;
    const char* const before = protocol.compile(small.get());
    try {
      const FailingAfter failing(count);
      protocol.compile(tree.get());
      succeeded = true;
    } catch (const std::bad_alloc&) {
      if (protocol.resultBuffer) {  // the pieces had not all been written
        EXPECT_EQ(protocol.resultBuffer, before) << count;
        EXPECT_EQ(support::toHex(std::string(before, 6)), "00 03 00 00 00 00");
        ++earlierKept;
      } else {
        EXPECT_EQ(support::written(protocol), expected) << count;
        ++earlierGone;
      }
      EXPECT_EQ(protocol.getResultLength(), 0u) << "failed after " << count << " allocations";
    }
  }
  EXPECT_TRUE(succeeded);
  EXPECT_GT(earlierKept, 0);
  EXPECT_EQ(earlierGone, 1);
  EXPECT_EQ(liveBlocks, outside) << "blocks leaked";
}

TEST(OutputChunks, FailingAllocationsOfASingleWriter) {
  const std::unique_ptr<AMFRaw> large(raw(k3, std::string(100000, 'r')));
  const std::uint64_t outside = liveBlocks;
  bool succeeded = false;
  for (std::size_t count = 0; !succeeded && count < 100; ++count) {
    AMFProtocol protocol;
    std::size_t listed = 0;
    try {
      const FailingAfter failing(count);
      protocol.setVLInteger(1);
      listed = 1;
      protocol.setByteArray(large.get());
      succeeded = true;
      listed = 2;
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(protocol.outputChunks.size(), listed) << "a failed piece is not listed";
    protocol.setVLInteger(2);
    std::vector<AMFOutputChunks::Chunk> listedNow(protocol.outputChunks.begin(),
                                                  protocol.outputChunks.end());
    ASSERT_EQ(listedNow.size(), listed + 1);
    EXPECT_EQ(listedNow.back().length, 1u);
    EXPECT_EQ(*listedNow.back().bytes, '\x02');
  }
  EXPECT_TRUE(succeeded);
  EXPECT_EQ(liveBlocks, outside) << "blocks leaked";
}

}  // namespace
