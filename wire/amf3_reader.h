// SPDX-License-Identifier: Apache-2.0
//
// The AMF reader: AMF3 values. Included by amf_reader.h. The inverse is in amf_writer.cpp.
// Tested by tests/wire/rows_test.cpp and tests/wire/refusals_test.cpp.
#ifndef WIRE_AMF3_READER_H
#define WIRE_AMF3_READER_H

#include "wire/amf_reader.h"

namespace amf2json::wire {

template <class Sink>
std::uint32_t AmfReader<Sink>::readU29(const char* field) {
  if (cursor < inputEnd && byteAt(cursor) < 0x80) return byteAt(cursor++);
  return readLongU29(field);
}

template <class Sink>
std::uint32_t AmfReader<Sink>::readLongU29(const char* field) {
  static constexpr std::uint32_t kShortest[] = {0, 0, 0x80, 0x4000, 0x200000};
  std::size_t length = 1;
  while (length < 4 && length <= remaining() && byteAt(cursor + length - 1) >= 0x80) ++length;
  need(length, field);
  const char* const begin = cursor;
  const std::uint32_t value = readCheckedU29(cursor);
  if (value < kShortest[cursor - begin]) tables.nonCanonical = true;
  return value;
}

template <class Sink>
AMFWireString AmfReader<Sink>::readString3(const char* field) {
  const char* const begin = cursor;
  const std::uint32_t head = readU29(field);
  const std::uint32_t rest = head >> 1;
  if ((head & 1) != 0) {
    const AMFWireString text = readBytes(rest, field);
    if (rest != 0) tables.strings.push(static_cast<std::uint32_t>(offsetOf(begin)));
    return text;
  }
  if (rest >= tables.strings.count()) {
    failIndex(offsetOf(begin), "strings", rest, tables.strings.count());
  }
  tables.usesStringReferences = true;
  return tables.stringAt(rest);
}

template <class Sink>
bool AmfReader<Sink>::reference3(unsigned marker, std::uint32_t& head, const char* field) {
  const char* const begin = cursor;
  head = readU29(field);
  if ((head & 1) != 0) return false;
  const std::uint32_t index = head >> 1;
  if (index >= tables.objects.count()) {
    failIndex(offsetOf(begin), "AMF3 objects", index, tables.objects.count());
  }
  if (tables.objects[index] != marker) {
    failKind(offsetOf(begin), index, tables.objects[index], marker);
  }
  sink.reference(index);
  return true;
}

template <class Sink>
bool AmfReader<Sink>::value3() {
  const char* const marker = cursor;
  valueAt = marker;
  const std::uint8_t kind = readU8("a marker");
  switch (kind) {
    case 0x00: return sink.undefined(), false;
    case 0x01: return sink.null(), false;
    case 0x02: return sink.boolean(false), false;
    case 0x03: return sink.boolean(true), false;
    case 0x04: {  // 29 bits, signed
      const std::uint32_t bits = readU29("an integer");
      return sink.integer(static_cast<std::int32_t>(bits << 3) >> 3), false;
    }
    case 0x05: {
      need(8, "a number");
      double value;
      loadDouble(cursor, value);
      cursor += 8;
      return sink.number(value), false;
    }
    case 0x06: return sink.string(readString3("a string")), false;
    case 0x07:
    case 0x0B:
    case 0x0C: return text3(kind), false;
    case 0x08: return date3(), false;
    case 0x09: return array3(marker);
    case 0x0A: return object3(marker);
    case 0x0D:
    case 0x0E:
    case 0x0F: return numbers3(kind), false;
    case 0x10: return vectorOfObjects(marker);
    case 0x11: return dictionary(marker);
    default: failMarker3(offsetOf(marker), kind);
  }
}

// Reads an XML document, an XML text or a byte array: a head with the length, then the bytes.
template <class Sink>
void AmfReader<Sink>::text3(unsigned marker) {
  const char* const field = marker == 0x0C ? "a byte array" : "an XML text";
  std::uint32_t head;
  if (reference3(marker, head, field)) return;
  const AMFWireString text = readBytes(head >> 1, field);
  tables.objects.push(static_cast<std::uint8_t>(marker));
  if (marker == 0x0C) {
    sink.byteArray(text);
  } else if (marker == 0x07) {
    sink.xmlDocument(text);
  } else {
    sink.xml(text);
  }
}

template <class Sink>
void AmfReader<Sink>::date3() {
  std::uint32_t head;
  if (reference3(0x08, head, "the head of a date")) return;
  if (head != 1) tables.nonCanonical = true;  // the other bits have no meaning
  need(8, "the milliseconds of a date");
  double timeMs;
  loadDouble(cursor, timeMs);
  cursor += 8;
  tables.objects.push(0x08);
  sink.date(timeMs, 0);
}

// An array is the dense count, members up to the empty name, and dense values.
template <class Sink>
bool AmfReader<Sink>::array3(const char* marker) {
  std::uint32_t head;
  if (reference3(0x09, head, "the head of an array")) return false;
  enter(marker);
  tables.objects.push(0x09);
  AMFWireArray array;
  array.count = head >> 1;
  const char* const begin = cursor;
  array.hasMembers = readU29("a member's name") != 1;
  if (array.hasMembers) cursor = begin;
  sink.beginArray(array);
  push(array.hasMembers ? Step::arrayMembers : Step::items3, array.count);
  return true;
}

template <class Sink>
bool AmfReader<Sink>::object3(const char* marker) {
  std::uint32_t head;
  const char* const begin = cursor;
  if (reference3(0x0A, head, "the head of an object")) return false;
  enter(marker);
  tables.objects.push(0x0A);
  if ((head & 2) != 0) return openObject(inlineTraits(begin, head));
  const std::uint32_t index = head >> 2;
  if (index >= tables.traits.count()) {
    failIndex(offsetOf(begin), "traits", index, tables.traits.count());
  }
  tables.usesTraitsReferences = true;
  return openObject(index);
}

// Reads the class name and the sealed names. Returns the index of the new entry.
template <class Sink>
std::uint32_t AmfReader<Sink>::inlineTraits(const char* begin, std::uint32_t head) {
  readString3("a class name");
  for (std::uint32_t count = head >> 4; count > 0; --count) readString3("a sealed name");
  // No event reports the sealed count of externalizable traits, so it cannot be written again.
  if ((head & kTraitsExternal) != 0 && head >> 4 != 0) tables.nonCanonical = true;
  tables.traits.push(static_cast<std::uint32_t>(offsetOf(begin)));
  tables.endOfTraits = cursor;
  return static_cast<std::uint32_t>(tables.traits.count() - 1);
}

template <class Sink>
bool AmfReader<Sink>::openObject(std::uint32_t traitsIndex) {
  const Traits traits = tables.traitsAt(traitsIndex);
  if (traits.isExternal()) return openExternal(traits);
  SealedNames names(tables, traits);
  AMFWireObject object;
  object.typed = traits.className.length != 0;
  object.className = traits.className;
  object.sealedCount = traits.sealedCount();
  object.names = object.sealedCount == 0 ? nullptr : &names;
  object.dynamic = traits.isDynamic();
  object.traits = traitsIndex;
  sink.beginObject(object);
  Frame& frame = push(Step::sealed, object.sealedCount);
  frame.flag = object.dynamic;
  frame.names = traits.names;
  return true;
}

template <class Sink>
bool AmfReader<Sink>::openExternal(const Traits& traits) {
  ExternalBody body;
  if (!context.classes->find(traits.className, body)) {
    failExternal(offsetOf(cursor), traits.className);
  }
  AMFWireExternal external;
  external.className = traits.className;
  external.dynamic = traits.isDynamic();
  external.smallMessage = body.groups != 0;
  external.count = body.values;
  sink.beginExternal(external);
  if (!external.smallMessage) return push(Step::items3, body.values), true;
  push(Step::fields).body = body;
  return true;
}

template <class Sink>
void AmfReader<Sink>::numbers3(unsigned marker) {
  std::uint32_t head;
  if (reference3(marker, head, "the head of a vector")) return;
  AMFWireVector vector;
  vector.kind = marker == 0x0D   ? AMFWireVectorKind::int32
                : marker == 0x0E ? AMFWireVectorKind::uint32
                                 : AMFWireVectorKind::float64;
  vector.fixed = readFlag("the fixed flag of a vector");
  vector.count = head >> 1;
  const std::size_t size = marker == 0x0F ? 8 : 4;
  if (remaining() / size < vector.count) {
    const std::size_t rest = remaining() % size;
    failTruncated(offsetOf(inputEnd - rest), "an item of a vector", size, rest);
  }
  tables.objects.push(static_cast<std::uint8_t>(marker));
  sink.beginVector(vector);
  sink.vectorItems(cursor, vector.count);
  cursor += vector.count * size;
  sink.end();
}

template <class Sink>
bool AmfReader<Sink>::vectorOfObjects(const char* marker) {
  std::uint32_t head;
  if (reference3(0x10, head, "the head of a vector")) return false;
  enter(marker);
  tables.objects.push(0x10);
  AMFWireVector vector;
  vector.kind = AMFWireVectorKind::object;
  vector.fixed = readFlag("the fixed flag of a vector");
  vector.typeName = readString3("the type name of a vector");
  vector.count = head >> 1;
  sink.beginVector(vector);
  push(Step::items3, vector.count);
  return true;
}

template <class Sink>
bool AmfReader<Sink>::dictionary(const char* marker) {
  std::uint32_t head;
  if (reference3(0x11, head, "the head of a dictionary")) return false;
  enter(marker);
  tables.objects.push(0x11);
  const bool weak = readFlag("the weak flag of a dictionary");
  sink.beginDictionary(head >> 1, weak);
  push(Step::items3, head & ~1u);  // a key and a value for each
  return true;
}

template <class Sink>
void AmfReader<Sink>::stepItems3() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) return leave();
    --frame.remaining;
    if (value3()) return;
  }
}

