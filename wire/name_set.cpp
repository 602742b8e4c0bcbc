// SPDX-License-Identifier: Apache-2.0
//
// The search for a name, and the hash tables. Tested by tests/wire/texts_test.cpp.
#include "wire/name_set.h"

namespace amf2json::wire {

bool NameSet::contains(const Level& level, const AMFWireString& name) const {
  if (level.namesInSlots == 0) {
    for (std::size_t index = level.first; index < names.count(); ++index) {
      if (isName(index, name)) return true;
    }
    return false;
  }
  std::size_t at = slotOf(texts->hash(name), level.slots.size());
  for (; level.slots[at] != kFree; at = (at + 1) % level.slots.size()) {
    if (isName(level.slots[at], name)) return true;
  }
  return false;
}

// Adds the last name of the list to the slots. If there are too few slots, allocates more, and adds
// all names of the level again.
void NameSet::insert(Level& level) {
  const std::size_t count = names.count() - level.first;
  if (level.namesInSlots == 0 || count * 4 > level.slots.size() * 3) {
    if (count > kManySlots)
      std::vector<std::uint32_t>().swap(level.slots);  // frees the old ones first
    level.slots.assign(count * 2 + 16, kFree);
    level.namesInSlots = 0;
    for (std::size_t index = level.first; index < names.count(); ++index) addToSlots(level, index);
  } else {
    addToSlots(level, names.count() - 1);
  }
}

void NameSet::addToSlots(Level& level, std::size_t index) {
  const AMFWireString name(base + names[index].offset, names[index].length);
  std::size_t at = slotOf(texts->hash(name), level.slots.size());
  while (level.slots[at] != kFree) at = (at + 1) % level.slots.size();
  level.slots[at] = static_cast<std::uint32_t>(index);
  ++level.namesInSlots;
}

}  // namespace amf2json::wire
