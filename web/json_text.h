// SPDX-License-Identifier: Apache-2.0
//
// Writes small JSON texts for core.js. Bytes that are not UTF-8 are written unchanged; JavaScript's TextDecoder
// replaces them.
#ifndef WEB_JSON_TEXT_H
#define WEB_JSON_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

class JsonText {
 public:
  void open(char bracket) {
    separate();
    out += bracket;
    isFirst = true;
  }
  void close(char bracket) {
    out += bracket;
    isFirst = false;
  }
  void key(std::string_view name) {
    text(name);
    out += ':';
    isFirst = true;  // no comma in front of the value
  }
  void text(std::string_view value) {
    separate();
    out += '"';
    for (const char c : value) put(c);
    out += '"';
  }
  void number(std::uint64_t value) {
    separate();
    out += std::to_string(value);
  }
  void word(const char* value) {  // true, false, null
    separate();
    out += value;
  }

  std::string out;

 private:
  void separate() {
    if (!isFirst) out += ',';
    isFirst = false;
  }
  void put(char c) {
    if (c == '"' || c == '\\') {
      (out += '\\') += c;
    } else if (static_cast<unsigned char>(c) >= 0x20) {
      out += c;
    } else {
      constexpr char kDigits[] = "0123456789abcdef";
      ((out += "\\u00") += kDigits[c >> 4 & 15]) += kDigits[c & 15];
    }
  }

  bool isFirst = true;
};

#endif  // WEB_JSON_TEXT_H
