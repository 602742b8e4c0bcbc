// SPDX-License-Identifier: Apache-2.0
//
// The first pass of an export: a sink that collects what the JSON writer has to know in advance:
// which values have references, which objects have names that JSON keys cannot express, counts,
// true lengths, marks, and whether the AMF writer would write the same bytes. The AMF reader fills
// it. The JSON writer uses it and receives objects and sections in the same order.
// Tested by tests/wire/rows_test.cpp and tests/wire/originals_test.cpp.
#ifndef WIRE_FACTS_H
#define WIRE_FACTS_H

#include <cstdint>
#include <vector>

#include "wire/failure.h"
#include "wire/long_texts.h"
#include "wire/name_set.h"
#include "wire/section_tables.h"
#include "wire/text_bound.h"

namespace amf2json::wire {

// Flags of a value that a reference can refer to.
constexpr std::uint8_t kReferred = 1;         // a reference refers to it
constexpr std::uint8_t kNeedsMemberList = 2;  // its members are written as $members
constexpr std::uint8_t kHasDynamic = 4;       // it has dynamic members
constexpr std::uint8_t kCounted = 8;  // an ECMA array: its count is the number of its members

// Flags of a section.
constexpr std::uint8_t kOriginal = 1;            // its values alone do not reproduce its bytes
constexpr std::uint8_t kNoStringReferences = 2;  // its JSON has "stringReferences":false
constexpr std::uint8_t kNoTraitsReferences = 4;  // its JSON has "traitsReferences":false
constexpr std::uint8_t kNoIntegers = 8;          // its JSON has "integers":false
constexpr std::uint8_t kEntriesListed = 16;      // the entries of a shared object need $members

struct SectionFacts {
  std::uint32_t end = 0;  // where its values end
  std::uint8_t flags = 0;
};

class Facts {
 public:
  // Throws TextTooLong as soon as least() of the bound is larger than `limit`. The caller chooses a
  // limit that is larger than that of the host, because least() can be too large.
  Facts(const char* input, std::size_t length, bool withOriginals, std::uint64_t limit)
      : texts(input, length), names(input, texts), originals(withOriginals), mostText(limit) {}

  // The tables of the current section; not owned.
  void attach(const SectionTables& of) { tables = &of; }

  // Called if the pass stopped in a section: treats its values as ended.
  void stopAt(std::size_t offset) { sections.back().end = static_cast<std::uint32_t>(offset); }
  // Called after the pass: frees what only the pass needs.
  void releaseTables() {
    names.release();
    traitsFacts.release();
    std::vector<Names>().swap(lastObjectNames);
  }

  // The sink.
  void beginDocument(const AMFWireDocument& document);
  void endDocument(const AMFWireString& trailing, const AMFWireString& error);
  void beginMessages(std::uint32_t) {}
  void beginSection(const AMFWireSection& section);
  void rawSection(const AMFWireString& bytes, const AMFWireString& error);
  void valuesEnd(const SectionTables& tables, std::size_t offset);
  void endSection();
  void undefined() { bound.add(sizeof "{\"$undefined\":true}"); }
  void null() { bound.add(sizeof "null"); }
  void unsupported() { bound.add(sizeof "{\"$unsupported\":true}"); }
  void boolean(bool value) { bound.add(value ? sizeof "true" : sizeof "false"); }
  void integer(std::int32_t value) {
    integerSeen = true;
    bound.integer(value);
    bound.add(1);
  }
  void number(const double& value);
  void string(const AMFWireString& value) {
    bound.string(value, texts);
    bound.add(1);
    checkLength();
  }
  void xmlDocument(const AMFWireString& value);
  void xml(const AMFWireString& value);
  void date(const double& timeMs, std::int16_t zone);
  void byteArray(const AMFWireString& value);
  void reference(std::uint32_t index);
  void beginAmf3() {
    amf3 = true;
    bound.add(sizeof "{\"$amf3\":}");
  }
  void endAmf3() { amf3 = false; }
  void beginArray(const AMFWireArray& array);
  void beginEcmaArray(std::uint32_t declaredCount);
  void beginObject(const AMFWireObject& object);
  void beginExternal(const AMFWireExternal& external);
  void beginVector(const AMFWireVector& vector);
  void vectorItems(const char* items, std::uint32_t count);
  void beginDictionary(std::uint32_t count, bool weak);
  void member(const AMFWireString& name);
  void denseItems() {}
  void fieldGroup(const AMFWireFlags&) {}
  void field(const AMFWireField& field);
  void end();