template <class Sink>
void AmfReader<Sink>::stepSealed() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) break;
    --frame.remaining;
    sink.member(tables.readCheckedString(frame.names));
    if (value3()) return;
  }
  if (!frames.back().flag) return leave();
  frames.back().step = Step::members3;
}

// Returns false after the last member.
template <class Sink>
bool AmfReader<Sink>::memberName3() {
  const AMFWireString name = readString3("a member's name");
  if (name.length == 0) return false;
  sink.member(name);
  return true;
}

template <class Sink>
void AmfReader<Sink>::stepMembers3() {
  while (memberName3()) {
    if (value3()) return;
  }
  leave();
}

template <class Sink>
void AmfReader<Sink>::stepArrayMembers() {
  while (memberName3()) {
    if (value3()) return;
  }
  sink.denseItems();
  frames.back().step = Step::items3;
}

// Reads the flag bytes of the next group. Returns false if there is none.
template <class Sink>
bool AmfReader<Sink>::nextGroup(Frame& frame) {
  if (frame.names != nullptr) ++frame.group;
  if (frame.group == frame.body.groups) return false;
  frame.names = cursor;
  frame.remaining = frame.bit = 0;
  AMFWireFlags flags;
  flags.group = frame.group;
  std::uint32_t count = 0;
  for (std::uint8_t byte = 0x80; byte >= 0x80; ++count) {
    byte = readU8("a flag byte");
    if (count == AMFWireLimits::kMaxFlagBytes) {
      failWith(AMFWireStatus::flagLimit, offsetOf(cursor - 1),
               "a group of a small message has more than 16 flag bytes");
    }
    flags.bits[count] = byte & 0x7F;
  }
  if (count > 1 && flags.bits[count - 1] == 0) tables.nonCanonical = true;
  sink.fieldGroup(flags);
  return true;
}

template <class Sink>
void AmfReader<Sink>::stepFields() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.names == nullptr ||
        (frame.bit == 7 && byteAt(frame.names + frame.remaining) < 0x80)) {
      if (!nextGroup(frame)) return leave();
    } else if (frame.bit == 7) {
      ++frame.remaining;
      frame.bit = 0;
    }
    while (frame.bit < 7 && (byteAt(frame.names + frame.remaining) >> frame.bit & 1) == 0)
      ++frame.bit;
    if (frame.bit == 7) continue;
    const std::uint32_t bit = frame.bit++;
    sink.field({frame.group, frame.remaining, bit,
                fieldName(frame.body, frame.group, frame.remaining, bit)});
    if (value3()) return;
  }
}

}  // namespace amf2json::wire

#endif  // WIRE_AMF3_READER_H
