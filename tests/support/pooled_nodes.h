// SPDX-License-Identifier: Apache-2.0
//
// Nodes as the readers make them: from the pool where there is one.
#pragma once

#include <memory>

#include "memory/node_pool.h"

namespace support {

template <class Node>
Node* pooled(AMFVersion version) {
  return amf2json::allocatorOfThisThread().make<Node>(version);
}

template <class Node>
std::unique_ptr<Node> pooledWithBytes(AMFVersion version, const char* bytes, std::uint32_t count) {
  return std::unique_ptr<Node>(
      amf2json::allocatorOfThisThread().makeWithBytes<Node>(version, bytes, count));
}

}  // namespace support
