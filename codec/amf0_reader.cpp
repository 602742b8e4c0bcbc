// SPDX-License-Identifier: Apache-2.0
//
// AMF0 value readers: a marker selects the form, and the body follows in big-endian order. Enter at
// amf0Value. The counterpart is amf0_writer.cpp. Tested by tests/codec/amf0_reader_test.cpp.
#include "AMF2JSON.h"
#include "codec/big_endian.h"
#include "codec/reader.h"
#include "codec/reader_texts.h"
#include "model/attach.h"

using namespace amf2json;

namespace {

constexpr std::size_t kZoneBytes = 2;

}  // namespace

namespace amf2json::codec {

AMFString* Reader::amf0String(std::uint32_t length) {
  return allocator.makeWithBytes<AMFString>(AMF_VERSION_0, big_endian::readBytes(cursor, length),
                                            length);
}

AMFDouble* Reader::amf0Number() {
  std::unique_ptr<AMFDouble> number(allocator.make<AMFDouble>(AMF_VERSION_0));
  big_endian::readDouble(cursor, number->value);
  return number.release();
}

AMFBool* Reader::amf0Bool() {
  std::unique_ptr<AMFBool> flag(allocator.make<AMFBool>(AMF_VERSION_0));
  flag->value = big_endian::readU8(cursor) != 0;
  return flag.release();
}

AMFDate* Reader::amf0Date() {
  std::unique_ptr<AMFDate> date(allocator.make<AMFDate>(AMF_VERSION_0));
  big_endian::readDouble(cursor, date->value);
  big_endian::skip(cursor, kZoneBytes);  // Kept: the time zone is skipped and lost.
  return date.release();
}

AMF2JSON_RARE AMFXML* Reader::amf0XML() {
  const std::uint32_t length = big_endian::readU32(cursor);
  std::unique_ptr<AMFXML> xml(allocator.makeWithBytes<AMFXML>(
      AMF_VERSION_0, big_endian::readBytes(cursor, length), length));
  if (!xml) throw AMFException(reader_texts::kAMF0XMLString);  // Unreachable.
  xml->document = 1;
  return xml.release();
}

AMFNode* Reader::amf0ByReference() {
  const Nodes& table = protocol.amf0References;
  const std::uint16_t index = big_endian::readU16(cursor);
  if (index >= table.size()) throw AMFException(reader_texts::kAMF0ReferenceIndex);
  if (!table[index]) throw AMFException(reader_texts::kAMF0ReferenceNull);
  AMFNode* const copy = table[index]->clone();
  copy->referenceIndex = index;
  return copy;
}

AMF2JSON_HOT AMFNode* Reader::nextAmf0Value() {
  const AMFProtocol::AMF0Markers marker = readMarker<AMFProtocol::AMF0Markers>(cursor);
  switch (marker) {
    case AMFProtocol::AMF0_NUMBER: return amf0Number();
    case AMFProtocol::AMF0_BOOLEAN: return amf0Bool();
    case AMFProtocol::AMF0_STRING: return amf0String(big_endian::readU16(cursor));
    case AMFProtocol::AMF0_LONG_STRING: return amf0String(big_endian::readU32(cursor));
    case AMFProtocol::AMF0_OBJECT:
    case AMFProtocol::AMF0_TYPED_OBJECT: return amf0Object(marker);
    case AMFProtocol::AMF0_NULL: return allocator.make<AMFNull>(AMF_VERSION_0);
    case AMFProtocol::AMF0_UNDEFINED: return allocator.make<AMFUndefined>(AMF_VERSION_0);
    case AMFProtocol::AMF0_REFERENCE: return amf0ByReference();
    case AMFProtocol::AMF0_ECMA_ARRAY:
    case AMFProtocol::AMF0_STRICT_ARRAY: return amf0Array(marker);
    case AMFProtocol::AMF0_OBJECT_END: return nullptr;
    case AMFProtocol::AMF0_DATE: return amf0Date();
    case AMFProtocol::AMF0_XML_DOCUMENT: return amf0XML();
    case AMFProtocol::AMF0_SWITCH_TO_AMF3: return amf3Value();
    case AMFProtocol::AMF0_MOVIECLIP:
    case AMFProtocol::AMF0_UNSUPPORTED:
    case AMFProtocol::AMF0_RECORDSET: break;
  }
  throw AMFException(reader_texts::kUnknownAMF0Value);
}

AMFNode* Reader::amf0Value() {
  return nextAmf0Value();
}

AMF2JSON_HOT AMFPair* Reader::nextAmf0Pair() {
  const std::uint16_t length = big_endian::readU16(cursor);
  const char* const name = big_endian::readBytes(cursor, length);
  // Kept: the name before an end marker is discarded, whatever it is.
  if (big_endian::peekU8(cursor) == AMFProtocol::AMF0_OBJECT_END) {
    ++cursor;
    return nullptr;
  }
  auto pair = allocator.makeUnfilled<AMFPair>(AMF_VERSION_0, AMFNode::AMF_PAIR);
  pair->name = allocator.makeWithBytes<AMFString>(AMF_VERSION_0, name, length);
  if (!pair->name) throw AMFException(reader_texts::kAMF0PairName);  // Unreachable.
  std::unique_ptr<AMFNode> value(nextAmf0Value());
  // pair->setValue throws for a structural node. Only a host can have put such a node into the
  // reference table.
  if (model::isStructure(value->type)) pair->setValue(value.get(), false);
  pair->value = value.release();
  return pair.release();
}

AMFPair* Reader::amf0Pair() {
  return nextAmf0Pair();
}

AMFObject* Reader::amf0Object(AMFProtocol::AMF0Markers marker) {
  auto object = allocator.makeUnfilled<AMFObject>(AMF_VERSION_0);
  // Kept: for any marker but that of a typed object, an anonymous object is read.
  const bool isTyped = marker == AMFProtocol::AMF0_TYPED_OBJECT;
  object->className = amf0String(isTyped ? big_endian::readU16(cursor) : 0);
  if (!object->className) throw AMFException(reader_texts::kAMF0ClassName);  // Unreachable.
  Children members(*object, pending, lists);
  while (auto pair = std::unique_ptr<AMFPair>(nextAmf0Pair())) members.add(std::move(pair));
  members.attach();
  // Kept: reference indexes are assigned in the order in which objects and arrays end, not in which
  // they begin.
  append(protocol.amf0References, object.get());
  return object.release();
}

AMFArray* Reader::amf0Array(AMFProtocol::AMF0Markers marker) {
  std::unique_ptr<AMFArray> array(allocator.make<AMFArray>(AMF_VERSION_0));
  // Kept: the count is read before the marker is checked. The count is trusted, but no memory is
  // reserved for it.
  std::uint32_t remaining = big_endian::readU32(cursor);
  Children elements(*array, pending, lists);
  if (marker == AMFProtocol::AMF0_STRICT_ARRAY) {
    array->strict = 1;
    for (; remaining > 0; --remaining) {
      std::unique_ptr<AMFNode> value(nextAmf0Value());
      if (!value) throw AMFException(reader_texts::kAMF0StrictArrayEnd);
      if (model::countsAsElement(value.get())) ++array->denseCount;
      elements.add(std::move(value));
    }
  } else if (marker == AMFProtocol::AMF0_ECMA_ARRAY) {
    // Kept: reads as many members as the count says, and no end marker. Whatever a sender writes
    // after them remains in the input.
    for (; remaining > 0; --remaining) {
      std::unique_ptr<AMFPair> pair(amf0Pair());
      if (!pair) throw AMFException(reader_texts::kAMF0EcmaArrayEnd);
      elements.add(std::move(pair));
    }
  } else {
    throw AMFException(reader_texts::kUnknownAMF0Array);
  }
  elements.attach();
  append(protocol.amf0References, array.get());
  return array.release();
}

}  // namespace amf2json::codec

