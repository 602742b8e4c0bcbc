// SPDX-License-Identifier: Apache-2.0
//
// Aligned memory directly from the operating system. Tested by tests/memory/node_pool_test.cpp.
#pragma once

#include <cstddef>

namespace amf2json {

// Returns `size` bytes at an address that is a multiple of `size`, or null if there is no memory.
// `size` is a power of two and a multiple of the page size. Pages from mmap use no memory until
// they are accessed.
void* takePages(std::size_t size) noexcept;
// Returns pages of takePages() to the system. `size` is the size that was requested.
void returnPages(void* pages, std::size_t size) noexcept;

}  // namespace amf2json
