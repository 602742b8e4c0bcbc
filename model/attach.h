// SPDX-License-Identifier: Apache-2.0
//
// Helpers for attached nodes: tests of kinds, casts, copies, and replace(), which attaches a node.
// An operation that attaches a node adopts it, or copies it and owns the copy.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "AMF2JSON.h"
#include "memory/node_pool.h"

namespace amf2json::model {

// The value kinds are 0 to 9 and 11; the structural kinds are 10 and 12 to 14.
// Kept: a kind above 14 is not refused, because the test is a mask of the known kinds.
inline bool isStructure(AMFNode::AMFType kind) {
  constexpr std::uint32_t kStructure = 1u << AMFNode::AMF_PAIR | 1u << AMFNode::AMF_HEADER |
                                       1u << AMFNode::AMF_MESSAGE | 1u << AMFNode::AMF_PACKAGE;
  return kind <= AMFNode::AMF_PACKAGE && (kStructure >> kind & 1u) != 0;
}

// Whether an array counts this child in its dense part. A pair belongs to the associative part.
// Throws for all other kinds, including unknown ones.
inline bool countsAsElement(const AMFNode* child) {
  if (child->type >= AMFNode::AMF_HEADER) {
    throw AMFException("AMFArray::appendChild(): not a value type node");
  }
  return child->type != AMFNode::AMF_PAIR;
}

// Returns the node as a pair, or null if it is none. A header is a pair too.
inline const AMFPair* asPair(const AMFNode* node) {
  if (!node || node->type == AMFNode::AMF_PAIR) return static_cast<const AMFPair*>(node);
  return dynamic_cast<const AMFPair*>(node);
}

// Returns the byte of a flag. It can differ from 0 and 1, if a host stored another value.
inline std::uint8_t storedByte(const bool& flag) {
  std::uint8_t byte;
  std::memcpy(&byte, &flag, 1);
  return byte;
}

// Copies a name, class name or URI. The copy is a plain string, even if the source is XML text.
inline std::unique_ptr<AMFString> copyOf(const AMFString* source) {
  if (!source) return nullptr;
  std::unique_ptr<AMFString> copied(allocatorOfThisThread().copyWithBytes(*source));
  copied->type = AMFNode::AMF_STRING;
  return copied;
}
inline std::unique_ptr<AMFNode> copyOf(const AMFNode* source) {
  return std::unique_ptr<AMFNode>(source ? source->clone() : nullptr);
}

// Casts the node to the class that a node at its index should have. Kept: nothing checks its class.
template <class Node>
Node* castUnchecked(AMFNode* node) {
  return static_cast<Node*>(static_cast<void*>(node));
}

// Replaces an owned member. The old node is deleted only after a copy of the new one succeeded.
// Null is ignored.
template <class Node>
void replace(Node*& held, Node* node, bool copy) {
  if (!node) return;
  Node* const taken = copy ? copyOf(node).release() : node;
  delete held;
  held = taken;
}

}  // namespace amf2json::model
