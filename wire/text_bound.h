// SPDX-License-Identifier: Apache-2.0
//
// An upper bound for the length of a compact JSON text, computed in the first pass over the input.
// If it is close to a lower bound, the text is written at once, into a buffer of that size.
// Otherwise an extra pass counts the exact length. No code relies on the bound: if the text does
// not fit, its length is counted. Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_TEXT_BOUND_H
#define WIRE_TEXT_BOUND_H

#include <cstdint>

#include "wire/base64.h"
#include "wire/long_texts.h"
#include "wire/number_text.h"

namespace amf2json::wire {

class TextBound {
 public:
  std::uint64_t most() const { return certain + possible; }
  // This is not quite a lower bound: for some values it counts a few characters too many, but never
  // more than the value has bytes.
  std::uint64_t least() const { return certain; }

  void add(std::uint64_t characters) { certain += characters; }
  // The value has up to so many more characters.
  void addPossible(std::uint64_t characters) { possible += characters; }
  void base64(std::size_t bytes) { certain += base64Length(bytes) + 2; }
  // Returns whether it is UTF-8.
  bool string(const AMFWireString& of, LongTexts& texts) {
    const Text text = texts.text(of);
    if (text.isUtf8) {
      certain += text.length + 2;
    } else {
      certain += sizeof "{\"$string64\":}" - 1;
      base64(of.length);
    }
    return text.isUtf8;
  }
  void integer(std::int64_t value) { certain += lengthOfInteger(value); }
  void number(const double& value) {
    if (isWholeAndShort(value)) return integer(static_cast<std::int64_t>(value));
    addPossible(kNumberMax - 8);  // a finite number has at most 24 characters
  }

 private:
  std::uint64_t certain = 0;
  std::uint64_t possible = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_TEXT_BOUND_H
