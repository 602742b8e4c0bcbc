// SPDX-License-Identifier: Apache-2.0
//
// Deletes trees fast. The members of pooled nodes are released without virtual calls, and
// consecutive slots of one chunk are freed together. All other nodes are deleted with `delete`.
// Nodes are deleted in the same order as by their destructors, which use this class too. Tested by
// tests/model/ownership_test.cpp and tests/memory/node_pool_test.cpp.
#pragma once

#include "AMF2JSON.h"
#include "memory/child_lists.h"
#include "memory/node_pool.h"

namespace amf2json {

// Frees a node's bytes. Bytes in the node's slot are freed with the slot.
void releaseBytes(AMFRaw& node) noexcept;

class TreeDeleter {
 public:
  // `reusableLists`, if not null, get the storage of short child lists.
  explicit TreeDeleter(ChildLists* reusableLists = nullptr) : lists(reusableLists) {}
  ~TreeDeleter() { freeHeld(); }
  TreeDeleter(const TreeDeleter&) = delete;
  TreeDeleter& operator=(const TreeDeleter&) = delete;

  // Same as `delete node`.
  void destroy(AMFNode* node) noexcept;
  // Deletes the children as the destructor of AMFNode does: the last one first.
  void destroyChildren(AMFNode& node) noexcept;

 private:
  inline bool destroyLeaf(AMFNode* node) noexcept;
  inline void destroyName(AMFString* name) noexcept;
  inline void destroyValue(AMFNode* node) noexcept;
  inline void destroyMember(AMFNode* node) noexcept;
  inline void destroyList(AMFNode& node) noexcept;
  inline void destroyOwned(AMFNode* node, std::uint32_t kind) noexcept;
  void destroyBranch(AMFNode* node) noexcept;
  inline void free(AMFNode* node, std::size_t size) noexcept;
  void freeHeld() noexcept {
    if (count > 0) {
      freeSlots(held, count);
      isLarge = true;
    }
    count = 0;
  }

  ChildLists* const lists;  // not owned
  void* held = nullptr;     // a slot of the chunk in which `count` slots will be freed
  std::int32_t count = 0;
  bool isLarge = false;  // more than the slots of one chunk have been freed
};

}  // namespace amf2json
