// SPDX-License-Identifier: Apache-2.0
//
// The fields of values. Tested by web/tests/fields.test.mjs.
#include "web/fields_wire.h"

#include <utility>

#include "tool/commands/dump_rows.h"
#include "tool/text/hex.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace web {

namespace {

constexpr std::size_t kShownText = 64;
constexpr std::uint32_t kInlineTraits = 2;
constexpr std::uint32_t kExternal = 4;
constexpr std::uint32_t kDynamic = 8;

std::string_view viewOf(const AMFWireString& text) {
  return {text.data, text.length};
}

const char* markerName(bool amf3, unsigned marker) {
  static constexpr const char* kBeyond[] = {"vector of int", "vector of uint", "vector of double",
                                            "vector of objects", "dictionary"};
  if (!amf3) return markerName0(marker);
  return marker >= 0x0D && marker <= 0x11 ? kBeyond[marker - 0x0D] : markerName3(marker);
}

}  // namespace

// ---- Places

JsonPaths::Place WireFields::take() {
  skipFirstByte();
  Frame& frame = frames.back();
  switch (frame.kind) {
    case Kind::one: return frame.place;
    case Kind::named: return pending;
    case Kind::list: return paths.item(frame.place, frame.next++);
    case Kind::plainArray: return paths.arrayItem(frame.place, frame.next++);
    case Kind::dictionary: break;
  }
  const std::uint32_t number = frame.next++;
  if (number % 2 == 0) frame.object = paths.item(frame.place, number / 2);
  return paths.item(frame.object, number % 2);
}

void WireFields::enter(Place value) {
  (amf3 ? objects3 : objects0).push_back(value);
}

// The next member's name.
void WireFields::name(Frame& frame, std::string_view text) {
  pending = frame.place = paths.member(frame.object, text, frame.next++);
  if (frame.remainingSealed > 0) {
    --frame.remainingSealed;  // its name was checked with its traits
    return;
  }
  if (frame.isObject3 && !std::exchange(frame.hasNames, true)) {
    for (const std::string_view sealed : traits[frame.traits].names) frame.names.add(sealed);
  }
  frame.names.add(text);
  if (frame.names.needsList()) paths.listMembers(frame.object);
}

// ---- Fields

std::uint32_t WireFields::peek(std::size_t count) const {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) value = value << 8 | byteAt(fields.position() + i);
  return value;
}

// Up to four bytes, seven bits each, the fourth one eight.
std::uint32_t WireFields::peekU29(std::size_t& length) const {
  std::uint32_t value = 0;
  for (length = 1;; ++length) {
    const unsigned byte = byteAt(fields.position() + length - 1);
    if (length == 4) return value << 8 | byte;
    value = value << 7 | (byte & 0x7F);
    if (byte < 0x80) return value;
  }
}

void WireFields::marker(Place place) {
  const unsigned marker = byteAt(fields.position());
  const char* const kind = amf3 ? "marker3" : "marker0";
  fields.add(kind, 1, place,
             std::string(kind) + ' ' + hexByte(static_cast<char>(marker)) + ' ' +
                 markerName(amf3, marker));
}

void WireFields::plain(const char* kind, std::size_t length, Place place) {
  fields.add(kind, length, place, std::string(kind) + ' ' + std::to_string(peek(length)));
}

void WireFields::payload(const char* kind, std::size_t length, Place place) {
  const std::string_view shown = bytes.substr(fields.position(), length);
  const bool isText = std::string_view(kind) != "byteArray";
  fields.add(kind, length, place,
             kind + (isText ? ' ' + quoteForDisplay(shown, kShownText)
                            : " of " + pluralize(length, "byte")));
}

void WireFields::string16(const char* kind, Place place) {
  const std::uint32_t length = peek(2);
  fields.add("length", 2, place, "length " + std::to_string(length) + " of " + kind);
  payload(kind, length, place);
}

// A U29: the count of `of`, or, if its lowest bit is 0, a reference.
std::uint32_t WireFields::head(Place place, const char* of) {
  std::size_t length;
  const std::uint32_t value = peekU29(length);
  if ((value & 1) != 0) {
    fields.add("head", length, place, pluralize(value >> 1, of));
  } else {
    fields.add("reference3", length, place, "reference to value " + std::to_string(value >> 1));
  }
  return value;
}

