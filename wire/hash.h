// SPDX-License-Identifier: Apache-2.0
//
// Comparisons of byte strings, and a hash of bytes for tables of untrusted names. The hash has a
// random seed, so that an attacker cannot choose names that share a slot. Results never depend on
// it. Tested by tests/wire/bombs_test.cpp.
#ifndef WIRE_HASH_H
#define WIRE_HASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "AMFWire.h"
#include "wire/bytes.h"

namespace amf2json::wire {

// Set before the first call by a host whose processes all have the same addresses: WebAssembly.
inline std::uint64_t hostSeed = 0;

// Derived from the addresses that the system chose for this process.
inline std::uint64_t hashSeed() {
  static const char kPlace = 0;
  const std::uint64_t addresses =
      reinterpret_cast<std::uintptr_t>(&kPlace) ^ reinterpret_cast<std::uintptr_t>(&std::memcpy);
  return (addresses ^ hostSeed) * 0x9E3779B97F4A7C15u;
}

inline std::uint64_t mix(std::uint64_t a, std::uint64_t b) {
#if defined(__SIZEOF_INT128__)
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
  a = (a ^ b) * 0xBF58476D1CE4E5B9u;
  a = (a ^ a >> 29) * 0x94D049BB133111EBu;
  return a ^ a >> 32;
#endif
}

inline std::uint64_t hashOf(const char* data, std::size_t length, std::uint64_t seed) {
  std::uint64_t state = seed ^ length;
  for (; length > 8; data += 8, length -= 8) {
    state = mix(loadUpTo8(data, 8) ^ 0xA0761D6478BD642Fu, state ^ 0xE7037ED1A0B428DBu);
  }
  return mix(loadUpTo8(data, length) ^ 0x8EBC6AF09C88C6E3u, state ^ 0x589965CC75374CC3u);
}

// A number below 64, from the length and the first, middle and last byte of a name. It usually
// differs for the few names of an object. Names with different numbers are different.
inline std::uint32_t smallHash(const AMFWireString& name) {
  if (name.length == 0) return 0;
  return (static_cast<std::uint32_t>(name.length) * 7 + byteAt(name.data) * 3u +
          byteAt(name.data + name.length - 1) * 11u + byteAt(name.data + name.length / 2) * 5u) &
         63;
}

// The slot of a hash in a table of `slots` slots, and the slot to try after another one.
inline std::size_t slotOf(std::uint64_t hash, std::size_t slots) {
  return static_cast<std::size_t>((hash >> 32) * slots >> 32);
}
inline std::size_t slotAfter(std::size_t slot, std::size_t slots) {
  return slot + 1 == slots ? 0 : slot + 1;
}

// Short strings are compared as words, without a call.
inline bool sameBytes(const AMFWireString& a, const AMFWireString& b) {
  if (a.length != b.length) return false;
  if (a.length <= 8) return loadUpTo8(a.data, a.length) == loadUpTo8(b.data, b.length);
  return a.data == b.data || std::memcmp(a.data, b.data, a.length) == 0;
}

}  // namespace amf2json::wire

#endif  // WIRE_HASH_H
