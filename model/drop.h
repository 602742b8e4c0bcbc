// SPDX-License-Identifier: Apache-2.0
//
// Deletes trees fast. Where nodes come from chunks and one is exactly of one of the library's
// classes, what it owns is released without virtual calls, and the pieces of one chunk are given
// back together; anything else is deleted as usual. Used by all destructors of nodes; the order is
// theirs.
#pragma once

#include <typeinfo>

#include "AMF2JSON.h"
#include "model/child_lists.h"
#include "model/node_pool.h"

namespace amf2json::model {

// No class derived from it. A no may be wrong where a class has several descriptions in a process.
template <class Node>
bool isExactly(const AMFNode& node) {
  return &typeid(node) == &typeid(Node);
}

class Dropper {
 public:
  // Where there are `keptLists`, they get the storage of short lists.
  explicit Dropper(ChildLists* keptLists = nullptr) : lists(keptLists) {}
  ~Dropper() { giveHeld(); }
  Dropper(const Dropper&) = delete;
  Dropper& operator=(const Dropper&) = delete;

  // As `delete node`; storage whose resources are gone is given back without a destructor's run.
  void drop(AMFNode* node) noexcept;
  // As the destructor of AMFNode: last first.
  void dropChildren(AMFNode& node) noexcept;

 private:
  // Only where nodes come from chunks.
  inline bool dropLeaf(AMFNode* node) noexcept;
  inline void dropName(AMFString* name) noexcept;
  inline void dropValue(AMFNode* node) noexcept;
  inline void dropMember(AMFNode* node) noexcept;
  inline void dropList(AMFNode& node) noexcept;
  void dropBranch(AMFNode* node) noexcept;
  inline void give(AMFNode* node, std::size_t size) noexcept;
  void giveHeld() noexcept {
    if (count > 0) givePieces(held, count);
    count = 0;
  }

  ChildLists* const lists;  // not owned
  const bool isPooled = isPoolOn();
  void* held = nullptr;  // a piece of the chunk that `count` pieces are to be given back to
  std::int32_t count = 0;
};

}  // namespace amf2json::model
