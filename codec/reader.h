// SPDX-License-Identifier: Apache-2.0
//
// The readers of AMFProtocol, used by parse() and by the public get... calls. A Reader holds
// references to what the readers need often. The AMF0 forms are in amf0_reader.cpp, the AMF3 forms
// in amf3_reader.cpp, the envelope in packet_reader.cpp. The public calls are in the same files.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "AMF2JSON.h"
#include "codec/big_endian.h"
#include "memory/node_pool.h"
#include "memory/tree_deleter.h"
#include "model/protocol_state.h"

namespace amf2json::codec {

using Nodes = std::vector<AMFNode*>;

template <class Marker>
Marker readMarker(const char*& cursor) {
  const auto marker = static_cast<std::int8_t>(big_endian::readU8(cursor));
  return static_cast<Marker>(std::int32_t{marker});  // sign-extended
}

// Each reader returns a new node that the caller owns, and moves the cursor past what it read.
// Nodes are made in the order in which the tree is walked later, so they are in memory in that
// order.
class Reader {
 public:
  Reader(AMFProtocol& owner, ProtocolState& state)
      : protocol(owner),
        cursor(owner.readCursor),
        pending(state.pending),
        lists(state.lists.get()),
        allocator(allocatorOfThisThread()) {}

  AMFHeader* header();
  AMFMessage* message();

  // AMF0
  AMFNode* amf0Value();  // null: the end marker
  AMFString* amf0String(std::uint32_t length);
  AMFDouble* amf0Number();
  AMFBool* amf0Bool();
  AMFDate* amf0Date();
  AMFXML* amf0XML();
  AMFNode* amf0ByReference();
  AMFPair* amf0Pair();  // null: the end marker
  AMFObject* amf0Object(AMFProtocol::AMF0Markers marker);
  AMFArray* amf0Array(AMFProtocol::AMF0Markers marker);

  // AMF3
  AMFNode* amf3Value();
  AMFString* amf3String();  // reads no marker
  AMFDouble* amf3Double();
  AMFInt* amf3Integer();
  AMFBool* amf3Bool(bool value);
  AMFXML* amf3XML(AMFProtocol::AMF3Markers marker);
  AMFDate* amf3Date();
  AMFRaw* amf3ByteArray();
  AMFPair* amf3Pair();  // null: the empty name
  AMFArray* amf3Array();
  AMFObject* amf3Object();

 private:
  // Inlined into the readers of containers, so that a level of nesting costs one call.
  inline AMFNode* nextAmf0Value();
  inline AMFPair* nextAmf0Pair();
  inline AMFNode* nextAmf3Value();
  inline AMFPair* nextAmf3Pair();
  void readTraits(AMFObject& object, std::uint32_t header);
  void readSealedByTraits(AMFObject& object, const AMFObject& traits);
  void readSealed(AMFObject& object);
  void readDynamic(AMFObject& object);
  void readExternalized(AMFObject& object);

  AMFProtocol& protocol;
  const char*& cursor;
  Nodes& pending;
  ChildLists* lists;  // not owned, may be null; empty outside of parse
  NodeAllocator& allocator;
};

AMF2JSON_HOT AMFBool* Reader::amf3Bool(bool value) {
  std::unique_ptr<AMFBool> flag(allocator.make<AMFBool>(AMF_VERSION_3));
  flag->value = value;
  return flag.release();
}

AMF2JSON_HOT AMFInt* Reader::amf3Integer() {
  std::unique_ptr<AMFInt> integer(allocator.make<AMFInt>(AMF_VERSION_3));
  integer->value =
      big_endian::readU29(cursor);  // Kept: a negative number arrives as a large positive one.
  return integer.release();
}

AMF2JSON_HOT AMFDouble* Reader::amf3Double() {
  std::unique_ptr<AMFDouble> number(allocator.make<AMFDouble>(AMF_VERSION_3));
  big_endian::readDouble(cursor, number->value);
  return number.release();
}

// Appends a node to a reference table, which does not own it, or to `pending`, which does.
inline void append(Nodes& table, AMFNode* node) {
  table.push_back(node);
}

// Reserves space for exactly `more` additional nodes.
inline void reserveMore(Nodes& list, std::size_t more, ChildLists* lists) {
  if (lists && list.capacity() == 0) return lists->provide(list, more);
  list.reserve(list.size() + more);
}

// The children of one container while they are read. They are collected on a stack that all open
// containers share. Then attach() gives the container a list of exactly the right size. The
// destructor deletes children that were not attached.
class Children {
 public:
  Children(AMFNode& owner, Nodes& stack, ChildLists* keptLists)
      : container(owner), pending(stack), lists(keptLists), start(stack.size()) {}
  ~Children() {
    for (; pending.size() > start; pending.pop_back()) delete pending.back();
  }
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;

  template <class Node>
  void add(std::unique_ptr<Node> node) {
    append(pending, node.get());
    node.release()->parent = &container;
  }

  // Moves the collected children to the end of the container's list.
  void attach() {
    if (pending.size() == start) return;
    reserveMore(container.children, pending.size() - start, lists);
    const auto first = pending.begin() + static_cast<std::ptrdiff_t>(start);
    container.children.insert(container.children.end(), first, pending.end());
    pending.erase(first, pending.end());
  }

 private:
  AMFNode& container;
  Nodes& pending;
  ChildLists* lists;  // not owned
  std::size_t start;
};

}  // namespace amf2json::codec
