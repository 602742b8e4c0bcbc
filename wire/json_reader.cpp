// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader: values, and the stack of those that are open. Tested by
// tests/wire/rows_test.cpp.
#include "wire/json_reader.h"

#include "wire/date_text.h"
#include "wire/number_text.h"

namespace amf2json::wire {

bool JsonReader::value(std::uint32_t token) {
  at = token;
  switch (index.kind(token)) {
    case 'n': return sink.null(), false;
    case 't': return sink.boolean(true), false;
    case 'f': return sink.boolean(false), false;
    case '"': return sink.string(index.text(token)), false;
    case '[': return array(token, token);
    case '{': return object(token);
    default: return number(token);
  }
}

bool JsonReader::number(std::uint32_t token) {
  const double number = needNumber(token);
  if (amf3 && fitsInteger(number)) {
    sink.integer(static_cast<std::int32_t>(number));
  } else {
    sink.number(number);
  }
  return false;
}

// Called when a value begins that contains values: checks and counts the depth.
void JsonReader::enter(std::uint32_t token) {
  if (depth == options.limits.maxDepth) {
    throw JsonFailure{
        AMFWireStatus::depthLimit, token, 0, 0,
        "values inside one another are more than " + std::to_string(depth) + " levels deep"};
  }
  ++depth;
}

bool JsonReader::array(std::uint32_t token, std::uint32_t list) {
  enter(token);
  AMFWireArray array;
  array.count = index.count(list);
  sink.beginArray(array);
  pushItems(JsonIndex::first(list), array.count);
  return true;
}

void JsonReader::run() {
  while (!frames.empty()) {
    switch (frames.back().step) {
      case Step::items: stepItems(); break;
      case Step::members: stepMembers(); break;
      case Step::pairs: stepPairs(); break;
      case Step::dictionary: stepDictionary(); break;
      case Step::fields: stepFields(); break;
      case Step::amf3: stepAmf3(); break;
    }
  }
}

void JsonReader::endFrame() {
  Frame& frame = frames.back();
  if (frame.inArray) {
    sink.denseItems();
    frame.inArray = false;
    frame.step = Step::items;
    frame.next = JsonIndex::first(frame.dense);
    frame.remaining = index.count(frame.dense);
    return;
  }
  if (frame.ends) {
    sink.end();
    --depth;
  }
  frames.pop_back();
}

void JsonReader::stepItems() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) return endFrame();
    --frame.remaining;
    const std::uint32_t item = frame.next;
    frame.next = index.after(item);
    if (value(item)) return;
  }
}

// Checks the name of the next member, and passes it to the writer. `token` is its token.
void JsonReader::writeName(Frame& frame, const AMFWireString& name, std::uint32_t token) {
  at = token;
  if (!amf3) {
    if (name.length > 0xFFFF) fail(token, "a name of more than 65535 bytes");
  } else if (frame.sealed > 0) {
    --frame.sealed;
  } else if (name.length == 0) {
    fail(token, "a member without a name: AMF3 ends the members with it");
  }
  sink.member(name);
}

void JsonReader::stepMembers() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) return endFrame();
    while (isSpecial(frame.next)) frame.next = index.nextKey(frame.next);
    const std::uint32_t key = frame.next;
    --frame.remaining;
    frame.next = index.nextKey(key);
    writeName(frame, memberName(key), key);
    if (value(key + 1)) return;
  }
}

void JsonReader::stepPairs() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) return endFrame();
    const std::uint32_t name = JsonIndex::first(frame.next);
    --frame.remaining;
    frame.next = index.after(frame.next);
    writeName(frame, needString(name), name);
    if (value(index.after(name))) return;
  }
}

void JsonReader::stepDictionary() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) return endFrame();
    const std::uint32_t pair = frame.next;
    const std::uint32_t key = JsonIndex::first(pair);
    if (!frame.keyIsRead && (!isKind(pair, '[') || index.count(pair) != 2)) {
      fail(pair, "expected an array of a key and a value");
    }
    frame.keyIsRead = !frame.keyIsRead;
    std::uint32_t next = key;
    if (!frame.keyIsRead) {
      --frame.remaining;
      frame.next = index.after(pair);
      next = index.after(key);
    }
    if (value(next)) return;
  }
}

void JsonReader::stepAmf3() {
  frames.pop_back();
  amf3 = false;
  sink.endAmf3();
}

bool JsonReader::amf3Value(const Object& object) {
  sink.beginAmf3();
  amf3 = true;
  push(Step::amf3);
  if (value(object[Key::amf3])) return true;
  stepAmf3();
  return false;
}

// Records the $id of a value, if it has one. Called before the event of the value.
void JsonReader::recordId(const Object& object) {
  if (!object.has(Key::id)) return;
  const std::uint32_t token = object[Key::id];
  const auto id = static_cast<std::uint64_t>(needWhole(token, 1, 9007199254740991.0));
  if (!ids.insert({id, {amf3, sink.objectCount()}}).second) {
    fail(token, "the id " + std::to_string(id) + " is used twice");
  }
}

void JsonReader::reference(std::uint32_t token) {
  const auto id = static_cast<std::uint64_t>(needWhole(token, 1, 9007199254740991.0));
  const auto found = ids.find(id);
  if (found == ids.end()) {
    fail(token, "no value with the id " + std::to_string(id) + " has begun");
  }
  if (found->second.amf3 != amf3) {
    fail(token, std::string("the value with that id is of ") + (amf3 ? "AMF0" : "AMF3"));
  }
  if (!amf3 && found->second.index > 0xFFFF) {
    fail(token, "AMF0 cannot refer to more than 65536 values");
  }
  sink.reference(found->second.index);
}

void JsonReader::date(const Object& object) {
  recordId(object);
  const std::uint32_t token = object[Key::date];
  double timeMs = 0;
  const AMFWireString text = index.text(token);
  if (!index.isString(token)) {
    timeMs = needNumber(token);
  } else if (!readDate(text.data, text.length, timeMs) &&
             !readWord(text.data, text.length, timeMs)) {
    fail(token, "not a date: expected one like 2009-02-13T23:31:30.123Z");
  }
  std::int16_t zone = 0;
  if (object.has(Key::zone)) {
    zone = static_cast<std::int16_t>(needWhole(object[Key::zone], -32768, 32767));
  }
  sink.date(timeMs, zone);
}

void JsonReader::doubleValue(std::uint32_t token) {
  double number = 0;
  needDouble(token, number);
  sink.number(number);
}

// Kinds that do not contain values.
bool JsonReader::simple(const Object& object) {
  const std::uint32_t token = object[object.kind];
  switch (object.kind) {
    case Key::undefined: needTrue(token); return sink.undefined(), false;
    case Key::unsupported: needTrue(token); return sink.unsupported(), false;
    case Key::string64: return sink.string(needBase64(token)), false;
    case Key::number: return doubleValue(token), false;
    case Key::date: return date(object), false;
    case Key::ref: return reference(token), false;
    default: break;
  }
  if (amf3) recordId(object);
  switch (object.kind) {
    case Key::xmldoc: return sink.xmlDocument(needString(token)), false;
    case Key::xml: return sink.xml(needString(token)), false;
    default: return sink.byteArray(needBase64(token)), false;
  }
}

}  // namespace amf2json::wire
