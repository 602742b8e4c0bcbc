// SPDX-License-Identifier: Apache-2.0
//
// Words and lines of messages and help.
#ifndef AMF2JSON_TOOL_TEXT_WORDS_H
#define AMF2JSON_TOOL_TEXT_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// "1 byte", "2 bytes".
inline std::string pluralize(std::uint64_t number, const char* one, const char* more) {
  return std::to_string(number) + " " + (number == 1 ? one : more);
}

// The same for a noun with the plural -s.
inline std::string pluralize(std::uint64_t number, const std::string& one) {
  return pluralize(number, one.c_str(), (one + "s").c_str());
}

std::string joined(const std::vector<std::string>& words, const char* separator = " ");

// Changes ASCII letters only.
std::string lowerCase(std::string text);

// "; did you mean 'decode'?". If no known word is similar: "; there are decode, check" for a short
// list, else nothing.
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

// Wraps paragraphs to lines of up to `width` bytes. Lines that begin with a space are kept.
std::string wordWrap(std::string_view text, std::size_t width);

#endif  // AMF2JSON_TOOL_TEXT_WORDS_H
