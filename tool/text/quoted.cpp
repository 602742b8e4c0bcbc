// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_dump_test.cpp and tests/identify_test.cpp.
#include "tool/text/quoted.h"

#include "tool/text/printable.h"

namespace {

// A backslash in front of each of the characters `marked`.
std::string escaped(std::string_view bytes, std::string_view marked) {
  std::string text;
  for (const char byte : bytes) {
    if (marked.find(byte) != std::string_view::npos) text += '\\';
    text += byte;
  }
  return text;
}

bool isPlainInShells(const std::string& word) {
  constexpr std::string_view kPlain =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz%+,-./:=@_";
  return !word.empty() && word.find_first_not_of(kPlain) == std::string::npos;
}

}  // namespace

std::string quoted(std::string_view bytes, std::size_t most) {
  constexpr std::string_view kMarked = "\"\\";
  if (bytes.size() <= most) return '"' + printable(escaped(bytes, kMarked)) + '"';
  std::size_t shown = most;  // less, not to end inside a character
  while (shown > 0 && most - shown < 3 && (bytes[shown] & 0xC0) == 0x80) --shown;
  return '"' + printable(escaped(bytes.substr(0, shown), kMarked)) + "\"... (" +
         std::to_string(bytes.size()) + " bytes)";
}

std::string shellWord(const std::string& name) {
  const std::string file = name.size() > 1 && name[0] == '-' ? "./" + name : name;
  if (isPlainInShells(file)) return file;
  if (printable(file) != file) return "$'" + printable(escaped(file, "'\\")) + '\'';
  std::string word = "'";
  for (const char c : file) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + '\'';
}
