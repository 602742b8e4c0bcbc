// SPDX-License-Identifier: Apache-2.0
//
// A limit for single blocks of memory.
#ifndef AMF2JSON_TOOL_RUN_ALLOCATION_LIMIT_H
#define AMF2JSON_TOOL_RUN_ALLOCATION_LIMIT_H

#include <cstddef>

// While it lives, operator new throws std::bad_alloc on this thread for a block of more than `maxBytes`
// bytes: a text that grows ends there. In force where the library's calls reach the program's
// operator new: not on Windows.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t maxBytes);
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;
  ~AllocationLimit();

  bool wasExceeded() const;
};

#endif  // AMF2JSON_TOOL_RUN_ALLOCATION_LIMIT_H