// The public calls that read a single value.

using codec::Reader;
using codec::readMarker;

AMFProtocol::AMF0Markers AMFProtocol::getAMF0Marker() {
  return readMarker<AMF0Markers>(readCursor);
}
AMFNode* AMFProtocol::getAMF0Value() {
  return Reader(*this, *state).amf0Value();
}

AMFString* AMFProtocol::getAMF0String(AMF0Markers marker) {
  if (marker == AMF0_UNDEFINED) marker = getAMF0Marker();
  if (marker == AMF0_STRING)
    return Reader(*this, *state).amf0String(big_endian::readU16(readCursor));
  if (marker == AMF0_LONG_STRING)
    return Reader(*this, *state).amf0String(big_endian::readU32(readCursor));
  throw AMFException(reader_texts::kAMF0StringMarker);
}

AMFDouble* AMFProtocol::getAMF0Number() {
  return Reader(*this, *state).amf0Number();
}
AMFBool* AMFProtocol::getAMF0Bool() {
  return Reader(*this, *state).amf0Bool();
}
AMFDate* AMFProtocol::getAMF0Date() {
  return Reader(*this, *state).amf0Date();
}
AMFXML* AMFProtocol::getAMF0XML() {
  return Reader(*this, *state).amf0XML();
}
AMFNode* AMFProtocol::getAMF0ByReference() {
  return Reader(*this, *state).amf0ByReference();
}
AMFPair* AMFProtocol::getAMF0Pair() {
  return Reader(*this, *state).amf0Pair();
}

AMFObject* AMFProtocol::getAMF0Object(AMF0Markers marker) {
  if (marker == AMF0_UNDEFINED) marker = getAMF0Marker();
  return Reader(*this, *state).amf0Object(marker);
}
AMFArray* AMFProtocol::getAMF0Array(AMF0Markers marker) {
  if (marker == AMF0_UNDEFINED) marker = getAMF0Marker();
  return Reader(*this, *state).amf0Array(marker);
}
