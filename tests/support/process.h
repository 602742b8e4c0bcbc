// SPDX-License-Identifier: Apache-2.0
//
// What a test asks the system about its own process: memory, and work done in a forked child.
#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fstream>

#if defined(__SANITIZE_ADDRESS__)
#define TESTS_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESTS_ADDRESS_SANITIZER 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define TESTS_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TESTS_THREAD_SANITIZER 1
#endif
#endif

// Clang's runtime, in coverage builds alone.
extern "C" int __llvm_profile_write_file(void) __attribute__((weak));

namespace support {

#if defined(TESTS_ADDRESS_SANITIZER)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif
#if defined(TESTS_THREAD_SANITIZER)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif

inline std::size_t pageSize() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Memory of the process that is in RAM.
inline std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t all = 0;
  std::size_t resident = 0;
  statm >> all >> resident;
  return resident * pageSize();
}

// Whether the process has the page at that address.
inline bool isMapped(const void* address) {
  const std::uintptr_t page = reinterpret_cast<std::uintptr_t>(address) & ~(pageSize() - 1);
  unsigned char inCore = 0;
  return mincore(reinterpret_cast<void*>(page), 1, &inCore) == 0 || errno != ENOMEM;
}

// Runs `work`, which returns an exit status, in a child that ends without any clean-up. Returns
// that status, or minus the signal that ended the child.
template <class Work>
int inChild(const Work& work) {
  const pid_t child = fork();
  if (child == 0) {
    const int result = work();
    if (&__llvm_profile_write_file) __llvm_profile_write_file();
    _exit(result);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return -1000;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace support

#endif  // TESTS_SUPPORT_PROCESS_H
