// SPDX-License-Identifier: Apache-2.0
//
// AMFObject: a class name and a list of pairs. Tested by tests/model/model_test.cpp.
#include "AMF2JSON.h"
#include "memory/node_pool.h"
#include "memory/tree_deleter.h"
#include "model/attach.h"

using namespace amf2json;

AMFObject::AMFObject(AMFVersion nodeVersion) : AMFObject(nodeVersion, nullptr) {}
AMFObject::AMFObject(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_OBJECT, nodeVersion, nodeParent), className(new AMFString(nodeVersion)) {}

AMFObject::AMFObject(const Unfilled&, AMFVersion nodeVersion) noexcept
    : AMFNode(AMF_OBJECT, nodeVersion, nullptr), className(nullptr) {}

AMFObject::AMFObject(const AMFObject& source)
    : AMFNode(source),
      dynamic(source.dynamic),
      externalizable(source.externalizable),
      sealedCount(source.sealedCount),
      traitsIndex(source.traitsIndex),
      className(model::copyOf(source.className).release()) {}

AMFObject::~AMFObject() {
  TreeDeleter().destroy(className);
}
AMFObject* AMFObject::clone() const {
  return allocatorOfThisThread().copy(*this);
}

void AMFObject::appendChild(AMFPair* pair, bool copy) {
  AMFNode::appendChild(pair, copy);
}
void AMFObject::setChild(unsigned int index, AMFPair* pair, bool copy) {
  AMFNode::setChild(index, pair, copy);
}
AMFPair* AMFObject::getChild(unsigned int index) const {
  return model::castUnchecked<AMFPair>(AMFNode::getChild(index));
}

void AMFObject::setClassName(AMFString* newName, bool copy) {
  model::replace(className, newName, copy);
}
