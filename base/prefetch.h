// SPDX-License-Identifier: Apache-2.0
//
// Requests memory before it is needed.
#pragma once

#include <cstdint>

namespace amf2json {

// Prefetches two cache lines, `distance` bytes from a node. Nodes are mostly in the order in which
// they are visited, so that a node which is visited soon is there. A wrong guess does no harm,
// whatever is at that address.
inline void prefetchNear(const void* node, std::intptr_t distance) {
#if defined(__GNUC__)
  constexpr std::uintptr_t kCacheLine = 64;
  const std::uintptr_t place =
      reinterpret_cast<std::uintptr_t>(node) + static_cast<std::uintptr_t>(distance);
  __builtin_prefetch(reinterpret_cast<const void*>(place));
  __builtin_prefetch(reinterpret_cast<const void*>(place + kCacheLine));
#else
  static_cast<void>(node);
  static_cast<void>(distance);
#endif
}

}  // namespace amf2json
