// SPDX-License-Identifier: Apache-2.0
//
// A limit for the size of memory blocks.
#ifndef AMF2JSON_TOOL_RUN_ALLOCATION_LIMIT_H
#define AMF2JSON_TOOL_RUN_ALLOCATION_LIMIT_H

#include <cstddef>

// While it exists, operator new throws std::bad_alloc on this thread for a block of more than
// `maxBytes` bytes. This stops a text that grows too large. Has no effect on Windows, where the
// library does not call the program's operator new.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t maxBytes);
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;
  ~AllocationLimit();

  bool wasExceeded() const;
};

#endif  // AMF2JSON_TOOL_RUN_ALLOCATION_LIMIT_H
