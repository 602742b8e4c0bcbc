// SPDX-License-Identifier: Apache-2.0
//
// TextOut, an output cursor into one of the protocol object's texts, and the functions that store:
//
//     text:  hidden | written | free      |
//                     ^ begin   ^ next    ^ end
//
// While the cursor exists, the text is longer than what is written. The free bytes are zeros, or
// old bytes of an earlier rendering, which are not cleared. The destructor sets the text's true
// length.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/compiler.h"

namespace amf2json::render {

// A step of the rendering takes the output pointer (the address of the next byte) and returns it
// past what it wrote. So the pointer stays in a register; a member variable would be loaded and
// stored for each byte. The caller of a step provides the free space: as many bytes as the step
// writes and kSpill more, because short texts are copied in whole words of 16 bytes.
constexpr std::size_t kSpill = 32;

inline char* put(char* to, char byte) {
  *to = byte;
  return to + 1;
}

// A text known at compile time.
template <std::size_t Size>
char* put(char* to, const char (&literal)[Size]) {
  std::memcpy(to, literal, Size - 1);
  return to + Size - 1;
}

AMF2JSON_HOT char* put(char* to, std::string_view text) {
  copyShort(to, text.data(), text.size());
  return to + text.size();
}

class TextOut {
 public:
  // Continues after the first `written` bytes of the text. Before them come `hidden` NULs, which
  // size() does not count.
  TextOut(std::string& target, std::size_t written, std::size_t hidden = 0)
      : text(target), front(hidden) {
    if (text.size() < hidden + written) text.resize(hidden + written);
    std::fill_n(text.begin(), hidden, '\0');
    setCursor(hidden + written);
  }
  ~TextOut() { text.resize(front + size()); }  // never makes it longer
  TextOut(const TextOut&) = delete;
  TextOut& operator=(const TextOut&) = delete;

  std::size_t size() const { return sizeAt(next); }
  char* position() const { return next; }
  void moveTo(char* position) { next = position; }

  // For steps that pass the output pointer themselves. sizeAt() returns the length of a text that
  // ends at `to`. reserve() provides `count` free bytes and returns `to`, which changes if the
  // text moves.
  std::size_t sizeAt(const char* to) const { return static_cast<std::size_t>(to - begin); }
  char* reserve(char* to, std::size_t count) {
    return static_cast<std::size_t>(end - to) >= count ? to : grow(to, count);
  }

  char* reserve(std::size_t count) { return next = reserve(next, count); }
  void append(char byte) { next = put(reserve(1), byte); }
  void append(std::string_view piece) { next = put(reserve(piece.size()), piece); }
  template <std::size_t Size>
  void append(const char (&literal)[Size]) {
    next = put(reserve(Size - 1), literal);
  }

 private:
  void setCursor(std::size_t offset) {
    begin = &text[0] + front;
    next = &text[0] + offset;
    end = &text[0] + text.size();
  }
  // resize() fills the bytes that it adds with zeros. So within its capacity, the text grows only
  // by what is needed. If it needs a larger capacity, it grows to 1.5 times the needed size.
  char* grow(char* to, std::size_t count) {
    const std::size_t offset = front + sizeAt(to);
    const std::size_t needed = offset + count + kStep;
    text.resize(needed <= text.capacity() ? needed : needed + needed / 2);
    setCursor(offset);
    return next;
  }

  static constexpr std::size_t kStep = 256;

  std::string& text;
  std::size_t front;
  char* begin = nullptr;
  char* next = nullptr;
  char* end = nullptr;
};

}  // namespace amf2json::render
