// SPDX-License-Identifier: Apache-2.0
#include "tool/text/printable.h"

#include <cstddef>
#include <cstdint>

#include "tool/text/hex.h"
#include "tool/text/utf8.h"

namespace {

// Characters that change the order or the line in which a terminal shows the following text.
bool reorders(std::uint32_t code) {
  return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2066 && code <= 0x2069);
}

bool isControl(std::uint32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

std::string escaped(std::string_view text, std::string_view kept) {
  std::string safe;
  safe.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    const std::string_view bytes = text.substr(i, character.length);
    const bool isSafe =
        character.isValid && !isControl(character.code) && !reorders(character.code);
    if (isSafe || kept.find(bytes) != std::string_view::npos) {
      safe += bytes;
    } else {
      for (const char byte : bytes) safe += "\\x" + hexByte(byte);
    }
    i += character.length;
  }
  return safe;
}

}  // namespace

std::string printable(std::string_view text) {
  return escaped(text, "");
}

std::string printableLines(std::string_view text) {
  return escaped(text, "\n\t");
}

// ---- In quotes

namespace {

// Puts a backslash before each of the `marked` characters.
std::string withBackslashes(std::string_view bytes, std::string_view marked) {
  std::string text;
  for (const char byte : bytes) {
    if (marked.find(byte) != std::string_view::npos) text += '\\';
    text += byte;
  }
  return text;
}

bool needsNoShellQuotes(const std::string& word) {
  constexpr std::string_view kPlain =
      "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz%+,-./:=@_";
  return !word.empty() && word.find_first_not_of(kPlain) == std::string::npos;
}

}  // namespace

std::string quoteForDisplay(std::string_view bytes, std::size_t maxBytes) {
  constexpr std::string_view kMarked = "\"\\";
  if (bytes.size() <= maxBytes) return '"' + printable(withBackslashes(bytes, kMarked)) + '"';
  std::size_t shown = maxBytes;  // reduced below, so that no character is split
  while (shown > 0 && maxBytes - shown < 3 && (bytes[shown] & 0xC0) == 0x80) --shown;
  return '"' + printable(withBackslashes(bytes.substr(0, shown), kMarked)) + "\"... (" +
         std::to_string(bytes.size()) + " bytes)";
}

std::string quoteForShell(const std::string& name) {
  const std::string file = name.size() > 1 && name[0] == '-' ? "./" + name : name;
  if (needsNoShellQuotes(file)) return file;
  if (printable(file) != file) return "$'" + printable(withBackslashes(file, "'\\")) + '\'';
  std::string word = "'";
  for (const char c : file) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + '\'';
}
