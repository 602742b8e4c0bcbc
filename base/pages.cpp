// SPDX-License-Identifier: Apache-2.0
//
// Aligned pages: from mmap, or on Windows from the aligned heap. Enter at takePages(). Tested by
// tests/memory/node_pool_test.cpp.
#include "base/pages.h"

#ifdef _WIN32
#include <malloc.h>

void* amf2json::takePages(std::size_t size) noexcept {
  return _aligned_malloc(size, size);
}
void amf2json::returnPages(void* pages, std::size_t) noexcept {
  _aligned_free(pages);
}

#else
#include <sys/mman.h>

#include <cstdint>

namespace {

void* mapPages(std::size_t size) noexcept {
  void* const pages =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages == MAP_FAILED ? nullptr : pages;
}

bool isAligned(const void* pages, std::size_t size) {
  return (reinterpret_cast<std::uintptr_t>(pages) & (size - 1)) == 0;
}

}  // namespace

void* amf2json::takePages(std::size_t size) noexcept {
  // A plain mapping is tried first: after an aligned mapping, the next one is usually aligned too.
  void* const pages = mapPages(size);
  if (!pages || isAligned(pages, size)) return pages;
  munmap(pages, size);
  // Otherwise maps twice the size, and unmaps what is before and after the aligned part.
  char* const wide = static_cast<char*>(mapPages(2 * size));
  if (!wide) return nullptr;
  const std::size_t past = reinterpret_cast<std::uintptr_t>(wide) & (size - 1);
  const std::size_t front = past == 0 ? 0 : size - past;
  if (front > 0) munmap(wide, front);
  munmap(wide + front + size, size - front);
  return wide + front;
}

void amf2json::returnPages(void* pages, std::size_t size) noexcept {
  // munmap fails if it would create more separate mappings than the system allows. Then madvise
  // returns the memory, and only the addresses stay reserved.
  if (munmap(pages, size) != 0) madvise(pages, size, MADV_DONTNEED);
}

#endif
