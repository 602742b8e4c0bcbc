// SPDX-License-Identifier: Apache-2.0
//
// Replaces operator new. Tested by tests/tool/hostile_test.cpp.
#include "tool/run/allocation_limit.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t maxBlockBytes = SIZE_MAX;
thread_local bool isExceeded = false;

}  // namespace

AllocationLimit::AllocationLimit(std::size_t maxBytes) {
  isExceeded = false;
  maxBlockBytes = maxBytes;
}

AllocationLimit::~AllocationLimit() {
  maxBlockBytes = SIZE_MAX;
}

bool AllocationLimit::wasExceeded() const {
  return isExceeded;
}

// All overloads but those for types with extended alignment, which texts do not use.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (size <= maxBlockBytes) return std::malloc(size != 0 ? size : 1);
  isExceeded = true;
  return nullptr;
}

void* operator new(std::size_t size) {
  if (void* const block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();  // the program sets no new-handler
}

void* operator new[](std::size_t size) {
  return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return operator new(size, std::nothrow);
}

void operator delete(void* block) noexcept {
  std::free(block);
}

void operator delete[](void* block) noexcept {
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
  std::free(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
