// SPDX-License-Identifier: Apache-2.0
//
// How long a compact JSON text can become at most, added up in the first pass over the input. Where
// the bound is near the length, the text is written into a buffer of that size at once; else a pass
// of its own counts the length exactly. Nothing relies on the bound being right: what does not fit
// is counted. Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_TEXT_BOUND_H
#define WIRE_TEXT_BOUND_H

#include <cstdint>

#include "wire/base64.h"
#include "wire/long_texts.h"
#include "wire/number_text.h"

namespace amf2json::wire {

class TextBound {
 public:
  std::uint64_t most() const { return sure + perhaps; }
  // But for a character or two of each value.
  std::uint64_t least() const { return sure; }

  void add(std::uint64_t characters) { sure += characters; }
  // Of so many characters, perhaps none are written.
  void addPerhaps(std::uint64_t characters) { perhaps += characters; }
  void base64(std::size_t bytes) { sure += base64Length(bytes) + 2; }
  // Whether it is UTF-8.
  bool string(const AMFWireString& of, LongTexts& texts) {
    const Text text = texts.text(of);
    if (text.isUtf8) {
      sure += text.length + 2;
    } else {
      sure += sizeof "{\"$string64\":}" - 1;
      base64(of.length);
    }
    return text.isUtf8;
  }
  void integer(std::int64_t value) { sure += lengthOfInteger(value); }
  void number(const double& value) {
    if (isWholeAndShort(value)) return integer(static_cast<std::int64_t>(value));
    addPerhaps(kNumberMax - 8);  // a finite number has at most 24 characters
  }

 private:
  std::uint64_t sure = 0;
  std::uint64_t perhaps = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_TEXT_BOUND_H
