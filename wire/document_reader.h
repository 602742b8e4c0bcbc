// SPDX-License-Identifier: Apache-2.0
//
// The AMF reader: turns documents in bytes into events. A packet, a run of values, a shared object
// or an FLV file consists of a head and sections. amf_reader.h reads the values of a section. Enter
// at read(). The inverse is in document_writer.cpp. Tested by tests/wire/documents_test.cpp and
// tests/wire/originals_test.cpp.
#ifndef WIRE_DOCUMENT_READER_H
#define WIRE_DOCUMENT_READER_H

#include <cstring>
#include <string>
#include <utility>

#include "wire/amf_reader.h"

namespace amf2json::wire {

// A sink that does nothing, for a first reading of a section with salvage.
struct NoSink {
  void undefined() {}
  void null() {}
  void unsupported() {}
  void boolean(bool) {}
  void integer(std::int32_t) {}
  void number(double) {}
  void string(const AMFWireString&) {}
  void xmlDocument(const AMFWireString&) {}
  void xml(const AMFWireString&) {}
  void date(double, std::int16_t) {}
  void byteArray(const AMFWireString&) {}
  void reference(std::uint32_t) {}
  void beginAmf3() {}
  void endAmf3() {}
  void beginArray(const AMFWireArray&) {}
  void beginEcmaArray(std::uint32_t) {}
  void beginObject(const AMFWireObject&) {}
  void beginExternal(const AMFWireExternal&) {}
  void beginVector(const AMFWireVector&) {}
  void vectorItems(const char*, std::uint32_t) {}
  void beginDictionary(std::uint32_t, bool) {}
  void member(const AMFWireString&) {}
  void denseItems() {}
  void fieldGroup(const AMFWireFlags&) {}
  void field(const AMFWireField&) {}
  void end() {}
};

// After the values of each section, a sink of the library receives the tables of the section and
// the offset of its end. The sinks of hosts do not.
template <class Sink>
auto reportValuesEnd(Sink& sink, const SectionTables& tables, std::size_t offset)
    -> decltype(sink.valuesEnd(tables, offset)) {
  sink.valuesEnd(tables, offset);
}
inline void reportValuesEnd(AMFWireSink&, const SectionTables&, std::size_t) {}

template <class Sink>
class DocumentReader {
 public:
  DocumentReader(const ReadContext& of, Sink& to, std::size_t count, bool salvages)
      : context(of), sink(to), values(of, to), size(count), salvage(salvages) {}

  void read(AMFWireForm form);
  const SectionTables& section() const { return values.section(); }
  // The offset of the value that was read last.
  std::size_t valueOffset() const { return values.valueOffset(); }

 private:
  void readPacket();
  void readBareValues(AMFWireForm form);
  void readSharedObject();
  void readEntries(const AMFWireDocument& document, const char* declaredEnd);
  void readFlv();
  bool readTag();
  void scriptTag(const AMFWireSection& section, const char* bodyEnd, bool type15);

  bool readSections(AMFWireSectionKind kind, std::uint32_t count);
  bool readSection(AMFWireSectionKind kind);
  // Without salvage: returns true, and does not call `use`. With salvage: calls `use` with a reader
  // that sends no events, and returns whether it succeeded. If not, `problem` has the reason.
  template <class Use>
  bool succeeds(Use use);
  void keepRaw(const AMFWireSection& section, const char* begin, const char* rawEnd);
  void fixedBytes(const char* expected, std::size_t count, const char* what);
  void finish(const char* trailing, const std::string& error);
  const char* end() const { return context.base + size; }

