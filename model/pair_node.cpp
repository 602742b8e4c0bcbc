// SPDX-License-Identifier: Apache-2.0
//
// AMFPair: a name and a value. Tested by tests/model_test.cpp.
#include "AMF2JSON.h"
#include "model/attach.h"
#include "model/drop.h"

using namespace amf2json;

AMFPair::AMFPair(AMFVersion nodeVersion, AMFNode* nodeParent, AMFType kind)
    : AMFNode(kind, nodeVersion, nodeParent) {
  auto emptyName = std::make_unique<AMFString>(nodeVersion);
  value = new AMFUndefined(nodeVersion);
  name = emptyName.release();
}

AMFPair::AMFPair(AMFVersion nodeVersion, AMFType kind, AMFString* ownName,
                 AMFNode* ownValue) noexcept
    : AMFNode(kind, nodeVersion, nullptr), name(ownName), value(ownValue) {}

AMFPair::AMFPair(const AMFPair& source) : AMFNode(source) {
  auto nameCopy = model::copyOf(source.name);
  value = model::copyOf(source.value).release();
  name = nameCopy.release();
}

AMFPair::~AMFPair() {
  model::Dropper dropper;
  dropper.drop(name);
  dropper.drop(value);
}
AMFPair* AMFPair::clone() const {
  return new AMFPair(*this);
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
