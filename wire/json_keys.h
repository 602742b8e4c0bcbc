// SPDX-License-Identifier: Apache-2.0
//
// The $ keys of JSON objects: the kinds of values, their formats, and the keys that each kind
// allows. Tested by tests/wire/json_errors_test.cpp.
#ifndef WIRE_JSON_KEYS_H
#define WIRE_JSON_KEYS_H

#include <cstdint>

#include "AMFWire.h"

namespace amf2json::wire {

enum class Key : std::uint8_t {
  // Kinds: an object has at most one of them.
  undefined,
  unsupported,
  string64,
  number,  // $double
  date,
  xmldoc,
  xml,
  bytes,
  array,
  ecma,
  className,
  external,
  vector,
  dictionary,
  amf3,
  ref,
  // Keys beside a kind.
  id,
  members,
  zone,
  sealed,
  dynamic,
  value,
  values,
  type,
  fixed,
  items,
  weak,
  none
};
constexpr std::uint32_t kKeyCount = static_cast<std::uint32_t>(Key::none);

constexpr bool isKind(Key key) {
  return key < Key::id;
}
constexpr std::uint32_t bit(Key key) {
  return std::uint32_t{1} << static_cast<std::uint32_t>(key);
}

// The key with this text, including its $; Key::none for other texts.
Key keyOf(const AMFWireString& name);
const char* nameOf(Key key);

// Such a member name has another $ before it in the JSON.
inline bool startsWithDollar(const AMFWireString& name) {
  return name.length != 0 && name.data[0] == '$';
}

// Whether the format has this kind of value.
bool hasKind(Key kind, bool amf3);
// The keys that an object of this kind may have, including its own; Key::none: a plain object.
std::uint32_t allowedKeys(Key kind, bool amf3);
// Whether an object of this kind has members.
bool hasMembers(Key kind, bool amf3);

}  // namespace amf2json::wire

#endif  // WIRE_JSON_KEYS_H
