// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader: documents and sections. The inverse of json_document_writer.h. Tested by
// tests/wire/documents_test.cpp and tests/wire/originals_test.cpp.
#include <algorithm>

#include "wire/amf_reader.h"
#include "wire/json_reader.h"

namespace amf2json::wire {

namespace {

enum DocumentKey : std::size_t {
  kAmf,
  kHeaders,
  kMessages,
  kHeaderCount,
  kMessageCount,
  kAmf0,
  kAmf3,
  kSol,
  kSize,
  kEntries,
  kFlv,
  kDocStringReferences,
  kDocTraitsReferences,
  kDocIntegers,
  kDocOriginal,
  kTrailing,
  kError,
  kSource
};
const char* const kDocumentKeys[] = {"amf",
                                     "headers",
                                     "messages",
                                     "headerCount",
                                     "messageCount",
                                     "amf0",
                                     "amf3",
                                     "sol",
                                     "size",
                                     "entries",
                                     "flv",
                                     "stringReferences",
                                     "traitsReferences",
                                     "integers",
                                     "original",
                                     "trailing",
                                     "error",
                                     "source"};
constexpr std::uint32_t keys(std::initializer_list<DocumentKey> list) {
  std::uint32_t bits = 0;
  for (const DocumentKey key : list) bits |= std::uint32_t{1} << key;
  return bits;
}
constexpr std::uint32_t kEverywhere = keys({kTrailing, kError, kSource});
constexpr std::uint32_t kOneSection =
    kEverywhere | keys({kDocStringReferences, kDocTraitsReferences, kDocIntegers, kDocOriginal});

// The keys of each form. The first key decides the form.
const struct {
  DocumentKey key;
  std::uint32_t allowed;
} kForms[] = {
    {kFlv, kEverywhere | keys({kFlv})},
    {kAmf0, kOneSection | keys({kAmf0})},
    {kAmf3, kOneSection | keys({kAmf3})},
    {kSol, kOneSection | keys({kSol, kAmf, kSize, kEntries})},
    {kHeaders, kEverywhere | keys({kHeaders, kMessages, kAmf, kHeaderCount, kMessageCount})}};

enum SectionKey : std::size_t {
  kFirst,   // name or target
  kSecond,  // mustUnderstand or response
  kLength,
  kValue,
  kRaw,
  kRawError,
  kStringReferences,
  kTraitsReferences,
  kIntegers,
  kOriginal
};
const char* const kHeaderKeys[] = {
    "name",  "mustUnderstand",   "length",           "value",    "raw",
    "error", "stringReferences", "traitsReferences", "integers", "original"};
const char* const kMessageKeys[] = {"target",   "response", "length",           "value",
                                    "raw",      "error",    "stringReferences", "traitsReferences",
                                    "integers", "original"};

}  // namespace

// The value tokens of the keys of an object; 0 for missing keys. Other keys are refused.
template <std::size_t N>
void JsonReader::readKeys(std::uint32_t object, const char* const (&names)[N],
                          std::uint32_t (&found)[N]) {
  needObject(object);
  checkDuplicateKeys(object);
  std::fill(found, found + N, 0u);
  std::uint32_t key = JsonIndex::first(object);
  for (std::uint32_t remaining = index.count(object); remaining > 0;
       --remaining, key = index.nextKey(key)) {
    std::size_t known = 0;
    while (known < N && !sameText(index.text(key), names[known])) ++known;
    if (known == N) fail(key, "unknown key");
    found[known] = key + 1;
  }
}

// The index in kForms of the form whose key comes first; the number of forms if there is none.
static std::size_t firstForm(const std::uint32_t* found) {
  std::size_t form = std::size(kForms);
  std::uint32_t first = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < std::size(kForms); ++i) {
    std::uint32_t token = found[kForms[i].key];
    if (kForms[i].key == kHeaders && found[kMessages] != 0) {
      token = token == 0 ? found[kMessages] : std::min(token, found[kMessages]);
    }
    if (token == 0 || token > first) continue;
    first = token;
    form = i;
  }
  return form;
}

void JsonReader::checkDocumentKeys(const std::uint32_t* found, std::size_t form) const {
  std::uint32_t refused = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < std::size(kDocumentKeys); ++i) {
    const bool allowed = (kForms[form].allowed >> i & 1) != 0;
    if (!allowed && found[i] != 0) refused = std::min(refused, found[i] - 1);
  }
  if (refused == 0xFFFFFFFFu) return;
  fail(refused, std::string("a key that does not go with ") + kDocumentKeys[kForms[form].key]);
}

AMFWireForm JsonReader::readDocument() {
  std::uint32_t found[std::size(kDocumentKeys)];
  readKeys(0, kDocumentKeys, found);
  const std::size_t form = firstForm(found);
  if (form == std::size(kForms)) fail(0, "expected headers and messages, amf0, amf3 or sol");
  checkDocumentKeys(found, form);
  switch (kForms[form].key) {
    case kFlv: fail(found[kFlv] - 1, "an FLV file is not written");
    case kAmf0: return bareValues(found, AMFWireForm::amf0);
    case kAmf3: return bareValues(found, AMFWireForm::amf3);
    case kSol: return sharedObject(found);
    default: return packet(found);
  }
}

