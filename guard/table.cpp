// SPDX-License-Identifier: Apache-2.0
//
// The segments of a table; table.h explains them. Tested by tests/guard/memory_test.cpp.
#include "guard/table.h"

#include <algorithm>
#include <utility>

namespace amf2json::guard {

bool Segments::add(std::size_t bytes, std::size_t most) {
  if (count == capacity && !grow(most)) return false;
  directory[count].reset(::operator new(bytes, std::nothrow));
  if (!directory[count]) return false;
  ++count;
  return true;
}

bool Segments::grow(std::size_t most) {
  const std::size_t newCapacity = std::min(most, capacity == 0 ? 4 : 2 * capacity);
  if (newCapacity == capacity) return false;
  std::unique_ptr<Segment[]> grown(new (std::nothrow) Segment[newCapacity]);
  if (!grown) return false;
  std::move(directory.get(), directory.get() + count, grown.get());
  directory = std::move(grown);
  capacity = newCapacity;
  return true;
}

}  // namespace amf2json::guard
