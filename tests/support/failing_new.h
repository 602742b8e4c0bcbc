// SPDX-License-Identifier: Apache-2.0
//
// Replaces every form of operator new and delete of a test program, so that a chosen allocation
// fails and those still alive can be counted. Memory comes from malloc: the sanitizers see it as
// usual. Link failing_new.cpp into the program that includes this. One thread at a time may arm it.
#ifndef TESTS_SUPPORT_FAILING_NEW_H
#define TESTS_SUPPORT_FAILING_NEW_H

#include <cstdint>

namespace failing_new {

enum class Mode {
  once,       // that allocation alone fails
  fromThenOn  // that one and all behind it fail
};

// Lets the allocation number `call` from here (0: the next one) fail with std::bad_alloc, or, in
// the forms that do not throw, with a null pointer.
void arm(std::uint64_t call, Mode mode);
// No allocation fails any more.
void disarm();

// Since the last arm().
std::uint64_t allocations();
std::uint64_t failures();

// Allocated and not yet released, in the whole program.
std::int64_t live();

}  // namespace failing_new

#endif  // TESTS_SUPPORT_FAILING_NEW_H
