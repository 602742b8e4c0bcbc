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
std::uint64_t failures = 0;

namespace {

bool fails() {
  const std::uint64_t number = allocations++;
  if (number < failingAllocation || (number > failingAllocation && !failsOn)) return false;
  ++failures;
  return true;
}

// Returns null on failure. `alignment` 0: the default alignment.
void* allocate(std::size_t size, std::size_t alignment) noexcept {
  if (fails()) return nullptr;
  if (size == 0) size = 1;
  void* const block =
      alignment == 0
          ? std::malloc(size)
          : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (!block) return nullptr;
  liveBytes += malloc_usable_size(block);
  peakBytes = std::max(peakBytes, liveBytes);
  ++liveBlocks;
  return block;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
  if (void* const block = allocate(size, alignment)) return block;
  throw std::bad_alloc();
}

void release(void* block) noexcept {
  if (!block) return;
  liveBytes -= malloc_usable_size(block);
  --liveBlocks;
  std::free(block);
}

}  // namespace
}  // namespace support

using support::allocate;
using support::allocateOrThrow;
using support::release;

void* operator new(std::size_t size) {
  return allocateOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size, 0);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept {
  release(block);
}
void operator delete[](void* block) noexcept {
  release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
  release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  release(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
  release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
  release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
  release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
  release(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  release(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  release(block);
}
