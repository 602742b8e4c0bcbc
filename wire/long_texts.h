// SPDX-License-Identifier: Apache-2.0
//
// A cache of facts about long strings of the input. A million references may refer to one long name
// or string. It is examined once. Tested by tests/wire/bombs_test.cpp.
#ifndef WIRE_LONG_TEXTS_H
#define WIRE_LONG_TEXTS_H

#include <cstdint>
#include <vector>

#include "AMFWire.h"
#include "wire/hash.h"
#include "wire/utf8.h"

namespace amf2json::wire {

class LongTexts {
 public:
  LongTexts(const char* input, std::size_t length)
      : base(input), size(length), frontier(input), seed(hashSeed()) {}

  // Called at the start of a pass over the input.
  void rewind() { frontier = base; }

  Text text(const AMFWireString& of) {
    // A text that is not in the input, such as that of an error, is not cached: another text may
    // have its address later.
    if (of.length < kLong || !isInput(of.data)) return textOf(of.data, of.length);
    // A string that is after all earlier strings of the pass is read for the first time, not
    // through a reference. So it needs no entry yet.
    if (of.data >= frontier) {
      frontier = of.data + of.length;
      return textOf(of.data, of.length);
    }
    return find(of).text;
  }
  // For a string that is needed only once.
  std::uint64_t hashOnce(const AMFWireString& of) const { return hashOf(of.data, of.length, seed); }
  std::uint64_t hash(const AMFWireString& of) {
    if (of.length < kLong) return hashOf(of.data, of.length, seed);
    return find(of).hash;
  }

 private:
  static constexpr std::size_t kLong = 64;
  struct Entry {
    const char* data = nullptr;
    std::uint64_t hash = 0;
    Text text{};
  };

  const Entry& find(const AMFWireString& of);
  void grow();
  bool isInput(const char* data) const {
    return reinterpret_cast<std::uintptr_t>(data) - reinterpret_cast<std::uintptr_t>(base) < size;
  }
  std::size_t slot(const char* data) const {
    const auto place = static_cast<std::uint64_t>(data - base);
    return slotOf(mix(place ^ seed, 0xA0761D6478BD642Fu), slots.size());
  }

  const char* base;  // not owned
  std::size_t size;
  const char* frontier;  // end of the last long string that this pass has read
  std::uint64_t seed;
  std::vector<Entry> slots;
  std::size_t used = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_LONG_TEXTS_H
