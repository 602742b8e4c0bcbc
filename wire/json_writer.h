// SPDX-License-Identifier: Apache-2.0
//
// The JSON writer: a sink that turns events into text, with an explicit stack. An earlier pass over
// the same events collects in Facts what the writer has to know in advance. The output is a counter
// (in a pass that computes the length of the text) or a buffer.
// Tested by tests/wire/rows_test.cpp; the inverse is in json_reader.cpp.
#ifndef WIRE_JSON_WRITER_H
#define WIRE_JSON_WRITER_H

#include <utility>
#include <vector>

#include "wire/date_text.h"
#include "wire/facts.h"
#include "wire/json_layout.h"
#include "wire/number_text.h"
#include "wire/referred_ids.h"

namespace amf2json::wire {

struct JsonOptions {
  const char* base;  // of the whole input
  bool originals;
  bool pretty;
};

template <class Output>
class JsonWriter {
 public:
  JsonWriter(const JsonOptions& with, const Facts& known, Output& to, AMFWireStatistics& figures)
      : options(with), facts(known), layout(to, with.pretty), statistics(figures) {}

  // The document: json_document_writer.h.
  void beginDocument(const AMFWireDocument& document);
  void beginMessages(std::uint32_t declaredCount);
  void endDocument(const AMFWireString& trailing, const AMFWireString& error);
  void beginSection(const AMFWireSection& section);
  void rawSection(const AMFWireString& bytes, const AMFWireString& error);
  void endSection();
  void valuesEnd(const SectionTables&, std::size_t) {}

  void undefined() { simple("$undefined"); }
  void null() {
    begin();
    layout.literal("null");
    finish();
  }
  void unsupported() { simple("$unsupported"); }
  void boolean(bool value) {
    begin();
    value ? layout.literal("true") : layout.literal("false");
    finish();
  }
  void integer(std::int32_t value);
  void number(const double& value);
  void string(const AMFWireString& value);
  void xmlDocument(const AMFWireString& value) { text("$xmldoc", value); }
  void xml(const AMFWireString& value) { text("$xml", value); }
  void date(const double& timeMs, std::int16_t zone);
  void byteArray(const AMFWireString& value);
  void reference(std::uint32_t index);

  void beginAmf3();
  void endAmf3();
  void beginArray(const AMFWireArray& array);
  void beginEcmaArray(std::uint32_t declaredCount);
  void beginObject(const AMFWireObject& object);
  void beginExternal(const AMFWireExternal& external);
  void beginVector(const AMFWireVector& vector);
  void vectorItems(const char* items, std::uint32_t count);
  void beginDictionary(std::uint32_t count, bool weak);
  void member(const AMFWireString& name) {
    if (frames.back().mode == Mode::named) return layout.name(name);
    beginPair(name);
  }
  void denseItems();
  void fieldGroup(const AMFWireFlags&) {}
  void field(const AMFWireField& field);
  void end();

 private:
  enum class Mode : std::uint8_t {
    named,     // member(), field() or a section has written the key
    list,      // items of an array
    pairs,     // a pair of $members, which member() has opened
    pairKey,   // a dictionary: the next value is a key
    pairValue  // the next value is the value of the key
  };
  struct Frame {
    Mode mode;
    bool inArray;       // end() closes an array
    bool inObject;      // end() closes an object, after the array
    bool weak = false;  // dictionaries
    AMFWireVectorKind items = AMFWireVectorKind::object;
  };

  // Called before and after every value.
  void begin() {
    if (frames.back().mode != Mode::named) beginItem();
  }
  void finish() {
    if (frames.back().mode >= Mode::pairs) finishPair();
  }
  void beginPair(const AMFWireString& name);
  void beginItem();
  void finishPair();
  void simple(const char* kind);
  void text(const char* kind, const AMFWireString& value);
  // Opens the object of the value, and writes its $id if a reference refers to it.
  void openWithId(std::uint8_t flags);
  bool openedWithId(std::uint8_t flags);
  void beginMembers(std::uint8_t flags);
  void traitsKeys(const AMFWireObject& object, std::uint8_t flags);
  std::uint8_t nextObject();
  void endPacket();
  void entriesKey(std::size_t end, std::size_t last);
  void beginEntries(const SectionFacts& known);
  void sectionHead(const SectionFacts& known);
  void marks(const SectionFacts& known);
  void push(Mode mode, bool inArray, bool inObject) { frames.push_back({mode, inArray, inObject}); }

