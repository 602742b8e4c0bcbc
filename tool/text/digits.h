// SPDX-License-Identifier: Apache-2.0
//
// Digits of hexadecimal and base64. Tested by tests/tool/unwrap_test.cpp and tests/tool/export_test.cpp.
#ifndef AMF2JSON_TOOL_TEXT_DIGITS_H
#define AMF2JSON_TOOL_TEXT_DIGITS_H

#include <string_view>

constexpr std::string_view kHexDigits = "0123456789ABCDEFabcdef";
constexpr std::string_view kBase64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// 0 to 15; -1: not a digit.
constexpr int hexValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

// 0 to 63, of both alphabets; -1: not a digit.
constexpr int base64Value(char digit) {
  if (digit >= 'A' && digit <= 'Z') return digit - 'A';
  if (digit >= 'a' && digit <= 'z') return digit - 'a' + 26;
  if (digit >= '0' && digit <= '9') return digit - '0' + 52;
  if (digit == '+' || digit == '-') return 62;
  return digit == '/' || digit == '_' ? 63 : -1;
}

#endif  // AMF2JSON_TOOL_TEXT_DIGITS_H
