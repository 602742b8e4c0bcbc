// SPDX-License-Identifier: Apache-2.0
#include "tool/output/highlight.h"

#include <cstddef>

namespace {

constexpr const char* kName = "\033[1;34m";
constexpr const char* kString = "\033[32m";
constexpr const char* kNumber = "\033[36m";
constexpr const char* kWord = "\033[35m";
constexpr const char* kReset = "\033[0m";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// End of the string that begins at `begin`: behind the quote that closes it.
std::size_t endOfString(std::string_view text, std::size_t begin) {
  for (std::size_t i = begin + 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i + 1;
    }
  }
  return text.size();
}

std::size_t endOfWord(std::string_view text, std::size_t begin) {
  std::size_t i = begin + 1;
  while (i < text.size() && (isLetter(text[i]) || isDigit(text[i]) || text[i] == '.' ||
                             text[i] == '+' || text[i] == '-')) {
    ++i;
  }
  return i;
}

const char* colorOfString(std::string_view text, std::size_t end) {
  return text.substr(end, 1) == ":" || text.substr(end, 2) == " :" ? kName : kString;
}

const char* colorOfWord(std::string_view word) {
  if (isDigit(word[0]) || word[0] == '-') return kNumber;
  return word == "true" || word == "false" || word == "null" ? kWord : nullptr;
}

}  // namespace

void highlight(std::string_view text, const Sink& put, const Sink& putCode) {
  std::size_t plain = 0;  // begin of what has no colour and was not put yet
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i + 1;
    const char* color = nullptr;
    if (text[i] == '"') {
      end = endOfString(text, i);
      color = colorOfString(text, end);
    } else if (isLetter(text[i]) || isDigit(text[i]) || text[i] == '-') {
      end = endOfWord(text, i);
      color = colorOfWord(text.substr(i, end - i));
    }
    if (color != nullptr) {
      put(text.substr(plain, i - plain));
      putCode(color);
      put(text.substr(i, end - i));
      putCode(kReset);
      plain = end;
    }
    i = end;
  }
  put(text.substr(plain));
}
