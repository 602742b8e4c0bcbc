// SPDX-License-Identifier: Apache-2.0
//
// The heap of a test program, counted, and made to fail on demand: every form of operator new and
// delete is replaced. Memory comes from malloc, so the sanitizers see it as usual. Link
// counted_heap.cpp. For programs whose threads do not allocate at the same time.
#ifndef TESTS_SUPPORT_COUNTED_HEAP_H
#define TESTS_SUPPORT_COUNTED_HEAP_H

#include <cstdint>

namespace support {

extern std::uint64_t liveBytes;  // as malloc_usable_size reports them
extern std::uint64_t peakBytes;  // the most since it was last set
extern std::uint64_t liveBlocks;
extern std::uint64_t allocations;  // so far
/// The allocation with this number (counted from 0 by `allocations`) fails, and with `failsOn` all
/// later ones.
extern std::uint64_t failingAllocation;
extern bool failsOn;

extern std::uint64_t failures;  // since the last failAllocation()

constexpr std::uint64_t kNoFailure = UINT64_MAX;

enum class Failing {
  once,       // that allocation alone
  fromThenOn  // that one and all after it
};

/// Lets the allocation with this number from here on (0: the next one) fail with std::bad_alloc, or,
/// in the forms that do not throw, with a null pointer.
inline void failAllocation(std::uint64_t number, Failing which) {
  failures = 0;
  failingAllocation = allocations + number;
  failsOn = which == Failing::fromThenOn;
}
inline void failNothing() {
  failingAllocation = kNoFailure;
  failsOn = false;
}

}  // namespace support

#endif  // TESTS_SUPPORT_COUNTED_HEAP_H
