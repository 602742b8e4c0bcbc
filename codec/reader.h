// SPDX-License-Identifier: Apache-2.0
//
// What the reader files share: handing a node over without a leak.
#pragma once

#include <memory>

#include "AMF2JSON.h"

namespace reader {

// Attaches a node that is ours until the attaching call has returned.
template <class Node, class Attach>
void adopt(std::unique_ptr<Node> node, Attach attach) {
  attach(node.get());
  static_cast<void>(node.release());
}

// The same for the usual case.
template <class Parent, class Node>
void append(Parent& parent, std::unique_ptr<Node> node) {
  parent.appendChild(node.get(), false);
  static_cast<void>(node.release());
}

}  // namespace reader
