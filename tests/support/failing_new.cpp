// SPDX-License-Identifier: Apache-2.0
//
// The replaced operators. Enter at allocate() and release().
#include "support/failing_new.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace failing_new {
namespace {

std::atomic<bool> armed{false};
std::atomic<std::uint64_t> allocationCount{0};
std::atomic<std::uint64_t> failureCount{0};
std::atomic<std::uint64_t> failingCall{0};
std::atomic<bool> failsAfterwards{false};
std::atomic<std::int64_t> liveCount{0};

bool fails() {
  if (!armed) return false;
  const std::uint64_t call = allocationCount++;
  if (call < failingCall || (call > failingCall && !failsAfterwards)) return false;
  ++failureCount;
  return true;
}

// Null when it fails. `alignment` 0: the usual one.
void* allocate(std::size_t size, std::size_t alignment) noexcept {
  if (fails()) return nullptr;
  if (size == 0) size = 1;
  void* memory = nullptr;
  if (alignment == 0) {
    memory = std::malloc(size);
  } else {
    memory = std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  }
  if (memory != nullptr) ++liveCount;
  return memory;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
  void* const memory = allocate(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void release(void* memory) noexcept {
  if (memory == nullptr) return;
  --liveCount;
  std::free(memory);
}

}  // namespace

void arm(std::uint64_t call, Mode mode) {
  allocationCount = 0;
  failureCount = 0;
  failingCall = call;
  failsAfterwards = mode == Mode::fromThenOn;
  armed = true;
}

void disarm() {
  armed = false;
}

std::uint64_t allocations() {
  return allocationCount;
}

std::uint64_t failures() {
  return failureCount;
}

std::int64_t live() {
  return liveCount;
}

}  // namespace failing_new

using failing_new::allocate;
using failing_new::allocateOrThrow;
using failing_new::release;

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

void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  release(memory);
}
