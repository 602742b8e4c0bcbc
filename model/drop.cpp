// SPDX-License-Identifier: Apache-2.0
//
// The end of trees. Tested by tests/ownership_test.cpp and tests/node_pool_test.cpp.
#include "model/drop.h"

namespace model {

namespace {

bool isSameChunk(const void* left, const void* right) {
  return (reinterpret_cast<std::uintptr_t>(left) ^ reinterpret_cast<std::uintptr_t>(right)) <
         kChunkBytes;
}

}  // namespace

inline void Dropper::give(void* piece, std::size_t size) noexcept {
  if (!isPooled) return ::operator delete(piece);
  poison(piece, size);
  if (!isSameChunk(piece, held)) {
    giveHeld();
    held = piece;
  }
  ++count;
}

template <class Node>
inline void Dropper::end(Node* node) noexcept {
  static_assert(sizeof(Node) <= kObjectMax && alignof(Node) <= kPieceAlignment, "is a piece");
  dropChildren(*node);
  using Children = std::vector<AMFNode*>;
  node->children.~Children();
  give(node, sizeof(Node));
}

void Dropper::dropChildren(AMFNode& node) noexcept {
  for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) drop(*child);
}

void Dropper::drop(AMFNode* node) noexcept {
  if (!node) return;
  switch (node->type) {
    case AMFNode::AMF_STRING:
      if (!isExactly<AMFString>(*node)) break;
      releaseBytes(static_cast<AMFString*>(node), isPooled);
      return end(static_cast<AMFString*>(node));
    case AMFNode::AMF_PAIR: {
      if (!isExactly<AMFPair>(*node)) break;
      const auto pair = static_cast<AMFPair*>(node);
      drop(pair->name);
      drop(pair->value);
      return end(pair);
    }
    case AMFNode::AMF_OBJECT: {
      if (!isExactly<AMFObject>(*node)) break;
      const auto object = static_cast<AMFObject*>(node);
      drop(object->className);
      return end(object);
    }
    case AMFNode::AMF_ARRAY:
      if (!isExactly<AMFArray>(*node)) break;
      return end(static_cast<AMFArray*>(node));
    case AMFNode::AMF_DOUBLE:
      if (!isExactly<AMFDouble>(*node)) break;
      return end(static_cast<AMFDouble*>(node));
    case AMFNode::AMF_INT:
      if (!isExactly<AMFInt>(*node)) break;
      return end(static_cast<AMFInt*>(node));
    case AMFNode::AMF_BOOL:
      if (!isExactly<AMFBool>(*node)) break;
      return end(static_cast<AMFBool*>(node));
    case AMFNode::AMF_NULL:
      if (!isExactly<AMFNull>(*node)) break;
      return end(static_cast<AMFNull*>(node));
    case AMFNode::AMF_UNDEFINED:
      if (!isExactly<AMFUndefined>(*node)) break;
      return end(static_cast<AMFUndefined*>(node));
    case AMFNode::AMF_DATE:
      if (!isExactly<AMFDate>(*node)) break;
      return end(static_cast<AMFDate*>(node));
    default: break;
  }
  delete node;
}

}  // namespace model