  ReadContext context;
  Sink& sink;
  AmfReader<Sink> values;
  std::size_t size;
  bool salvage;
  Failure problem{};
};

inline std::string textOf(const Failure& problem) {
  return "byte " + std::to_string(problem.offset) + ": " + problem.message;
}

template <class Sink>
void DocumentReader<Sink>::read(AMFWireForm form) {
  values.place(context.base, end());
  switch (form) {
    case AMFWireForm::amf0:
    case AMFWireForm::amf3: return readBareValues(form);
    case AMFWireForm::sharedObject: return readSharedObject();
    case AMFWireForm::flv: return readFlv();
    default: return readPacket();
  }
}

template <class Sink>
void DocumentReader<Sink>::finish(const char* trailing, const std::string& error) {
  sink.endDocument({trailing, static_cast<std::size_t>(end() - trailing)}, error);
}

template <class Sink>
template <class Use>
bool DocumentReader<Sink>::succeeds(Use use) {
  if (!salvage) return true;
  NoSink none;
  AmfReader<NoSink> trial(context, none);
  try {
    use(trial);
    return true;
  } catch (Failure& failure) {
    problem = std::move(failure);
    return false;
  }
}

template <class Sink>
void DocumentReader<Sink>::keepRaw(const AMFWireSection& section, const char* begin,
                                   const char* rawEnd) {
  sink.beginSection(section);
  sink.rawSection({begin, static_cast<std::size_t>(rawEnd - begin)}, textOf(problem));
  sink.endSection();
}

template <class Sink>
void DocumentReader<Sink>::readPacket() {
  AMFWireDocument document;
  document.form = AMFWireForm::packet;
  document.version = values.readU16("the version");
  document.headerCount = values.readU16("the number of headers");
  document.trueCounts = false;
  sink.beginDocument(document);
  if (!readSections(AMFWireSectionKind::header, document.headerCount)) return;
  const std::uint32_t messageCount = values.readU16("the number of messages");
  sink.beginMessages(messageCount);
  if (!readSections(AMFWireSectionKind::message, messageCount)) return;
  finish(values.position(), {});
}

// The fields before the value of a header or message.
template <class Reader>
AMFWireSection readSectionHead(Reader& reader, AMFWireSectionKind kind) {
  AMFWireSection section;
  section.kind = kind;
  if (kind == AMFWireSectionKind::header) {
    section.name = reader.readString16("the length of a header's name", "a header's name");
    section.mustUnderstand = reader.readU8("the must-understand byte");
  } else {
    section.name = reader.readString16("the length of a target", "a target");
    section.response = reader.readString16("the length of a response", "a response");
  }
  section.declaredLength = reader.readU32("the length of a value");
  section.trueLength = false;
  section.offset = reader.offsetOf(reader.position());
  return section;
}

// Returns false if a section could not be read. The document then ends before this section.
template <class Sink>
bool DocumentReader<Sink>::readSections(AMFWireSectionKind kind, std::uint32_t count) {
  for (; count > 0; --count) {
    const char* const begin = values.position();
    if (readSection(kind)) continue;
    finish(begin, textOf(problem));
    return false;
  }
  return true;
}

template <class Sink>
bool DocumentReader<Sink>::readSection(AMFWireSectionKind kind) {
  const char* const begin = values.position();
  if (!succeeds([&](AmfReader<NoSink>& trial) {
        trial.place(begin, end());
        readSectionHead(trial, kind);
      })) {
    return false;
  }
  const AMFWireSection section = readSectionHead(values, kind);
  const char* const value = values.position();
  if (succeeds([&](AmfReader<NoSink>& trial) { trial.readOne(value, end()); })) {
    sink.beginSection(section);
    values.readOne(value, end());
    reportValuesEnd(sink, values.section(), values.offsetOf(values.position()));
    sink.endSection();
    return true;
  }
  // No input is as long as FFFFFFFF, the unknown length.
  if (section.declaredLength > static_cast<std::size_t>(end() - value)) return false;
  const char* const rawEnd = value + section.declaredLength;
  keepRaw(section, value, rawEnd);
  values.place(rawEnd, end());
  return true;
}

template <class Sink>
void DocumentReader<Sink>::readBareValues(AMFWireForm form) {
  AMFWireDocument document;
  document.form = form;
  sink.beginDocument(document);
  AMFWireSection section;
  section.kind = AMFWireSectionKind::values;
  const char* const begin = context.base;
  const bool amf3 = form == AMFWireForm::amf3;
  if (!succeeds([&](AmfReader<NoSink>& trial) { trial.readValues(begin, end(), amf3); })) {
    return finish(begin, textOf(problem));
  }
  sink.beginSection(section);
  values.readValues(begin, end(), amf3);
  reportValuesEnd(sink, values.section(), size);
  sink.endSection();
  finish(end(), {});
}

template <class Sink>
void DocumentReader<Sink>::fixedBytes(const char* expected, std::size_t count, const char* what) {
  const AMFWireString found = values.readBytes(count, what);
  if (std::memcmp(found.data, expected, count) == 0) return;
  throw Failure{AMFWireStatus::malformed, values.offsetOf(found.data),
                std::string(what) + " is missing"};
}

template <class Sink>
void DocumentReader<Sink>::readSharedObject() {
  AMFWireDocument document;
  document.form = AMFWireForm::sharedObject;
  fixedBytes("\x00\xBF", 2, "the mark 00 BF of a shared object");
  document.declaredSize = values.readU32("the size of a shared object");
  document.trueSize = false;
  const std::size_t rest = values.remaining();
  const char* const declaredEnd =
      document.declaredSize <= rest ? values.position() + document.declaredSize : nullptr;
  fixedBytes("TCSO", 4, "the mark TCSO of a shared object");
  fixedBytes("\x00\x04\x00\x00\x00\x00", 6, "the mark 00 04 00 00 00 00 of a shared object");
  document.name = values.readString16("the length of the shared object's name",
                                      "the name of the shared object");
  const char* const version = values.position();
  const std::uint32_t amf = values.readU32("the AMF version of a shared object");
  if (amf != 0 && amf != 3) {
    throw Failure{AMFWireStatus::malformed, values.offsetOf(version),
                  "AMF version " + std::to_string(amf) + ": expected 0 or 3"};
  }
  document.version = static_cast<std::uint16_t>(amf);
  readEntries(document, declaredEnd);
}

template <class Sink>
void DocumentReader<Sink>::readEntries(const AMFWireDocument& document, const char* declaredEnd) {
  const char* const begin = values.position();
  const bool amf3 = document.version == 3;
  sink.beginDocument(document);
  AMFWireSection section;
  section.kind = AMFWireSectionKind::entries;
  section.offset = values.offsetOf(begin);
  if (!succeeds(
          [&](AmfReader<NoSink>& trial) { trial.readEntries(begin, end(), declaredEnd, amf3); })) {
    return finish(begin, textOf(problem));
  }
  sink.beginSection(section);
  values.readEntries(begin, end(), declaredEnd, amf3);
  reportValuesEnd(sink, values.section(), values.offsetOf(values.position()));
  sink.endSection();
  finish(values.position(), {});
}

template <class Sink>
void DocumentReader<Sink>::readFlv() {
  fixedBytes("FLV", 3, "the mark FLV of an FLV file");
  values.readU8("the version of an FLV file");
  values.readU8("the flags of an FLV file");
  const char* const field = values.position();
  const std::uint32_t headSize = values.readU32("the head size of an FLV file");
  if (headSize < 9) {
    throw Failure{AMFWireStatus::malformed, values.offsetOf(field),
                  "head size " + std::to_string(headSize) + ": expected 9 or more"};
  }
  values.readBytes(headSize - 9, "the head of an FLV file");
  AMFWireDocument document;
  document.form = AMFWireForm::flv;
  sink.beginDocument(document);
  while (readTag()) {
  }
}

// Reads the size of the previous tag, then a tag. Returns false at the end of the document.
template <class Sink>
bool DocumentReader<Sink>::readTag() {
  const char* begin = values.position();
  if (begin == end()) return finish(begin, {}), false;
  AMFWireSection section;
  section.kind = AMFWireSectionKind::scriptTag;
  std::uint8_t type = 0;
  AMFWireString body;
  const auto head = [&](auto& reader) {
    reader.readU32("the size of the tag before");
    begin = reader.position();
    if (begin == end()) return;
    type = reader.readU8("the type of a tag");
    const std::uint32_t length = loadU24(reader.readBytes(3, "the size of a tag").data);
    const std::uint32_t low = loadU24(reader.readBytes(3, "the time stamp of a tag").data);
    const std::uint32_t high = reader.readU8("the time stamp extension of a tag");
    section.timeMs = static_cast<std::int32_t>(high << 24 | low);
    reader.readBytes(3, "the stream number of a tag");
    body = reader.readBytes(length, "the body of a tag");
  };
  if (!succeeds([&](AmfReader<NoSink>& trial) {
        trial.place(begin, end());
        head(trial);
      })) {
    return finish(begin, textOf(problem)), false;
  }
  values.place(values.position(), end());
  head(values);
  if (begin == end()) return true;
  const char* const next = values.position();
  const bool encrypted = (type & 0x20) != 0;
  const bool type15 = (type & 0x1F) == 15;
  if (!encrypted && (type15 || (type & 0x1F) == 18)) {
    section.offset = values.offsetOf(body.data);
    scriptTag(section, next, type15);
  }
  values.place(next, end());
  return true;
}

template <class Sink>
void DocumentReader<Sink>::scriptTag(const AMFWireSection& section, const char* bodyEnd,
                                     bool type15) {
  const char* const body = context.base + section.offset;
  const auto read = [&](auto& reader) {
    reader.place(body, bodyEnd);
    if (type15 && reader.readU8("the first byte of a script tag") != 0) {
      throw Failure{AMFWireStatus::malformed, section.offset,
                    "the first byte of a script tag of type 15 is not 00"};
    }
    reader.readValues(reader.position(), bodyEnd, false);
  };
  if (!succeeds(read)) return keepRaw(section, body, bodyEnd);
  sink.beginSection(section);
  read(values);
  reportValuesEnd(sink, values.section(), values.offsetOf(bodyEnd));
  sink.endSection();
}

}  // namespace amf2json::wire

#endif  // WIRE_DOCUMENT_READER_H
