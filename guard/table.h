// SPDX-License-Identifier: Apache-2.0
//
// A growing table of plain entries that never moves them: the first few stand in the object itself,
// the rest in segments of equal size. It thus needs no memory for small packets, and never two
// copies of a large table. Memory that cannot be had is reported, not thrown. Tested by
// tests/guard/memory_test.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace amf2json::guard {

/// Equal segments of memory, which stay where they are. One for entries of any kind: growing is
/// rare.
class Segments {
 public:
  /// So that 32 bits are enough for the index of an entry.
  static constexpr std::size_t kMost = (std::size_t{1} << 26) - 2;

  std::size_t size() const { return count; }
  void* operator[](std::size_t index) { return directory[index].get(); }

  /// False where there are `most` already, or no memory for one more.
  bool add(std::size_t bytes, std::size_t most);

  void clear() {
    directory.reset();
    count = capacity = 0;
  }

 private:
  struct Release {
    void operator()(void* segment) const { ::operator delete(segment); }
  };
  using Segment = std::unique_ptr<void, Release>;

  bool grow(std::size_t most);

  std::unique_ptr<Segment[]> directory;
  std::size_t count = 0;
  std::size_t capacity = 0;
};

template <class Entry, std::size_t MostSegments = Segments::kMost>
class Table {
  static_assert(std::is_trivial_v<Entry>, "segments are handed out as they come");

 public:
  static constexpr std::size_t kSegment = 64;

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }
  Entry& operator[](std::size_t index) {
    if (index < kSegment) return first[index];
    return static_cast<Entry*>(segments[index / kSegment - 1])[index % kSegment];
  }
  Entry& top() { return (*this)[count - 1]; }
  void pop() { --count; }  // keeps the segment: the next entry is likely to need it again

  /// The new last entry, its content not set; null when there is no memory for it.
  Entry* append() {
    if (count % kSegment == 0 && count / kSegment > segments.size() &&
        !segments.add(sizeof(Entry) * kSegment, MostSegments)) {
      return nullptr;
    }
    return &(*this)[count++];
  }

  /// Empties the table and gives the memory back.
  void clear() {
    count = 0;
    segments.clear();
  }

 private:
  std::size_t count = 0;
  Segments segments;  // entries from kSegment on
  Entry first[kSegment];
};

}  // namespace amf2json::guard
