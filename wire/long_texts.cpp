// SPDX-License-Identifier: Apache-2.0
//
// The table of long strings. Tested by tests/wire/bombs_test.cpp.
#include "wire/long_texts.h"

namespace amf2json::wire {

const LongTexts::Entry& LongTexts::find(const AMFWireString& of) {
  if (used * 4 >= slots.size() * 3) grow();
  std::size_t at = slot(of.data);
  // Two strings of an input that begin at one place are the same.
  while (slots[at].data != nullptr && slots[at].data != of.data) at = slotAfter(at, slots.size());
  Entry& entry = slots[at];
  if (entry.data == nullptr) {
    entry.hash = hashOf(of.data, of.length, seed);
    entry.text = textOf(of.data, of.length);
    entry.data = of.data;
    ++used;
  }
  return entry;
}

void LongTexts::grow() {
  std::vector<Entry> old(slots.size() * 2 + 16);
  old.swap(slots);
  for (const Entry& entry : old) {
    if (entry.data == nullptr) continue;
    std::size_t at = slot(entry.data);
    while (slots[at].data != nullptr) at = slotAfter(at, slots.size());
    slots[at] = entry;
  }
}

}  // namespace amf2json::wire
