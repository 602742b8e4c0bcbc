// SPDX-License-Identifier: Apache-2.0
#include "support/counted_heap.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace support {

std::uint64_t liveBytes = 0;
std::uint64_t peakBytes = 0;
std::uint64_t liveBlocks = 0;
std::uint64_t allocations = 0;
std::uint64_t failingAllocation = kNoFailure;
bool failsOn = false;

namespace {

void* allocate(std::size_t size) {
  const std::uint64_t number = allocations++;
  if (number == failingAllocation || (failsOn && number > failingAllocation)) return nullptr;
  void* const block = std::malloc(size ? size : 1);
  if (!block) return nullptr;
  liveBytes += malloc_usable_size(block);
  peakBytes = std::max(peakBytes, liveBytes);
  ++liveBlocks;
  return block;
}

void release(void* block) {
  if (!block) return;
  liveBytes -= malloc_usable_size(block);
  --liveBlocks;
  std::free(block);
}

}  // namespace
}  // namespace support

void* operator new(std::size_t size) {
  if (void* const block = support::allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return support::allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return support::allocate(size);
}
void operator delete(void* block) noexcept {
  support::release(block);
}
void operator delete[](void* block) noexcept {
  support::release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  support::release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  support::release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  support::release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  support::release(block);
}
