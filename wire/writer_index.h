// SPDX-License-Identifier: Apache-2.0
//
// The index with which the AMF writer finds strings and traits that it has written in this section.
// SectionTables has the entries, as for the reader. This index finds an entry by its content.
// Tested by tests/wire/rows_test.cpp and tests/wire/originals_test.cpp.
#ifndef WIRE_WRITER_INDEX_H
#define WIRE_WRITER_INDEX_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "wire/hash.h"
#include "wire/section_tables.h"

namespace amf2json::wire {

constexpr std::uint32_t kNotWritten = 0xFFFFFFFFu;

// Finds indexes of entries by their hash.
class HashSlots {
 public:
  void clear();
  template <class Same>
  std::uint32_t find(std::uint64_t hash, Same same) const {
    if (slots.empty()) return kNotWritten;
    const auto lowHash = static_cast<std::uint32_t>(hash);
    for (std::size_t at = slotOf(hash, slots.size()); slots[at].entry != kNotWritten;
         at = slotAfter(at, slots.size())) {
      if (slots[at].lowHash == lowHash && same(slots[at].entry)) return slots[at].entry;
    }
    return kNotWritten;
  }
  // `hashAt` computes the hash of an entry again if the slots grow.
  template <class HashAt>
  void add(std::uint64_t hash, std::uint32_t entry, HashAt hashAt) {
    if ((used + 1) * 3 > slots.size() * 2) {
      slots.assign(slots.size() * 2 + 32, {});
      for (std::uint32_t i = 0; i < entry; ++i) put(hashAt(i), i);
    }
    put(hash, entry);
    used = std::size_t{entry} + 1;
  }

 private:
  struct Slot {
    std::uint32_t lowHash = 0;
    std::uint32_t entry = kNotWritten;
  };
  void put(std::uint64_t hash, std::uint32_t entry);

  std::vector<Slot> slots;
  std::size_t used = 0;
};

class WriterIndex {
 public:
  explicit WriterIndex(const SectionTables& of) : tables(&of), seed(hashSeed()) {}

  void clear() {
    strings.clear();
    traits.clear();
    last = kNotWritten;
  }
  std::uint64_t hash(const AMFWireString& text) const {
    return hashOf(text.data, text.length, seed);
  }
  std::uint32_t findString(const AMFWireString& text, std::uint64_t hash) const;
  // The last entry of the table.
  void addString(std::uint64_t hash);

  std::uint64_t hashTraits(std::uint32_t head, const AMFWireString& className,
                           AMFWireNames* names) const;
  std::uint32_t findTraits(std::uint32_t head, const AMFWireString& className, AMFWireNames* names,
                           std::uint64_t hash);
  void addTraits(std::uint64_t hash);
  // The traits that were found or added last. Objects of a list mostly have the same, so these are
  // compared first, without a hash. Without this, import takes 1.08 times as long (5,000 AMF3
  // objects).
  std::uint32_t lastTraits() const { return last; }
  bool isLastTraits(std::uint32_t head, const AMFWireString& className, AMFWireNames* names) const {
    return last != kNotWritten && isTraits(last, head, className, names);
  }

 private:
  bool isTraits(std::uint32_t entry, std::uint32_t head, const AMFWireString& className,
                AMFWireNames* names) const;

  const SectionTables* tables;  // not owned
  std::uint64_t seed;
  HashSlots strings;
  HashSlots traits;
  std::uint32_t last = kNotWritten;
};

}  // namespace amf2json::wire

#endif  // WIRE_WRITER_INDEX_H
