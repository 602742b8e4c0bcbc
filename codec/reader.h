// SPDX-License-Identifier: Apache-2.0
//
// What the reader files share: holding nodes until they are attached.
#pragma once

#include <memory>
#include <vector>

#include "AMF2JSON.h"

namespace reader {

// The children of one container while they are read. They wait on a stack that all open containers
// share, so that each container gets a list of the right size in one go; whatever is not attached
// is deleted.
class Children {
 public:
  explicit Children(std::vector<AMFNode*>& stack) : pending(stack), start(stack.size()) {}
  ~Children() {
    for (; pending.size() > start; pending.pop_back()) delete pending.back();
  }
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;

  template <class Node>
  void add(std::unique_ptr<Node> node) {
    pending.push_back(node.get());
    static_cast<void>(node.release());
  }

  std::size_t count() const { return pending.size() - start; }

  // Behind the children that the container has already.
  void attachTo(AMFNode& container) {
    const auto first = pending.begin() + static_cast<std::ptrdiff_t>(start);
    container.children.insert(container.children.end(), first, pending.end());
    for (auto node = first; node != pending.end(); ++node) (*node)->parent = &container;
    pending.resize(start);
  }

 private:
  std::vector<AMFNode*>& pending;
  std::size_t start;
};

}  // namespace reader