  JsonOptions options;
  const Facts& facts;
  JsonLayout<Output> layout;
  AMFWireStatistics& statistics;
  std::vector<Frame> frames;
  ReferredIds ids0;
  ReferredIds ids3;
  std::uint64_t nextId = 1;
  std::size_t object0 = 0;  // index of the next one in Facts
  std::size_t object3 = 0;
  std::size_t sections = 0;  // number of sections so far
  AMFWireDocument document;
  AMFWireSection section;
  std::uint32_t messageCount = 0;
  std::uint32_t listed = 0;  // headers or messages in the current list
  bool messagesBegun = false;
  bool formIs3 = false;
  bool amf3 = false;
  bool plainDoubles = false;  // the section has the mark integers
};

template <class Output>
void JsonWriter<Output>::beginItem() {
  switch (frames.back().mode) {
    case Mode::named:
    case Mode::pairs: break;
    case Mode::list:
    case Mode::pairValue: layout.item(); break;
    case Mode::pairKey:
      layout.item();
      layout.open('[');
      layout.item();
      break;
  }
}

template <class Output>
void JsonWriter<Output>::finishPair() {
  Frame& frame = frames.back();
  if (frame.mode == Mode::pairKey) {
    frame.mode = Mode::pairValue;
    return;
  }
  layout.close(']');
  if (frame.mode == Mode::pairValue) frame.mode = Mode::pairKey;
}

// Called after the members of an AMF3 array.
template <class Output>
void JsonWriter<Output>::denseItems() {
  Frame& frame = frames.back();
  if (frame.inArray) layout.close(']');  // the list of $members
  layout.key("$array");
  layout.open('[');
  frame.mode = Mode::list;
  frame.inArray = true;
}

template <class Output>
void JsonWriter<Output>::end() {
  Frame& frame = frames.back();
  if (frame.inArray) layout.close(']');
  if (frame.weak) {
    layout.key("$weak");
    layout.literal("true");
  }
  if (frame.inObject) layout.close('}');
  frames.pop_back();
  finish();
}

template <class Output>
void JsonWriter<Output>::simple(const char* kind) {
  begin();
  layout.open('{');
  layout.key(kind);
  layout.literal("true");
  layout.close('}');
  finish();
}

template <class Output>
void JsonWriter<Output>::integer(std::int32_t value) {
  begin();
  layout.output.integer(value);
  finish();
}

template <class Output>
void JsonWriter<Output>::number(const double& value) {
  begin();
  if (needsWord(value) || (amf3 && !plainDoubles && fitsInteger(value))) {
    layout.wrapped("$double", value);
  } else {
    layout.output.number(value);
  }
  finish();
}

template <class Output>
void JsonWriter<Output>::string(const AMFWireString& value) {
  begin();
  layout.string(value);
  finish();
}

// Called when a value begins that references can refer to. Returns its flags, and assigns its id.
template <class Output>
std::uint8_t JsonWriter<Output>::nextObject() {
  const Table<std::uint8_t>& objects = amf3 ? facts.objects3 : facts.objects0;
  std::size_t& next = amf3 ? object3 : object0;
  // If the text was certainly too long, the pass that collects the facts ended before this object.
  if (next == objects.count()) failTextTooLong();
  const std::uint8_t flags = objects[next++];
  (amf3 ? ids3 : ids0).begin((flags & kReferred) != 0 ? &nextId : nullptr);
  return flags;
}

template <class Output>
bool JsonWriter<Output>::openedWithId(std::uint8_t flags) {
  if ((flags & kReferred) == 0) return false;
  openWithId(flags);
  return true;
}

template <class Output>
void JsonWriter<Output>::openWithId(std::uint8_t flags) {
  layout.open('{');
  if ((flags & kReferred) == 0) return;
  layout.key("$id");
  layout.output.integer(static_cast<std::int64_t>(nextId - 1));
}

template <class Output>
void JsonWriter<Output>::text(const char* kind, const AMFWireString& value) {
  begin();
  openWithId(amf3 ? nextObject() : std::uint8_t{0});
  layout.key(kind);
  layout.string(value);
  layout.close('}');
  finish();
}

template <class Output>
void JsonWriter<Output>::byteArray(const AMFWireString& value) {
  begin();
  openWithId(nextObject());
  layout.key("$bytes");
  layout.base64(value);
  layout.close('}');
  finish();
}

template <class Output>
void JsonWriter<Output>::date(const double& timeMs, std::int16_t zone) {
  begin();
  openWithId(amf3 ? nextObject() : std::uint8_t{0});
  layout.key("$date");
  if (hasDateText(timeMs)) {
    layout.output.character('"');
    layout.output.date(timeMs);
    layout.output.character('"');
  } else {
    layout.numberOrWord(timeMs);
  }
  if (zone != 0) {
    layout.key("$zone");
    layout.output.integer(zone);
  }
  layout.close('}');
  finish();
}

template <class Output>
void JsonWriter<Output>::reference(std::uint32_t index) {
  begin();
  layout.open('{');
  layout.key("$ref");
  layout.output.integer(static_cast<std::int64_t>((amf3 ? ids3 : ids0).of(index)));
  layout.close('}');
  finish();
}

template <class Output>
void JsonWriter<Output>::beginAmf3() {
  begin();
  layout.open('{');
  layout.key("$amf3");
  push(Mode::named, false, true);
  amf3 = true;
}

template <class Output>
void JsonWriter<Output>::endAmf3() {
  amf3 = false;
  end();
}

template <class Output>
void JsonWriter<Output>::beginArray(const AMFWireArray& array) {
  begin();
  const std::uint8_t flags = nextObject();
  if (array.hasMembers) {
    openWithId(flags);
    return beginMembers(flags);
  }
  const bool inObject = openedWithId(flags);
  if (inObject) layout.key("$array");
  layout.open('[');
  push(Mode::list, true, inObject);
}

// The members of an object that is already open.
template <class Output>
void JsonWriter<Output>::beginMembers(std::uint8_t flags) {
  const bool inList = (flags & kNeedsMemberList) != 0;
  if (inList) {
    layout.key("$members");
    layout.open('[');
  }
  push(inList ? Mode::pairs : Mode::named, inList, true);
}

template <class Output>
void JsonWriter<Output>::beginEcmaArray(std::uint32_t declaredCount) {
  begin();
  const std::uint8_t flags = nextObject();
  openWithId(flags);
  layout.key("$ecma");
  if ((flags & kCounted) != 0) {
    layout.literal("true");
  } else {
    layout.output.integer(declaredCount);
  }
  beginMembers(flags);
}

template <class Output>
void JsonWriter<Output>::beginObject(const AMFWireObject& object) {
  begin();
  const std::uint8_t flags = nextObject();
  openWithId(flags);
  if (object.typed) {
    layout.key("$class");
    layout.string(object.className);
  }
  if (amf3) traitsKeys(object, flags);
  beginMembers(flags);
}

// $sealed and $dynamic, if they differ from what their absence means.
template <class Output>
void JsonWriter<Output>::traitsKeys(const AMFWireObject& object, std::uint8_t flags) {
  const bool beyond = (flags & kHasDynamic) != 0;
  const bool hasSealed = object.typed ? beyond : object.sealedCount != 0;
  if (hasSealed) {
    layout.key("$sealed");
    if (beyond) {
      layout.output.integer(object.sealedCount);
    } else {
      layout.literal("true");
    }
  }
  const bool otherwise = hasSealed ? beyond : !object.typed;
  if (object.dynamic == otherwise) return;
  layout.key("$dynamic");
  layout.literal(object.dynamic ? "true" : "false");
}

template <class Output>
void JsonWriter<Output>::beginExternal(const AMFWireExternal& external) {
  begin();
  openWithId(nextObject());
  layout.key("$external");
  layout.string(external.className);
  if (external.dynamic) {
    layout.key("$dynamic");
    layout.literal("true");
  }
  if (external.smallMessage) return push(Mode::named, false, true);
  const bool isOne = external.count == 1;
  layout.key(isOne ? "$value" : "$values");
  if (!isOne) layout.open('[');
  push(isOne ? Mode::named : Mode::list, !isOne, true);
}

template <class Output>
void JsonWriter<Output>::beginVector(const AMFWireVector& vector) {
  static const char* const kKinds[] = {"\"int\"", "\"uint\"", "\"double\"", "\"object\""};
  begin();
  openWithId(nextObject());
  layout.key("$vector");
  layout.literal(kKinds[static_cast<std::size_t>(vector.kind)]);
  if (vector.kind == AMFWireVectorKind::object) {
    layout.key("$type");
    layout.string(vector.typeName);
  }
  if (vector.fixed) {
    layout.key("$fixed");
    layout.literal("true");
  }
  layout.key("$items");
  layout.open('[');
  push(Mode::list, true, true);
  frames.back().items = vector.kind;
}

template <class Output>
void JsonWriter<Output>::vectorItems(const char* items, std::uint32_t count) {
  const AMFWireVectorKind kind = frames.back().items;
  for (; count > 0; --count) {
    layout.item();
    if (kind == AMFWireVectorKind::float64) {
      double value;
      loadDouble(items, value);
      items += 8;
      if (needsWord(value)) {
        layout.wrapped("$double", value);
      } else {
        layout.output.number(value);
      }
      continue;
    }
    const std::uint32_t bits = loadU32(items);
    items += 4;
    const bool isSigned = kind == AMFWireVectorKind::int32;
    layout.output.integer(isSigned ? std::int64_t{static_cast<std::int32_t>(bits)} : bits);
  }
}

template <class Output>
void JsonWriter<Output>::beginDictionary(std::uint32_t, bool weak) {
  begin();
  openWithId(nextObject());
  layout.key("$dictionary");
  push(Mode::pairKey, true, true);
  layout.open('[');
  frames.back().weak = weak;
}

// A pair of $members.
template <class Output>
void JsonWriter<Output>::beginPair(const AMFWireString& text) {
  layout.item();
  layout.open('[');
  layout.item();
  layout.string(text);
  layout.item();
}

template <class Output>
void JsonWriter<Output>::field(const AMFWireField& field) {
  if (field.name != nullptr) return layout.key(field.name);
  layout.item();
  layout.literal("\"$");
  layout.output.integer(field.group);
  layout.output.character('.');
  layout.output.integer(field.byte);
  layout.output.character('.');
  layout.output.integer(field.bit);
  layout.output.character('"');
  layout.colon();
}

}  // namespace amf2json::wire

#include "wire/json_document_writer.h"

#endif  // WIRE_JSON_WRITER_H
