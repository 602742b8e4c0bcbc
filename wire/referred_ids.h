// SPDX-License-Identifier: Apache-2.0
//
// The ids of the values that references refer to, in one section and one format. Tested by
// tests/wire/rows_test.cpp.
#ifndef WIRE_REFERRED_IDS_H
#define WIRE_REFERRED_IDS_H

#include <cstdint>

#include "wire/table.h"

namespace amf2json::wire {

class ReferredIds {
 public:
  void clear() {
    ids.clear();
    count = 0;
  }
  // The next value begins. It receives the next id, unless `nextId` is null.
  void begin(std::uint64_t* nextId) {
    if (nextId != nullptr) ids.push({count, static_cast<std::uint32_t>((*nextId)++)});
    ++count;
  }
  // Returns the id of a value. The value must have begun, and must have received an id.
  std::uint32_t of(std::uint32_t index) const {
    std::size_t low = 0;
    std::size_t high = ids.count();
    while (high - low > 1) {
      const std::size_t middle = low + (high - low) / 2;
      (ids[middle].index <= index ? low : high) = middle;
    }
    return ids[low].id;
  }

 private:
  struct Entry {
    std::uint32_t index;
    std::uint32_t id;
  };
  Table<Entry> ids;  // in ascending order
  std::uint32_t count = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_REFERRED_IDS_H
