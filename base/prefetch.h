// SPDX-License-Identifier: Apache-2.0
//
// Loads memory into the cache before it is needed.
#pragma once

#include <cstdint>

namespace amf2json {

// Prefetches two cache lines, `distance` bytes after a node (or before it, if negative). Most nodes
// are in memory in the order in which they are visited, so the prefetched node is probably visited
// soon. A wrong guess does no harm: any address may be prefetched.
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
