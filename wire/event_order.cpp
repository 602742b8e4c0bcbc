// SPDX-License-Identifier: Apache-2.0
//
// The order of events. Tested by tests/wire/writer_test.cpp.
#include "wire/event_order.h"

#include <algorithm>

namespace amf2json::wire {

namespace {

constexpr std::uint64_t kAny = ~std::uint64_t{0};

void require(bool condition, const char* message) {
  if (!condition) throw Misplaced{AMFWireStatus::misuse, message};
}

}  // namespace

void EventOrder::checkName(const AMFWireString& name) const {
  require(name.length <= 0xFFFF, "a name of more than 65535 bytes");
}

void EventOrder::beginDocument(const AMFWireDocument& document) {
  require(phase == Phase::fresh, "beginDocument() inside a document");
  require(document.form != AMFWireForm::automatic && document.form != AMFWireForm::flv,
          "a form that is not written");
  form = document.form;
  const bool shared = form == AMFWireForm::sharedObject;
  require(!shared || document.version == 0 || document.version == 3,
          "a shared object is of version 0 or 3");
  require(document.headerCount <= 0xFFFF, "more than 65535 headers");
  checkName(document.name);
  formIs3 = form == AMFWireForm::amf3 || (shared && document.version == 3);
  phase = Phase::document;
}

void EventOrder::beginMessages() {
  require(phase == Phase::document && form == AMFWireForm::packet && !messagesBegun,
          "beginMessages() where no messages begin");
  messagesBegun = true;
  headers = sections;
}

void EventOrder::endDocument() {
  require(phase == Phase::document, "endDocument() outside of a document or inside a section");
  phase = Phase::finished;
}

void EventOrder::beginSection(const AMFWireSection& section) {
  require(phase == Phase::document, "beginSection() outside of a document or inside a section");
  Level level{Inside::values};
  switch (section.kind) {
    case AMFWireSectionKind::header:
      require(form == AMFWireForm::packet && !messagesBegun, "a header where none may come");
      level.remaining = 1;
      break;
    case AMFWireSectionKind::message:
      require(form == AMFWireForm::packet, "a message outside of a packet");
      if (!messagesBegun) beginMessages();
      level.remaining = 1;
      break;
    case AMFWireSectionKind::values:
      require((form == AMFWireForm::amf0 || form == AMFWireForm::amf3) && sections == 0,
              "bare values where none may come");
      level.remaining = kAny;
      break;
    case AMFWireSectionKind::entries:
      require(form == AMFWireForm::sharedObject && sections == 0, "entries where none may come");
      level = Level{Inside::members};
      level.dynamic = level.anyName = true;
      break;
    case AMFWireSectionKind::scriptTag: require(false, "script tags are not written");
  }
  checkName(section.name);
  checkName(section.response);
  ++sections;
  require(sections - (messagesBegun ? headers : 0) <= 0xFFFF,
          "more than 65535 headers or messages");
  phase = Phase::section;
  levels.assign(1, level);
  amf3 = formIs3;
  depth = 0;
}

void EventOrder::rawSection() {
  require(phase == Phase::section && levels.size() == 1 && levels[0].remaining == 1,
          "rawSection() where no header's or message's value may come");
  levels[0].remaining = 0;
}

void EventOrder::endSection() {
  require(phase == Phase::section && levels.size() == 1 && !levels[0].named,
          "endSection() inside a value or outside of a section");
  require(levels[0].remaining != 1, "a header or message without a value");
  phase = Phase::document;
}

void EventOrder::value(Format format) {
  require(phase == Phase::section, "a value outside of a section");
  require(format == Format::both || (format == Format::only3) == amf3,
          "a value that the format does not have");
  Level& level = levels.back();
  switch (level.inside) {
    case Inside::members:
    case Inside::fields:
      require(level.named, "a value without its name");
      level.named = false;
      break;
    case Inside::numbers: require(false, "a value in a vector of numbers"); break;
    default:
      require(level.remaining > 0, "more values than were announced");
      --level.remaining;
      break;
  }
}

void EventOrder::open(Level level, bool deep) {
  if (deep && depth == maxDepth) {
    throw Misplaced{AMFWireStatus::depthLimit, "values inside one another are too many"};
  }
  if (deep) ++depth;
  level.deep = deep;
  levels.push_back(level);
}

void EventOrder::beginAmf3() {
  value(Format::only0);
  Level level{Inside::amf3};
  level.remaining = 1;
  open(level, false);
  amf3 = true;
}

void EventOrder::endAmf3() {
  require(phase == Phase::section && levels.back().inside == Inside::amf3 &&
              levels.back().remaining == 0,
          "endAmf3() without beginAmf3() and a value");
  levels.pop_back();
  amf3 = false;
}

void EventOrder::beginArray(const AMFWireArray& array) {
  value();
  require(amf3 || !array.hasMembers, "an AMF0 array has no members");
  Level level{array.hasMembers ? Inside::members : Inside::items};
  level.array = level.dynamic = array.hasMembers;
  level.remaining = array.hasMembers ? 0 : array.count;
  level.dense = array.count;
  open(level, true);
}

// Checks the beginning of an ECMA array.
void EventOrder::beginEcmaArray() {
  value(Format::only0);
  Level level{Inside::members};
  level.dynamic = level.anyName = true;
  open(level, true);
}

void EventOrder::beginObject(const AMFWireObject& object) {
  value();
  if (!amf3) checkName(object.className);
  require(amf3 || object.sealedCount == 0, "an AMF0 object has no sealed members");
  require(object.sealedCount == 0 || object.names != nullptr, "sealed members without names");
  Level level{Inside::members};
  level.dynamic = !amf3 || object.dynamic;
  level.anyName = !amf3;
  level.remaining = object.sealedCount;
  open(level, true);
}

void EventOrder::beginExternal(const AMFWireExternal& external) {
  value(Format::only3);
  ExternalBody body;
  const bool known = classes->find(external.className, body);
  require(!external.smallMessage || (known && body.groups != 0), "the class is no small message");
  require(external.smallMessage || !known || (body.groups == 0 && body.values == external.count),
          "the class has another number of values");
  Level level{external.smallMessage ? Inside::fields : Inside::items};
  level.groups = body.groups;
  level.remaining = external.smallMessage ? 0 : external.count;
  open(level, true);
}

void EventOrder::beginVector(const AMFWireVector& vector) {
  value(Format::only3);
  const bool ofObjects = vector.kind == AMFWireVectorKind::object;
  Level level{ofObjects ? Inside::items : Inside::numbers};
  level.remaining = vector.count;
  open(level, ofObjects);
}

void EventOrder::vectorItems(std::uint32_t count) {
  require(phase == Phase::section && levels.back().inside == Inside::numbers &&
              levels.back().remaining >= count,
          "vectorItems() outside of a vector, or more than were announced");
  levels.back().remaining -= count;
}

void EventOrder::beginDictionary(std::uint32_t count) {
  value(Format::only3);
  Level level{Inside::items};
  level.remaining = std::uint64_t{count} * 2;
  open(level, true);
}

void EventOrder::member(const AMFWireString& name) {
  require(phase == Phase::section, "a member outside of a section");
  Level& level = levels.back();
  require(level.inside == Inside::members && !level.named, "a member where none may come");
  if (!amf3) checkName(name);
  if (level.remaining > 0) {
    --level.remaining;
  } else {
    require(level.dynamic, "a member beyond the sealed ones");
    require(level.anyName || name.length != 0, "a member without a name");
  }
  level.named = true;
}

void EventOrder::denseItems() {
  require(phase == Phase::section && levels.back().array && !levels.back().named,
          "denseItems() outside of an array with members");
  Level& level = levels.back();
  level.inside = Inside::items;
  level.array = false;
  level.remaining = level.dense;
}

void EventOrder::fieldGroup(const AMFWireFlags& flags) {
  require(phase == Phase::section, "fieldGroup() outside of a section");
  Level& level = levels.back();
  require(level.inside == Inside::fields && !level.named && level.remaining == 0 &&
              flags.group == level.group && level.group < level.groups,
          "fieldGroup() where no group may come");
  ++level.group;
  level.flags = flags;
  for (const std::uint8_t bits : flags.bits) {
    require(bits < 0x80, "bit 7 is no flag");
    for (std::uint8_t rest = bits; rest != 0; rest = static_cast<std::uint8_t>(rest & (rest - 1))) {
      ++level.remaining;
    }
  }
}

void EventOrder::field(const AMFWireField& field) {
  require(phase == Phase::section, "field() outside of a section");
  Level& level = levels.back();
  require(level.inside == Inside::fields && !level.named && level.remaining > 0,
          "field() where none may come");
  std::uint8_t* const bits = level.flags.bits;
  std::uint32_t byte = 0;
  while (bits[byte] == 0) ++byte;
  std::uint32_t bit = 0;
  while ((bits[byte] >> bit & 1) == 0) ++bit;
  require(field.group == level.flags.group && field.byte == byte && field.bit == bit,
          "field() is not that of the next flag");
  bits[byte] = static_cast<std::uint8_t>(bits[byte] & (bits[byte] - 1));
  --level.remaining;
  level.named = true;
}

void EventOrder::end() {
  require(phase == Phase::section && levels.size() > 1 && levels.back().inside != Inside::amf3,
          "end() without a value that has begun");
  const Level& level = levels.back();
  require(!level.named && level.remaining == 0 && !level.array && level.group == level.groups,
          "end() before all of the value has come");
  if (level.deep) --depth;
  levels.pop_back();
}

}  // namespace amf2json::wire
