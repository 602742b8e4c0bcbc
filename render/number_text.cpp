// SPDX-License-Identifier: Apache-2.0
//
// Numbers as text. Tested by tests/render_node_test.cpp.
#include "render/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace render {

namespace {

constexpr int kDecimals = 6;
constexpr std::uint64_t kScale = 1000000;

#if defined(__cpp_lib_to_chars)

char* generalDouble(double value, NumberBuffer& buffer) {
  return std::to_chars(buffer.bytes, std::end(buffer.bytes), value, std::chars_format::fixed,
                       kDecimals)
      .ptr;
}

#else

// For a standard library without floating-point to_chars. A locale's decimal comma becomes a point
// again. Kept: the three markers are another C library's; those of this platform (nan, inf) pass as
// they are, and both IND forms mean infinities.
char* generalDouble(double value, NumberBuffer& buffer) {
  std::snprintf(buffer.bytes, sizeof buffer.bytes, "%f", value);
  if (std::strstr(buffer.bytes, "1.#QNAN")) {
    std::strcpy(buffer.bytes, "NaN");
  } else if (std::strstr(buffer.bytes, "-1.#IND")) {
    std::strcpy(buffer.bytes, "-Infinity");
  } else if (std::strstr(buffer.bytes, "1.#IND")) {
    std::strcpy(buffer.bytes, "Infinity");
  }
  if (char* const comma = std::strchr(buffer.bytes, ',')) *comma = '.';
  return buffer.bytes + std::strlen(buffer.bytes);
}

#endif

// `millionths` is the number's magnitude, already rounded.
char* scaledDouble(bool negative, std::uint64_t millionths, NumberBuffer& buffer) {
  char* to = buffer.bytes;
  if (negative) *to++ = '-';
  to = std::to_chars(to, std::end(buffer.bytes), millionths / kScale).ptr;
  auto fraction = static_cast<std::uint32_t>(millionths % kScale);
  for (int digit = kDecimals; digit > 0; --digit) {
    to[digit] = static_cast<char>('0' + fraction % 10);
    fraction /= 10;
  }
  *to = '.';
  return to + 1 + kDecimals;
}

}  // namespace

// Most numbers of real packets are whole or small. A whole one needs no rounding. For a small one
// the product with 10^6 is off by less than 2^-12, so unless it lies next to a half the rounding is
// certain.
std::string_view doubleText(double value, NumberBuffer& buffer) {
  constexpr double kWholeMax = 1e13;  // its millionths fit 64 bits
  constexpr double kSmallMax = 2e6;
  constexpr double kNearHalf = 1.0 / 1024;
  const double magnitude = std::fabs(value);
  char* end = nullptr;
  if (magnitude < kWholeMax && magnitude == std::trunc(magnitude)) {
    end = scaledDouble(std::signbit(value), static_cast<std::uint64_t>(magnitude) * kScale, buffer);
  } else if (magnitude < kSmallMax) {
    const double scaled = magnitude * static_cast<double>(kScale);
    const auto whole = static_cast<std::uint64_t>(scaled);
    const double rest = scaled - static_cast<double>(whole);
    if (std::fabs(rest - 0.5) > kNearHalf) {
      end = scaledDouble(std::signbit(value), whole + (rest > 0.5 ? 1 : 0), buffer);
    }
  }
  if (!end) end = generalDouble(value, buffer);
  return {buffer.bytes, static_cast<std::size_t>(end - buffer.bytes)};
}

char* putInteger(char* to, std::uint32_t value) {
  constexpr int kDigitsMax = 10;
  return std::to_chars(to, to + kDigitsMax, value).ptr;
}

std::string_view integerText(std::uint32_t value, NumberBuffer& buffer) {
  return {buffer.bytes, static_cast<std::size_t>(putInteger(buffer.bytes, value) - buffer.bytes)};
}

}  // namespace render