std::uint32_t WireFields::traitsHead(Place place) {
  std::size_t length;
  const std::uint32_t value = peekU29(length);
  if ((value & kInlineTraits) == 0) {
    fields.add("head", length, place, "traits " + std::to_string(value >> 2));
  } else {
    fields.add("head", length, place,
               "traits: " + pluralize(value >> 4, "sealed member") +
                   ((value & kDynamic) != 0 ? ", dynamic" : "") +
                   ((value & kExternal) != 0 ? ", externalizable" : ""));
  }
  return value;
}

void WireFields::string3(const char* kind, Place place) {
  std::size_t length;
  const std::uint32_t value = peekU29(length);
  const std::string number = std::to_string(value >> 1);
  if ((value & 1) == 0) {
    fields.add("reference3", length, place, kind + (", string " + number));
    return;
  }
  fields.add("head", length, place, "length " + number + " of " + kind);
  payload(kind, value >> 1, place);
}

// A string, XML or bytes, with its marker.
void WireFields::text(const char* kind, const AMFWireString& value, Place place) {
  const bool isLong = byteAt(fields.position()) != 0x02;
  const bool isReferable = amf3 && std::string_view(kind) != "string";
  marker(place);
  if (amf3) {
    string3(kind, place);
    if (isReferable) enter(place);
    return;
  }
  fields.add("length", isLong ? 4 : 2, place,
             "length " + std::to_string(value.length) + " of " + kind);
  payload(kind, value.length, place);
}

void WireFields::traitsFields(std::uint32_t head, Place place) {
  if ((head & kInlineTraits) == 0) return;
  string3("className", place);
  for (std::uint32_t left = head >> 4; left > 0; --left) string3("memberName", place);
}

// ---- Single values

void WireFields::boolean(bool value) {
  const Place place = take();
  marker(place);
  if (!amf3) fields.add("boolean", 1, place, value ? "boolean true" : "boolean false");
}

void WireFields::integer(std::int32_t value) {
  const Place place = take();
  marker(place);
  std::size_t length;
  peekU29(length);
  fields.add("integer", length, place, "integer " + std::to_string(value));
}

void WireFields::number(double value) {
  const Place place = take();
  marker(place);
  fields.add("number", 8, place, "number " + numberText(value));
}

void WireFields::string(const AMFWireString& value) {
  text("string", value, take());
}

void WireFields::date(double timeMs, std::int16_t zone) {
  const Place place = take();
  marker(place);
  if (amf3) {
    std::size_t length;
    peekU29(length);
    fields.add("head", length, place, "a date");
    enter(place);
  }
  fields.add("timeMs", 8, place, "timeMs " + dateText(timeMs));
  if (!amf3) fields.add("timeZone", 2, place, "timeZone " + std::to_string(zone) + " minutes");
}

void WireFields::reference(std::uint32_t index) {
  const Place place = take();
  marker(place);
  paths.refer((amf3 ? objects3 : objects0)[index]);
  if (amf3) {
    head(place, "value");
  } else {
    fields.add("reference0", 2, place, "reference to value " + std::to_string(index));
  }
}

// ---- Values that contain values

void WireFields::beginAmf3() {
  const Place place = take();
  marker(place);
  const Place value = paths.key(place, "$amf3");
  push(Kind::one, value, value);
  amf3 = true;
}

void WireFields::endAmf3() {
  amf3 = false;
  frames.pop_back();
}

void WireFields::beginArray(const AMFWireArray& array) {
  const Place place = take();
  marker(place);
  enter(place);
  push(array.hasMembers ? Kind::named : Kind::plainArray, place, place);
  if (!amf3) return plain("count", 4, place);
  head(place, "dense value");
  if (!array.hasMembers) string3("memberName", place);  // the empty one
}

void WireFields::beginEcmaArray(std::uint32_t) {
  const Place place = take();
  marker(place);
  enter(place);
  plain("count", 4, place);
  push(Kind::named, place, place);
  frames.back().ending = Ending::amf0;
}

