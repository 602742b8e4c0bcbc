// SPDX-License-Identifier: Apache-2.0
//
// The tables of $ keys. Tested by tests/wire/json_errors_test.cpp.
#include "wire/json_keys.h"

#include <cstring>

namespace amf2json::wire {

namespace {

const char* const kNames[] = {
    "$undefined", "$unsupported", "$string64", "$double",  "$date",     "$xmldoc", "$xml",
    "$bytes",     "$array",       "$ecma",     "$class",   "$external", "$vector", "$dictionary",
    "$amf3",      "$ref",         "$id",       "$members", "$zone",     "$sealed", "$dynamic",
    "$value",     "$values",      "$type",     "$fixed",   "$items",    "$weak"};

constexpr std::uint32_t kOnly0 = bit(Key::unsupported) | bit(Key::ecma) | bit(Key::amf3);
constexpr std::uint32_t kOnly3 =
    bit(Key::xml) | bit(Key::bytes) | bit(Key::external) | bit(Key::vector) | bit(Key::dictionary);

std::uint32_t allowedKeys3(Key kind) {
  switch (kind) {
    case Key::date:
    case Key::xmldoc:
    case Key::xml:
    case Key::bytes: return bit(Key::id);
    case Key::array: return bit(Key::id) | bit(Key::members);
    case Key::none:
    case Key::className:
      return bit(Key::id) | bit(Key::members) | bit(Key::sealed) | bit(Key::dynamic);
    case Key::external:
      return bit(Key::id) | bit(Key::dynamic) | bit(Key::value) | bit(Key::values);
    case Key::vector: return bit(Key::id) | bit(Key::type) | bit(Key::fixed) | bit(Key::items);
    case Key::dictionary: return bit(Key::id) | bit(Key::weak);
    default: return 0;
  }
}

std::uint32_t allowedKeys0(Key kind) {
  switch (kind) {
    case Key::date: return bit(Key::zone);
    case Key::array: return bit(Key::id);
    case Key::none:
    case Key::className:
    case Key::ecma: return bit(Key::id) | bit(Key::members);
    default: return 0;
  }
}

}  // namespace

Key keyOf(const AMFWireString& name) {
  for (std::uint32_t i = 0; i < kKeyCount; ++i) {
    const char* const known = kNames[i];
    // The character after $ is compared first: it differs for most pairs of names.
    if (name.length < 2 || known[1] != name.data[1]) continue;
    if (std::strlen(known) == name.length && std::memcmp(known, name.data, name.length) == 0) {
      return static_cast<Key>(i);
    }
  }
  return Key::none;
}

const char* nameOf(Key key) {
  return key == Key::none ? "an object" : kNames[static_cast<std::uint32_t>(key)];
}

bool hasKind(Key kind, bool amf3) {
  return (bit(kind) & (amf3 ? kOnly0 : kOnly3)) == 0;
}

std::uint32_t allowedKeys(Key kind, bool amf3) {
  return (amf3 ? allowedKeys3(kind) : allowedKeys0(kind)) | (kind == Key::none ? 0 : bit(kind));
}

bool hasMembers(Key kind, bool amf3) {
  return kind == Key::none || kind == Key::className || kind == Key::ecma ||
         (kind == Key::array && amf3);
}

}  // namespace amf2json::wire
