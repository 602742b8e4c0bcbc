// SPDX-License-Identifier: Apache-2.0
//
// Read-only memory between inaccessible pages. Used by guard/memory_test.cpp and guard_sweep.cpp.
#ifndef TESTS_SUPPORT_FENCED_PAGES_H
#define TESTS_SUPPORT_FENCED_PAGES_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <new>
#include <string>

namespace support {

// A read-only page range whose end, or beginning, is followed, or preceded, by pages nobody may
// touch.
class FencedPages {
 public:
  explicit FencedPages(std::size_t size)
      : page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), capacity((size / page + 1) * page) {
    void* const all =
        mmap(nullptr, capacity + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) throw std::bad_alloc();
    first = static_cast<char*>(all) + page;
  }
  ~FencedPages() { munmap(first - page, capacity + 2 * page); }
  FencedPages(const FencedPages&) = delete;
  FencedPages& operator=(const FencedPages&) = delete;

  const char* hold(const std::string& bytes, bool atEnd) {
    mprotect(first, capacity, PROT_READ | PROT_WRITE);
    char* const place = atEnd ? first + capacity - bytes.size() : first;
    bytes.copy(place, bytes.size());
    mprotect(first, capacity, PROT_READ);
    return place;
  }

 private:
  std::size_t page;
  std::size_t capacity;
  char* first;
};

}  // namespace support

#endif  // TESTS_SUPPORT_FENCED_PAGES_H