AMFWireForm JsonReader::packet(const std::uint32_t* found) {
  const DocumentKey needed[] = {kAmf, kHeaders, kMessages};
  for (const DocumentKey key : needed) {
    if (found[key] == 0) fail(0, std::string(kDocumentKeys[key]) + " is missing");
  }
  AMFWireDocument document;
  document.form = AMFWireForm::packet;
  document.version = static_cast<std::uint16_t>(needWhole(found[kAmf], 0, 65535));
  document.trueCounts = false;
  const DocumentKey lists[] = {kHeaders, kMessages};
  for (const DocumentKey key : lists) {
    if (index.count(needArray(found[key])) > 0xFFFF) {
      fail(found[key], std::string("more than 65535 ") + kDocumentKeys[key]);
    }
  }
  document.headerCount = index.count(found[kHeaders]);
  std::uint32_t messageCount = index.count(found[kMessages]);
  if (found[kHeaderCount] != 0) {
    document.headerCount = static_cast<std::uint32_t>(
        needWhole(found[kHeaderCount], document.headerCount + 1.0, 65535));
    if (messageCount != 0) fail(found[kMessages], "messages behind a header that is cut");
    if (found[kMessageCount] != 0) {
      fail(found[kMessageCount] - 1, "a number of messages behind a header that is cut");
    }
  }
  if (found[kMessageCount] != 0) {
    messageCount =
        static_cast<std::uint32_t>(needWhole(found[kMessageCount], messageCount + 1.0, 65535));
  }
  sink.beginDocument(document);
  sectionList(found[kHeaders], true);
  if (found[kHeaderCount] == 0) {
    sink.beginMessages(messageCount);
    sectionList(found[kMessages], false);
  }
  finish(found, kTrailing, kError);
  return AMFWireForm::packet;
}

void JsonReader::finish(const std::uint32_t* found, std::size_t trailing, std::size_t error) {
  if (found[error] != 0) needString(found[error]);
  AMFWireString bytes;
  if (found[trailing] != 0) {
    at = found[trailing];
    bytes = needBase64(found[trailing]);
  }
  sink.endDocument(bytes, {});
}

void JsonReader::sectionList(std::uint32_t list, bool isHeader) {
  std::uint32_t item = JsonIndex::first(list);
  for (std::uint32_t remaining = index.count(list); remaining > 0;
       --remaining, item = index.after(item)) {
    section(item, isHeader);
  }
}

void JsonReader::section(std::uint32_t token, bool isHeader) {
  at = token;
  std::uint32_t found[std::size(kHeaderKeys)];
  readKeys(token, isHeader ? kHeaderKeys : kMessageKeys, found);
  const std::uint32_t content = found[kRaw] != 0 ? found[kRaw] : found[kValue];
  if (found[kRaw] != 0) {
    // Raw bytes do not allow the keys of a value.
    std::uint32_t refused = 0;
    for (std::size_t i = 0; i < std::size(found); ++i) {
      const bool ofValue = i == kValue || i >= kStringReferences;
      if (ofValue && found[i] != 0 && (refused == 0 || found[i] < refused)) refused = found[i];
    }
    if (found[kValue] != 0) refused = std::max(found[kValue], found[kRaw]);
    if (refused != 0) fail(refused - 1, "raw bytes and a value");
  } else if (found[kRawError] != 0) {
    fail(found[kRawError] - 1, "an error without raw bytes");
  }
  if (content == 0) fail(token, "value is missing");
  AMFWireSection section;
  section.kind = isHeader ? AMFWireSectionKind::header : AMFWireSectionKind::message;
  for (std::size_t i = 0; i < 2; ++i) {
    if (found[i] == 0) {
      fail(token, std::string((isHeader ? kHeaderKeys : kMessageKeys)[i]) + " is missing");
    }
  }
  sectionHead(section, found, isHeader);
  readMarks(section, found + kStringReferences);
  sink.beginSection(section);
  if (found[kRaw] != 0) {
    if (found[kRawError] != 0) needString(found[kRawError]);
    at = content;
    sink.rawSection(needBase64(content), {});
  } else {
    ids.clear();
    amf3 = false;
    value(content);
    run();
    restoreOriginal(section, found[kOriginal]);
  }
  sink.endSection();
}

void JsonReader::sectionHead(AMFWireSection& section, const std::uint32_t* found, bool isHeader) {
  section.name = needString16(found[kFirst]);
  const std::uint32_t second = found[kSecond];
  if (!isHeader) {
    section.response = needString16(second);
  } else if (index.isNumber(second)) {
    section.mustUnderstand = static_cast<std::uint8_t>(needWhole(second, 0, 255));
  } else if (isKind(second, 't') || isKind(second, 'f')) {
    section.mustUnderstand = isKind(second, 't') ? 1 : 0;
  } else {
    failKind(second, "true, false or a byte");
  }
  const std::uint32_t length = found[kLength];
  if (length == 0) return;
  section.trueLength = false;
  if (index.isString(length)) {
    if (!sameText(index.text(length), "unknown")) fail(length, "expected a number or \"unknown\"");
  } else {
    section.declaredLength = static_cast<std::uint32_t>(needWhole(length, 0, 4294967295.0));
  }
}