void WireFields::beginObject(const AMFWireObject& object) {
  const Place place = take();
  marker(place);
  enter(place);
  push(Kind::named, place, place);
  Frame& frame = frames.back();
  if (!amf3) {
    if (object.typed) string16("className", place);
    frame.ending = Ending::amf0;
    return;
  }
  traitsFields(traitsHead(place), place);
  if (object.traits >= traits.size()) {
    // The table also has the traits of externalizable classes, which are never used here.
    traits.resize(object.traits + 1);
    Traits& made = traits.back();
    NameRule rule;
    for (std::uint32_t i = 0; i < object.sealedCount; ++i) {
      made.names.push_back(viewOf(object.names->next()));
      rule.add(made.names.back());
    }
    made.needsList = rule.needsList();
  }
  frame.isObject3 = true;
  frame.traits = object.traits;
  frame.remainingSealed = object.sealedCount;
  frame.ending = object.dynamic ? Ending::emptyName : Ending::none;
  if (traits[object.traits].needsList) paths.listMembers(place);
}

void WireFields::beginExternal(const AMFWireExternal& external) {
  const Place place = take();
  marker(place);
  enter(place);
  traitsFields(traitsHead(place), place);
  if (external.smallMessage) return push(Kind::named, place, place);
  const bool isOne = external.count == 1;
  push(isOne ? Kind::one : Kind::list, paths.key(place, isOne ? "$value" : "$values"), place);
}

void WireFields::beginVector(const AMFWireVector& vector) {
  const Place place = take();
  marker(place);
  enter(place);
  head(place, "item");
  fields.add("fixed", 1, place, vector.fixed ? "fixed true" : "fixed false");
  if (vector.kind == AMFWireVectorKind::object) string3("className", place);
  push(Kind::list, paths.key(place, "$items"), place);
  frames.back().items = vector.kind;
}

void WireFields::vectorItems(const char*, std::uint32_t count) {
  const AMFWireVectorKind kind = frames.back().items;
  for (; count > 0; --count) {
    const Place place = take();
    if (kind == AMFWireVectorKind::float64) {
      fields.add("item", 8, place, "item " + numberText(numberAt(bytes, fields.position())));
      continue;
    }
    const std::uint32_t bits = peek(4);
    const bool isSigned = kind == AMFWireVectorKind::int32;
    fields.add("item", 4, place,
               "item " + (isSigned ? std::to_string(static_cast<std::int32_t>(bits))
                                   : std::to_string(bits)));
  }
}

void WireFields::beginDictionary(std::uint32_t, bool weak) {
  const Place place = take();
  marker(place);
  enter(place);
  head(place, "pair");
  fields.add("weak", 1, place, weak ? "weak true" : "weak false");
  push(Kind::dictionary, paths.key(place, "$dictionary"), place);
}

void WireFields::member(const AMFWireString& text) {
  Frame& frame = frames.back();
  if (frame.isEntries) entryEnd();
  const bool isSealed = frame.remainingSealed > 0;
  name(frame, viewOf(text));
  if (isSealed) return;  // the name stands in the traits
  if (amf3) {
    string3("memberName", pending);
  } else {
    string16("memberName", pending);
  }
}

// After the members of an array: the empty name.
void WireFields::denseItems() {
  Frame& frame = frames.back();
  string3("memberName", frame.object);
  frame.kind = Kind::list;
  frame.place = paths.key(frame.object, "$array");
  frame.next = 0;
}

void WireFields::fieldGroup(const AMFWireFlags&) {
  const Place object = frames.back().object;
  bool goesOn = true;
  while (goesOn) {
    const unsigned flags = byteAt(fields.position());
    goesOn = flags >= 0x80;
    fields.add("flags", 1, object, "flags " + hexByte(static_cast<char>(flags)));
  }
}

void WireFields::field(const AMFWireField& field) {
  const Place object = frames.back().object;
  if (field.name != nullptr) {
    pending = paths.key(object, field.name);
  } else {
    pending = paths.flagged(object, field.group, field.byte, field.bit);
  }
}

void WireFields::end() {
  const Frame& frame = frames.back();
  if (frame.ending == Ending::amf0) {
    string16("memberName", frame.object);  // empty
    marker(frame.object);
  } else if (frame.ending == Ending::emptyName) {
    string3("memberName", frame.object);
  }
  frames.pop_back();
}

}  // namespace web
