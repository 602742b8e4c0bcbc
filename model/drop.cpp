// SPDX-License-Identifier: Apache-2.0
//
// The end of trees. Tested by tests/ownership_test.cpp and tests/node_pool_test.cpp.
#include "model/drop.h"

namespace model {

namespace {

struct Kind {
  const std::type_info* type;
  std::size_t size;
};
template <class Node>
constexpr Kind kind() {
  static_assert(sizeof(Node) <= kObjectMax && alignof(Node) <= kPieceAlignment, "is a piece");
  return {&typeid(Node), sizeof(Node)};
}
// The library's class of each kind, in the order of the codes.
constexpr Kind kKinds[] = {kind<AMFNull>(),   kind<AMFBool>(),    kind<AMFInt>(),
                           kind<AMFDouble>(), kind<AMFString>(),  kind<AMFObject>(),
                           kind<AMFDate>(),   kind<AMFXML>(),     kind<AMFArray>(),
                           kind<AMFRaw>(),    kind<AMFPair>(),    kind<AMFUndefined>(),
                           kind<AMFHeader>(), kind<AMFMessage>(), kind<AMFPackage>()};
static_assert(sizeof kKinds / sizeof *kKinds == AMFNode::AMF_PACKAGE + 1, "one for each kind");

constexpr std::uint32_t maskOf(AMFNode::AMFType type) {
  return 1u << type;
}
constexpr std::uint32_t kWithBytes =
    maskOf(AMFNode::AMF_STRING) | maskOf(AMFNode::AMF_XML) | maskOf(AMFNode::AMF_RAW);
constexpr std::uint32_t kPairs = maskOf(AMFNode::AMF_PAIR) | maskOf(AMFNode::AMF_HEADER);

}  // namespace

inline void Dropper::give(AMFNode* node, std::size_t size) noexcept {
  if (!isPooled) return ::operator delete(static_cast<void*>(node));
  poison(node, size);
  const auto place = reinterpret_cast<std::uintptr_t>(node);
  if ((place ^ reinterpret_cast<std::uintptr_t>(held)) >= kChunkBytes) {
    giveHeld();
    held = node;
  }
  ++count;
}

void Dropper::dropChildren(AMFNode& node) noexcept {
  for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) drop(*child);
}

void Dropper::drop(AMFNode* node) noexcept {
  if (!node) return;
  const std::uint32_t type = node->type;
  if (type > AMFNode::AMF_PACKAGE || &typeid(*node) != kKinds[type].type) {
    delete node;  // a host's class, or a host's kind
    return;
  }
  const std::uint32_t mask = 1u << type;
  if ((mask & kWithBytes) != 0) {
    releaseBytes(static_cast<AMFRaw*>(node), isPooled);
  } else if ((mask & kPairs) != 0) {
    drop(static_cast<AMFPair*>(node)->name);
    drop(static_cast<AMFPair*>(node)->value);
  } else if (type == AMFNode::AMF_OBJECT) {
    drop(static_cast<AMFObject*>(node)->className);
  } else if (type == AMFNode::AMF_MESSAGE) {
    drop(static_cast<AMFMessage*>(node)->targetUri);
    drop(static_cast<AMFMessage*>(node)->responseUri);
    drop(static_cast<AMFMessage*>(node)->value);
  }
  if (node->children.capacity() > 0) {
    dropChildren(*node);
    if (lists) lists->keep(node->children);
    using Nodes = std::vector<AMFNode*>;
    node->children.~Nodes();
  }
  give(node, kKinds[type].size);
}

}  // namespace model
