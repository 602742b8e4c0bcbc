// SPDX-License-Identifier: Apache-2.0
//
// AMFPair: a name and a value. Tested by tests/model/model_test.cpp.
#include "AMF2JSON.h"
#include "memory/node_pool.h"
#include "memory/tree_deleter.h"
#include "model/attach.h"

using namespace amf2json;

AMFPair::AMFPair(AMFVersion nodeVersion) : AMFPair(nodeVersion, nullptr) {}
AMFPair::AMFPair(AMFVersion nodeVersion, AMFNode* nodeParent, AMFType kind)
    : AMFNode(kind, nodeVersion, nodeParent) {
  auto emptyName = std::make_unique<AMFString>(nodeVersion);
  value = new AMFUndefined(nodeVersion);
  name = emptyName.release();
}

AMFPair::AMFPair(const Unfilled&, AMFVersion nodeVersion, AMFType kind) noexcept
    : AMFNode(kind, nodeVersion, nullptr), name(nullptr), value(nullptr) {}

AMFPair::AMFPair(const AMFPair& source) : AMFNode(source) {
  auto nameCopy = model::copyOf(source.name);
  value = model::copyOf(source.value).release();
  name = nameCopy.release();
}

AMFPair::~AMFPair() {
  TreeDeleter deleter;
  deleter.destroy(name);
  deleter.destroy(value);
}
AMFPair* AMFPair::clone() const {
  return allocatorOfThisThread().copy(*this);
}

void AMFPair::setName(AMFString* newName, bool copy) {
  model::replace(name, newName, copy);
}

void AMFPair::setValue(AMFNode* newValue, bool copy) {
  if (!newValue) return;
  if (model::isStructure(newValue->type)) {
    throw AMFException("AMFPair::setValue(): not a value type node");
  }
  model::replace(value, newValue, copy);
}
