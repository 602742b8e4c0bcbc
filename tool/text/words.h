// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_TEXT_WORDS_H
#define AMF2JSON_TOOL_TEXT_WORDS_H

#include <cstdint>
#include <string>

// "1 byte", "2 bytes".
inline std::string words(std::uint64_t number, const char* one, const char* more) {
  return std::to_string(number) + " " + (number == 1 ? one : more);
}

// The same for a word that takes an s.
inline std::string words(std::uint64_t number, const std::string& one) {
  return words(number, one.c_str(), (one + "s").c_str());
}

#endif  // AMF2JSON_TOOL_TEXT_WORDS_H
