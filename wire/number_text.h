// SPDX-License-Identifier: Apache-2.0
//
// Numbers as JavaScript writes them, and back. Independent of the process's locale.
// Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_NUMBER_TEXT_H
#define WIRE_NUMBER_TEXT_H

#include <cstddef>
#include <cstdint>

namespace amf2json::wire {

constexpr double kLeastInteger = -268435456.0;
constexpr double kLargestInteger = 268435455.0;

// Enough for every text below.
constexpr std::size_t kNumberMax = 32;

// The shortest digits that read back, in JavaScript's layout. Of a finite double that is not minus
// zero. Writes at `to`, which has kNumberMax bytes, and returns where the next byte goes.
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

// True for what JSON numbers, as JavaScript writes them, cannot say: NaN, infinities, minus zero.
bool needsWord(const double& value);
// Such a value in a word: NaN, Infinity, -Infinity, -0, 0x7ff8000000000001.
char* putWord(char* to, const double& value);
// Reads such a word; false where it is none. All NaN may stand as digits.
bool readWord(const char* text, std::size_t length, double& value);

// True for whole numbers that AMF3 integers can hold; minus zero is none.
bool fitsInteger(const double& value);

enum class NumberRead { ok, outOfRange, notExact };
// Reads a JSON number of `length` characters. notExact: a whole number that is neither a double's
// exact value nor the digits that JavaScript writes for it.
NumberRead readNumber(const char* text, std::size_t length, double& value);

}  // namespace amf2json::wire

#endif  // WIRE_NUMBER_TEXT_H
