// SPDX-License-Identifier: Apache-2.0
//
// The margin: a line end and the indentation of the next line of the JSON text. Both are stored as
// one text, which is copied at once:
//
//     text:  line end | indentation | more indentation, up to the capacity (if isUniform)
//            <------ length ------>
#pragma once

#include <cstring>
#include <string>
#include <string_view>

#include "render/text_out.h"

namespace amf2json::render {

class Margin {
 public:
  Margin(const std::string& newLine, const std::string& indent, const std::string& indentUnit);
  Margin(const Margin&) = delete;
  Margin& operator=(const Margin&) = delete;

  std::size_t size() const { return length; }
  std::size_t sizeWithin(std::size_t levels) const { return length + levels * unit.size(); }
  std::size_t lineEndSize() const { return lineEnd; }
  // Whether the indentation repeats one character, and increase() followed by decrease() changes
  // nothing.
  bool isBalanced() const { return isUniform && (unit.size() == 1 || length == lineEnd); }
  std::string_view indentation() const { return {text + lineEnd, length - lineEnd}; }

  // Indents one level more.
  void increase() {
    if (length + unit.size() > capacity) reserve(length + unit.size(), length);
    if (!isUniform) unit.copy(text + length, unit.size());
    length += unit.size();
  }
  // Indents one level less. Kept: removes one character from the front, not one unit.
  void decrease() {
    if (length == lineEnd) return;
    --length;
    if (!isUniform) std::memmove(text + lineEnd, text + lineEnd + 1, length - lineEnd);
  }

  AMF2JSON_HOT char* write(char* to) const {
    std::memcpy(to, text, kWord);
    if (length > kWord) writeRest(to + kWord);
    return to + length;
  }
  char* writeLineEnd(char* to) const { return put(to, std::string_view(text, lineEnd)); }
  char* writeIndentation(char* to) const { return put(to, indentation()); }

 private:
  void writeRest(char* to) const {
    std::memcpy(to, text + kWord, kWord);
    if (length > 2 * kWord) std::memcpy(to + kWord, text + 2 * kWord, length - 2 * kWord);
  }
  void reserve(std::size_t size, std::size_t kept);

  static constexpr std::size_t kWord = 16;
  static constexpr std::size_t kInlineBytes = 64;

  char inlineText[kInlineBytes];
  std::string heapText;  // used instead of `inlineText` if that is too small
  char* text = inlineText;
  std::size_t capacity = kInlineBytes;
  std::size_t lineEnd;
  std::size_t length;
  const std::string& unit;
  // The indentation repeats one character, which fills `text` up to the capacity. So a change of
  // the level changes only `length`.
  bool isUniform;
  char uniformCharacter;
};

}  // namespace amf2json::render
