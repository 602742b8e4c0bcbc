// SPDX-License-Identifier: Apache-2.0
//
// Numbers as JavaScript writes them, and back. They do not depend on the locale.
// Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_NUMBER_TEXT_H
#define WIRE_NUMBER_TEXT_H

#include <cstddef>
#include <cstdint>

namespace amf2json::wire {

constexpr double kLeastInteger = -268435456.0;
constexpr double kLargestInteger = 268435455.0;

// A buffer of this size holds every text that the functions of this file write.
constexpr std::size_t kNumberMax = 32;

// Writes the shortest digits that read back as the same number, as JavaScript formats them. The
// number must be finite and not minus zero. `to` has kNumberMax bytes. Returns the end of the text.
char* putNumber(char* to, const double& value);
char* putInteger(char* to, std::int64_t value);
std::size_t lengthOfNumber(const double& value);
std::size_t lengthOfInteger(std::int64_t value);

// True for whole numbers up to 2^53.
inline bool isWholeAndShort(const double& value) {
  constexpr double kExact = 9007199254740992.0;
  return value >= -kExact && value <= kExact &&
         value == static_cast<double>(static_cast<std::int64_t>(value));
}

// True for what JavaScript does not write as a JSON number: NaN, infinities, minus zero.
bool needsWord(const double& value);
// Such a value as a word: NaN, Infinity, -Infinity, -0, 0x7ff8000000000001.
char* putWord(char* to, const double& value);
// Reads such a word. Returns false if it is none. Every NaN may be written in hexadecimal.
bool readWord(const char* text, std::size_t length, double& value);

// True for whole numbers in the range of AMF3 integers, except minus zero.
bool fitsInteger(const double& value);

enum class NumberRead { ok, outOfRange, notExact };
// Reads a JSON number of `length` characters. notExact: a whole number that is neither the exact
// value of a double nor the digits that JavaScript writes for it.
NumberRead readNumber(const char* text, std::size_t length, double& value);

}  // namespace amf2json::wire

#endif  // WIRE_NUMBER_TEXT_H
