// SPDX-License-Identifier: Apache-2.0
//
// The heap of a test program, counted, and made to fail on demand: every form of operator new and
// delete is replaced. Link counted_heap.cpp.
#ifndef TESTS_SUPPORT_COUNTED_HEAP_H
#define TESTS_SUPPORT_COUNTED_HEAP_H

#include <cstdint>

namespace support {

extern std::uint64_t liveBytes;  // as malloc_usable_size tells them
extern std::uint64_t peakBytes;  // the most since it was last set
extern std::uint64_t liveBlocks;
extern std::uint64_t allocations;  // so far
/// The allocation with this number (counted from 0 by `allocations`) fails, and with `failsOn` all
/// after it.
extern std::uint64_t failingAllocation;
extern bool failsOn;

constexpr std::uint64_t kNoFailure = UINT64_MAX;

}  // namespace support

#endif  // TESTS_SUPPORT_COUNTED_HEAP_H
