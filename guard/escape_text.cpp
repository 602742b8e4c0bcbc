// SPDX-License-Identifier: Apache-2.0
//
// The two rules for strings: which characters become \uXXXX. Bytes that are not UTF-8 become
// U+FFFD. Enter at escapedText. Tested by tests/guard/escape_test.cpp.
#include "guard/escape_text.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "base/eight_bytes.h"

using namespace amf2json;

namespace {

using Byte = unsigned char;

// ---- UTF-8 -------------------------------------------------------------------------------------

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

struct LeadByte {
  std::size_t length;  // of the sequence; 0 if this byte begins none
  Byte secondFrom;     // range of the second byte: no overlong forms, no surrogates,
  Byte secondTo;       // nothing above U+10FFFF
};

LeadByte leadByte(Byte byte) {
  if (byte < 0x80) return {1, 0, 0};
  if (byte < 0xC2) return {0, 0, 0};
  if (byte < 0xE0) return {2, 0x80, 0xBF};
  if (byte < 0xF0)
    return {3, byte == 0xE0 ? Byte{0xA0} : Byte{0x80}, byte == 0xED ? Byte{0x9F} : Byte{0xBF}};
  if (byte < 0xF5)
    return {4, byte == 0xF0 ? Byte{0x90} : Byte{0x80}, byte == 0xF4 ? Byte{0x8F} : Byte{0xBF}};
  return {0, 0, 0};
}

struct Character {
  std::size_t length;  // bytes taken, 1 or more
  bool valid;          // false: the longest valid beginning of an invalid sequence
};

Character firstCharacter(std::string_view text) {
  const auto at = [text](std::size_t i) { return static_cast<Byte>(text[i]); };
  const LeadByte lead = leadByte(at(0));
  if (lead.length == 0) return {1, false};
  for (std::size_t i = 1; i < lead.length; ++i) {
    const Byte from = i == 1 ? lead.secondFrom : Byte{0x80};
    const Byte to = i == 1 ? lead.secondTo : Byte{0xBF};
    if (i == text.size() || at(i) < from || at(i) > to) return {i, false};
  }
  return {lead.length, true};
}

// The code of one valid character: 1 to 4 bytes hold 7, 11, 16 or 21 bits.
std::uint32_t codeOf(std::string_view character) {
  static constexpr Byte kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
  std::uint32_t code = static_cast<Byte>(character[0]) & kLeadBits[character.size()];
  for (const char byte : character.substr(1)) code = code << 6 | (static_cast<Byte>(byte) & 0x3F);
  return code;
}

// ---- The rules ---------------------------------------------------------------------------------

// Both rules copy plain bytes, and test all others character by character. The views write a
// backslash before a quote.

// For JSON parsers. Invisible characters, and those that change the direction of text, are escaped,
// too.
struct JSONRule {
  static bool isPlain(char c) { return c >= 0x20 && c < 0x7F && c != '<' && c != '\\'; }
  static bool isPlain(std::uint64_t word) {
    return isEach(isAtLeast(word, 0x20) & isNot(word, 0x7F) & isNot(word, '<') & isNot(word, '\\') &
                  ~word);
  }
  // Called for a character that is not plain.
  static bool isEscaped(std::uint32_t code) {
    return code < 0xA0 || code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) ||  // two line separators, five direction controls
           (code >= 0x2066 && code <= 0x2069);
  }
};

// For scripts anywhere in a page. Escapes control characters, each character with a meaning in HTML
// or XML, both kinds of quotes, and all characters above U+007F. The bytes of these last ones
// have other meanings in other encodings.
struct ScriptRule {
  static bool isPlain(char c) {
    return c >= 0x20 && c < 0x7F && c != '"' && c != '&' && c != '\'' && c != '<' && c != '>' &&
           c != '\\';
  }
  static bool isPlain(std::uint64_t word) {
    return isEach(isAtLeast(word, 0x20) & isNot(word, 0x7F) & isNot(word, '"') & isNot(word, '&') &
                  isNot(word, '\'') & isNot(word, '<') & isNot(word, '>') & isNot(word, '\\') &
                  ~word);
  }
  static bool isEscaped(std::uint32_t) { return true; }
};

// ---- Texts -------------------------------------------------------------------------------------

template <class Rule>
std::size_t plainLength(std::string_view text) {
  std::size_t i = 0;
  for (std::uint64_t word; text.size() - i >= sizeof word; i += sizeof word) {
    std::memcpy(&word, text.data() + i, sizeof word);
    if (!Rule::isPlain(word)) break;
  }
  while (i < text.size() && Rule::isPlain(text[i])) ++i;
  return i;
}

void appendUnit(std::string& out, std::uint32_t unit) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  const char escape[] = {'\\',
                         'u',
                         kDigits[unit >> 12],
                         kDigits[unit >> 8 & 0xF],
                         kDigits[unit >> 4 & 0xF],
                         kDigits[unit & 0xF]};
  out.append(escape, sizeof escape);
}

// A code beyond U+FFFF becomes a surrogate pair.
void appendEscape(std::string& out, std::uint32_t code) {
  if (code > 0xFFFF) {
    appendUnit(out, 0xD7C0 + (code >> 10));
    code = 0xDC00 | (code & 0x3FF);
  }
  appendUnit(out, code);
}

template <class Rule>
void appendCharacter(std::string& out, std::string_view character) {
  const std::uint32_t code = codeOf(character);
  if (code == '\\') {
    out += "\\\\";
  } else if (Rule::isEscaped(code)) {
    appendEscape(out, code);
  } else {
    out += character;
  }
}

template <class Rule>
std::string escaped(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8 + 8);
  for (;;) {
    const std::size_t plain = plainLength<Rule>(text);
    out += text.substr(0, plain);
    if (out.size() > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
    text.remove_prefix(plain);
    if (text.empty()) return out;
    const Character first = firstCharacter(text);
    appendCharacter<Rule>(out, first.valid ? text.substr(0, first.length) : kReplacement);
    text.remove_prefix(first.length);
  }
}

}  // namespace

bool guard::isPlainText(std::string_view text, AMFEscapeFor view) {
  const std::size_t plain =
      view == AMFEscapeFor::json ? plainLength<JSONRule>(text) : plainLength<ScriptRule>(text);
  return plain == text.size();
}

std::string guard::escapedText(std::string_view text, AMFEscapeFor view) {
  return view == AMFEscapeFor::json ? escaped<JSONRule>(text) : escaped<ScriptRule>(text);
}
