// SPDX-License-Identifier: Apache-2.0
//
// The end of trees. Tested by tests/ownership_test.cpp and tests/node_pool_test.cpp.
#include "model/drop.h"

namespace amf2json::model {

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
// What owns no node, but for children that a host may have given it.
constexpr std::uint32_t kLeaves =
    kWithBytes | maskOf(AMFNode::AMF_NULL) | maskOf(AMFNode::AMF_BOOL) | maskOf(AMFNode::AMF_INT) |
    maskOf(AMFNode::AMF_DOUBLE) | maskOf(AMFNode::AMF_DATE) | maskOf(AMFNode::AMF_UNDEFINED);

bool isOfTheLibrary(const AMFNode& node) {
  return node.type <= AMFNode::AMF_PACKAGE && &typeid(node) == kKinds[node.type].type;
}

}  // namespace

inline void Dropper::give(AMFNode* node, std::size_t size) noexcept {
  poison(node, size);
  const auto place = reinterpret_cast<std::uintptr_t>(node);
  if ((place ^ reinterpret_cast<std::uintptr_t>(held)) >= kChunkBytes) {
    giveHeld();
    held = node;
  }
  ++count;
}

// Whether it was a leaf, which is gone then.
inline bool Dropper::dropLeaf(AMFNode* node) noexcept {
  if (!isOfTheLibrary(*node) || node->children.capacity() > 0) return false;
  const std::uint32_t mask = maskOf(node->type);
  const std::size_t size = kKinds[node->type].size;
  if ((mask & kLeaves) == 0) return false;
  if ((mask & kWithBytes) != 0) releaseBytes(static_cast<AMFRaw*>(node), true);
  give(node, size);
  return true;
}

inline void Dropper::dropName(AMFString* name) noexcept {
  if (!name) return;
  if (!isExactly<AMFString>(*name) || name->children.capacity() > 0) return dropBranch(name);
  releaseBytes(name, true);
  give(name, sizeof(AMFString));
}

inline void Dropper::dropValue(AMFNode* node) noexcept {
  if (node && !dropLeaf(node)) dropBranch(node);
}

inline void Dropper::dropMember(AMFNode* node) noexcept {
  if (!node) return;
  if (!isExactly<AMFPair>(*node) || node->children.capacity() > 0) return dropValue(node);
  dropName(static_cast<AMFPair*>(node)->name);
  dropValue(static_cast<AMFPair*>(node)->value);
  give(node, sizeof(AMFPair));
}

inline void Dropper::dropList(AMFNode& node) noexcept {
  for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) {
    dropMember(*child);
  }
}

void Dropper::dropBranch(AMFNode* node) noexcept {
  if (!isOfTheLibrary(*node)) {
    delete node;  // a host's class, or a host's kind
    return;
  }
  const std::uint32_t type = node->type;
  const std::uint32_t mask = 1u << type;
  if ((mask & kWithBytes) != 0) {
    releaseBytes(static_cast<AMFRaw*>(node), true);
  } else if ((mask & kPairs) != 0) {
    dropName(static_cast<AMFPair*>(node)->name);
    drop(static_cast<AMFPair*>(node)->value);
  } else if (type == AMFNode::AMF_OBJECT) {
    dropName(static_cast<AMFObject*>(node)->className);
  } else if (type == AMFNode::AMF_MESSAGE) {
    drop(static_cast<AMFMessage*>(node)->targetUri);
    drop(static_cast<AMFMessage*>(node)->responseUri);
    drop(static_cast<AMFMessage*>(node)->value);
  }
  if (node->children.capacity() > 0) {
    dropList(*node);
    if (lists) lists->keep(node->children);
    using Nodes = std::vector<AMFNode*>;
    node->children.~Nodes();
  }
  give(node, kKinds[type].size);
}

void Dropper::drop(AMFNode* node) noexcept {
  if (!isPooled) {
    delete node;
  } else {
    dropValue(node);
  }
}

AMF2JSON_APART void Dropper::dropChildren(AMFNode& node) noexcept {
  if (isPooled) return dropList(node);
  for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) delete *child;
}

}  // namespace amf2json::model
