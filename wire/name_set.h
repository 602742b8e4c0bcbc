// SPDX-License-Identifier: Apache-2.0
//
// The names of the open objects. It finds out whether a name occurs twice in the innermost one. All
// names are in one list, those of the innermost object last. An object with more than a few names
// has a hash table of their indexes in the list. Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_NAME_SET_H
#define WIRE_NAME_SET_H

#include <cstdint>
#include <vector>

#include "wire/long_texts.h"
#include "wire/table.h"

namespace amf2json::wire {

class NameSet {
 public:
  NameSet(const char* input, LongTexts& longTexts) : base(input), texts(&longTexts) {}

  void open() {
    if (depth == levels.size()) levels.emplace_back();
    levels[depth++].reset(names.count());
  }
  void close() {
    Level& level = levels[--depth];
    names.shrink(level.first);
    if (level.slots.size() > kManySlots) std::vector<std::uint32_t>().swap(level.slots);
  }
  // The names of the innermost object, in their order.
  void copyTo(std::vector<AMFWireString>& to) const {
    to.clear();
    for (std::size_t index = levels[depth - 1].first; index < names.count(); ++index) {
      to.push_back({base + names[index].offset, names[index].length});
    }
  }
  // Frees the memory. No object is open then.
  void release() {
    names.release();
    std::vector<Level>().swap(levels);
  }
  // Returns false if the innermost object already has this name.
  bool add(const AMFWireString& name) {
    Level& level = levels[depth - 1];
    const std::size_t count = names.count() - level.first;
    const std::uint64_t bit = std::uint64_t{1} << smallHash(name);
    const bool known = (level.seen & bit) != 0 && contains(level, name);
    if (known) return false;
    level.seen |= bit;
    names.push(
        {static_cast<std::uint32_t>(name.data - base), static_cast<std::uint32_t>(name.length)});
    if (count >= kFew) insert(level);
    return true;
  }

 private:
  static constexpr std::size_t kFew = 8;
  static constexpr std::size_t kManySlots = 4096;
  static constexpr std::uint32_t kFree = 0xFFFFFFFFu;
  struct Place {
    std::uint32_t offset;
    std::uint32_t length;
  };
  struct Level {
    void reset(std::size_t begin) {
      first = begin;
      namesInSlots = 0;
      seen = 0;
    }
    std::size_t first = 0;         // index in the list
    std::size_t namesInSlots = 0;  // number of names in the slots
    std::uint64_t seen = 0;
    std::vector<std::uint32_t> slots;
  };

  bool isName(std::size_t index, const AMFWireString& name) const {
    const Place& place = names[index];
    return sameBytes({base + place.offset, place.length}, name);
  }
  bool contains(const Level& level, const AMFWireString& name) const;
  void insert(Level& level);
  void addToSlots(Level& level, std::size_t index);

  const char* base;  // not owned
  LongTexts* texts;  // not owned
  Table<Place> names;
  std::vector<Level> levels;  // entries from `depth` on keep their memory
  std::size_t depth = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_NAME_SET_H
