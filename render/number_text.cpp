// SPDX-License-Identifier: Apache-2.0
//
// Numbers as text. Tested by tests/render/node_test.cpp.
#include "render/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace amf2json::render {

namespace {

constexpr int kDecimals = 6;

#if defined(__cpp_lib_to_chars)

char* putAnyDouble(char* to, double value) {
  return std::to_chars(to, to + kDoubleMax, value, std::chars_format::fixed, kDecimals).ptr;
}

#else

// For a standard library without floating-point to_chars. The decimal comma of a locale is replaced
// by a point. Kept: the three texts are those of another C library, and both IND forms are replaced
// by infinities. The texts of this platform (nan, inf) are not replaced.
char* putAnyDouble(char* to, double value) {
  std::snprintf(to, kDoubleMax, "%f", value);
  if (std::strstr(to, "1.#QNAN")) {
    std::strcpy(to, "NaN");
  } else if (std::strstr(to, "-1.#IND")) {
    std::strcpy(to, "-Infinity");
  } else if (std::strstr(to, "1.#IND")) {
    std::strcpy(to, "Infinity");
  }
  if (char* const comma = std::strchr(to, ',')) *comma = '.';
  return to + std::strlen(to);
}

#endif

// The two digits of each number below 100. With std::to_chars for integers, the JSON view takes
// 1.05 times as long (one small call).
struct DigitPairs {
  char text[200];
};

constexpr DigitPairs makeDigitPairs() {
  DigitPairs pairs{};
  for (int i = 0; i < 100; ++i) {
    pairs.text[2 * i] = static_cast<char>('0' + i / 10);
    pairs.text[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}

constexpr DigitPairs kPairs = makeDigitPairs();

char* putPair(char* to, std::uint32_t below100) {
  std::memcpy(to, kPairs.text + 2 * below100, 2);
  return to + 2;
}

char* putFour(char* to, std::uint32_t below10000) {
  return putPair(putPair(to, below10000 / 100), below10000 % 100);
}

// Writes one or two digits.
char* putLeading(char* to, std::uint32_t below100) {
  if (below100 >= 10) return putPair(to, below100);
  *to = static_cast<char>('0' + below100);
  return to + 1;
}

}  // namespace

char* putInteger(char* to, std::uint32_t value) {
  if (value < 100) return putLeading(to, value);
  if (value < 10000) return putPair(putLeading(to, value / 100), value % 100);
  if (value < 1000000) return putFour(putLeading(to, value / 10000), value % 10000);
  const std::uint32_t high = value / 10000;
  return putFour(putInteger(to, high), value % 10000);
}

// Writes the whole part and the fraction separately; for magnitudes below 2^32 both are exact.
// `scaled`, the fraction in millionths, is below 2^20 and is rounded once, so its error is below
// 2^-32. Therefore it is certain how `scaled` rounds to an integer, unless it is close to a half:
// then putAnyDouble writes the number.
char* putDouble(char* to, double value) {
  constexpr double kWholeMax = 4294967295.0;  // so that a carry still fits
  constexpr double kNearHalf = 1.0 / 1048576;
  constexpr std::uint32_t kScale = 1000000;
  const double magnitude = std::fabs(value);
  if (!(magnitude < kWholeMax)) return putAnyDouble(to, value);
  auto whole = static_cast<std::uint32_t>(magnitude);
  const double scaled = (magnitude - static_cast<double>(whole)) * kScale;
  auto millionths = static_cast<std::uint32_t>(scaled);
  const double rest = scaled - static_cast<double>(millionths);
  if (std::fabs(rest - 0.5) < kNearHalf) return putAnyDouble(to, value);
  if (rest > 0.5 && ++millionths == kScale) {
    millionths = 0;
    ++whole;
  }
  *to = '-';
  to = putInteger(to + (std::signbit(value) ? 1 : 0), whole);
  *to = '.';
  return putFour(putPair(to + 1, millionths / 10000), millionths % 10000);
}

}  // namespace amf2json::render
