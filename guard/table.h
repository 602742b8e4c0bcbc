// SPDX-License-Identifier: Apache-2.0
//
// A growing table of plain entries that never moves them: the first few stand in the object itself,
// the rest in segments of equal size. It thus needs no memory for small packets, and never two
// copies of a large table. Memory that cannot be had is reported, not thrown. Tested by
// tests/guard_memory_test.cpp.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace guard {

/// `MostSegments` bounds the table, so that 32 bits are enough for an index.
template <class Entry, std::size_t MostSegments = (std::size_t{1} << 26) - 2>
class Table {
  static_assert(std::is_trivial_v<Entry>, "segments are handed out as they come");

 public:
  static constexpr std::size_t kSegment = 64;

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }
  Entry& operator[](std::size_t index) {
    return index < kSegment ? first[index] : segments[index / kSegment - 1][index % kSegment];
  }
  Entry& top() { return (*this)[count - 1]; }
  void pop() { --count; }  // keeps the segment: the next entry is likely to need it again

  /// The new last entry, its content not set; null when there is no memory for it.
  Entry* append() {
    if (count % kSegment == 0 && count / kSegment > segmentCount && !addSegment()) return nullptr;
    return &(*this)[count++];
  }

  /// Empties the table and gives the memory back.
  void clear() {
    count = 0;
    segments.reset();
    segmentCount = segmentRoom = 0;
  }

 private:
  using Segment = std::unique_ptr<Entry[]>;

  bool addSegment() {
    if (segmentCount == segmentRoom && !growDirectory()) return false;
    segments[segmentCount].reset(new (std::nothrow) Entry[kSegment]);
    if (!segments[segmentCount]) return false;
    ++segmentCount;
    return true;
  }

  bool growDirectory() {
    const std::size_t room = std::min(MostSegments, segmentRoom == 0 ? 4 : 2 * segmentRoom);
    if (room == segmentRoom) return false;
    std::unique_ptr<Segment[]> grown(new (std::nothrow) Segment[room]);
    if (!grown) return false;
    std::move(segments.get(), segments.get() + segmentCount, grown.get());
    segments = std::move(grown);
    segmentRoom = room;
    return true;
  }

  std::size_t count = 0;
  std::unique_ptr<Segment[]> segments;  // entries from kSegment on
  std::size_t segmentCount = 0;
  std::size_t segmentRoom = 0;
  Entry first[kSegment];
};

}  // namespace guard
