// SPDX-License-Identifier: Apache-2.0
//
// The index of written strings and traits. Tested by tests/wire/rows_test.cpp.
#include "wire/writer_index.h"

namespace amf2json::wire {

void HashSlots::clear() {
  // Otherwise many slots of one section would slow down every section after it.
  if (used != 0 && slots.size() <= 4096) slots.assign(slots.size(), {});
  if (slots.size() > 4096) std::vector<Slot>().swap(slots);
  used = 0;
}

void HashSlots::put(std::uint64_t hash, std::uint32_t entry) {
  std::size_t at = slotOf(hash, slots.size());
  while (slots[at].entry != kNotWritten) at = slotAfter(at, slots.size());
  slots[at] = {static_cast<std::uint32_t>(hash), entry};
}

std::uint32_t WriterIndex::findString(const AMFWireString& text, std::uint64_t hash) const {
  return strings.find(
      hash, [&](std::uint32_t entry) { return sameBytes(tables->stringAt(entry), text); });
}

void WriterIndex::addString(std::uint64_t hash) {
  strings.add(hash, static_cast<std::uint32_t>(tables->strings.count() - 1),
              [this](std::uint32_t entry) { return this->hash(tables->stringAt(entry)); });
}

std::uint64_t WriterIndex::hashTraits(std::uint32_t head, const AMFWireString& className,
                                      AMFWireNames* names) const {
  std::uint64_t state = mix(hash(className), head ^ 0x9E3779B97F4A7C15u);
  if (names == nullptr) return state;
  names->rewind();
  for (std::uint32_t remaining = head >> 4; remaining > 0; --remaining) {
    state = mix(state ^ 0xE7037ED1A0B428DBu, hash(names->next()));
  }
  return state;
}

bool WriterIndex::isTraits(std::uint32_t entry, std::uint32_t head, const AMFWireString& className,
                           AMFWireNames* names) const {
  const Traits known = tables->traitsAt(entry);
  if (known.head != head || !sameBytes(known.className, className)) return false;
  if (names != nullptr) names->rewind();
  const char* at = known.names;
  for (std::uint32_t remaining = known.sealedCount(); remaining > 0; --remaining) {
    if (!sameBytes(tables->readCheckedString(at), names->next())) return false;
  }
  return true;
}

std::uint32_t WriterIndex::findTraits(std::uint32_t head, const AMFWireString& className,
                                      AMFWireNames* names, std::uint64_t hash) {
  const std::uint32_t found = traits.find(
      hash, [&](std::uint32_t entry) { return isTraits(entry, head, className, names); });
  if (found != kNotWritten) last = found;
  return found;
}

void WriterIndex::addTraits(std::uint64_t hash) {
  last = static_cast<std::uint32_t>(tables->traits.count() - 1);
  traits.add(hash, last, [this](std::uint32_t entry) {
    const Traits known = tables->traitsAt(entry);
    SealedNames names(*tables, known);
    return hashTraits(known.head, known.className, &names);
  });
}

}  // namespace amf2json::wire
