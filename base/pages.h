// SPDX-License-Identifier: Apache-2.0
//
// Memory straight from the system. Tested by tests/memory/node_pool_test.cpp.
#pragma once

#include <cstddef>

namespace amf2json {

// `size` bytes (a power of two, whole pages) at a multiple of `size`; null when there are none.
// Fresh pages are zero and cost nothing until they are touched.
void* takePages(std::size_t size) noexcept;
void returnPages(void* pages, std::size_t size) noexcept;

}  // namespace amf2json
