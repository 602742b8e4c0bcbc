// SPDX-License-Identifier: Apache-2.0
//
// Asking for memory before it is needed.
#pragma once

#include <cstdint>

namespace amf2json::render {

// Nodes mostly stand in the order in which they are rendered, and a large tree is not in the cache:
// with each node, memory some nodes further on is asked for, as long as rendering takes to get
// there. A wrong guess does no harm, whatever is there.
inline void fetchAhead(const void* node) {
#if defined(__GNUC__)
  constexpr std::uintptr_t kAhead = 2048;
  constexpr std::uintptr_t kCacheLine = 64;
  const std::uintptr_t place = reinterpret_cast<std::uintptr_t>(node) + kAhead;
  __builtin_prefetch(reinterpret_cast<const void*>(place));
  __builtin_prefetch(reinterpret_cast<const void*>(place + kCacheLine));
#else
  static_cast<void>(node);
#endif
}

}  // namespace amf2json::render
