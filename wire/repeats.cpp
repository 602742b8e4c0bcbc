// SPDX-License-Identifier: Apache-2.0
//
// Whether a section repeats strings or traits in full instead of references. This is computed once,
// at the end of the section, when the number of entries is known: so the hash table never grows.
// Tested by tests/wire/originals_test.cpp.
#include <algorithm>

#include "wire/facts.h"

namespace amf2json::wire {

namespace {

constexpr std::uint32_t kFree = 0xFFFFFFFFu;

// Whether two of the first `count` entries are equal.
template <class HashAt, class Same>
bool firstHaveRepeat(std::size_t count, HashAt hashAt, Same same) {
  std::vector<std::uint32_t> slots(count + count / 2 + 1, kFree);
  for (std::uint32_t index = 0; index < count; ++index) {
    std::size_t at = slotOf(hashAt(index), slots.size());
    for (; slots[at] != kFree; at = slotAfter(at, slots.size())) {
      if (same(slots[at], index)) return true;
    }
    slots[at] = index;
  }
  return false;
}

// Whether two entries are equal. The first ones are compared alone at first, because senders that
// repeat entries usually do so early.
template <class HashAt, class Same>
bool hasRepeat(std::size_t count, HashAt hashAt, Same same) {
  constexpr std::size_t kFirst = 256;
  if (count > kFirst && firstHaveRepeat(kFirst, hashAt, same)) return true;
  return count > 1 && firstHaveRepeat(count, hashAt, same);
}

bool sameTraits(const SectionTables& tables, std::size_t a, std::size_t b) {
  const Traits first = tables.traitsAt(a);
  const Traits second = tables.traitsAt(b);
  if (first.head != second.head || !sameBytes(first.className, second.className)) return false;
  const char* firstName = first.names;
  const char* secondName = second.names;
  for (std::uint32_t i = 0; i < first.sealedCount(); ++i) {
    if (!sameBytes(tables.readCheckedString(firstName), tables.readCheckedString(secondName)))
      return false;
  }
  return true;
}

}  // namespace

bool hasRepeatedString(const SectionTables& tables, LongTexts& texts) {
  return hasRepeat(
      tables.strings.count(),
      [&](std::size_t index) { return texts.hashOnce(tables.stringAt(index)); },
      [&](std::size_t a, std::size_t b) {
        return sameBytes(tables.stringAt(a), tables.stringAt(b));
      });
}

bool hasRepeatedTraits(const SectionTables& tables, LongTexts& texts) {
  const auto hashAt = [&](std::size_t index) {
    const Traits traits = tables.traitsAt(index);
    std::uint64_t hash = mix(texts.hash(traits.className), traits.head ^ 0x9E3779B97F4A7C15u);
    const char* name = traits.names;
    for (std::uint32_t i = 0; i < traits.sealedCount(); ++i) {
      hash = mix(hash ^ 0xE7037ED1A0B428DBu, texts.hash(tables.readCheckedString(name)));
    }
    return hash;
  };
  return hasRepeat(tables.traits.count(), hashAt,
                   [&](std::size_t a, std::size_t b) { return sameTraits(tables, a, b); });
}

}  // namespace amf2json::wire
