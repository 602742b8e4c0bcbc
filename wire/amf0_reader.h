// SPDX-License-Identifier: Apache-2.0
//
// The AMF reader: AMF0 values. Included by amf_reader.h. The inverse is in amf_writer.cpp.
// Tested by tests/wire/rows_test.cpp and tests/wire/refusals_test.cpp.
#ifndef WIRE_AMF0_READER_H
#define WIRE_AMF0_READER_H

#include "wire/amf_reader.h"

namespace amf2json::wire {

template <class Sink>
bool AmfReader<Sink>::value0() {
  const char* const marker = cursor;
  valueAt = marker;
  switch (readU8("a marker")) {
    case 0x00: {
      need(8, "a number");
      double value;
      loadDouble(cursor, value);
      cursor += 8;
      return sink.number(value), false;
    }
    case 0x01: return sink.boolean(readFlag("a boolean")), false;
    case 0x02: return sink.string(readString16("the length of a string", "a string")), false;
    case 0x03: return object0(marker, false);
    case 0x05: return sink.null(), false;
    case 0x06: return sink.undefined(), false;
    case 0x07: return reference0(), false;
    case 0x08: return ecmaArray(marker);
    case 0x0A: return strictArray(marker);
    case 0x0B: return date0(), false;
    case 0x0C: {
      const std::uint32_t length = readU32("the length of a long string");
      if (length <= 0xFFFF) tables.nonCanonical = true;
      return sink.string(readBytes(length, "a long string")), false;
    }
    case 0x0D: return sink.unsupported(), false;
    case 0x0F:
      return sink.xmlDocument(
                 readBytes(readU32("the length of an XML document"), "an XML document")),
             false;
    case 0x10: return object0(marker, true);
    case 0x11: return amf3Value();
    default: failMarker0(offsetOf(marker), byteAt(marker));
  }
}

// 03, or 10 and the class name; then members.
template <class Sink>
bool AmfReader<Sink>::object0(const char* marker, bool typed) {
  enter(marker);
  AMFWireObject object;
  object.typed = typed;
  if (typed) object.className = readString16("the length of a class name", "a class name");
  ++tables.objects0;
  sink.beginObject(object);
  push(Step::members0);
  return true;
}

template <class Sink>
bool AmfReader<Sink>::ecmaArray(const char* marker) {
  enter(marker);
  const std::uint32_t declaredCount = readU32("the count of an ECMA array");
  ++tables.objects0;
  sink.beginEcmaArray(declaredCount);
  push(Step::members0);
  return true;
}

template <class Sink>
bool AmfReader<Sink>::strictArray(const char* marker) {
  enter(marker);
  AMFWireArray array;
  array.count = readU32("the count of an array");
  ++tables.objects0;
  sink.beginArray(array);
  push(Step::items0, array.count);
  return true;
}

template <class Sink>
bool AmfReader<Sink>::amf3Value() {
  sink.beginAmf3();
  push(Step::amf3);
  if (value3()) return true;
  pop();
  sink.endAmf3();
  return false;
}

template <class Sink>
void AmfReader<Sink>::stepAmf3() {
  pop();
  sink.endAmf3();
}

template <class Sink>
void AmfReader<Sink>::reference0() {
  const char* const begin = cursor;
  const std::uint16_t index = readU16("a reference");
  if (index >= tables.objects0) {
    failIndex(offsetOf(begin), "AMF0 objects", index, tables.objects0);
  }
  sink.reference(index);
}

template <class Sink>
void AmfReader<Sink>::date0() {
  need(8, "the milliseconds of a date");
  double timeMs;
  loadDouble(cursor, timeMs);
  cursor += 8;
  sink.date(timeMs, static_cast<std::int16_t>(readU16("the time zone of a date")));
}

template <class Sink>
void AmfReader<Sink>::stepMembers0() {
  for (;;) {
    const AMFWireString name = readString16("the length of a member's name", "a member's name");
    need(1, "a marker");
    if (byteAt(cursor) == 0x09) {
      if (name.length != 0) {
        failWith(AMFWireStatus::malformed, offsetOf(cursor),
                 "object end (09) behind a name that is not empty");
      }
      ++cursor;
      return leave();
    }
    sink.member(name);
    if (value0()) return;
  }
}

template <class Sink>
void AmfReader<Sink>::stepItems0() {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.remaining == 0) return leave();
    --frame.remaining;
    if (value0()) return;
  }
}

}  // namespace amf2json::wire

#endif  // WIRE_AMF0_READER_H
