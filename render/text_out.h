// SPDX-License-Identifier: Apache-2.0
//
// A cursor that writes into one of the protocol object's texts, and the stores that go through it.
// While it lives the text may be longer than what is written; the room behind the cursor is fresh
// or left from a rendering before, so nothing is filled twice. Its end sets the text's true length.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/compiler.h"

namespace amf2json::render {

// A step of the rendering takes the place where the next byte goes and returns the place behind
// what it wrote: the place stays in a register that way, where a member would be loaded and stored
// with every byte. Whoever calls such a step has made room, for kSpill bytes more than are written:
// short stretches are copied in whole words of 16.
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
  // `written` bytes of the text stay. `hidden` bytes in front of it, NULs, are kept free and not
  // counted by size().
  TextOut(std::string& target, std::size_t written, std::size_t hidden = 0)
      : text(target), front(hidden) {
    if (text.size() < hidden + written) text.resize(hidden + written);
    std::fill_n(text.begin(), hidden, '\0');
    setCursor(hidden + written);
  }
  ~TextOut() { text.resize(front + size()); }  // only ever shortens
  TextOut(const TextOut&) = delete;
  TextOut& operator=(const TextOut&) = delete;

  std::size_t size() const { return sizeAt(next); }
  char* position() const { return next; }
  void moveTo(char* position) { next = position; }

  // For steps that carry the place themselves: the length of a text that ends at `to`, and `to`
  // once there is room for `count` bytes, which may be elsewhere then.
  std::size_t sizeAt(const char* to) const { return static_cast<std::size_t>(to - begin); }
  char* room(char* to, std::size_t count) {
    return static_cast<std::size_t>(end - to) >= count ? to : grow(to, count);
  }

  char* room(std::size_t count) { return next = room(next, count); }
  void append(char byte) { next = put(room(1), byte); }
  void append(std::string_view piece) { next = put(room(piece.size()), piece); }
  template <std::size_t Size>
  void append(const char (&literal)[Size]) {
    next = put(room(Size - 1), literal);
  }

 private:
  void setCursor(std::size_t offset) {
    begin = &text[0] + front;
    next = &text[0] + offset;
    end = &text[0] + text.size();
  }
  // What is added is filled with zeros: first only as much as is asked for, as long as the text has
  // it already; then half as much again.
  char* grow(char* to, std::size_t count) {
    const std::size_t offset = front + sizeAt(to);
    const std::size_t wanted = offset + count + kStep;
    text.resize(wanted <= text.capacity() ? wanted : wanted + wanted / 2);
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
