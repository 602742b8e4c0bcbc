// SPDX-License-Identifier: Apache-2.0
//
// The fields around the values: packets, shared objects, FLV files. Tested by web/tests/fields.test.mjs.
#include <algorithm>

#include "tool/text/printable.h"
#include "tool/text/words.h"
#include "web/fields_wire.h"

namespace web {

namespace {

constexpr JsonPaths::Place kDocument = JsonPaths::kDocument;
constexpr JsonPaths::Place kNowhere = FieldList::kNowhere;
constexpr std::size_t kFlvHead = 9;
constexpr std::size_t kTagHead = 11;

}  // namespace

void WireFields::beginDocument(const AMFWireDocument& document) {
  form = document.form;
  formIs3 =
      form == AMFWireForm::amf3 || (form == AMFWireForm::sharedObject && document.version == 3);
  switch (form) {
    case AMFWireForm::packet:
      plain("version", 2, paths.key(kDocument, "amf"));
      list = paths.key(kDocument, "headers");
      plain("headerCount", 2, list);
      return;
    case AMFWireForm::sharedObject: {
      fields.add("signature", 2, kDocument, "signature of a shared object");
      plain("size", 4, kDocument);
      fields.add("signature", 4, kDocument, "signature TCSO");
      fields.add("signature", 6, kDocument, "signature of a shared object");
      const Place name = paths.key(kDocument, "sol");
      string16("string", name);
      plain("version", 4, paths.key(kDocument, "amf"));
      return;
    }
    case AMFWireForm::flv:
      list = paths.key(kDocument, "flv");
      fields.add("signature", 3, kDocument, "signature FLV");
      plain("version", 1, kDocument);
      plain("flags", 1, kDocument);
      plain("size", 4, kDocument);
      return;
    default: return;
  }
}

void WireFields::beginMessages(std::uint32_t) {
  inHeaders = false;
  sections = 0;
  list = paths.key(kDocument, "messages");
  plain("messageCount", 2, list);
}

void WireFields::beginSection(const AMFWireSection& begun) {
  objects0.clear();
  objects3.clear();
  traits.clear();
  frames.clear();
  amf3 = formIs3;
  switch (begun.kind) {
    case AMFWireSectionKind::values: {
      const Place values = paths.key(kDocument, formIs3 ? "amf3" : "amf0");
      return push(Kind::list, values, values);
    }
    case AMFWireSectionKind::entries: {
      const Place entries = paths.key(kDocument, "entries");
      if (!amf3) enter(entries);
      push(Kind::named, entries, entries);
      frames.back().isEntries = true;
      return;
    }
    case AMFWireSectionKind::scriptTag: return beginScriptTag(begun);
    default: break;
  }
  section = paths.item(list, sections++);
  if (begun.kind == AMFWireSectionKind::header) {
    string16("headerName", paths.key(section, "name"));
    plain("mustUnderstand", 1, paths.key(section, "mustUnderstand"));
  } else {
    string16("targetUri", paths.key(section, "target"));
    string16("responseUri", paths.key(section, "response"));
  }
  const bool isUnknown = begun.declaredLength == AMFWireSection::kUnknownLength;
  fields.add("declaredLength", 4, section,
             isUnknown ? "declaredLength unknown"
                       : "declaredLength " + std::to_string(begun.declaredLength));
  const Place value = paths.key(section, "value");
  push(Kind::one, value, value);
}

void WireFields::rawSection(const AMFWireString& raw, const AMFWireString& error) {
  hasFirstByte = false;
  const bool isWhole = form == AMFWireForm::packet || form == AMFWireForm::flv;
  fields.add("raw", raw.length, isWhole ? paths.key(section, "raw") : kNowhere,
             std::string(error.data, error.length));
}

void WireFields::endSection() {
  skipFirstByte();
  if (frames.back().isEntries) entryEnd();
  frames.clear();
}

void WireFields::endDocument(const AMFWireString& trailing, const AMFWireString& error) {
  const std::size_t begin = bytes.size() - trailing.length;
  if (form == AMFWireForm::flv) tagsUpTo(begin, false);
  std::string meaning = "trailing: " + pluralize(trailing.length, "byte");
  if (error.length > 0) meaning += ", " + std::string(error.data, error.length);
  fields.add("trailing", trailing.length, paths.key(kDocument, "trailing"), meaning);
}

// ---- Shared objects

// The byte 00 after the previous entry. The first entry has none before it.
void WireFields::entryEnd() {
  if (frames.back().next == 0 || fields.rest().empty()) return;
  fields.add("end", 1, frames.back().place, "end of the entry");
}

// ---- FLV files

void WireFields::beginScriptTag(const AMFWireSection& begun) {
  tagsUpTo(begun.offset, true);
  section = paths.item(list, sections++);
  const Place values = paths.key(section, "values");
  push(Kind::list, values, values);
}

// The first byte of a script tag of type 15 is not part of its values.
void WireFields::skipFirstByte() {
  if (!hasFirstByte) return;
  hasFirstByte = false;
  fields.add("signature", 1, section, "the first byte of a script tag of type 15");
}

// Adds the fields from the end of the previous tag to `offset`: the body of a script tag if `isBody`, else the end of
// what was read. Tags in between have no values. The u32 size of the previous tag precedes each tag.
void WireFields::tagsUpTo(std::size_t offset, bool isBody) {
  if (fields.position() == kFlvHead) {
    const std::size_t headSize =
        static_cast<std::size_t>(byteAt(5)) << 24 | byteAt(6) << 16 | byteAt(7) << 8 | byteAt(8);
    if (headSize > kFlvHead) fields.add("raw", headSize - kFlvHead, kDocument, "more of the head");
  }
  while (fields.position() < offset) {
    plain("size", 4, kDocument);
    if (fields.position() >= offset) return;
    const unsigned type = byteAt(fields.position());
    const bool isWanted = isBody && fields.position() + kTagHead == offset;
    const Place place = isWanted ? paths.item(list, sections) : kDocument;
    fields.add("tag", 1, place, "tag of type " + std::to_string(type));
    const std::uint32_t length = peek(3);
    plain("size", 3, place);
    const Place time = isWanted ? paths.key(place, "time") : kDocument;
    fields.add("timeMs", 4, time, "time stamp");
    fields.add("tag", 3, place, "stream number");
    hasFirstByte = isWanted && (type & 0x1F) == 15;
    if (!isWanted)
      fields.add("raw", length, kDocument, "a tag without values: " + pluralize(length, "byte"));
  }
}

}  // namespace web
