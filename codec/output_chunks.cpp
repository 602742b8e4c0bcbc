// SPDX-License-Identifier: Apache-2.0
//
// The pieces that the writers make. Their bytes are cut from shared blocks that never move; a large
// piece gets a block of its own. What follows one another in memory is one run, and runs are what
// the packet is joined from. Tested by tests/output_chunks_test.cpp.
#include "codec/output_chunks.h"

using namespace amf2json;

namespace {

// What is kept for the next packet when the pieces are released.
constexpr std::size_t kKeptBlocks = 64;

}  // namespace

AMFOutputChunks::AMFOutputChunks() = default;
AMFOutputChunks::~AMFOutputChunks() = default;

// When memory fails in here, what the pen has written is listed and nothing else has changed.
char* AMFOutputChunks::turnBlock(char* pen) {
  close(pen);
  if (blocksUsed == blocks.size()) {
    std::unique_ptr<char[]> block(new char[2 * piece::kBlockBytes]);
    blocks.push_back(std::move(block));
  }
  endRun();
  runStart = next = blocks[blocksUsed++].get();
  blockEnd = next + piece::kBlockBytes;
  return next;
}

// As with turnBlock when memory fails.
char* AMFOutputChunks::addLarge(char* pen, const char* bytes, std::uint32_t length) {
  close(pen);
  std::unique_ptr<char[]> own(new char[length]);
  std::memcpy(own.get(), bytes, length);
  large.push_back(std::move(own));
  endRun();
  runs.push_back({large.back().get(), length, true});
  return pen;
}

void AMFOutputChunks::endRun() {
  if (next == runStart) return;
  runs.push_back(runAt(runs.size()));
  runStart = next;
}

AMFOutputChunks::Run AMFOutputChunks::runAt(std::size_t i) const noexcept {
  if (i < runs.size()) return runs[i];
  return {runStart, static_cast<std::uint32_t>(next - runStart), false};
}

std::size_t AMFOutputChunks::size() const noexcept {
  return static_cast<std::size_t>(std::distance(begin(), end()));
}

std::uint64_t AMFOutputChunks::total() const noexcept {
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < runCount(); ++i) bytes += runAt(i).length;
  return bytes;
}

void AMFOutputChunks::copyTo(char* to) const noexcept {
  for (std::size_t i = 0; i < runCount(); ++i) {
    const Run run = runAt(i);
    std::memcpy(to, run.bytes, run.length);
    to += run.length;
  }
}

AMFOutputChunks::const_iterator AMFOutputChunks::begin() const noexcept {
  return const_iterator(this, 0);
}

AMFOutputChunks::const_iterator AMFOutputChunks::end() const noexcept {
  return const_iterator(this, runCount());
}

AMFOutputChunks::const_iterator::const_iterator(const AMFOutputChunks* owner,
                                                std::size_t firstRun) noexcept
    : chunks(owner), run(firstRun) {
  if (run < chunks->runCount()) look(chunks->runAt(run), 0);
}

// At the piece that begins so many bytes behind the start of the run.
void AMFOutputChunks::const_iterator::look(const Run& at, std::uint32_t begin) noexcept {
  offset = begin;
  piece.bytes = at.bytes + begin;
  piece.length = at.alone ? at.length : piece::lengthAt(piece.bytes);
}

AMFOutputChunks::const_iterator& AMFOutputChunks::const_iterator::operator++() noexcept {
  const Run current = chunks->runAt(run);
  const std::uint32_t behind = offset + piece.length;
  if (behind < current.length) {
    look(current, behind);
  } else {
    *this = const_iterator(chunks, run + 1);
  }
  return *this;
}

AMFOutputChunks::const_iterator AMFOutputChunks::const_iterator::operator++(int) noexcept {
  const const_iterator before = *this;
  ++*this;
  return before;
}

void AMFOutputChunks::release() noexcept {
  runs.clear();
  large.clear();
  if (blocks.size() > kKeptBlocks) blocks.resize(kKeptBlocks);
  blocksUsed = 0;
  next = blockEnd = nullptr;
  runStart = nullptr;
}

AMF2JSON_RARE void AMFOutputChunks::abandon() {
  if (empty()) return;
  abandoned.reserve(abandoned.size() + blocks.size() + large.size());
  for (auto* const held : {&blocks, &large}) {
    for (auto& block : *held) abandoned.push_back(std::move(block));
    held->clear();
  }
  release();
}
