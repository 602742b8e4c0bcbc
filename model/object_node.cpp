// SPDX-License-Identifier: Apache-2.0
//
// AMFObject: a class name and a list of pairs. Tested by tests/model_test.cpp.
#include "AMF2JSON.h"
#include "model/attach.h"
#include "model/drop.h"

using namespace amf2json;

AMFObject::AMFObject(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_OBJECT, nodeVersion, nodeParent), className(new AMFString(nodeVersion)) {}

AMFObject::AMFObject(AMFVersion nodeVersion, AMFString* ownName) noexcept
    : AMFNode(AMF_OBJECT, nodeVersion, nullptr), className(ownName) {}

AMFObject::AMFObject(const AMFObject& source)
    : AMFNode(source),
      dynamic(source.dynamic),
      externalizable(source.externalizable),
      sealedCount(source.sealedCount),
      traitsIndex(source.traitsIndex),
      className(model::copyOf(source.className).release()) {}

AMFObject::~AMFObject() {
  model::Dropper().drop(className);
}
AMFObject* AMFObject::clone() const {
  return new AMFObject(*this);
}

void AMFObject::appendChild(AMFPair* pair, bool copy) {
  AMFNode::appendChild(pair, copy);
}
void AMFObject::setChild(unsigned int index, AMFPair* pair, bool copy) {
  AMFNode::setChild(index, pair, copy);
}
AMFNode* AMFObject::getChild(unsigned int index) const {
  return AMFNode::getChild(index);
}

void AMFObject::setClassName(AMFString* newName, bool copy) {
  model::replace(className, newName, copy);
}
