// SPDX-License-Identifier: Apache-2.0
//
// The nodes that hold bytes: byte arrays, strings, XML. Tested by tests/model_test.cpp.
#include <cstring>

#include "AMF2JSON.h"
#include "model/node_pool.h"

using namespace amf2json;

AMFRaw::AMFRaw(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFRaw(AMF_RAW, nodeVersion, nodeParent) {}
AMFRaw::AMFRaw(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(kind, nodeVersion, nodeParent) {}

AMFRaw::AMFRaw(const AMFRaw& source) : AMFNode(source) {
  AMFRaw::setValue(source.data, source.length);
  length = source.length;  // a length without bytes is copied as such
}

AMFRaw::~AMFRaw() {
  model::releaseBytes(this);
}
AMFRaw* AMFRaw::clone() const {
  return model::copyBytesNode(*this).release();
}

void AMFRaw::setValue(const char* bytes, unsigned int byteCount) {
  char* taken = nullptr;
  if (byteCount != 0 && bytes) {
    taken = new char[byteCount];
    std::memcpy(taken, bytes, byteCount);
  }
  model::releaseBytes(this);
  data = taken;
  length = taken ? byteCount : 0;
}

AMFString::AMFString(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFRaw(AMF_STRING, nodeVersion, nodeParent) {}
AMFString::AMFString(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFRaw(kind, nodeVersion, nodeParent) {}
AMFString::AMFString(const AMFString& source) = default;
AMFString::~AMFString() = default;
AMFString* AMFString::clone() const {
  return model::copyBytesNode(*this).release();
}

AMFXML::AMFXML(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFString(AMF_XML, nodeVersion, nodeParent) {}
AMFXML::AMFXML(const AMFXML& source) = default;
AMFXML::~AMFXML() = default;
AMFXML* AMFXML::clone() const {
  return model::copyBytesNode(*this).release();
}

void AMFXML::setValue(AMFString* text) {
  if (text) AMFRaw::setValue(text->data, text->length);
}
