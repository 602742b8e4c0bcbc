// SPDX-License-Identifier: Apache-2.0
//
// The three escaping rules. They differ on purpose; none may be replaced by a general escaper.
// Tested by tests/render_escape_test.cpp.
#include "render/escape.h"

#include <cstdint>

#include "AMF2JSON.h"

namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101u;
constexpr std::uint64_t kHighBits = 0x80 * kOnes;
constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::size_t kBlock = 4096;

// Whether none of eight bytes is a control byte or a quote. Each sum stays inside its byte.
bool isPlain(std::uint64_t word) {
  const std::uint64_t low = word & ~kHighBits;
  const std::uint64_t notControl = low + (0x80 - 0x20) * kOnes;
  const std::uint64_t notQuote = (low ^ '"' * kOnes) + 0x7F * kOnes;
  return (((notControl & notQuote) | word) & kHighBits) == kHighBits;
}

bool isControlToEscape(char byte) {
  return byte == '\b' || byte == '\f' || byte == '\n' || byte == '\r' || byte == '\t';
}

// Writes what one byte becomes, two bytes at most, and returns where the next one goes.
char* escapeForScript(char* to, char byte) {
  if (static_cast<unsigned char>(byte) > '"') {  // nearly all
    *to++ = byte;
    return to;
  }
  if (isControlToEscape(byte)) return to;  // Kept: dropped, not escaped.
  if (byte == '"') *to++ = '\\';           // Kept: backslashes pass as they are.
  *to++ = byte;
  return to;
}

char* escapeBlock(char* to, std::string_view text) {
  const char* from = text.data();
  const char* const end = from + text.size();
  for (; static_cast<std::size_t>(end - from) >= kWord; from += kWord) {
    std::uint64_t word;
    std::memcpy(&word, from, kWord);
    if (isPlain(word)) {
      std::memcpy(to, &word, kWord);
      to += kWord;
    } else {
      for (std::size_t i = 0; i < kWord; ++i) to = escapeForScript(to, from[i]);
    }
  }
  for (; from != end; ++from) to = escapeForScript(to, *from);
  return to;
}

void appendHexEscape(std::string& out, char byte) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  out += "\\x";
  out += kDigits[value >> 4];
  out += kDigits[value & 15];
}

}  // namespace

namespace render {

void appendJsonEscaped(TextOut& out, std::string_view text) {
  for (const char byte : text) {
    if (byte == '"') {
      out.append("\\\\\\");
    } else if (byte == '\\' || byte == '/' || isControlToEscape(byte)) {
      out.append('\\');
    }
    out.append(byte);  // Kept: a control byte stays raw behind its backslash.
  }
}

void appendScriptEscaped(TextOut& out, std::string_view text) {
  while (!text.empty()) {
    const std::string_view block = text.substr(0, kBlock);
    char* const start = out.room(2 * block.size());
    out.advance(static_cast<std::size_t>(escapeBlock(start, block) - start));
    text.remove_prefix(block.size());
  }
}

}  // namespace render

std::string formatString(std::string& text, bool dropControl) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char byte = text[i];
    const auto value = static_cast<unsigned char>(byte);
    const bool besideSlash =
        (i > 0 && text[i - 1] == '/') || (i + 1 < text.size() && text[i + 1] == '/');
    if (byte == '*' && besideSlash) {
      // Kept: judged by the bytes as given, so dropping one can make a comment mark after all.
      out += "\\x2A";  // neither opens nor closes a comment
    } else if (byte == '\\' || byte == '"') {
      out += '\\';
      out += byte;
    } else if (value < 0x20) {
      if (!dropControl) appendHexEscape(out, byte);
    } else if (value < 0x80 || !dropControl) {
      out += byte;  // Kept: dropping control bytes drops all bytes of multi-byte characters too.
    }
  }
  return out;
}
