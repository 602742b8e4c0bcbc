// SPDX-License-Identifier: Apache-2.0
//
// The outputs of the JSON writer: a counter, for the pass that computes the length of the text, and
// a buffer of fixed size. Both have the same calls. Tested through the JSON writer.
#ifndef WIRE_TEXT_OUTPUT_H
#define WIRE_TEXT_OUTPUT_H

#include <cstring>

#include "wire/base64.h"
#include "wire/date_text.h"
#include "wire/failure.h"
#include "wire/json_keys.h"
#include "wire/long_texts.h"
#include "wire/number_text.h"

namespace amf2json::wire {

class TextCounter {
 public:
  TextCounter(LongTexts& known, std::size_t limit) : texts(&known), most(limit) {}

  std::size_t length() const { return count; }
  void character(char) { add(1); }
  void characters(const char*, std::size_t length) { add(length); }
  void blanks(std::size_t length) { add(length); }
  void integer(std::int64_t value) { add(lengthOfInteger(value)); }
  void number(const double& value) { add(lengthOfNumber(value)); }
  void date(const double&) { add(kDateLength); }
  void word(const double& value) {
    char text[kNumberMax];
    add(static_cast<std::size_t>(putWord(text, value) - text));
  }
  void base64(const AMFWireString& bytes) { add(base64Length(bytes.length)); }
  // Writes a JSON string, with an extra $ before it if asked. If it is not UTF-8, writes nothing
  // and returns false.
  bool quoted(const AMFWireString& string, bool withDollar) {
    const Text text = texts->text(string);
    if (text.isUtf8) add(text.length + (withDollar ? 3 : 2));
    return text.isUtf8;
  }
  void key(const AMFWireString& name, bool withComma) {
    quoted(name, startsWithDollar(name));
    add(withComma ? 2 : 1);
  }
  void plainKey(const char*, std::size_t length, bool withComma) {
    add(length + (withComma ? 4 : 3));
  }

 private:
  void add(std::size_t length) {
    if (length > most - count) failTextTooLong();
    count += length;
  }

  LongTexts* texts;  // not owned
  std::size_t most;
  std::size_t count = 0;
};

class TextBuffer {
 public:
  TextBuffer(char* buffer, std::size_t length) : begin(buffer), at(buffer), end(buffer + length) {}

  std::size_t length() const { return static_cast<std::size_t>(at - begin); }
  void character(char c) {
    need(1);
    *at++ = c;
  }
  void characters(const char* text, std::size_t length) {
    need(length);
    std::memcpy(at, text, length);
    at += length;
  }
  void blanks(std::size_t length) {
    need(length);
    std::memset(at, ' ', length);
    at += length;
  }
  void integer(std::int64_t value) {
    put([&](char* to) { return putInteger(to, value); });
  }
  void number(const double& value) {
    put([&](char* to) { return putNumber(to, value); });
  }
  void date(const double& timeMs) {
    put([&](char* to) { return putDate(to, timeMs); });
  }
  void word(const double& value) {
    put([&](char* to) { return putWord(to, value); });
  }
  void base64(const AMFWireString& bytes) {
    need(base64Length(bytes.length));
    at = putBase64(at, bytes.data, bytes.length);
  }
  bool quoted(const AMFWireString& string, bool withDollar) {
    if (remaining() >= string.length + kAround) {
      char* const after = putQuoted(at, string, withDollar);
      if (after != nullptr) {
        at = after;
        return true;
      }
    }
    return quotedSlowly(string, withDollar);
  }
  // Writes a name that is UTF-8 as a key, with the comma before it if asked, and with the colon.
  void key(const AMFWireString& name, bool withComma) {
    const bool withDollar = startsWithDollar(name);
    if (remaining() >= name.length + kAround) {
      char* to = at;
      if (withComma) *to++ = ',';
      to = putQuoted(to, name, withDollar);
      if (to != nullptr) {
        *to = ':';
        at = to + 1;
        return;
      }
    }
    if (withComma) character(',');
    quotedSlowly(name, withDollar);
    character(':');
  }
  // The same for a key of this format, which needs no escapes.
  void plainKey(const char* name, std::size_t length, bool withComma) {
    need(length + (withComma ? 4 : 3));
    char* to = at;
    if (withComma) *to++ = ',';
    *to++ = '"';
    std::memcpy(to, name, length);
    to += length;
    *to++ = '"';
    *to++ = ':';
    at = to;
  }

 private:
  // Two quotes, a dollar, a comma, a colon, and eight bytes that are written at once.
  static constexpr std::size_t kAround = 5 + 8;

  // Writes a string of bytes that need no escapes. Returns the end, or null if it has others.
  static char* putQuoted(char* to, const AMFWireString& string, bool withDollar) {
    const char* from = string.data;
    const char* const last = from + string.length;
    *to++ = '"';
    if (withDollar) *to++ = '$';
    for (; last - from >= 8; from += 8, to += 8) {
      const std::uint64_t word = loadUpTo8(from, 8);
      if (specialBytes(word) != 0) return nullptr;
      std::memcpy(to, &word, 8);
    }
    const auto rest = static_cast<std::size_t>(last - from);
    const std::uint64_t word = loadPaddedWithSpaces(from, rest);
    if (specialBytes(word) != 0) return nullptr;
    if (kLowestFirst) {
      std::memcpy(to, &word, 8);
    } else {
      std::memcpy(to, from, rest);
    }
    to[rest] = '"';
    return to + rest + 1;
  }
  std::size_t remaining() const { return static_cast<std::size_t>(end - at); }
  void need(std::size_t length) const {
    if (remaining() < length) failTextTooLong();
  }
  template <class Put>
  void put(Put putAt) {
    if (remaining() >= kNumberMax) {
      at = putAt(at);
      return;
    }
    char text[kNumberMax];
    characters(text, static_cast<std::size_t>(putAt(text) - text));
  }
  bool quotedSlowly(const AMFWireString& string, bool withDollar);
  bool writeEscaped(const char* from, const char* last);
  void escape(unsigned char byte);

  char* begin;
  char* at;
  char* end;
};

}  // namespace amf2json::wire

#endif  // WIRE_TEXT_OUTPUT_H
