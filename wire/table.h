// SPDX-License-Identifier: Apache-2.0
//
// A table that grows by chunks and never copies its entries. So it needs little more memory than
// its entries, and references to entries stay valid. Tested through the tests of memory.
#ifndef WIRE_TABLE_H
#define WIRE_TABLE_H

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace amf2json::wire {

template <class T, std::size_t Bytes = 4096>
class Table {
 public:
  std::size_t count() const { return entries; }
  T& operator[](std::size_t index) { return chunks[index / kChunk][index % kChunk]; }
  const T& operator[](std::size_t index) const { return chunks[index / kChunk][index % kChunk]; }

  void push(T entry) {
    if (tail == tailEnd) nextChunk();
    *tail++ = entry;
    ++entries;
  }
  // Removes all entries after the first `count`.
  void shrink(std::size_t count) {
    entries = count;
    tail = tailEnd = nullptr;  // push() finds it again
  }
  void release() {
    std::vector<std::unique_ptr<T[]>>().swap(chunks);
    shrink(0);
  }
  // Removes all entries, and keeps the chunks for new ones.
  void clear() { shrink(0); }

 private:
  static constexpr std::size_t kChunk = Bytes / sizeof(T);

  // Points `tail` to the place of the next entry. Adds a chunk if the last one is full.
  void nextChunk() {
    if (entries / kChunk == chunks.size()) {
      std::unique_ptr<T[]> chunk(new T[kChunk]);
      chunks.push_back(std::move(chunk));
    }
    T* const chunk = chunks[entries / kChunk].get();
    tail = chunk + entries % kChunk;
    tailEnd = chunk + kChunk;
  }

  std::vector<std::unique_ptr<T[]>> chunks;
  std::size_t entries = 0;
  T* tail = nullptr;     // in the last chunk, not owned
  T* tailEnd = nullptr;  // its end
};

}  // namespace amf2json::wire

#endif  // WIRE_TABLE_H
