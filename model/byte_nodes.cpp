// SPDX-License-Identifier: Apache-2.0
//
// The nodes that hold bytes: byte arrays, strings, XML. Tested by tests/model/model_test.cpp.
#include <cstring>

#include "AMF2JSON.h"
#include "memory/node_pool.h"
#include "memory/tree_deleter.h"

using namespace amf2json;

AMFRaw::AMFRaw(AMFVersion nodeVersion) : AMFRaw(AMF_RAW, nodeVersion, nullptr) {}
AMFRaw::AMFRaw(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFRaw(AMF_RAW, nodeVersion, nodeParent) {}
AMFRaw::AMFRaw(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(kind, nodeVersion, nodeParent) {}

AMFRaw::AMFRaw(const AMFRaw& source) : AMFNode(source) {
  AMFRaw::setValue(source.data, source.length);
  length = source.length;  // a length without bytes is copied too
}

AMFRaw::~AMFRaw() {
  releaseBytes(*this);
}
AMFRaw* AMFRaw::clone() const {
  return allocatorOfThisThread().copyWithBytes(*this);
}

void AMFRaw::setValue(const char* bytes, unsigned int byteCount) {
  char* taken = nullptr;
  if (byteCount != 0 && bytes) {
    taken = new char[byteCount];
    std::memcpy(taken, bytes, byteCount);
  }
  releaseBytes(*this);
  data = taken;
  length = taken ? byteCount : 0;
}

AMFString::AMFString(AMFVersion nodeVersion) : AMFRaw(AMF_STRING, nodeVersion, nullptr) {}
AMFString::AMFString(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFRaw(AMF_STRING, nodeVersion, nodeParent) {}
AMFString::AMFString(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFRaw(kind, nodeVersion, nodeParent) {}
AMFString::AMFString(const AMFString& source) = default;
AMFString::~AMFString() = default;
AMFString* AMFString::clone() const {
  return allocatorOfThisThread().copyWithBytes(*this);
}

AMFXML::AMFXML(AMFVersion nodeVersion) : AMFString(AMF_XML, nodeVersion, nullptr) {}
AMFXML::AMFXML(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFString(AMF_XML, nodeVersion, nodeParent) {}
AMFXML::AMFXML(const AMFXML& source) = default;
AMFXML::~AMFXML() = default;
AMFXML* AMFXML::clone() const {
  AMFXML* const copied = allocatorOfThisThread().copyWithBytes(*this);
  copied->document = document;
  return copied;
}

void AMFXML::setValue(AMFString* text) {
  if (text) AMFRaw::setValue(text->data, text->length);
}
