// SPDX-License-Identifier: Apache-2.0
//
// Field by field comparison and node count of trees; quicker than comparing their dumps.
#ifndef TESTS_SUPPORT_SAME_TREE_H
#define TESTS_SUPPORT_SAME_TREE_H

#include <AMF2JSON.h>

#include <cstdint>
#include <cstring>

namespace support {

inline bool sameTree(const AMFNode* a, const AMFNode* b);

namespace detail {

template <class Node>
const Node& as(const AMFNode& node) {
  return static_cast<const Node&>(node);
}

inline bool sameBytes(const AMFRaw& a, const AMFRaw& b) {
  if (a.length != b.length || (a.data == nullptr) != (b.data == nullptr)) return false;
  return a.length == 0 || (a.data != b.data && std::memcmp(a.data, b.data, a.length) == 0);
}

inline bool sameBits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

inline bool samePair(const AMFPair& a, const AMFPair& b) {
  return sameTree(a.name, b.name) && sameTree(a.value, b.value);
}

inline bool sameObject(const AMFObject& a, const AMFObject& b) {
  return a.dynamic == b.dynamic && a.externalizable == b.externalizable &&
         a.sealedCount == b.sealedCount && a.traitsIndex == b.traitsIndex &&
         sameTree(a.className, b.className);
}

inline bool sameMessage(const AMFMessage& a, const AMFMessage& b) {
  return a.length == b.length && sameTree(a.targetUri, b.targetUri) &&
         sameTree(a.responseUri, b.responseUri) && sameTree(a.value, b.value);
}

inline bool sameHeader(const AMFHeader& a, const AMFHeader& b) {
  return a.mustUnderstand == b.mustUnderstand && a.length == b.length && samePair(a, b);
}

inline bool sameFields(const AMFNode& a, const AMFNode& b) {
  switch (a.type) {
    case AMFNode::AMF_BOOL: return as<AMFBool>(a).value == as<AMFBool>(b).value;
    case AMFNode::AMF_INT: return as<AMFInt>(a).value == as<AMFInt>(b).value;
    case AMFNode::AMF_DOUBLE: return sameBits(as<AMFDouble>(a).value, as<AMFDouble>(b).value);
    case AMFNode::AMF_DATE: return sameBits(as<AMFDate>(a).value, as<AMFDate>(b).value);
    case AMFNode::AMF_STRING:
    case AMFNode::AMF_RAW: return sameBytes(as<AMFRaw>(a), as<AMFRaw>(b));
    case AMFNode::AMF_XML:
      return as<AMFXML>(a).document == as<AMFXML>(b).document &&
             sameBytes(as<AMFRaw>(a), as<AMFRaw>(b));
    case AMFNode::AMF_OBJECT: return sameObject(as<AMFObject>(a), as<AMFObject>(b));
    case AMFNode::AMF_ARRAY:
      return as<AMFArray>(a).denseCount == as<AMFArray>(b).denseCount &&
             as<AMFArray>(a).strict == as<AMFArray>(b).strict;
    case AMFNode::AMF_PAIR: return samePair(as<AMFPair>(a), as<AMFPair>(b));
    case AMFNode::AMF_HEADER: return sameHeader(as<AMFHeader>(a), as<AMFHeader>(b));
    case AMFNode::AMF_MESSAGE: return sameMessage(as<AMFMessage>(a), as<AMFMessage>(b));
    case AMFNode::AMF_PACKAGE:
      return as<AMFPackage>(a).headerCount == as<AMFPackage>(b).headerCount;
    default: return true;
  }
}

inline std::uint64_t ownedCount(const AMFNode& node);

}  // namespace detail

/// Whether two trees that share no node are equal in every field, parents of children included.
inline bool sameTree(const AMFNode* a, const AMFNode* b) {
  if (a == nullptr || b == nullptr) return a == b;
  if (a == b || a->type != b->type || a->version != b->version) return false;
  if (a->referenceIndex != b->referenceIndex || a->complete != b->complete) return false;
  if (a->children.size() != b->children.size() || !detail::sameFields(*a, *b)) return false;
  for (std::size_t i = 0; i < a->children.size(); ++i) {
    if (!sameTree(a->children[i], b->children[i])) return false;
    if (a->children[i] == nullptr) continue;
    if (a->children[i]->parent != a || b->children[i]->parent != b) return false;
  }
  return true;
}

/// Number of nodes of a tree, names, class names and URIs included.
inline std::uint64_t nodeCount(const AMFNode* node) {
  if (node == nullptr) return 0;
  std::uint64_t count = 1 + detail::ownedCount(*node);
  for (const AMFNode* child : node->children) count += nodeCount(child);
  return count;
}

inline std::uint64_t detail::ownedCount(const AMFNode& node) {
  switch (node.type) {
    case AMFNode::AMF_OBJECT: return nodeCount(as<AMFObject>(node).className);
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
      return nodeCount(as<AMFPair>(node).name) + nodeCount(as<AMFPair>(node).value);
    case AMFNode::AMF_MESSAGE:
      return nodeCount(as<AMFMessage>(node).targetUri) +
             nodeCount(as<AMFMessage>(node).responseUri) + nodeCount(as<AMFMessage>(node).value);
    default: return 0;
  }
}

}  // namespace support

#endif  // TESTS_SUPPORT_SAME_TREE_H
