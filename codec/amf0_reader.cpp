// SPDX-License-Identifier: Apache-2.0
//
// AMF0 value readers: a marker picks the form, the body follows big-endian. Enter at getAMF0Value.
// Mirrored by amf0_writer.cpp. Tested by tests/amf0_reader_test.cpp.
#include "AMF2JSON.h"
#include "codec/reader.h"
#include "codec/reader_texts.h"
#include "codec/wire.h"
#include "model/adopt.h"
#include "model/attach.h"
#include "model/node_pool.h"

namespace {

constexpr std::size_t kZoneBytes = 2;

}  // namespace

AMFProtocol::AMF0Markers AMFProtocol::getAMF0Marker() {
  const auto marker = static_cast<std::int8_t>(wire::readU8(readCursor));
  return static_cast<AMF0Markers>(std::int32_t{marker});  // widened with its sign
}

AMFNode* AMFProtocol::getAMF0Value() {
  const AMF0Markers marker = getAMF0Marker();
  switch (marker) {
    case AMF0_NUMBER: return getAMF0Number();
    case AMF0_BOOLEAN: return getAMF0Bool();
    case AMF0_STRING:
    case AMF0_LONG_STRING: return getAMF0String(marker);
    case AMF0_OBJECT:
    case AMF0_TYPED_OBJECT: return getAMF0Object(marker);
    case AMF0_NULL: return new AMFNull(AMF_VERSION_0);
    case AMF0_UNDEFINED: return new AMFUndefined(AMF_VERSION_0);
    case AMF0_REFERENCE: return getAMF0ByReference();
    case AMF0_ECMA_ARRAY:
    case AMF0_STRICT_ARRAY: return getAMF0Array(marker);
    case AMF0_OBJECT_END: return nullptr;
    case AMF0_DATE: return getAMF0Date();
    case AMF0_XML_DOCUMENT: return getAMF0XML();
    case AMF0_SWITCH_TO_AMF3: return getAMF3Value();
    case AMF0_MOVIECLIP:
    case AMF0_UNSUPPORTED:
    case AMF0_RECORDSET: break;
  }
  throw AMFException(reader_texts::kUnknownAMF0Value);
}

AMFString* AMFProtocol::getAMF0String(AMF0Markers marker) {
  if (marker == AMF0_UNDEFINED) marker = getAMF0Marker();
  std::uint32_t length = 0;
  if (marker == AMF0_STRING) {
    length = wire::readU16(readCursor);
  } else if (marker == AMF0_LONG_STRING) {
    length = wire::readU32(readCursor);
  } else {
    throw AMFException(reader_texts::kAMF0StringMarker);
  }
  return model::makeString(AMF_VERSION_0, wire::readBytes(readCursor, length), length).release();
}

AMFDouble* AMFProtocol::getAMF0Number() {
  auto number = std::make_unique<AMFDouble>(AMF_VERSION_0);
  wire::readDouble(readCursor, number->value);
  return number.release();
}

AMFBool* AMFProtocol::getAMF0Bool() {
  auto flag = std::make_unique<AMFBool>(AMF_VERSION_0);
  flag->value = wire::readU8(readCursor) != 0;
  return flag.release();
}

AMFDate* AMFProtocol::getAMF0Date() {
  auto date = std::make_unique<AMFDate>(AMF_VERSION_0);
  wire::readDouble(readCursor, date->value);
  wire::skip(readCursor, kZoneBytes);  // Kept: the time zone is skipped unread and lost.
  return date.release();
}

AMFXML* AMFProtocol::getAMF0XML() {
  auto xml = std::make_unique<AMFXML>(AMF_VERSION_0);
  xml->document = 1;
  const std::unique_ptr<AMFString> text(getAMF0String(AMF0_LONG_STRING));
  if (!text) throw AMFException(reader_texts::kAMF0XMLString);
  xml->setValue(text.get());
  return xml.release();
}

AMFNode* AMFProtocol::getAMF0ByReference() {
  const std::uint16_t index = wire::readU16(readCursor);
  if (index >= amf0References.size()) throw AMFException(reader_texts::kAMF0ReferenceIndex);
  const AMFNode* const entry = amf0References[index];
  if (!entry) throw AMFException(reader_texts::kAMF0ReferenceNull);
  AMFNode* const copy = entry->clone();
  copy->referenceIndex = index;
  return copy;
}

AMFPair* AMFProtocol::getAMF0Pair() {
  const std::uint16_t length = wire::readU16(readCursor);
  const char* const nameBytes = wire::readBytes(readCursor, length);
  // Kept: whatever name an end mark carries is read and discarded.
  if (wire::peekU8(readCursor) == AMF0_OBJECT_END) {
    ++readCursor;
    return nullptr;
  }
  auto name = model::makeString(AMF_VERSION_0, nameBytes, length);
  if (!name) throw AMFException(reader_texts::kAMF0PairName);
  auto pair = model::Adopt::pair(AMF_VERSION_0, std::move(name));
  std::unique_ptr<AMFNode> value(getAMF0Value());
  pair->setValue(value.get(), false);  // refuses what a host may have put into the table
  static_cast<void>(value.release());
  return pair.release();
}

AMFObject* AMFProtocol::getAMF0Object(AMF0Markers marker) {
  auto object = model::Adopt::object(AMF_VERSION_0);
  if (marker == AMF0_UNDEFINED) marker = getAMF0Marker();
  // Kept: any other marker than that of a typed object reads an anonymous object.
  if (marker == AMF0_TYPED_OBJECT) {
    object->className = getAMF0String(AMF0_STRING);
    if (!object->className) throw AMFException(reader_texts::kAMF0ClassName);
  } else {
    object->className = new AMFString(AMF_VERSION_0);
  }
  reader::Children members(pending);
  while (auto pair = std::unique_ptr<AMFPair>(getAMF0Pair())) members.add(std::move(pair));
  members.attachTo(*object);
  // Kept: indexes are given in the order in which objects and arrays end, not in which they begin.
  amf0References.push_back(object.get());
  return object.release();
}

AMFArray* AMFProtocol::getAMF0Array(AMF0Markers marker) {
  auto array = std::make_unique<AMFArray>(AMF_VERSION_0);
  if (marker == AMF0_UNDEFINED) marker = getAMF0Marker();
  // Kept: the count is read before the marker is looked at. It is believed, but nothing is reserved
  // for it.
  std::uint32_t left = wire::readU32(readCursor);
  reader::Children elements(pending);
  if (marker == AMF0_STRICT_ARRAY) {
    array->strict = 1;
    for (; left > 0; --left) {
      std::unique_ptr<AMFNode> value(getAMF0Value());
      if (!value) throw AMFException(reader_texts::kAMF0StrictArrayEnd);
      if (model::countsAsElement(value.get())) ++array->denseCount;
      elements.add(std::move(value));
    }
  } else if (marker == AMF0_ECMA_ARRAY) {
    // Kept: exactly `count` members and no end mark; what a sender puts behind them stays in the
    // input.
    for (; left > 0; --left) {
      std::unique_ptr<AMFPair> pair(getAMF0Pair());
      if (!pair) throw AMFException(reader_texts::kAMF0EcmaArrayEnd);
      elements.add(std::move(pair));
    }
  } else {
    throw AMFException(reader_texts::kUnknownAMF0Array);
  }
  elements.attachTo(*array);
  amf0References.push_back(array.get());
  return array.release();
}
