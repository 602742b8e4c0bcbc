// SPDX-License-Identifier: Apache-2.0
//
// The AMF writer: documents and sections. The inverse of document_reader.h. Tested by
// tests/wire/documents_test.cpp.
#include "wire/amf_writer.h"

namespace amf2json::wire {

void AmfWriter::beginDocument(const AMFWireDocument& of) {
  document = of;
  headers = messages = 0;
  messagesBegun = false;
  if (of.form == AMFWireForm::packet) {
    output.u16(of.version);
    headerCountPlace = output.size();
    output.u16(of.headerCount);
  } else if (of.form == AMFWireForm::sharedObject) {
    output.bytes("\x00\xBF", 2);
    sizePlace = output.size();
    output.u32(of.declaredSize);
    output.bytes("TCSO\x00\x04\x00\x00\x00\x00", 10);
    writeString16(of.name);
    output.u32(of.version);
  }
}

void AmfWriter::beginMessages(std::uint32_t declaredCount) {
  messagesBegun = true;
  messageCountPlace = output.size();
  output.u16(declaredCount);
}

void AmfWriter::endDocument(const AMFWireString& trailing, const AMFWireString&) {
  if (document.form == AMFWireForm::packet && document.trueCounts) {
    if (!messagesBegun) beginMessages(0);
    storeU16(output.data() + headerCountPlace, headers);
    storeU16(output.data() + messageCountPlace, messages);
  }
  if (document.form == AMFWireForm::sharedObject && document.trueSize) {
    const std::size_t counted = output.size() - sizePlace - 4;
    storeU32(output.data() + sizePlace, static_cast<std::uint32_t>(counted));
  }
  output.bytes(trailing.data, trailing.length);
}

void AmfWriter::countSection(AMFWireSectionKind kind) {
  if (kind == AMFWireSectionKind::header) ++headers;
  if (kind != AMFWireSectionKind::message) return;
  if (!messagesBegun) beginMessages(0);
  ++messages;
}

void AmfWriter::beginSection(const AMFWireSection& of) {
  countSection(of.kind);
  if (of.kind == AMFWireSectionKind::header) {
    writeString16(of.name);
    output.u8(of.mustUnderstand);
    output.u32(of.declaredLength);
  } else if (of.kind == AMFWireSectionKind::message) {
    writeString16(of.name);
    writeString16(of.response);
    output.u32(of.declaredLength);
  }
  beginValues(of, document.form == AMFWireForm::amf3 ||
                      (document.form == AMFWireForm::sharedObject && document.version == 3));
}

void AmfWriter::beginValues(const AMFWireSection& of, bool inAmf3) {
  section = of;
  tables.clear();
  index.clear();
  frames.clear();
  amf3 = inAmf3;
  entryOpen = false;
  if (of.kind == AMFWireSectionKind::entries && !inAmf3) tables.objects0 = 1;
  valuesBegin = output.size();
}

void AmfWriter::rawSection(const AMFWireString& bytes, const AMFWireString&) {
  output.bytes(bytes.data, bytes.length);
}

// Called before the name of an entry. Ends the entry before it, if there is one, with a byte 00.
void AmfWriter::beginEntry() {
  if (entryOpen) output.u8(0);
  entryOpen = true;
}

void AmfWriter::endValues() {
  if (entryOpen) output.u8(0);
  entryOpen = false;
}

void AmfWriter::endSection() {
  endValues();
  const bool hasLength =
      section.kind == AMFWireSectionKind::header || section.kind == AMFWireSectionKind::message;
  if (!hasLength || !section.trueLength) return;
  const std::size_t length = output.size() - valuesBegin;
  storeU32(output.data() + valuesBegin - 4, static_cast<std::uint32_t>(length));
}

AMFWireString AmfWriter::values() const {
  return {output.data() + valuesBegin, output.size() - valuesBegin};
}

void AmfWriter::replaceValues(const AMFWireString& bytes) {
  output.truncate(valuesBegin);
  output.bytes(bytes.data, bytes.length);
}

}  // namespace amf2json::wire
