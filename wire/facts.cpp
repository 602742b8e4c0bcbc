// SPDX-License-Identifier: Apache-2.0
//
// The first pass of an export. Tested by tests/wire/rows_test.cpp and
// tests/wire/originals_test.cpp.
#include "wire/facts.h"

#include "wire/number_text.h"

namespace amf2json::wire {

namespace {

// The value of a name that is an array index of JavaScript, else -1.
std::int64_t arrayIndexOf(const AMFWireString& name) {
  if (name.length == 0 || name.length > 10) return -1;
  if (name.data[0] == '0' && name.length > 1) return -1;
  std::int64_t index = 0;
  for (std::size_t i = 0; i < name.length; ++i) {
    if (name.data[i] < '0' || name.data[i] > '9') return -1;
    index = index * 10 + (name.data[i] - '0');
  }
  return index <= 4294967294 ? index : -1;
}

}  // namespace

void Facts::beginDocument(const AMFWireDocument& document) {
  form = document.form;
  formIs3 =
      form == AMFWireForm::amf3 || (form == AMFWireForm::sharedObject && document.version == 3);
}

void Facts::beginSection(const AMFWireSection& section) {
  sections.emplace_back();
  listedTraits.clear();
  begin0 = objects0.count();
  begin3 = objects3.count();
  amf3 = formIs3;
  integerSeen = wholeSeen = false;
  if (section.kind != AMFWireSectionKind::entries) return;
  Frame entries{0, 0, 0, objects0.count()};
  if (!amf3) objects0.push(0);
  frames.push_back(entries);
}

void Facts::valuesEnd(const SectionTables& of, std::size_t offset) {
  SectionFacts& section = sections.back();
  section.end = static_cast<std::uint32_t>(offset);
  if (form == AMFWireForm::flv) return;
  bool odd = of.odd;
  // Where strings repeat and are referred to as well, no mark says which is which.
  if (!(odd && of.usesStringReferences) && hasRepeatedString(of, texts)) {
    if (of.usesStringReferences) odd = true;
    if (!of.usesStringReferences) section.flags |= kNoStringReferences;
  }
  if (!(odd && of.usesTraitsReferences) && hasRepeatedTraits(of, texts)) {
    if (of.usesTraitsReferences) odd = true;
    if (!of.usesTraitsReferences) section.flags |= kNoTraitsReferences;
  }
  if (wholeSeen && !integerSeen) section.flags |= kNoIntegers;
  if (odd) section.flags |= kOriginal;
}

void Facts::endSection() {
  if (frames.empty()) return;  // of a shared object, its entries are left
  if (frames.back().listed) sections.back().flags |= kEntriesListed;
  if (frames.back().namesOpen) names.close();
  frames.pop_back();
}

void Facts::number(double value) {
  if (amf3 && !wholeSeen && fitsInteger(value)) wholeSeen = true;
}

void Facts::reference(std::uint32_t index) {
  objects(amf3)[(amf3 ? begin3 : begin0) + index] |= kReferred;
}

void Facts::open(std::uint32_t sealedCount) {
  Table<std::uint8_t>& table = objects(amf3);
  Frame frame{sealedCount, sealedCount, 0, table.count()};
  frame.amf3 = amf3;
  frames.push_back(frame);
  table.push(0);
}

void Facts::beginEcmaArray(std::uint32_t declaredCount) {
  open(0);
  frames.back().declaredCount = declaredCount;
}

void Facts::beginObject(const AMFWireObject& object) {
  open(object.sealedCount);
  Frame& frame = frames.back();
  frame.traits = object.traits;
  if (object.sealedCount != 0) frame.listed = sealedListed(object);
}

// Sealed names are looked at once for each traits entry.
bool Facts::sealedListed(const AMFWireObject& object) {
  if (object.traits < listedTraits.count()) return listedTraits[object.traits] != 0;
  while (listedTraits.count() < object.traits) listedTraits.push(0);
  Frame trial{object.sealedCount, object.sealedCount, object.traits, 0};
  noteSealed(trial);
  names.close();
  listedTraits.push(trial.listed ? 1 : 0);
  return trial.listed;
}

void Facts::noteSealed(Frame& frame) {
  names.open();
  frame.namesOpen = true;
  if (frame.sealedCount == 0) return;
  const Traits traits = tables->traitsAt(frame.traits);
  KnownNames sealed(*tables, traits);
  for (std::uint32_t i = 0; i < frame.sealedCount && !frame.listed; ++i) note(frame, sealed.next());
}

void Facts::note(Frame& frame, const AMFWireString& name) {
  const std::int64_t index = arrayIndexOf(name);
  if (index < 0) {
    frame.otherNames = true;
  } else {
    if (frame.otherNames || index <= frame.lastIndex) frame.listed = true;
    frame.lastIndex = index;
  }
  if (!names.add(name) || !texts.text(name).isUtf8) frame.listed = true;
}

void Facts::member(const AMFWireString& name) {
  Frame& frame = frames.back();
  if (frame.sealedLeft > 0) {
    --frame.sealedLeft;
    return;
  }
  frame.flags |= kBeyond;
  ++frame.members;
  if (frame.listed) return;
  if (!frame.namesOpen) noteSealed(frame);
  note(frame, name);
}

void Facts::end() {
  const Frame& frame = frames.back();
  std::uint8_t flags = frame.flags;
  if (frame.listed) flags |= kListed;
  if (frame.members == frame.declaredCount) flags |= kCounted;
  objects(frame.amf3)[frame.object] |= flags;
  if (frame.namesOpen) names.close();
  frames.pop_back();
}

}  // namespace amf2json::wire
