// SPDX-License-Identifier: Apache-2.0
//
// AMFNode::memory is a code, which records where the memory of the node came from. The code 0 means
// a block from the global operator new. Any other code means a slot of a chunk (node_pool.h):
//
//     bit 7: the node's bytes are in its slot too | bits 6 to 0: kind of the node's class + 1
//
// Tested by tests/memory/node_pool_test.cpp.
#pragma once

#include <cstdint>

#include "AMF2JSON.h"

namespace amf2json {

// Tag of the constructors that make a composite node without default names and values.
struct Unfilled {};

class NodeMemory {
 public:
  static std::uint8_t codeOf(const AMFNode& node) { return node.memory; }
  static bool isPooled(const AMFNode& node) { return node.memory != 0; }

  // The class of a pooled node, as the kind that belongs to this class. The member `type` cannot be
  // used, because a host may change it.
  static std::uint32_t classOf(std::uint8_t code) { return (code & kClass) - 1u; }

  // ~AMFNode calls this for a pooled node. The call of operator delete that follows then frees the
  // node's slot.
  static void noteDestroyed(AMFNode* node) noexcept;

  // Whether the bytes are in the node's slot. The comparison of addresses is exact: no other block
  // can begin inside a slot that is in use.
  static bool hasBytesInSlot(const AMFRaw& node, std::size_t nodeSize) {
    return (node.memory & kWithBytes) != 0 &&
           node.data == reinterpret_cast<const char*>(&node) + nodeSize;
  }

  template <class Node>
  static Node* markPooled(Node* node) {
    static_cast<AMFNode*>(node)->memory = kindOf(node) + 1;
    return node;
  }
  template <class Node>
  static Node* markPooledWithBytes(Node* node) {
    static_cast<AMFNode*>(node)->memory = (kindOf(node) + 1) | kWithBytes;
    return node;
  }

 private:
  static constexpr std::uint8_t kindOf(const AMFNull*) { return AMFNode::AMF_NULL; }
  static constexpr std::uint8_t kindOf(const AMFBool*) { return AMFNode::AMF_BOOL; }
  static constexpr std::uint8_t kindOf(const AMFInt*) { return AMFNode::AMF_INT; }
  static constexpr std::uint8_t kindOf(const AMFDouble*) { return AMFNode::AMF_DOUBLE; }
  static constexpr std::uint8_t kindOf(const AMFString*) { return AMFNode::AMF_STRING; }
  static constexpr std::uint8_t kindOf(const AMFObject*) { return AMFNode::AMF_OBJECT; }
  static constexpr std::uint8_t kindOf(const AMFDate*) { return AMFNode::AMF_DATE; }
  static constexpr std::uint8_t kindOf(const AMFXML*) { return AMFNode::AMF_XML; }
  static constexpr std::uint8_t kindOf(const AMFArray*) { return AMFNode::AMF_ARRAY; }
  static constexpr std::uint8_t kindOf(const AMFRaw*) { return AMFNode::AMF_RAW; }
  static constexpr std::uint8_t kindOf(const AMFPair*) { return AMFNode::AMF_PAIR; }
  static constexpr std::uint8_t kindOf(const AMFUndefined*) { return AMFNode::AMF_UNDEFINED; }
  static constexpr std::uint8_t kindOf(const AMFHeader*) { return AMFNode::AMF_HEADER; }
  static constexpr std::uint8_t kindOf(const AMFMessage*) { return AMFNode::AMF_MESSAGE; }
  static constexpr std::uint8_t kindOf(const AMFPackage*) { return AMFNode::AMF_PACKAGE; }

  static constexpr std::uint8_t kWithBytes = 0x80;
  static constexpr std::uint8_t kClass = 0x7F;
};

}  // namespace amf2json
