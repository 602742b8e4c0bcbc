// SPDX-License-Identifier: Apache-2.0
//
// AMFArray: values and pairs in one list. Tested by tests/model_test.cpp.
#include "AMF2JSON.h"

AMFArray::AMFArray(AMFVersion nodeVersion, AMFNode* nodeParent)
    : AMFNode(AMF_ARRAY, nodeVersion, nodeParent) {}
AMFArray::AMFArray(const AMFArray& source) = default;
AMFArray::~AMFArray() = default;
AMFArray* AMFArray::clone() const {
  return new AMFArray(*this);
}

void AMFArray::appendChild(AMFNode* node, bool copy) {
  if (!node) return;
  if (node->type >= AMF_HEADER) {  // larger codes than the known ones too
    throw AMFException("AMFArray::appendChild(): not a value type node");
  }
  AMFNode::appendChild(node, copy);
  if (node->type != AMF_PAIR) ++denseCount;
}
