// SPDX-License-Identifier: Apache-2.0
//
// The reference tables of one section. An entry for an AMF3 string or for traits is only an offset
// in the bytes, so that the tables stay small. It is decoded again at that offset when needed: its
// bytes were checked when they were first read. The entry for an AMF3 object is its marker. AMF0
// objects are only counted. The AMF reader and the AMF writer fill these tables. Tested through
// their tests.
#ifndef WIRE_SECTION_TABLES_H
#define WIRE_SECTION_TABLES_H

#include <cstdint>

#include "AMFWire.h"
#include "wire/bytes.h"
#include "wire/table.h"

namespace amf2json::wire {

// Reads a U29 that was checked before, and moves `at` past it.
inline std::uint32_t readCheckedU29(const char*& at) {
  std::uint32_t value = 0;
  for (int group = 0; group < 3; ++group) {
    const std::uint8_t byte = byteAt(at++);
    value = value << 7 | (byte & 0x7Fu);
    if (byte < 0x80) return value;
  }
  return value << 8 | byteAt(at++);
}

constexpr std::uint32_t kTraitsExternal = 4;  // bits of the U29 of inline traits
constexpr std::uint32_t kTraitsDynamic = 8;

// Inline traits, decoded.
struct Traits {
  std::uint32_t head = 0;  // the U29
  AMFWireString className;
  const char* names = nullptr;  // where the first sealed name begins

  bool isExternal() const { return (head & kTraitsExternal) != 0; }
  bool isDynamic() const { return (head & kTraitsDynamic) != 0; }
  std::uint32_t sealedCount() const { return head >> 4; }
};

class SectionTables {
 public:
  void clear() {
    strings.clear();
    traits.clear();
    objects.clear();
    objects0 = 0;
    nonCanonical = usesStringReferences = usesTraitsReferences = false;
  }

  AMFWireString stringAt(std::size_t index) const {
    const char* at = base + strings[index];
    const std::uint32_t head = readCheckedU29(at);
    return {at, head >> 1};
  }
  // Reads a string field that was checked before, and moves `at` past it.
  AMFWireString readCheckedString(const char*& at) const {
    const std::uint32_t head = readCheckedU29(at);
    if ((head & 1) == 0) return stringAt(head >> 1);
    const AMFWireString text(at, head >> 1);
    at += text.length;
    return text;
  }
  Traits traitsAt(std::size_t index) const {
    const char* at = base + traits[index];
    Traits found;
    found.head = readCheckedU29(at);
    found.className = readCheckedString(at);
    found.names = at;
    return found;
  }

  const char* endOfTraits = nullptr;  // end of the inline traits that were read last
  const char* base = nullptr;         // of all bytes read or written; not owned
  Table<std::uint32_t> strings;       // offset of the U29 of each
  Table<std::uint32_t> traits;        // likewise
  Table<std::uint8_t> objects;        // the marker of each
  std::uint32_t objects0 = 0;         // number of AMF0 objects and arrays so far
  // Whether some field has other bytes than the AMF writer would write for it.
  bool nonCanonical = false;
  bool usesStringReferences = false;
  bool usesTraitsReferences = false;
};

// The sealed names of traits in the input.
class SealedNames : public AMFWireNames {
 public:
  SealedNames(const SectionTables& all, const Traits& of)
      : tables(&all), first(of.names), at(first) {}
  void rewind() override { at = first; }
  AMFWireString next() override { return tables->readCheckedString(at); }

 private:
  const SectionTables* tables;  // not owned
  const char* first;
  const char* at;
};

}  // namespace amf2json::wire

#endif  // WIRE_SECTION_TABLES_H
