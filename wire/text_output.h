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

 private:
  void add(std::size_t length) {
    if (length > most - count) throw TextTooLong{};
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
    char* const before = at;
    character('"');
    if (withDollar) character('$');
    if (!writeEscaped(string)) {
      at = before;
      return false;
    }
    character('"');
    return true;
  }

 private:
  bool writeEscaped(const AMFWireString& string) {
    // Tests and copies eight bytes at once.
    const char* from = string.data;
    const char* const last = from + string.length;
    if (remaining() < string.length + 8) return writeEscapedSlowly(from, last);
    char* to = at;
    for (; last - from >= 8; from += 8, to += 8) {
      const std::uint64_t word = loadFew(from, 8);
      if (specialBytes(word) != 0) return writeEscapedSlowly(string.data, last);
      std::memcpy(to, &word, 8);
    }
    const auto rest = static_cast<std::size_t>(last - from);
    const std::uint64_t word = loadFewPlain(from, rest);
    if (specialBytes(word) != 0) return writeEscapedSlowly(string.data, last);
    if (kLowestFirst) {
      std::memcpy(to, &word, 8);
    } else {
      std::memcpy(to, from, rest);
    }
    at = to + rest;
    return true;
  }
  std::size_t remaining() const { return static_cast<std::size_t>(end - at); }
  void need(std::size_t length) const {
    if (remaining() < length) throw TextTooLong{};
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
  void escape(unsigned char byte);
  bool writeEscapedSlowly(const char* from, const char* last);

  char* begin;
  char* at;
  char* end;
};

}  // namespace amf2json::wire

#endif  // WIRE_TEXT_OUTPUT_H
