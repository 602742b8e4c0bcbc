// SPDX-License-Identifier: Apache-2.0
//
// A cursor that writes into one of the protocol object's texts. While it lives the text may be
// longer than what is written; the room behind the cursor is fresh or left from a rendering before,
// so nothing is filled twice. Its end sets the text's true length.
#pragma once

#include <cstring>
#include <string>
#include <string_view>

namespace render {

// Copies `count` bytes; short stretches, which are nearly all, without a call.
inline void copyBytes(char* to, const char* from, std::size_t count) {
  if (count > 32) {
    std::memcpy(to, from, count);
  } else if (count >= 16) {
    std::memcpy(to, from, 16);
    std::memcpy(to + count - 16, from + count - 16, 16);
  } else if (count >= 8) {
    std::memcpy(to, from, 8);
    std::memcpy(to + count - 8, from + count - 8, 8);
  } else if (count >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + count - 4, from + count - 4, 4);
  } else {
    for (std::size_t i = 0; i < count; ++i) to[i] = from[i];
  }
}

class TextOut {
 public:
  // `written` bytes of the text stay, `hidden` bytes in front of it are kept free and not counted
  // by size().
  TextOut(std::string& target, std::size_t written, std::size_t hidden = 0)
      : text(target), front(hidden) {
    if (text.size() < hidden + written) text.resize(hidden + written);
    setCursor(hidden + written);
  }
  ~TextOut() { text.resize(front + size()); }  // only ever shortens
  TextOut(const TextOut&) = delete;
  TextOut& operator=(const TextOut&) = delete;

  std::size_t size() const { return static_cast<std::size_t>(next - begin); }

  // Makes room for `count` bytes and returns where they go; `advance` says how many came.
  char* room(std::size_t count) {
    if (static_cast<std::size_t>(end - next) < count) grow(count);
    return next;
  }
  void advance(std::size_t count) { next += count; }
  char* position() const { return next; }
  void moveTo(char* position) { next = position; }

  void append(char byte) {
    *room(1) = byte;
    ++next;
  }
  void append(std::string_view piece) {
    copyBytes(room(piece.size()), piece.data(), piece.size());
    next += piece.size();
  }
  // A text known at compile time.
  template <std::size_t Size>
  void append(const char (&literal)[Size]) {
    std::memcpy(room(Size - 1), literal, Size - 1);
    next += Size - 1;
  }

  // The byte `back` places before the end (1: the last one); only where size() is that large.
  char fromEnd(std::size_t back) const { return next[-static_cast<std::ptrdiff_t>(back)]; }
  void removeFromEnd(std::size_t back) {
    std::memmove(next - back, next - back + 1, back - 1);
    --next;
  }
  void shorten(std::size_t count) { next -= count; }

 private:
  void setCursor(std::size_t offset) {
    begin = &text[0] + front;
    next = &text[0] + offset;
    end = &text[0] + text.size();
  }
  void grow(std::size_t count) {
    const std::size_t offset = front + size();
    const std::size_t wanted = offset + count + kStep;
    // First what the text has already, then half as much again: what is added is filled with zeros.
    text.resize(wanted <= text.capacity() ? wanted : wanted + wanted / 2);
    setCursor(offset);
  }

  static constexpr std::size_t kStep = 4096;

  std::string& text;
  std::size_t front;
  char* begin = nullptr;
  char* next = nullptr;
  char* end = nullptr;
};

}  // namespace render
