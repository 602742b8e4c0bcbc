// SPDX-License-Identifier: Apache-2.0
//
// The first pass of an export. Tested by tests/wire/rows_test.cpp and
// tests/wire/originals_test.cpp.
#include "wire/facts.h"

#include "wire/date_text.h"
#include "wire/json_keys.h"
#include "wire/number_text.h"

namespace amf2json::wire {

namespace {

// The longest texts of the keys of documents and sections.
constexpr std::uint64_t kDocumentKeys = 200;
constexpr std::uint64_t kSectionKeys = 200;
constexpr std::uint64_t kMaxKeysLength = 0x7FFFFFFF;
constexpr std::uint32_t kFewNames = 32;
constexpr std::uint64_t kPlainNameExtra = 4;  // two quotes, colon and comma

// Returns the array index if the name is one in JavaScript; otherwise -1.
std::int64_t arrayIndexOf(const AMFWireString& name) {
  if (name.length == 0 || name.length > 10 || name.data[0] > '9') return -1;
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

void Facts::endDocument(const AMFWireString& trailing, const AMFWireString& error) {
  bound.addPossible(kDocumentKeys);
  if (trailing.length != 0) bound.base64(trailing.length);
  if (error.length != 0) bound.string(error, texts);
}

void Facts::rawSection(const AMFWireString& bytes, const AMFWireString& error) {
  bound.base64(bytes.length);
  bound.string(error, texts);
}

void Facts::beginSection(const AMFWireSection& section) {
  bound.addPossible(kSectionKeys);
  bound.string(section.name, texts);
  bound.string(section.response, texts);
  sections.emplace_back();
  sectionBegin = section.offset;
  traitsFacts.clear();
  lastTraits = {};  // in another section a reference refers to another string
  begin0 = objects0.count();
  begin3 = objects3.count();
  amf3 = formIs3;
  integerSeen = wholeSeen = false;
  if (section.kind != AMFWireSectionKind::entries) return;
  frames.emplace_back();
  frames.back().object = objects0.count();
  if (!amf3) objects0.push(0);
}

void Facts::valuesEnd(const SectionTables& of, std::size_t offset) {
  SectionFacts& section = sections.back();
  section.end = static_cast<std::uint32_t>(offset);
  if (form == AMFWireForm::flv) return;
  bool nonCanonical = of.nonCanonical;
  // If some repeated strings are references and others are not, no key can say which ones.
  if (!(nonCanonical && of.usesStringReferences) && hasRepeatedString(of, texts)) {
    if (of.usesStringReferences) nonCanonical = true;
    if (!of.usesStringReferences) section.flags |= kNoStringReferences;
  }
  if (!(nonCanonical && of.usesTraitsReferences) && hasRepeatedTraits(of, texts)) {
    if (of.usesTraitsReferences) nonCanonical = true;
    if (!of.usesTraitsReferences) section.flags |= kNoTraitsReferences;
  }
  if (wholeSeen && !integerSeen) section.flags |= kNoIntegers;
  if (nonCanonical) section.flags |= kOriginal;
  if (nonCanonical && originals) bound.base64(offset - sectionBegin);
}

void Facts::endSection() {
  if (frames.empty()) return;  // otherwise: the entries of a shared object
  if (frames.back().listed) {
    sections.back().flags |= kEntriesListed;
    bound.add(sizeof "\"$members\":[]" + std::uint64_t{2} * frames.back().members);
  }
  closeNames(frames.back());
  frames.pop_back();
}

void Facts::number(const double& value) {
  bound.add(1);
  if (needsWord(value)) return bound.addPossible(sizeof "{\"$double\":\"0x7ff8000000000001\"}");
  bound.number(value);
  if (!amf3 || !fitsInteger(value)) return;
  wholeSeen = true;
  bound.addPossible(sizeof "{\"$double\":}");
}

void Facts::date(const double& timeMs, std::int16_t zone) {
  if (amf3) objects3.push(0);
  bound.add(sizeof "{\"$date\":}");
  if (hasDateText(timeMs)) {
    bound.add(kDateLength + 2);
  } else if (needsWord(timeMs)) {
    bound.addPossible(sizeof "\"0x7ff8000000000001\"");
  } else {
    bound.number(timeMs);
  }
  if (zone != 0) bound.add(sizeof ",\"$zone\":-32768");
}

void Facts::xmlDocument(const AMFWireString& value) {
  bound.add(sizeof "doc" - 1);
  xml(value);
}

void Facts::xml(const AMFWireString& value) {
  if (amf3) objects3.push(0);
  bound.add(sizeof "{\"$xml\":}");
  bound.string(value, texts);
}

void Facts::byteArray(const AMFWireString& value) {
  objects3.push(0);
  bound.add(sizeof "{\"$bytes\":}");
  bound.base64(value.length);
}

void Facts::reference(std::uint32_t index) {
  objects(amf3)[(amf3 ? begin3 : begin0) + index] |= kReferred;
  bound.addPossible(sizeof "{\"$ref\":4294967295}" + sizeof "{\"$id\":4294967295,\"$array\":}");
}

void Facts::open(std::uint32_t sealedCount) {
  Table<std::uint8_t>& table = objects(amf3);
  frames.emplace_back();
  Frame& frame = frames.back();
  frame.remainingSealed = frame.sealedCount = sealedCount;
  frame.object = table.count();
  frame.amf3 = amf3;
  expectNames(frame);
  table.push(0);
  bound.add(3);  // brackets and a comma
  checkLength();
}

void Facts::beginArray(const AMFWireArray& array) {
  open(array.hasMembers ? 0 : kNoNames);
  if (array.hasMembers) bound.add(sizeof "\"$array\":[]");
}

void Facts::beginEcmaArray(std::uint32_t declaredCount) {
  open(0);
  frames.back().declaredCount = declaredCount;
  bound.add(sizeof "\"$ecma\":0");
  bound.addPossible(sizeof "4294967295" - sizeof "0");
}

void Facts::beginExternal(const AMFWireExternal& external) {
  open(kNoNames);
  bound.add(sizeof "\"$external\":");
  if (!external.smallMessage) bound.add(sizeof "\"$value\":");
  if (!external.smallMessage && external.count != 1) bound.add(sizeof "s[]" - 1);
  bound.string(external.className, texts);
  if (external.dynamic) bound.add(sizeof "\"$dynamic\":true");
}

void Facts::beginVector(const AMFWireVector& vector) {
  open(kNoNames);
  bound.add(sizeof "\"$vector\":\"int\",\"$items\":[]");
  bound.addPossible(sizeof "double" - sizeof "int");
  if (vector.fixed) bound.add(sizeof "\"$fixed\":true");
  if (vector.kind != AMFWireVectorKind::object) return;
  bound.add(sizeof "\"$type\":");
  bound.string(vector.typeName, texts);
}

void Facts::vectorItems(const char*, std::uint32_t count) {
  bound.addPossible(std::uint64_t{count} * sizeof "{\"$double\":\"0x7ff8000000000001\"}");
}

void Facts::beginDictionary(std::uint32_t count, bool weak) {
  open(kNoNames);
  frames.back().pairs = count;
  bound.add(sizeof "\"$dictionary\":[]" + (weak ? sizeof "\"$weak\":true" : 0));
}

void Facts::field(const AMFWireField& field) {
  if (field.name != nullptr) return bound.add(std::strlen(field.name) + 3);
  bound.add(sizeof "\"$0.0.0\":" - 1);
  bound.addPossible(sizeof "2.15.6" - sizeof "0.0.0");
}

bool Facts::addName(const AMFWireString& name) {
  const bool isUtf8 = bound.string(name, texts);
  bound.add(startsWithDollar(name) ? 3 : 2);
  checkLength();
  return isUtf8;
}

void Facts::beginObject(const AMFWireObject& object) {
  open(object.sealedCount);
  Frame& frame = frames.back();
  frame.traits = object.traits;
  if (object.typed) bound.add(sizeof "\"$class\":");
  const bool isUsual = object.typed ? !object.dynamic : object.dynamic && object.sealedCount == 0;
  if (amf3 && !isUsual) {
    bound.addPossible(sizeof "\"$sealed\":4294967295,\"$dynamic\":false");
  }
  if (object.sealedCount == 0) {
    if (object.typed) bound.string(object.className, texts);
    return;
  }
  const std::uint32_t known = factsOfTraits(object);
  frame.listed = (known & 1) != 0;
  bound.add(known >> 1);
}

// The names of traits are examined once for each entry.
std::uint32_t Facts::factsOfTraits(const AMFWireObject& object) {
  if (object.traits < traitsFacts.count()) return traitsFacts[object.traits];
  while (traitsFacts.count() < object.traits) traitsFacts.push(0);
  // A sender that repeats traits in full repeats the same bytes, so these are compared first.
  const char* const begin = tables->base + tables->traits[object.traits];
  const AMFWireString bytes(begin, static_cast<std::size_t>(tables->endOfTraits - begin));
  if (!sameBytes(bytes, lastTraits)) {
    lastFacts = examineTraits(object);
    lastTraits = bytes;
  }
  traitsFacts.push(lastFacts);
  return lastFacts;
}

std::uint32_t Facts::examineTraits(const AMFWireObject& object) {
  Frame trial;
  trial.sealedCount = object.sealedCount;
  trial.traits = object.traits;
  const std::uint64_t before = bound.least();
  examineSealed(trial);
  names.close();
  SealedNames sealed(*tables, tables->traitsAt(object.traits));
  for (std::uint32_t i = 0; i < object.sealedCount; ++i) addName(sealed.next());
  if (object.typed) bound.string(object.className, texts);
  const std::uint64_t length = bound.least() - before;
  bound.add(0 - length);  // it is added for each object
  return static_cast<std::uint32_t>(length < kMaxKeysLength ? length : kMaxKeysLength) << 1 |
         (trial.listed ? 1 : 0);
}

void Facts::examineSealed(Frame& frame) {
  names.open();
  frame.namesOpen = true;
  if (frame.sealedCount == 0) return;
  const Traits traits = tables->traitsAt(frame.traits);
  SealedNames sealed(*tables, traits);
  for (std::uint32_t i = 0; i < frame.sealedCount && !frame.listed; ++i) {
    const AMFWireString name = sealed.next();
    examine(frame, name, texts.text(name).isUtf8);
  }
}

void Facts::examine(Frame& frame, const AMFWireString& name, bool isUtf8) {
  const std::int64_t index = arrayIndexOf(name);
  if (index < 0) {
    frame.otherNames = true;
  } else {
    if (frame.otherNames || index <= frame.lastIndex) frame.listed = true;
    frame.lastIndex = index;
  }
  if (!isUtf8 || !names.add(name)) frame.listed = true;
}

void Facts::member(const AMFWireString& name) {
  Frame& frame = frames.back();
  if (frame.remainingSealed > 0) {
    --frame.remainingSealed;
    return;
  }
  frame.flags |= kHasDynamic;
  if (frame.expected != frame.lastExpected && sameBytes(*frame.expected, name)) {
    ++frame.expected;
    ++frame.members;
    bound.add(name.length + kPlainNameExtra);
    return checkLength();
  }
  if (!frame.namesOpen && !frame.listed) openNames(frame);
  ++frame.members;
  const std::uint64_t before = bound.least();
  const bool isUtf8 = addName(name);
  if (bound.least() - before != name.length + kPlainNameExtra) frame.plainNames = false;
  if (!frame.listed) examine(frame, name, isUtf8);
}

void Facts::expectNames(Frame& frame) const {
  if (frame.sealedCount != 0 || frames.size() >= lastObjectNames.size()) return;
  const Names& last = lastObjectNames[frames.size()];
  frame.expected = last.data();
  frame.lastExpected = last.data() + last.size();
}

// Adds the sealed names, and those that were only compared.
void Facts::openNames(Frame& frame) {
  frame.expected = frame.lastExpected = nullptr;
  examineSealed(frame);
  for (std::uint32_t i = 0; i < frame.members; ++i) {
    examine(frame, lastObjectNames[frames.size()][i], true);
  }
}

void Facts::closeNames(const Frame& frame) {
  if (!frame.namesOpen) return;
  const bool isCached =
      !frame.listed && frame.plainNames && frame.sealedCount == 0 && frame.members <= kFewNames;
  if (isCached) {
    if (frames.size() >= lastObjectNames.size()) lastObjectNames.resize(frames.size() + 1);
    names.copyTo(lastObjectNames[frames.size()]);
  }
  names.close();
}

void Facts::end() {
  const Frame& frame = frames.back();
  std::uint8_t flags = frame.flags;
  if (frame.listed) {
    flags |= kNeedsMemberList;
    bound.add(sizeof "\"$members\":[]" +
              std::uint64_t{2} *
                  (frame.members + (frame.sealedCount == kNoNames ? 0 : frame.sealedCount)));
  }
  if (frame.members == frame.declaredCount) flags |= kCounted;
  bound.add(std::uint64_t{frame.pairs} * 3);  // not earlier: the count may be wrong
  objects(frame.amf3)[frame.object] |= flags;
  closeNames(frame);
  frames.pop_back();
}

}  // namespace amf2json::wire
