// SPDX-License-Identifier: Apache-2.0
//
// Numbers as text. Tested by tests/wire/texts_test.cpp.
#include "wire/number_text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

#include "wire/bytes.h"

namespace amf2json::wire {

namespace {

constexpr std::uint64_t kPlainNaN = 0x7FF8000000000000u;
constexpr std::uint64_t kMinusZero = 0x8000000000000000u;

// Shortest digits and the place of the decimal point: 0.DIGITS times ten to the power of `point`.
struct Decimal {
  char digits[20];
  int count;
  int point;
};

Decimal decimalOf(const double& value) {
  char text[kNumberMax];
  const char* const end =
      std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::scientific).ptr;
  Decimal decimal{};
  const char* at = text;
  for (; at < end && *at != 'e'; ++at) {
    if (*at != '.') decimal.digits[decimal.count++] = *at;
  }
  int exponent = 0;
  std::from_chars(at + (at[1] == '+' ? 2 : 1), end, exponent);
  decimal.point = exponent + 1;
  return decimal;
}

char* putDigits(char* to, const char* digits, int count) {
  std::memcpy(to, digits, static_cast<std::size_t>(count));
  return to + count;
}

char* putZeros(char* to, int count) {
  std::memset(to, '0', static_cast<std::size_t>(count));
  return to + count;
}

char* putExponential(char* to, const Decimal& decimal) {
  *to++ = decimal.digits[0];
  if (decimal.count > 1) {
    *to++ = '.';
    to = putDigits(to, decimal.digits + 1, decimal.count - 1);
  }
  *to++ = 'e';
  *to++ = decimal.point > 0 ? '+' : '-';
  return std::to_chars(to, to + 4, std::abs(decimal.point - 1)).ptr;
}

// ECMA-262, Number::toString.
char* putDecimal(char* to, const Decimal& decimal) {
  if (decimal.point > 21 || decimal.point <= -6) return putExponential(to, decimal);
  if (decimal.point <= 0) {
    *to++ = '0';
    *to++ = '.';
    return putDigits(putZeros(to, -decimal.point), decimal.digits, decimal.count);
  }
  if (decimal.count <= decimal.point) {
    return putZeros(putDigits(to, decimal.digits, decimal.count), decimal.point - decimal.count);
  }
  to = putDigits(to, decimal.digits, decimal.point);
  *to++ = '.';
  return putDigits(to, decimal.digits + decimal.point, decimal.count - decimal.point);
}

// Writes a number with one to four decimals, such as a price: a whole number of at most 15 digits,
// divided by a power of ten. Two different such numbers are different doubles, so these digits are
// the shortest. Returns null, and writes nothing, for any other number.
char* putFewDecimals(char* to, double value) {
  static constexpr double kPowers[] = {1e0, 1e1, 1e2, 1e3, 1e4};
  for (int decimals = 1; decimals <= 4; ++decimals) {
    const double scaled = value * kPowers[decimals];
    if (!(scaled < 1e15)) return nullptr;
    const auto digits = static_cast<std::int64_t>(scaled + 0.5);
    if (static_cast<double>(digits) / kPowers[decimals] != value) continue;
    const auto power = static_cast<std::int64_t>(kPowers[decimals]);
    to = std::to_chars(to, to + kNumberMax, digits / power).ptr;
    *to = '.';
    std::int64_t left = digits % power;
    for (char* at = to + decimals; at > to; --at, left /= 10) {
      *at = static_cast<char>('0' + left % 10);
    }
    return to + 1 + decimals;
  }
  return nullptr;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// The parts of a JSON number: its significant digits, without zeros at either end.
struct Token {
  bool negative = false;
  std::string digits;
  long point = 0;  // as in Decimal
  bool isWhole() const { return point >= static_cast<long>(digits.size()); }
};

long exponentOf(const char* at, const char* end) {
  if (at == end) return 0;
  ++at;
  if (*at == '+') ++at;
  long exponent = 0;
  const auto [last, error] = std::from_chars(at, end, exponent);
  // Far outside the range of doubles, and far inside that of long.
  if (error != std::errc() || exponent > 1000000000 || exponent < -1000000000) {
    return *at == '-' ? -1000000000 : 1000000000;
  }
  return exponent;
}

Token tokenOf(const char* at, const char* end) {
  Token token;
  if (*at == '-') token.negative = true, ++at;
  bool fraction = false;
  for (; at < end && (isDigit(*at) || *at == '.'); ++at) {
    if (*at == '.') {
      fraction = true;
      continue;
    }
    if (!fraction) ++token.point;
    if (token.digits.empty() && *at == '0') {
      --token.point;
      continue;
    }
    token.digits += *at;
  }
  while (!token.digits.empty() && token.digits.back() == '0') token.digits.pop_back();
  token.point = token.digits.empty() ? 0 : token.point + exponentOf(at, end);
  return token;
}

// The digits of a whole double, all of them.
std::string exactDigits(const double& value) {
  char text[400];
  char* const end =
      std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::fixed, 0).ptr;
  std::string digits(text, static_cast<std::size_t>(end - text));
  while (!digits.empty() && digits.back() == '0') digits.pop_back();
  return digits;
}

NumberRead readSlowly(const char* text, std::size_t length, double& value) {
  const char* const end = text + length;
  const Token token = tokenOf(text, end);
  const auto [last, error] = std::from_chars(text, end, value);
  if (error != std::errc() || last != end) {
    if (token.point > 0 && !token.digits.empty()) return NumberRead::outOfRange;
    value = token.negative ? -0.0 : 0.0;  // too small for a double: rounded
    return NumberRead::ok;
  }
  if (!std::isfinite(value)) return NumberRead::outOfRange;
  if (!token.isWhole() || token.digits.size() <= 15) return NumberRead::ok;
  if (token.digits == exactDigits(value)) return NumberRead::ok;
  const Decimal shortest = decimalOf(value);
  const bool same =
      shortest.point == token.point &&
      token.digits == std::string(shortest.digits, static_cast<std::size_t>(shortest.count));
  return same ? NumberRead::ok : NumberRead::notExact;
}

}  // namespace

