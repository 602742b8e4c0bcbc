// SPDX-License-Identifier: Apache-2.0
//
// The few calls beyond ISO C++. Tested by tests/render_dates_test.cpp and tests/node_pool_test.cpp.
#include "model/platform.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <malloc.h>
#include <time.h>
#else
#include <sys/mman.h>
#include <time.h>
#endif

#if defined(__ELF__) && defined(__GNUC__)
extern "C" __attribute__((weak)) void __lsan_do_leak_check();
#endif

namespace amf2json::platform {

#ifdef _WIN32

void readTimeZone() {
  _tzset();
}

bool toLocalTime(std::time_t seconds, std::tm& local) {
  return localtime_s(&local, &seconds) == 0;
}

void* takePages(std::size_t size) noexcept {
  return _aligned_malloc(size, size);
}
void givePages(void* pages, std::size_t) noexcept {
  _aligned_free(pages);
}

bool runsUnderMemoryChecker() noexcept {
  return false;
}

#else

void readTimeZone() {
  tzset();
}

bool toLocalTime(std::time_t seconds, std::tm& local) {
  return localtime_r(&seconds, &local) != nullptr;
}

namespace {

void* mapPages(std::size_t size) noexcept {
  void* const pages =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages == MAP_FAILED ? nullptr : pages;
}

// The address and leak sanitizers of a program, also where this library was built without them.
bool hasLeakChecker() {
#if defined(__ELF__) && defined(__GNUC__)
  return &__lsan_do_leak_check != nullptr;
#else
  return false;
#endif
}

bool isAligned(const void* pages, std::size_t size) {
  return (reinterpret_cast<std::uintptr_t>(pages) & (size - 1)) == 0;
}

}  // namespace

void* takePages(std::size_t size) noexcept {
  // Behind an aligned mapping the next one is mostly aligned too.
  void* const pages = mapPages(size);
  if (!pages || isAligned(pages, size)) return pages;
  munmap(pages, size);
  char* const wide = static_cast<char*>(mapPages(2 * size));
  if (!wide) return nullptr;
  const std::size_t past = reinterpret_cast<std::uintptr_t>(wide) & (size - 1);
  const std::size_t front = past == 0 ? 0 : size - past;
  if (front > 0) munmap(wide, front);
  munmap(wide + front + size, size - front);
  return wide + front;
}

void givePages(void* pages, std::size_t size) noexcept {
  // Refused where it would leave more separate mappings than the system allows: then the memory
  // goes, and the addresses stay.
  if (munmap(pages, size) != 0) madvise(pages, size, MADV_DONTNEED);
}

bool runsUnderMemoryChecker() noexcept {
  if (hasLeakChecker()) return true;
  const char* const preloaded = std::getenv("LD_PRELOAD");  // how Valgrind gets in
  return preloaded && std::strstr(preloaded, "/vgpreload_");
}

#endif

}  // namespace amf2json::platform
