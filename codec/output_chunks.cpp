// SPDX-License-Identifier: Apache-2.0
//
// The pieces that the writers make. Their bytes are cut from shared blocks that never move, so a
// piece costs a copy and an entry; a large one gets a block of its own. Tested by
// tests/output_chunks_test.cpp.
#include <cstring>

#include "AMF2JSON.h"

namespace {

constexpr std::size_t kBlockBytes = 16384;
constexpr std::size_t kOwnBlockFrom = 1024;

}  // namespace

AMFOutputChunks::AMFOutputChunks() = default;
AMFOutputChunks::~AMFOutputChunks() = default;

// `length` fresh bytes that stay where they are until the piece is released.
char* AMFOutputChunks::room(std::uint32_t length) {
  if (length > blockLeft) {
    if (length >= kOwnBlockFrom) {
      blocks.emplace_back(new char[length]);
      return blocks.back().get();
    }
    blocks.emplace_back(new char[kBlockBytes]);
    blockNext = blocks.back().get();
    blockLeft = kBlockBytes;
  }
  char* const bytes = blockNext;
  blockNext += length;
  blockLeft -= length;
  return bytes;
}

void AMFOutputChunks::append(const void* bytes, std::uint32_t length) {
  char* const copy = room(length);
  std::memcpy(copy, bytes, length);
  listed.push_back({copy, length});
}

void AMFOutputChunks::release() noexcept {
  listed.clear();
  blocks.clear();
  blockNext = nullptr;
  blockLeft = 0;
}

void AMFOutputChunks::abandon() {
  abandoned.reserve(abandoned.size() + blocks.size());
  for (auto& block : blocks) abandoned.push_back(std::move(block));
  release();
}
