// SPDX-License-Identifier: Apache-2.0
//
// The slow half of the text buffer. Tested by tests/wire/texts_test.cpp.
#include "wire/text_output.h"

namespace amf2json::wire {

namespace {

// The letter behind the backslash, 0 where \u is needed, or the byte itself.
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

void TextBuffer::failChanged() {
  throw Failure{AMFWireStatus::malformed, 0, "the bytes changed while they were read"};
}

bool TextBuffer::escapedSlowly(const char* from, const char* last) {
  if (firstBroken(from, last) != last) return false;
  for (; from < last; ++from) {
    const auto byte = static_cast<unsigned char>(*from);
    const char letter = letterOf(byte);
    if (letter != 0) {
      const char text[] = {'\\', letter};
      characters(text, 2);
    } else if (byte < 0x20) {
      const char text[] = {
          '\\', 'u', '0', '0', static_cast<char>('0' + (byte >> 4)), "0123456789abcdef"[byte & 15]};
      characters(text, 6);
    } else {
      character(*from);
    }
  }
  return true;
}

}  // namespace amf2json::wire
