// SPDX-License-Identifier: Apache-2.0
//
// Base64 (RFC 4648, section 4) with padding. Reading is strict: it accepts no other characters,
// requires the padding, and requires that unused bits are zero. Tested by
// tests/wire/texts_test.cpp.
#ifndef WIRE_BASE64_H
#define WIRE_BASE64_H

#include <cstddef>

namespace amf2json::wire {

constexpr std::size_t base64Length(std::size_t bytes) {
  return (bytes + 2) / 3 * 4;
}

// Writes base64Length(length) characters at `to` and returns the end of them.
char* putBase64(char* to, const char* data, std::size_t length);

constexpr std::size_t kNoBase64 = static_cast<std::size_t>(-1);
// Writes the bytes at `to`, which may be `text` itself, and returns their number, or kNoBase64.
std::size_t readBase64(char* to, const char* text, std::size_t length);

}  // namespace amf2json::wire

#endif  // WIRE_BASE64_H
