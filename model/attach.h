// SPDX-License-Identifier: Apache-2.0
//
// The ownership rule of all attaching operations: adopt the node, or keep a copy of it.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "AMF2JSON.h"
#include "memory/node_pool.h"

namespace amf2json::model {

// The value kinds are 0 to 9 and 11, the structural ones 10 and 12 to 14.
// Kept: a code above 14 is not refused, the test is a mask over the known kinds.
inline bool isStructure(AMFNode::AMFType kind) {
  constexpr std::uint32_t kStructure = 1u << AMFNode::AMF_PAIR | 1u << AMFNode::AMF_HEADER |
                                       1u << AMFNode::AMF_MESSAGE | 1u << AMFNode::AMF_PACKAGE;
  return kind <= AMFNode::AMF_PACKAGE && (kStructure >> kind & 1u) != 0;
}

// Whether an array counts this child in its dense part; a pair stands in the associative part. What
// is neither is refused, kinds above the known ones too.
inline bool countsAsElement(const AMFNode* child) {
  if (child->type >= AMFNode::AMF_HEADER) {
    throw AMFException("AMFArray::appendChild(): not a value type node");
  }
  return child->type != AMFNode::AMF_PAIR;
}

// The node as a pair of any kind, a header too; null for anything else.
inline const AMFPair* asPair(const AMFNode* node) {
  if (!node || node->type == AMFNode::AMF_PAIR) return static_cast<const AMFPair*>(node);
  return dynamic_cast<const AMFPair*>(node);
}

// The byte behind a flag, also where a host stored another one than 0 and 1 there.
inline std::uint8_t storedByte(const bool& flag) {
  std::uint8_t byte;
  std::memcpy(&byte, &flag, 1);
  return byte;
}

// A name, class name or URI: a plain string, also where the source is XML text.
inline std::unique_ptr<AMFString> copyOf(const AMFString* source) {
  if (!source) return nullptr;
  std::unique_ptr<AMFString> copied(allocatorOfThisThread().copyWithBytes(*source));
  copied->type = AMFNode::AMF_STRING;
  return copied;
}
inline std::unique_ptr<AMFNode> copyOf(const AMFNode* source) {
  return std::unique_ptr<AMFNode>(source ? source->clone() : nullptr);
}

// The node under the class that its place stands for. Kept: it is not looked whether it is one.
template <class Node>
Node* castUnchecked(AMFNode* node) {
  return static_cast<Node*>(static_cast<void*>(node));
}

// Replaces an owned member: the new node first, then the old one goes. Null is ignored.
template <class Node>
void replace(Node*& held, Node* node, bool copy) {
  if (!node) return;
  Node* const taken = copy ? copyOf(node).release() : node;
  delete held;
  held = taken;
}

}  // namespace amf2json::model