  // The results for the next passes. Objects of all sections, in the order in which they begin, in
  // one list for each format. An AMF0 shared object is the first object of its section.
  std::vector<SectionFacts> sections;
  Table<std::uint8_t> objects0;
  Table<std::uint8_t> objects3;
  LongTexts texts;
  TextBound bound;  // of the compact text, with all originals

 private:
  static constexpr std::uint32_t kNoNames = 0xFFFFFFFFu;
  struct Frame {
    std::uint32_t remainingSealed = 0;  // kNoNames: a value without names
    std::uint32_t sealedCount = 0;
    std::uint32_t traits = 0;
    std::size_t object = 0;  // in its table
    // The names of the last object at this depth that have not come yet, if all so far are the same.
    const AMFWireString* expected = nullptr;
    const AMFWireString* lastExpected = nullptr;
    std::uint32_t members = 0;
    std::uint32_t declaredCount = 0;
    std::uint32_t pairs = 0;      // of a dictionary
    std::int64_t lastIndex = -1;  // the last array index among its names
    bool amf3 = false;
    bool namesOpen = false;
    bool otherNames = false;  // it has names that are no array indexes
    bool listed = false;
    bool plainNames = true;  // no name needs escapes
    std::uint8_t flags = 0;
  };
  using Names = std::vector<AMFWireString>;

  void open(std::uint32_t sealedCount);
  Table<std::uint8_t>& objects(bool of3) { return of3 ? objects3 : objects0; }
  void examine(Frame& frame, const AMFWireString& name, bool isUtf8);
  void examineSealed(Frame& frame);
  void expectNames(Frame& frame) const;
  void openNames(Frame& frame);
  void closeNames(const Frame& frame);
  bool addName(const AMFWireString& name);  // returns whether it is UTF-8
  void checkLength() const {
    if (bound.least() > mostText) failTextTooLong();
  }
  std::uint32_t factsOfTraits(const AMFWireObject& object);
  std::uint32_t examineTraits(const AMFWireObject& object);

  NameSet names;
  // For each depth, the names of the last object that has few names and needs no list. The objects
  // of an array mostly have the same names, and a name that comes again is only compared: until the
  // first other name, `namesOpen` is false. Without this, export takes 1.13 times as long (5,000
  // AMF0 objects).
  std::vector<Names> lastObjectNames;
  bool originals;
  std::uint64_t mostText;
  std::vector<Frame> frames;
  const SectionTables* tables = nullptr;  // of the current section; not owned
  // For each traits entry of the section that has sealed names: twice the length of the class name
  // and of the sealed names as keys, and in the lowest bit whether the names need a list.
  Table<std::uint32_t> traitsFacts;
  AMFWireString lastTraits;  // the bytes of the section that were examined last
  std::uint32_t lastFacts = 0;
  std::size_t sectionBegin = 0;
  std::size_t begin0 = 0;  // the first objects of the section
  std::size_t begin3 = 0;
  AMFWireForm form = AMFWireForm::packet;
  bool formIs3 = false;
  bool amf3 = false;
  bool integerSeen = false;
  bool wholeSeen = false;
};

// Whether two non-empty inline strings, or two inline traits, are equal.
bool hasRepeatedString(const SectionTables& tables, LongTexts& texts);
bool hasRepeatedTraits(const SectionTables& tables, LongTexts& texts);

}  // namespace amf2json::wire

#endif  // WIRE_FACTS_H
