// SPDX-License-Identifier: Apache-2.0
//
// AMFNode: what all nodes have in common, mainly the owned list of children. Tested by
// tests/model/model_test.cpp.
#include "AMF2JSON.h"
#include "memory/tree_deleter.h"
#include "model/attach.h"

using namespace amf2json;

AMFNode::AMFNode(AMFType kind, AMFVersion nodeVersion, AMFNode* nodeParent)
    : parent(nodeParent), type(kind), version(nodeVersion) {}

// Delegates to another constructor first. So if the copy of a child throws later, the destructor
// runs and frees the copies made so far.
AMFNode::AMFNode(const AMFNode& source) : AMFNode(source.type, source.version, nullptr) {
  referenceIndex = source.referenceIndex;
  complete = source.complete;
  children.reserve(source.children.size());
  for (const AMFNode* const child : source.children) {
    children.push_back(child ? child->clone() : nullptr);
    if (child) children.back()->parent = this;
  }
}

AMFNode::~AMFNode() {
  if (!children.empty()) TreeDeleter().destroyChildren(*this);
  if (memory != 0) NodeMemory::noteDestroyed(this);
}

void AMFNode::appendChild(AMFNode* node, bool copy) {
  if (!node) return;
  std::unique_ptr<AMFNode> copied(copy ? node->clone() : nullptr);
  AMFNode* const taken = copy ? copied.get() : node;
  children.push_back(taken);
  static_cast<void>(copied.release());
  taken->parent = this;
}

AMFNode* AMFNode::getChild(unsigned int index) const {
  return index < children.size() ? children[index] : nullptr;
}

void AMFNode::setChild(unsigned int index, AMFNode* node, bool copy) {
  if (!node || index >= children.size()) return;
  model::replace(children[index], node, copy);
  children[index]->parent = this;
}
