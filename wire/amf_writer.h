// SPDX-License-Identifier: Apache-2.0
//
// The AMF writer: a sink that turns events into bytes, in one way for each value. It trusts the
// order of the events, which come from a reader of this library or through checked_writer.cpp. The
// inverse of amf_reader.h and document_reader.h. Tested by tests/wire/rows_test.cpp.
#ifndef WIRE_AMF_WRITER_H
#define WIRE_AMF_WRITER_H

#include <string>
#include <vector>

#include "AMFWire.h"
#include "wire/byte_buffer.h"
#include "wire/section_tables.h"
#include "wire/writer_index.h"

namespace amf2json::wire {

// A length or an index that is too large for the format.
struct Unwritable {
  const char* message;
};

class AmfWriter {
 public:
  explicit AmfWriter(std::size_t maxBytes) : output(maxBytes) {}

  // Documents: document_writer.cpp.
  void beginDocument(const AMFWireDocument& document);
  void beginMessages(std::uint32_t declaredCount);
  void endDocument(const AMFWireString& trailing, const AMFWireString& error);
  void beginSection(const AMFWireSection& section);
  void rawSection(const AMFWireString& bytes, const AMFWireString& error);
  void endSection();
  void valuesEnd(const SectionTables&, std::size_t) {}
  // Writes only the values of a section, without the fields before them.
  void beginValues(const AMFWireSection& section, bool inAmf3);
  void endValues();
  // The bytes of the values of the current section, and a call that replaces them.
  AMFWireString values() const;
  void replaceValues(const AMFWireString& bytes);

  void undefined() { output.u8(amf3 ? 0x00 : 0x06); }
  void null() { output.u8(amf3 ? 0x01 : 0x05); }
  void unsupported() { output.u8(0x0D); }
  void boolean(bool value);
  void integer(std::int32_t value);
  void number(const double& value);
  void string(const AMFWireString& value);
  void xmlDocument(const AMFWireString& value);
  void xml(const AMFWireString& value) { text3(0x0B, value); }
  void date(const double& timeMs, std::int16_t zone);
  void byteArray(const AMFWireString& value) { text3(0x0C, value); }
  void reference(std::uint32_t index);

  void beginAmf3();
  void endAmf3() { amf3 = false; }
  void beginArray(const AMFWireArray& array);
  void beginEcmaArray(std::uint32_t declaredCount);
  void beginObject(const AMFWireObject& object);
  void beginExternal(const AMFWireExternal& external);
  void beginVector(const AMFWireVector& vector);
  void vectorItems(const char* items, std::uint32_t count);
  void beginDictionary(std::uint32_t count, bool weak);
  void member(const AMFWireString& name);
  void denseItems() { writeU29(1); }
  void fieldGroup(const AMFWireFlags& flags);
  void field(const AMFWireField&) {}
  void end();

  // Counts the values that a reference can refer to, in the current format.
  std::uint32_t objectCount() const {
    return amf3 ? static_cast<std::uint32_t>(tables.objects.count()) : tables.objects0;
  }
  bool isInAmf3() const { return amf3; }

  ByteBuffer output;

 private:
  enum class Ending : std::uint8_t { none, members0, members3 };
  struct Frame {
    Ending ending = Ending::none;
    std::uint32_t remainingSealed = 0;
    std::uint32_t itemSize = 0;
  };

  void push(Ending ending, std::uint32_t remainingSealed = 0) {
    frames.emplace_back();
    frames.back().ending = ending;
    frames.back().remainingSealed = remainingSealed;
  }
  void begin3(unsigned marker) {
    output.u8(marker);
    tables.objects.push(static_cast<std::uint8_t>(marker));
  }
  void writeU29(std::uint32_t value);
  void writeLongU29(std::uint32_t value);
  void writeHead(std::uint64_t count);  // a length or count, with bit 0 set
  void writeString16(const AMFWireString& value);
  void writeString3(const AMFWireString& value);
  void writeTraits(std::uint32_t head, const AMFWireString& className, AMFWireNames* names);
  void text3(unsigned marker, const AMFWireString& value);
  void countSection(AMFWireSectionKind kind);
  void beginEntry();

  SectionTables tables;
  WriterIndex index{tables};
  std::vector<Frame> frames;
  AMFWireDocument document;
  AMFWireSection section;
  std::size_t valuesBegin = 0;
  std::size_t sizePlace = 0;  // of the size field of the shared object
  std::size_t headerCountPlace = 0;
  std::size_t messageCountPlace = 0;
  std::uint32_t headers = 0;
  std::uint32_t messages = 0;
  bool messagesBegun = false;
  bool entryOpen = false;
  bool amf3 = false;
};

}  // namespace amf2json::wire

#endif  // WIRE_AMF_WRITER_H