char* putInteger(char* to, std::int64_t value) {
  return std::to_chars(to, to + kNumberMax, value).ptr;
}

char* putNumber(char* to, const double& value) {
  if (isWholeAndShort(value)) return putInteger(to, static_cast<std::int64_t>(value));
  if (value < 0) *to++ = '-';
  char* const end = putFewDecimals(to, std::fabs(value));
  return end != nullptr ? end : putDecimal(to, decimalOf(value));
}

std::size_t lengthOfInteger(std::int64_t value) {
  std::size_t length = value < 0 ? 2 : 1;
  std::uint64_t remaining =
      value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  for (; remaining >= 10; remaining /= 10) ++length;
  return length;
}

std::size_t lengthOfNumber(const double& value) {
  if (isWholeAndShort(value)) return lengthOfInteger(static_cast<std::int64_t>(value));
  char text[kNumberMax];
  return static_cast<std::size_t>(putNumber(text, value) - text);
}

bool needsWord(const double& value) {
  return !std::isfinite(value) || bitsOf(value) == kMinusZero;
}

char* putWord(char* to, const double& value) {
  const std::uint64_t bits = bitsOf(value);
  const char* word = nullptr;
  if (bits == kMinusZero) word = "-0";
  if (bits == kPlainNaN) word = "NaN";
  if (std::isinf(value)) word = value > 0 ? "Infinity" : "-Infinity";
  if (word != nullptr) return putDigits(to, word, static_cast<int>(std::strlen(word)));
  to = putDigits(to, "0x", 2);
  for (int shift = 60; shift >= 0; shift -= 4) *to++ = "0123456789abcdef"[bits >> shift & 15];
  return to;
}

bool readWord(const char* text, std::size_t length, double& value) {
  const std::string word(text, length < kNumberMax ? length : kNumberMax);
  std::uint64_t bits = kPlainNaN;
  if (word == "-0") {
    bits = kMinusZero;
  } else if (word == "Infinity") {
    bits = 0x7FF0000000000000u;
  } else if (word == "-Infinity") {
    bits = 0xFFF0000000000000u;
  } else if (word != "NaN") {
    if (word.size() != 18 || word.compare(0, 2, "0x") != 0) return false;
    if (word.find_first_not_of("0123456789abcdef", 2) != std::string::npos) return false;
    std::from_chars(word.data() + 2, word.data() + 18, bits, 16);
    if ((bits & 0x7FFFFFFFFFFFFFFFu) <= 0x7FF0000000000000u) return false;
  }
  std::memcpy(&value, &bits, sizeof value);
  return true;
}

bool fitsInteger(const double& value) {
  return value >= kLeastInteger && value <= kLargestInteger && value == std::trunc(value) &&
         bitsOf(value) != kMinusZero;
}

NumberRead readNumber(const char* text, std::size_t length, double& value) {
  const char* at = text;
  const char* const end = text + length;
  const bool negative = *at == '-';
  if (negative) ++at;
  // Few digits: a whole number and a power of ten, both exact as doubles.
  static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (end - at > 16) return readSlowly(text, length, value);
  std::uint64_t digits = 0;
  const char* point = end;
  for (; at < end; ++at) {
    if (*at == '.') {
      point = at + 1;
    } else if (isDigit(*at)) {
      digits = digits * 10 + static_cast<std::uint64_t>(*at - '0');
    } else {
      return readSlowly(text, length, value);
    }
  }
  if (digits > 999999999999999u) return readSlowly(text, length, value);
  value = static_cast<double>(digits);
  if (point != end) value /= kPowers[end - point];
  if (negative) value = -value;
  return NumberRead::ok;
}

}  // namespace amf2json::wire
