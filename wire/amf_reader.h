// SPDX-License-Identifier: Apache-2.0
//
// The AMF reader: turns values in bytes into events, with an explicit stack. This file has the
// fields and the stack. amf0_reader.h and amf3_reader.h have the values of the two formats.
// Enter at readValues(), readOne() or readEntries(). An error is thrown as Failure.
// Tested by tests/wire/rows_test.cpp and tests/wire/refusals_test.cpp.
#ifndef WIRE_AMF_READER_H
#define WIRE_AMF_READER_H

#include <cstdint>
#include <string>
#include <vector>

#include "AMFWire.h"
#include "wire/bytes.h"
#include "wire/external_classes.h"
#include "wire/failure.h"
#include "wire/section_tables.h"

namespace amf2json::wire {

// The parameters of a call that reads bytes.
struct ReadContext {
  const char* base;  // of the whole input
  const ExternalClasses* classes;
  std::uint32_t maxDepth;
};

// The errors of the reader whose texts have variable parts.
[[noreturn]] void failTruncated(std::size_t offset, const char* field, std::size_t needed,
                                std::size_t remaining);
[[noreturn]] void failMarker0(std::size_t offset, unsigned marker);
[[noreturn]] void failMarker3(std::size_t offset, unsigned marker);
[[noreturn]] void failIndex(std::size_t offset, const char* table, std::uint32_t index,
                            std::size_t count);
[[noreturn]] void failKind(std::size_t offset, std::uint32_t index, unsigned found,
                           unsigned expected);
[[noreturn]] void failExternal(std::size_t offset, const AMFWireString& className);
[[noreturn]] void failDepth(std::size_t offset, std::uint32_t limit);
[[noreturn]] void failWith(AMFWireStatus status, std::size_t offset, const char* message);

template <class Sink>
class AmfReader {
 public:
  AmfReader(const ReadContext& of, Sink& to) : context(of), sink(to) { tables.base = of.base; }

  // The values of a section, [begin, end) of the input. Each call returns the end of what it read.
  const char* readOne(const char* begin, const char* end);                // one AMF0 value
  const char* readValues(const char* begin, const char* end, bool amf3);  // up to the end
  // The entries of a shared object, up to `stop` or the end of the input.
  const char* readEntries(const char* begin, const char* end, const char* stop, bool amf3);

  const SectionTables& section() const { return tables; }
  // The offset of the last value that has begun; 0 before the first.
  std::size_t valueOffset() const { return valueAt ? offsetOf(valueAt) : 0; }

  // Fields, also of the envelope.
  void place(const char* begin, const char* limit) { cursor = begin, inputEnd = limit; }
  const char* position() const { return cursor; }
  std::size_t remaining() const { return static_cast<std::size_t>(inputEnd - cursor); }
  std::size_t offsetOf(const char* at) const { return static_cast<std::size_t>(at - context.base); }
  void need(std::size_t count, const char* field) const {
    if (remaining() < count) failTruncated(offsetOf(cursor), field, count, remaining());
  }
  std::uint8_t readU8(const char* field) {
    need(1, field);
    return byteAt(cursor++);
  }
  std::uint16_t readU16(const char* field) {
    need(2, field);
    cursor += 2;
    return loadU16(cursor - 2);
  }
  std::uint32_t readU32(const char* field) {
    need(4, field);
    cursor += 4;
    return loadU32(cursor - 4);
  }
  AMFWireString readBytes(std::size_t count, const char* field) {
    need(count, field);
    cursor += count;
    return {cursor - count, count};
  }
  AMFWireString readString16(const char* lengthField, const char* field) {
    return readBytes(readU16(lengthField), field);
  }

 private:
  enum class Step : std::uint8_t {
    one,           // nothing follows
    values0,       // bare values up to the end
    values3,       //
    entries0,      // of a shared object
    entries3,      //
    members0,      // up to the empty name and 09
    items0,        // `remaining` values
    amf3,          // after the value of marker 11
    sealed,        // `remaining` sealed members, with their names at `names`
    members3,      // up to the empty name
    arrayMembers,  // the same, then `remaining` values
    items3,        // `remaining` values
    fields         // of a small message
  };
  struct Frame {
    Step step = Step::one;
    bool flag = false;            // sealed: dynamic members follow; entries: a value has been read
    std::uint8_t group = 0;       // of a small message
    std::uint8_t bit = 0;         // of the next flag
    std::uint32_t remaining = 0;  // remaining items; of a small message, the current flag byte
    const char* names = nullptr;  // the next sealed name; the first flag byte of the group
    ExternalBody body{};          // of a small message
  };

  void run();
  Frame& push(Step step, std::uint32_t count = 0) {
    frames.emplace_back();
    Frame& frame = frames.back();
    frame.step = step;
    frame.remaining = count;
    return frame;
  }
  void pop() { frames.pop_back(); }
  // A value that contains values begins at `marker`.
  void enter(const char* marker) {
    if (depth == context.maxDepth) failDepth(offsetOf(marker), context.maxDepth);
    ++depth;
  }
  void leave() {
    --depth;
    pop();
    sink.end();
  }
  void reset(const char* begin, const char* end) {
    place(begin, end);
    valueAt = begin;
    tables.clear();
    frames.clear();
    depth = 0;
  }

