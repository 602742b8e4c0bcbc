// SPDX-License-Identifier: Apache-2.0
//
// A node of each class, filled with something other than its defaults, and its dump.
#ifndef TESTS_SUPPORT_KINDS_H
#define TESTS_SUPPORT_KINDS_H

#include <AMF2JSON.h>

#include <cstdint>
#include <memory>

#include "support/trees.h"

/// A table's call that attaches a node: ATTACH(AMFPair, setValue(node, copy)).
#define ATTACH(Owner, ...) \
  ([](AMFNode& owner, auto* node, bool copy) { support::as<Owner>(owner).__VA_ARGS__; })

namespace support {

template <class Node>
Node& as(AMFNode& node) {
  return static_cast<Node&>(node);
}
template <class Node>
Node* as(AMFNode* node) {
  return static_cast<Node*>(node);
}

inline constexpr std::uint32_t kLastKind = AMFNode::AMF_PACKAGE;

/// The caller owns the node. Above kLastKind it is a null node whose kind code was overwritten.
inline AMFNode* newKind(std::uint32_t code) {
  using namespace trees;
  switch (code) {
    case AMFNode::AMF_NULL: return null(k3);
    case AMFNode::AMF_BOOL: return boolean(k3, true);
    case AMFNode::AMF_INT: return integer(k3, 7);
    case AMFNode::AMF_DOUBLE: return number(k3, 1.5);
    case AMFNode::AMF_STRING: return reference(string(k3, "text"), 4);
    case AMFNode::AMF_OBJECT:
      return complete(object(k3, reference(string(k3, "C"), 1), {member(k3, "m", integer(k3, 1))},
                             {1, true, 2, true}));
    case AMFNode::AMF_DATE: return date(k3, 1000);
    case AMFNode::AMF_XML: return xml(k3, "<a/>", 1);
    case AMFNode::AMF_ARRAY:
      return complete(array(k3, {integer(k3, 2), member(k3, "k", integer(k3, 3))}, 1));
    case AMFNode::AMF_RAW: return raw(k3, {"\0\x01", 2});
    case AMFNode::AMF_PAIR: return member(k3, "p", integer(k3, 4));
    case AMFNode::AMF_UNDEFINED: return undefined(k3);
    case AMFNode::AMF_HEADER: return header("H", integer(k3, 5), true, 9);
    case AMFNode::AMF_MESSAGE: {
      AMFMessage* const node = message("T", "", integer(k3, 6), 10);
      put(node->responseUri, reference(string(k3, "R"), 6));
      return node;
    }
    case AMFNode::AMF_PACKAGE:
      return package(k3, {newKind(AMFNode::AMF_HEADER), newKind(AMFNode::AMF_MESSAGE)});
    default: {
      AMFNull* const node = null(k3);
      node->type = static_cast<AMFNode::AMFType>(code);
      return node;
    }
  }
}

inline std::unique_ptr<AMFNode> makeKind(std::uint32_t code) {
  return std::unique_ptr<AMFNode>(newKind(code));
}

/// The dump of makeKind(code); above 14 with the code in it.
inline const char* const kKindDumps[] = {
    "null3",
    "bool3 true",
    "int3 7",
    "double3 1.5",
    "str3 'text'#ref4",
    "obj3{sealed=1 dyn ext traits=2 class='C'#ref1 'm':int3 1}",
    "date3 1000",
    "xml3{doc=1 '<a/>'}",
    "arr3{dense=1 strict int3 2, 'k':int3 3}",
    "raw3 [0001]",
    "pair3{'p':int3 4}",
    "undef3",
    "header{'H' must len=9 int3 5}",
    "message{'T' 'R'v3#ref6 len=10 int3 6}",
    "package3{headers=1 header{'H' must len=9 int3 5}, message{'T' 'R'v3#ref6 len=10 int3 6}}",
};

}  // namespace support

#endif  // TESTS_SUPPORT_KINDS_H
