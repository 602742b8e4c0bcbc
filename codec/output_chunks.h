// SPDX-License-Identifier: Apache-2.0
//
// The writers' way into the pieces: a piece costs a few stores and an entry. Shared by the writer
// files.
#pragma once

#include <cstring>

#include "AMF2JSON.h"
#include "codec/wire.h"

// Lists a piece whose bytes the caller writes at once. When memory fails nothing has changed.
inline char* AMFOutputChunks::add(std::uint32_t length) {
  if (length > blockLeft) return addElsewhere(length);
  char* const bytes = blockNext;
  listed.push_back({bytes, length});
  blockNext += length;
  blockLeft -= length;
  total += length;
  return bytes;
}

// The fields, one piece each.

inline void AMFProtocol::writeU8(std::uint32_t value) {
  *outputChunks.add(1) = static_cast<char>(value & 0xFF);
}

inline void AMFProtocol::writeU16(std::uint32_t value) {
  wire::storeU16(outputChunks.add(2), value);
}

inline void AMFProtocol::writeU32(std::uint32_t value) {
  wire::storeU32(outputChunks.add(4), value);
}

inline void AMFProtocol::writeDouble(const double& value) {
  wire::storeDouble(outputChunks.add(8), value);
}