  // Each reads one value. Returns true if it pushed a frame, so the value is not complete.
  bool value0();
  bool object0(const char* marker, bool typed);
  bool ecmaArray(const char* marker);
  bool strictArray(const char* marker);
  bool amf3Value();
  void reference0();
  void date0();
  bool value3();
  bool array3(const char* marker);
  bool object3(const char* marker);
  bool openObject(std::uint32_t traitsIndex);
  bool openExternal(const Traits& traits);
  bool vectorOfObjects(const char* marker);
  bool dictionary(const char* marker);
  void date3();
  void text3(unsigned marker);
  void numbers3(unsigned marker);
  std::uint32_t inlineTraits(const char* begin, std::uint32_t head);

  // Each continues the top frame, until a value pushes another frame or the frame is complete.
  void stepValues0();
  void stepValues3();
  void stepEntries(bool amf3);
  void stepMembers0();
  void stepItems0();
  void stepAmf3();
  void stepSealed();
  bool memberName3();
  void stepMembers3();
  void stepArrayMembers();
  void stepItems3();
  void stepFields();
  bool nextGroup(Frame& frame);

  std::uint32_t readU29(const char* field);
  std::uint32_t readLongU29(const char* field);
  AMFWireString readString3(const char* field);
  // Reads the U29 of a value of the object table. Returns true if it is a reference.
  bool reference3(unsigned marker, std::uint32_t& head, const char* field);
  // Reads a flag byte: true unless it is 00.
  bool readFlag(const char* field);

  ReadContext context;
  Sink& sink;
  SectionTables tables;
  const char* cursor = nullptr;
  const char* inputEnd = nullptr;
  const char* stopAt = nullptr;
  const char* valueAt = nullptr;
  std::vector<Frame> frames;
  std::uint32_t depth = 0;
};

template <class Sink>
void AmfReader<Sink>::run() {
  while (!frames.empty()) {
    switch (frames.back().step) {
      case Step::one: pop(); break;
      case Step::values0: stepValues0(); break;
      case Step::values3: stepValues3(); break;
      case Step::entries0: stepEntries(false); break;
      case Step::entries3: stepEntries(true); break;
      case Step::members0: stepMembers0(); break;
      case Step::items0: stepItems0(); break;
      case Step::amf3: stepAmf3(); break;
      case Step::sealed: stepSealed(); break;
      case Step::members3: stepMembers3(); break;
      case Step::arrayMembers: stepArrayMembers(); break;
      case Step::items3: stepItems3(); break;
      case Step::fields: stepFields(); break;
    }
  }
}

template <class Sink>
const char* AmfReader<Sink>::readOne(const char* begin, const char* end) {
  reset(begin, end);
  push(Step::one);
  value0();
  run();
  return cursor;
}

template <class Sink>
const char* AmfReader<Sink>::readValues(const char* begin, const char* end, bool amf3) {
  reset(begin, end);
  push(amf3 ? Step::values3 : Step::values0);
  run();
  return cursor;
}

template <class Sink>
const char* AmfReader<Sink>::readEntries(const char* begin, const char* end, const char* stop,
                                         bool amf3) {
  reset(begin, end);
  stopAt = stop;
  if (!amf3) tables.objects0 = 1;  // the shared object itself
  push(amf3 ? Step::entries3 : Step::entries0);
  run();
  return cursor;
}

template <class Sink>
void AmfReader<Sink>::stepValues0() {
  while (cursor < inputEnd) {
    if (value0()) return;
  }
  pop();
}

template <class Sink>
void AmfReader<Sink>::stepValues3() {
  while (cursor < inputEnd) {
    if (value3()) return;
  }
  pop();
}

template <class Sink>
void AmfReader<Sink>::stepEntries(bool amf3) {
  for (;;) {
    Frame& frame = frames.back();
    if (frame.flag) {  // after a value: a byte 00, which may be missing at the end of the input
      frame.flag = false;
      if (cursor == inputEnd) {
        tables.nonCanonical = true;
      } else if (byteAt(cursor) != 0) {
        failWith(AMFWireStatus::malformed, offsetOf(cursor), "the byte behind an entry is not 00");
      } else {
        ++cursor;
      }
    }
    if (cursor == inputEnd || cursor == stopAt) return pop();
    sink.member(amf3 ? readString3("the name of an entry")
                     : readString16("the length of an entry's name", "the name of an entry"));
    frame.flag = true;
    if (amf3 ? value3() : value0()) return;
  }
}

template <class Sink>
bool AmfReader<Sink>::readFlag(const char* field) {
  const std::uint8_t byte = readU8(field);
  if (byte > 1) tables.nonCanonical = true;
  return byte != 0;
}

}  // namespace amf2json::wire

#include "wire/amf0_reader.h"
#include "wire/amf3_reader.h"

#endif  // WIRE_AMF_READER_H
