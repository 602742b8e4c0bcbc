// SPDX-License-Identifier: Apache-2.0
//
// Messages and help in words.
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

// The same for a word that takes an s.
inline std::string pluralize(std::uint64_t number, const std::string& one) {
  return pluralize(number, one.c_str(), (one + "s").c_str());
}

std::string joined(const std::vector<std::string>& words, const char* separator = " ");

// ASCII letters alone change.
std::string lowerCase(std::string text);

// "; did you mean 'decode'?". Where nothing known is near, "; there are decode, check" if that is a
// short list, else nothing.
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

// Paragraphs in lines of up to `width` bytes. Lines that begin with a space stay as they are.
std::string wordWrap(std::string_view text, std::size_t width);

#endif  // AMF2JSON_TOOL_TEXT_WORDS_H
