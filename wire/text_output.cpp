// SPDX-License-Identifier: Apache-2.0
//
// The slow half of the text buffer. Tested by tests/wire/texts_test.cpp.
#include "wire/text_output.h"

namespace amf2json::wire {

namespace {

// Returns the letter after the backslash, or 0 if there is none: the byte needs \u or no escape.
char letterOf(unsigned char byte) {
  switch (byte) {
    case '"': return '"';
    case '\\': return '\\';
    case '\b': return 'b';
    case '\f': return 'f';
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    default: return 0;
  }
}

}  // namespace

void TextBuffer::escape(unsigned char byte) {
  const char letter = letterOf(byte);
  if (letter != 0) {
    const char text[] = {'\\', letter};
    characters(text, 2);
  } else if (byte < 0x20) {
    const char text[] = {
        '\\', 'u', '0', '0', static_cast<char>('0' + (byte >> 4)), "0123456789abcdef"[byte & 15]};
    characters(text, 6);
  } else {
    character(static_cast<char>(byte));
  }
}

bool TextBuffer::quotedSlowly(const AMFWireString& string, bool withDollar) {
  char* const before = at;
  character('"');
  if (withDollar) character('$');
  if (!writeEscaped(string.data, string.data + string.length)) {
    at = before;
    return false;
  }
  character('"');
  return true;
}

bool TextBuffer::writeEscaped(const char* from, const char* last) {
  // A string that is not UTF-8 is written in another form, which may fit. So if space is short,
  // the string is checked before it can fill the buffer.
  constexpr std::size_t kLongestEscape = 6;
  const auto most = static_cast<std::size_t>(last - from) * kLongestEscape;
  if (remaining() < most && firstNotUtf8(from, last) != last) return false;
  while (from < last) {
    if (last - from >= 8 && remaining() >= 8) {
      const std::uint64_t special = specialBytes(loadUpTo8(from, 8));
      std::memcpy(at, from, 8);
      const std::size_t plain = special == 0 ? 8 : plainBytes(special);
      at += plain;
      from += plain;
      if (special == 0) continue;
    }
    do {  // special bytes often follow one another
      const std::size_t length = sequenceLength(from, last);
      if (length == 0) return false;
      if (length == 1) {
        escape(static_cast<unsigned char>(*from));
      } else {
        characters(from, length);
      }
      from += length;
    } while (from < last && !isPlainByte(*from));
  }
  return true;
}

}  // namespace amf2json::wire
