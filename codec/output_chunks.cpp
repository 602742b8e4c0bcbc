// SPDX-License-Identifier: Apache-2.0
//
// The pieces that the writers make. Their bytes are cut from shared blocks that never move; a large
// piece gets a block of its own. What follows one another in memory is one run, and runs are what
// the packet is joined from. Tested by tests/output_chunks_test.cpp.
#include "codec/output_chunks.h"

namespace {

constexpr std::size_t kBlockBytes = 16384;
constexpr std::size_t kOwnBlockFrom = 1024;
// What is kept for the next packet when the pieces are released.
constexpr std::size_t kKeptBlocks = 64;
constexpr std::size_t kKeptEntries = 262144;

}  // namespace

AMFOutputChunks::AMFOutputChunks() = default;
AMFOutputChunks::~AMFOutputChunks() = default;

// A piece that the current block has no room for.
char* AMFOutputChunks::addElsewhere(std::uint32_t length) {
  runs.reserve(runs.size() + 2);
  if (length >= kOwnBlockFrom) {
    std::unique_ptr<char[]> own(new char[length]);
    large.reserve(large.size() + 1);
    listed.push_back({own.get(), length});
    endRun();
    runs.push_back({own.get(), length});
    total += length;
    large.push_back(std::move(own));
    return large.back().get();
  }
  if (blocksUsed == blocks.size()) {
    std::unique_ptr<char[]> block(new char[kBlockBytes]);
    blocks.push_back(std::move(block));
  }
  endRun();
  blockNext = runStart = blocks[blocksUsed++].get();
  blockLeft = kBlockBytes;
  return add(length);
}

// What has been cut from the current block since the last run ended.
void AMFOutputChunks::endRun() {
  if (blockNext == runStart) return;
  runs.push_back({runStart, static_cast<std::uint32_t>(blockNext - runStart)});
  runStart = blockNext;
}

void AMFOutputChunks::copyTo(char* to) {
  endRun();
  for (const Chunk& run : runs) {
    std::memcpy(to, run.bytes, run.length);
    to += run.length;
  }
}

void AMFOutputChunks::release() noexcept {
  if (listed.capacity() > kKeptEntries) std::vector<Chunk>().swap(listed);
  listed.clear();
  runs.clear();
  large.clear();
  if (blocks.size() > kKeptBlocks) blocks.resize(kKeptBlocks);
  blocksUsed = 0;
  blockNext = runStart = nullptr;
  blockLeft = 0;
  total = 0;
}

void AMFOutputChunks::abandon() {
  if (listed.empty()) return;
  abandoned.reserve(abandoned.size() + blocks.size() + large.size());
  for (auto* const held : {&blocks, &large}) {
    for (auto& block : *held) abandoned.push_back(std::move(block));
    held->clear();
  }
  release();
}
