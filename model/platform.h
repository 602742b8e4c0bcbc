// SPDX-License-Identifier: Apache-2.0
//
// The few calls beyond ISO C++, for all rooms.
#pragma once

#include <cstddef>
#include <ctime>

namespace amf2json::platform {

// Reads the process's time zone anew.
void readTimeZone();
// Local time of `seconds` since 1970 UTC, without a buffer shared between threads. False: refused.
bool toLocalTime(std::time_t seconds, std::tm& local);

// `size` bytes (a power of two, whole pages) at a multiple of `size`, straight from the system;
// null when there are none. Fresh pages are zero and cost nothing until they are touched.
void* takePages(std::size_t size) noexcept;
void givePages(void* pages, std::size_t size) noexcept;

// Whether the process runs under Valgrind, or the program with the address or leak sanitizer: they
// want to see every block by itself.
bool runsUnderMemoryChecker() noexcept;

}  // namespace amf2json::platform
