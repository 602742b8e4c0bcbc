// SPDX-License-Identifier: Apache-2.0
//
// The public readers and writers, one value at a time, and nothing but: what they do is in the
// files of the reader and of the writer, which take the shorter way among themselves. Small rather
// than fast (CMakeLists.txt). Tested by the tests of those files.
#include "AMF2JSON.h"
#include "codec/big_endian.h"
#include "codec/reader.h"
#include "codec/reader_texts.h"
#include "codec/writer.h"

using namespace amf2json;

using codec::Reader;
using codec::readMarker;
using codec::Writer;

// ---- Readers

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

std::uint32_t AMFProtocol::getVLUnsignedInt() {
  return big_endian::readU29(readCursor);
}
AMFProtocol::AMF3Markers AMFProtocol::getAMF3Marker() {
  return readMarker<AMF3Markers>(readCursor);
}
AMFNode* AMFProtocol::getAMF3Value() {
  return Reader(*this, *state).amf3Value();
}

AMFBool* AMFProtocol::getAMF3Bool(AMF3Markers marker) {
  if (marker == AMF3_UNDEFINED) marker = getAMF3Marker();
  if (marker != AMF3_TRUE && marker != AMF3_FALSE) {
    throw AMFException(reader_texts::kAMF3BoolMarker);
  }
  return Reader(*this, *state).amf3Bool(marker == AMF3_TRUE);
}

AMFInt* AMFProtocol::getAMF3Integer() {
  return Reader(*this, *state).amf3Integer();
}
AMFDouble* AMFProtocol::getAMF3Double() {
  return Reader(*this, *state).amf3Double();
}

AMFString* AMFProtocol::getAMF3String(bool withMarker) {
  if (withMarker && getAMF3Marker() != AMF3_STRING) {
    throw AMFException(reader_texts::kAMF3StringMarker);
  }
  return Reader(*this, *state).amf3String();
}

AMFXML* AMFProtocol::getAMF3XML(AMF3Markers marker) {
  if (marker == AMF3_UNDEFINED) marker = getAMF3Marker();
  if (marker != AMF3_XML_DOC && marker != AMF3_XML) {
    throw AMFException(reader_texts::kAMF3XMLMarker);
  }
  return Reader(*this, *state).amf3XML(marker);
}

AMFDate* AMFProtocol::getAMF3Date() {
  return Reader(*this, *state).amf3Date();
}
AMFRaw* AMFProtocol::getAMF3ByteArray() {
  return Reader(*this, *state).amf3ByteArray();
}
AMFPair* AMFProtocol::getAMF3Pair() {
  return Reader(*this, *state).amf3Pair();
}
AMFArray* AMFProtocol::getAMF3Array() {
  return Reader(*this, *state).amf3Array();
}
AMFObject* AMFProtocol::getAMF3Object() {
  return Reader(*this, *state).amf3Object();
}

// ---- Writers

void AMFProtocol::setNodeValue(const AMFNode* node, AMFVersion placeVersion) {
  Writer::run(*outputChunks.pieces, &Writer::writeValue, node, placeVersion);
}

void AMFProtocol::setByteArray(const AMFRaw* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeBytes, node);
}

void AMFProtocol::setAMF0String(const AMFString* node, bool withMarker, AMF0Markers marker) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0String, node, withMarker, marker);
}

void AMFProtocol::setAMF0Bool(const AMFBool* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Bool, node);
}

void AMFProtocol::setAMF0Int(const AMFInt* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Int, node);
}

void AMFProtocol::setAMF0Double(const AMFDouble* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Double, node);
}

void AMFProtocol::setAMF0Date(const AMFDate* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Date, node);
}

void AMFProtocol::setAMF0XML(const AMFXML* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0XML, node);
}

void AMFProtocol::setAMF0Pair(const AMFPair* pair) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Pair, pair);
}

void AMFProtocol::setAMF0Object(const AMFObject* object) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Object, object);
}

void AMFProtocol::setAMF0Array(const AMFArray* array) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Array, array);
}

void AMFProtocol::setAMF0Reference(unsigned int index) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Reference, index);
}

void AMFProtocol::setVLInteger(unsigned int value) {
  Writer::run(*outputChunks.pieces, &Writer::writeVLInteger, value);
}

void AMFProtocol::setAMF3Integer(const AMFInt* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Integer, node);
}

void AMFProtocol::setAMF3Double(const AMFDouble* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Double, node);
}

void AMFProtocol::setAMF3String(const AMFString* node, bool omitMarker) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3String, node, omitMarker);
}

void AMFProtocol::setAMF3Date(const AMFDate* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Date, node);
}

void AMFProtocol::setAMF3XML(const AMFXML* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3XML, node);
}

void AMFProtocol::setAMF3Raw(const AMFRaw* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Raw, node);
}

void AMFProtocol::setAMF3Array(const AMFArray* array) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Array, array);
}

void AMFProtocol::setAMF3Object(const AMFObject* object) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Object, object);
}
