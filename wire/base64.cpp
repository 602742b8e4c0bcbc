// SPDX-License-Identifier: Apache-2.0
//
// Base64. Tested by tests/wire/texts_test.cpp.
#include "wire/base64.h"

#include <array>
#include <cstdint>

#include "wire/bytes.h"

namespace amf2json::wire {

namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNone = 0xFF;

constexpr std::array<std::uint8_t, 256> valuesOfDigits() {
  std::array<std::uint8_t, 256> values{};
  for (auto& value : values) value = kNone;
  for (std::uint8_t i = 0; i < 64; ++i) values[static_cast<unsigned char>(kDigits[i])] = i;
  return values;
}
constexpr std::array<std::uint8_t, 256> kValues = valuesOfDigits();

std::uint8_t valueAt(const char* at) {
  return kValues[byteAt(at)];
}

char* putGroup(char* to, std::uint32_t bits) {
  to[0] = kDigits[bits >> 18 & 63];
  to[1] = kDigits[bits >> 12 & 63];
  to[2] = kDigits[bits >> 6 & 63];
  to[3] = kDigits[bits & 63];
  return to + 4;
}

// The last group of four characters; the number of bytes, or kNoBase64.
std::size_t readLast(char* to, const char* at) {
  const std::size_t padding = at[3] != '=' ? 0 : at[2] != '=' ? 1 : 2;
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < 4 - padding; ++i) {
    if (valueAt(at + i) == kNone) return kNoBase64;
    bits |= std::uint32_t{valueAt(at + i)} << (18 - 6 * i);
  }
  const std::size_t count = 3 - padding;
  if ((bits & (0xFFFFFFu >> 8 * count)) != 0) return kNoBase64;
  for (std::size_t i = 0; i < count; ++i) to[i] = static_cast<char>(bits >> (16 - 8 * i) & 0xFF);
  return count;
}

}  // namespace

char* putBase64(char* to, const char* data, std::size_t length) {
  for (; length >= 3; data += 3, length -= 3) to = putGroup(to, loadU24(data));
  if (length == 0) return to;
  const std::uint32_t second = length == 2 ? byteAt(data + 1) : 0u;
  to = putGroup(to, std::uint32_t{byteAt(data)} << 16 | second << 8);
  to[-1] = '=';
  if (length == 1) to[-2] = '=';
  return to;
}

std::size_t readBase64(char* to, const char* text, std::size_t length) {
  if (length % 4 != 0) return kNoBase64;
  if (length == 0) return 0;
  char* const begin = to;
  const char* const last = text + length - 4;
  for (; text < last; text += 4, to += 3) {
    const std::uint32_t a = valueAt(text);
    const std::uint32_t b = valueAt(text + 1);
    const std::uint32_t c = valueAt(text + 2);
    const std::uint32_t d = valueAt(text + 3);
    if (((a | b | c | d) & 0x80) != 0) return kNoBase64;
    const std::uint32_t bits = a << 18 | b << 12 | c << 6 | d;
    to[0] = static_cast<char>(bits >> 16 & 0xFF);
    to[1] = static_cast<char>(bits >> 8 & 0xFF);
    to[2] = static_cast<char>(bits & 0xFF);
  }
  const std::size_t rest = readLast(to, last);
  return rest == kNoBase64 ? kNoBase64 : static_cast<std::size_t>(to - begin) + rest;
}

}  // namespace amf2json::wire
