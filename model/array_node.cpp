// SPDX-License-Identifier: Apache-2.0
//
// AMFArray: values and pairs in one list. Tested by tests/model/model_test.cpp.
#include "AMF2JSON.h"
#include "memory/node_pool.h"
#include "model/attach.h"

using namespace amf2json;

AMFArray::AMFArray(AMFVersion nodeVersion) : AMFNode(AMF_ARRAY, nodeVersion, nullptr) {}
AMFArray::AMFArray(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_ARRAY, nodeVersion, nodeParent) {}
AMFArray::AMFArray(const AMFArray& source) = default;
AMFArray::~AMFArray() = default;
AMFArray* AMFArray::clone() const {
  return allocatorOfThisThread().copy(*this);
}

void AMFArray::appendChild(AMFNode* node, bool copy) {
  if (!node) return;
  const bool counts = model::countsAsElement(node);
  AMFNode::appendChild(node, copy);
  if (counts) ++denseCount;
}
