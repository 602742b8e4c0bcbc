// SPDX-License-Identifier: Apache-2.0
//
// A growing table of plain entries that never moves them: the first 64 are in the object itself,
// the others in segments of equal size. So it needs no heap for small packets, and never two copies
// of a large table. A failed allocation is reported, not thrown. Tested by
// tests/guard/memory_test.cpp.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace amf2json::guard {

/// Segments of memory of equal size, which never move. One class serves entries of all types: it is
/// called rarely, so it need not be a template.
class Segments {
 public:
  /// The largest number of segments, so that 32 bits are enough for the index of an entry.
  static constexpr std::size_t kMost = (std::size_t{1} << 26) - 2;

  std::size_t size() const { return count; }
  void* operator[](std::size_t index) { return directory[index].get(); }

  /// Returns false if there are already `most` segments, or no memory for another one.
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
  static_assert(std::is_trivial_v<Entry>, "segments are not initialized");

 public:
  static constexpr std::size_t kSegment = 64;

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }
  Entry& operator[](std::size_t index) {
    if (index < kSegment) return first[index];
    return static_cast<Entry*>(segments[index / kSegment - 1])[index % kSegment];
  }
  Entry& top() { return (*this)[count - 1]; }
  void pop() { --count; }  // keeps the segment, because the next entry will probably need it

  /// Adds an uninitialized entry and returns it; null if there is no memory for it.
  Entry* append() {
    if (count % kSegment == 0 && count / kSegment > segments.size() &&
        !segments.add(sizeof(Entry) * kSegment, MostSegments)) {
      return nullptr;
    }
    return &(*this)[count++];
  }

  /// Removes all entries and frees the memory.
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
