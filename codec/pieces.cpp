// SPDX-License-Identifier: Apache-2.0
//
// The store of pieces, and AMFOutputChunks, which lists them; pieces.h explains the layout.
// Tested by tests/codec/output_chunks_test.cpp.
#include "codec/pieces.h"

#include <algorithm>
#include <stdexcept>

namespace amf2json {

namespace {

// Limits of what release() caches for the next packet.
constexpr std::size_t kCachedBlocks = 64;
constexpr std::size_t kCachedChunks = 65536;

}  // namespace

Pieces::Pieces(const Pieces& source) {
  for (std::size_t i = 0; i < source.runCount(); ++i) {
    const Run run = source.runAt(i);
    if (run.isLarge) {
      add({run.bytes, run.length});
      continue;
    }
    for (std::uint32_t at = 0; at < run.length;) {
      const Chunk chunk{run.bytes + at, piece::lengthAt(run.bytes + at)};
      add(chunk);
      at += chunk.length;
    }
  }
}

void Pieces::add(const Chunk& chunk) {
  if (!piece::isSmall(chunk.length)) {
    close(addLarge(next, chunk.bytes, chunk.length));
    return;
  }
  char* out = next;
  if (static_cast<std::size_t>(blockEnd - out) < chunk.length) out = startBlock(out);
  close(piece::bytes(out, chunk.bytes, chunk.length));
}

char* Pieces::startBlock(char* out) {
  close(out);
  if (blocksUsed == blocks.size()) {
    std::unique_ptr<char[]> block(new char[2 * piece::kBlockBytes]);
    blocks.push_back(std::move(block));
  }
  endRun();
  runStart = next = blocks[blocksUsed++].get();
  blockEnd = next + piece::kBlockBytes;
  return next;
}

char* Pieces::addLarge(char* out, const char* bytes, std::uint32_t length) {
  close(out);
  std::unique_ptr<char[]> own(new char[length]);
  std::memcpy(own.get(), bytes, length);
  large.push_back(std::move(own));
  endRun();
  runs.push_back({large.back().get(), length, true});
  return out;
}

void Pieces::endRun() {
  if (next == runStart) return;
  runs.push_back(runAt(runs.size()));
  runStart = next;
}

Pieces::Run Pieces::runAt(std::size_t index) const noexcept {
  if (index < runs.size()) return runs[index];
  return {runStart, static_cast<std::uint32_t>(next - runStart), false};
}

std::uint64_t Pieces::total() const noexcept {
  std::uint64_t bytes = 0;
  for (std::size_t i = 0; i < runCount(); ++i) bytes += runAt(i).length;
  return bytes;
}

void Pieces::copyTo(char* to) const noexcept {
  for (std::size_t i = 0; i < runCount(); ++i) {
    const Run run = runAt(i);
    std::memcpy(to, run.bytes, run.length);
    to += run.length;
  }
}

const std::vector<Pieces::Chunk>& Pieces::list() {
  for (; listedRuns < runs.size(); ++listedRuns) {
    listRun(runs[listedRuns]);
    listedBytes = 0;
  }
  if (listedRuns < runCount()) listRun(runAt(listedRuns));  // the current run can still grow
  return listed;
}

// Lists the pieces of the run from offset `listedBytes` on.
void Pieces::listRun(const Run& run) {
  while (listedBytes < run.length) {
    const char* const first = run.bytes + listedBytes;
    const std::uint32_t length = run.isLarge ? run.length : piece::lengthAt(first);
    listed.push_back({first, length});
    listedBytes += length;
  }
}

void Pieces::resetList() noexcept {
  listed.clear();
  if (listed.capacity() > kCachedChunks) std::vector<Chunk>().swap(listed);
  listedRuns = 0;
  listedBytes = 0;
}

void Pieces::release() noexcept {
  resetList();
  runs.clear();
  large.resize(abandonedLarge);
  blocks.resize(std::min(blocks.size(), abandonedBlocks + kCachedBlocks));
  blocksUsed = abandonedBlocks;
  runStart = next = abandonedEnd;
  blockEnd = blocksUsed > 0 ? blocks[blocksUsed - 1].get() + piece::kBlockBytes : nullptr;
}

void Pieces::abandon() noexcept {
  abandonedBlocks = blocksUsed;
  abandonedEnd = next;
  abandonedLarge = large.size();
  release();
}

void Pieces::abandonWith(std::unique_ptr<Pieces> older) noexcept {
  older->release();
  olderPieces = std::move(older);
}

}  // namespace amf2json

using namespace amf2json;

AMFOutputChunks::AMFOutputChunks() : pieces(std::make_unique<Pieces>()) {}
AMFOutputChunks::~AMFOutputChunks() = default;

AMFOutputChunks::AMFOutputChunks(const AMFOutputChunks& source)
    : pieces(std::make_unique<Pieces>(*source.pieces)) {}

AMFOutputChunks& AMFOutputChunks::operator=(const AMFOutputChunks& source) {
  if (this == &source) return *this;
  auto copied = std::make_unique<Pieces>(*source.pieces);
  copied->abandonWith(std::move(pieces));
  pieces = std::move(copied);
  return *this;
}

bool AMFOutputChunks::empty() const noexcept {
  return pieces->isEmpty();
}

AMFOutputChunks::const_iterator AMFOutputChunks::begin() const {
  return pieces->list().data();
}

AMFOutputChunks::const_iterator AMFOutputChunks::end() const {
  const std::vector<Chunk>& list = pieces->list();
  return list.data() + list.size();
}

const AMFOutputChunks::Chunk& AMFOutputChunks::at(std::size_t index) const {
  return pieces->list().at(index);
}