// stringReferences, traitsReferences, integers.
void JsonReader::readMarks(AMFWireSection& section, const std::uint32_t* found) {
  section.stringReferences = found[0] == 0 || needBoolean(found[0]);
  section.traitsReferences = found[1] == 0 || needBoolean(found[1]);
  section.integers = found[2] == 0 || needBoolean(found[2]);
}

AMFWireForm JsonReader::bareValues(const std::uint32_t* found, AMFWireForm form) {
  AMFWireDocument document;
  document.form = form;
  AMFWireSection section;
  section.kind = AMFWireSectionKind::values;
  readMarks(section, found + kDocStringReferences);
  const std::uint32_t list = needArray(found[form == AMFWireForm::amf0 ? kAmf0 : kAmf3]);
  sink.beginDocument(document);
  sink.beginSection(section);
  amf3 = form == AMFWireForm::amf3;
  pushItems(JsonIndex::first(list), index.count(list));
  frames.back().ends = false;
  run();
  restoreOriginal(section, found[kDocOriginal]);
  sink.endSection();
  finish(found, kTrailing, kError);
  return form;
}

AMFWireForm JsonReader::sharedObject(const std::uint32_t* found) {
  const DocumentKey needed[] = {kAmf, kEntries};
  for (const DocumentKey key : needed) {
    if (found[key] == 0) fail(0, std::string(kDocumentKeys[key]) + " is missing");
  }
  AMFWireDocument document;
  document.form = AMFWireForm::sharedObject;
  document.name = needString16(found[kSol]);
  document.version = static_cast<std::uint16_t>(needWhole(found[kAmf], 0, 3));
  if (document.version != 0 && document.version != 3) fail(found[kAmf], "expected 0 or 3");
  document.trueSize = found[kSize] == 0;
  if (found[kSize] != 0) {
    document.declaredSize = static_cast<std::uint32_t>(needWhole(found[kSize], 0, 4294967295.0));
  }
  AMFWireSection section;
  section.kind = AMFWireSectionKind::entries;
  readMarks(section, found + kDocStringReferences);
  at = found[kSol];
  sink.beginDocument(document);
  sink.beginSection(section);
  amf3 = document.version == 3;
  entries(found[kEntries]);
  sink.endValues();
  restoreOriginal(section, found[kDocOriginal]);
  sink.endSection();
  finish(found, kTrailing, kError);
  return AMFWireForm::sharedObject;
}

// They have the form of an object without a class. In AMF3 no reference can refer to it.
void JsonReader::entries(std::uint32_t token) {
  needObject(token);
  const Object object = separateKeys(token, false);
  const Key refused[] = {Key::sealed, Key::dynamic, Key::id};
  for (const Key key : refused) {
    if (object.has(key) && (key != Key::id || amf3)) {
      fail(object[key] - 1, "a key that does not go with entries");
    }
  }
  if (object.has(Key::id)) {
    const auto id = static_cast<std::uint64_t>(needWhole(object[Key::id], 1, 9007199254740991.0));
    ids.insert({id, {false, 0}});
  }
  const std::uint32_t count = memberCount(object);
  pushMembers(object, count, false);  // names may be empty, because no name ends the entries
  frames.back().ends = false;
  run();
}

// Replaces the written values by `original`, if it decodes to the same values: its values, written
// again, are the same bytes as the written values.
void JsonReader::restoreOriginal(const AMFWireSection& section, std::uint32_t token) {
  if (token == 0) return;
  at = token;
  const AMFWireString bytes = needBase64(token);
  AmfWriter copy(options.limits.maxPacketBytes);
  if (!readOriginal(section, bytes, copy)) return;
  const AMFWireString written = sink.values();
  const AMFWireString again = copy.values();
  if (written.length != again.length) return;
  if (written.length != 0 && std::memcmp(written.data, again.data, again.length) != 0) return;
  sink.replaceValues(bytes);
}

// Returns false if the bytes are no such section.
bool JsonReader::readOriginal(const AMFWireSection& section, const AMFWireString& bytes,
                              AmfWriter& copy) {
  const char* const end = bytes.data + bytes.length;
  AmfReader<AmfWriter> reader({bytes.data, &classes, options.limits.maxDepth}, copy);
  copy.beginValues(section, amf3);
  try {
    const char* at0 = end;
    switch (section.kind) {
      case AMFWireSectionKind::values: reader.readValues(bytes.data, end, amf3); break;
      case AMFWireSectionKind::entries: reader.readEntries(bytes.data, end, nullptr, amf3); break;
      default: at0 = reader.readOne(bytes.data, end); break;
    }
    copy.endValues();
    return at0 == end;
  } catch (const Failure&) {
    return false;
  } catch (const TooManyBytes&) {
    return false;
  } catch (const Unwritable&) {
    return false;
  }
}

}  // namespace amf2json::wire
