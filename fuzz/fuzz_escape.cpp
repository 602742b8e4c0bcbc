// SPDX-License-Identifier: Apache-2.0
//
// Property: what the escaping operations write is what the plain renderer writes, and parsed back
// strictly it is the text they were given. A text that went through escapeForViews stays a string
// and reads back as it was, whatever it holds.
//
// Input: a byte of flags, the text. The two highest flags put letters before it, so that it
// is where long texts get soft breaks and are cut into pieces.
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include "fuzz/input.h"
#include "support/plain_renderer.h"

namespace {

using fuzz::require;

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

std::string without(const std::string& text, const char* bytes) {
  std::string out;
  for (const char c : text) {
    if (c == '\0' || !std::strchr(bytes, c)) out += c;
  }
  return out;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
  return text;
}

// ---- formatString

// The string between quotes that a script reads from `literal`.
std::string readLiteral(const std::string& literal) {
  std::string out;
  for (std::size_t i = 0; i < literal.size(); ++i) {
    require(static_cast<unsigned char>(literal[i]) >= 0x20, "control byte in a literal");
    require(literal[i] != '"', "bare quote in a literal");
    if (literal[i] != '\\') {
      out += literal[i];
      continue;
    }
    require(++i < literal.size(), "literal ends in a backslash");
    if (literal[i] == '\\' || literal[i] == '"') {
      out += literal[i];
      continue;
    }
    require(literal[i] == 'x' && i + 2 < literal.size(), "escape");
    out += static_cast<char>(std::stoi(literal.substr(i + 1, 2), nullptr, 16));
    i += 2;
  }
  return out;
}

void checkFormatString(std::string text) {
  const std::string before = text;
  const std::string kept = formatString(text, false);
  const std::string dropped = formatString(text, true);
  require(text == before, "the text is only read");
  require(kept == support::plainFormatString(text, false), "formatString");
  require(dropped == support::plainFormatString(text, true), "formatString, dropping");
  require(readLiteral(kept) == text, "reads back");
  require(kept.find("/*") == std::string::npos && kept.find("*/") == std::string::npos,
          "no comment marks");
  std::string printable;
  for (const char c : text) {
    if (c >= ' ') printable += c;
  }
  require(readLiteral(dropped) == printable, "reads back what is kept");
}

// ---- Lines and statements

struct Flags {
  bool quote, named, jsonOnly, both, temporaries, pretty;
};

template <class Renderer>
void prepare(Renderer& renderer, const Flags& flags) {
  renderer.jsonText.clear();
  renderer.scriptText.clear();
  renderer.newLine = flags.pretty ? "\n" : "";
  renderer.indentUnit = renderer.indent = flags.pretty ? "\t" : "";
  renderer.jsonOnly = flags.jsonOnly;
  renderer.jsonAndScript = flags.both;
  renderer.useTemporaries = flags.temporaries;
  renderer.CreatePrefix();
  renderer.jsonText = "\"value\" : " + renderer.newLine;
}

// What stands in `text` between its first `begin` and the `end` that it must end with.
std::string between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t at = text.find(begin);
  require(at != std::string::npos, "beginning");
  const std::size_t from = at + begin.size();
  require(text.size() >= from + end.size(), "length");
  require(text.compare(text.size() - end.size(), end.size(), end) == 0, "end");
  return text.substr(from, text.size() - end.size() - from);
}

// The member line is never left: each byte after a backslash is taken as it is.
void checkAttr(const std::string& text, const Flags& flags) {
  AMFProtocol library;
  support::PlainRenderer plain;
  prepare(library, flags);
  prepare(plain, flags);
  library.appendAttr("name", text, flags.quote);
  plain.appendAttr("name", text, flags.quote);
  library.appendJSAttr("name", text, flags.quote);
  plain.appendJSAttr("name", text, flags.quote);
  require(support::stateDifference(plain, library).empty(), "attributes");
  if (!flags.quote) return;

  const std::string line = between(library.jsonText, "\"name\" : \"", "\"," + library.newLine);
  std::string read;
  for (std::size_t i = 0; i < line.size(); ++i) {
    require(line[i] != '"', "bare quote in a member line");
    if (line[i] == '\\') require(++i < line.size(), "member line ends in a backslash");
    read += line[i];
  }
  require(read == replaced(text, "\"", "\\\""), "member line reads back");

  const std::string statement = between(library.scriptText, ".name = \"", "\";\n");
  require(statement == replaced(without(text, "\b\f\n\r\t"), "\"", "\\\""), "statement");
}

void checkValue(const std::string& text, const Flags& flags) {
  AMFProtocol library;
  support::PlainRenderer plain;
  prepare(library, flags);
  prepare(plain, flags);
  library.appendValue(text, flags.quote, flags.named);
  plain.appendValue(text, flags.quote, flags.named);
  require(support::stateDifference(plain, library).empty(), "values");
}

// ---- Prepared texts

std::size_t characterAt(const std::string& text, std::size_t at) {  // 0: none begins here
  const auto byte = [&](std::size_t i) -> unsigned {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
  };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  const std::size_t length = first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF7) return 0;
  unsigned code = first & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(i) & 0x3F);
  }
  static const unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code < 0xE000;
  return code < kLeast[length] || code > 0x10FFFF || surrogate ? 0 : length;
}

// The characters of a text, without those that replace broken ones. Counts what is broken.
std::string sound(const std::string& text, std::size_t& broken) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = characterAt(text, at);
    if (length == 0) {
      ++broken;
      ++at;
      continue;
    }
    if (text.compare(at, length, kReplacement) != 0) out += text.substr(at, length);
    at += length;
  }
  return out;
}

char following(unsigned bits) {
  return static_cast<char>(0x80 | (bits & 0x3F));
}

std::string utf8(unsigned code) {
  if (code < 0x80) return {static_cast<char>(code)};
  if (code < 0x800) return {static_cast<char>(0xC0 | code >> 6), following(code)};
  if (code < 0x10000)
    return {static_cast<char>(0xE0 | code >> 12), following(code >> 6), following(code)};
  return {static_cast<char>(0xF0 | code >> 18), following(code >> 12), following(code >> 6),
          following(code)};
}

unsigned unitAt(const std::string& string, std::size_t at) {
  require(string.compare(at, 2, "\\u") == 0 && string.size() >= at + 6, "escape");
  return static_cast<unsigned>(std::stoul(string.substr(at + 2, 4), nullptr, 16));
}

// As a JSON parser and a script read it; refuses what may not stand in it as it is.
std::string readStrictly(const std::string& string, AMFEscapeFor view) {
  const char* const escaped = view == AMFEscapeFor::json ? "<\"\x7F" : "<\"\x7F&'>";
  std::string out;
  for (std::size_t i = 0; i < string.size(); ++i) {
    const auto byte = static_cast<unsigned char>(string[i]);
    require(byte >= 0x20 && !std::strchr(escaped, string[i]), "raw byte");
    require(byte < 0x80 || view == AMFEscapeFor::json, "not ASCII");
    if (byte != '\\') {
      out += string[i];
      continue;
    }
    const char next = i + 1 < string.size() ? string[i + 1] : '\0';
    if (next == '\\' || next == '"') {
      out += string[++i];
      continue;
    }
    unsigned code = unitAt(string, i);
    i += 5;
    if (code >= 0xD800 && code < 0xE000) {
      const unsigned second = unitAt(string, i + 1);
      require(code < 0xDC00 && second >= 0xDC00 && second < 0xE000, "pair");
      code = 0x10000 + ((code & 0x3FF) << 10 | (second & 0x3FF));
      i += 6;
    }
    out += utf8(code);
  }
  for (const char* const unseen : {"\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAE", "\xD8\x9C"})
    require(string.find(unseen) == std::string::npos, "a character that nobody sees");
  return out;
}

void checkPrepared(const std::string& text, bool pretty, AMFEscapeFor view) {
  AMFString node(AMF_VERSION_0);
  node.setValue(text.data(), static_cast<unsigned>(text.size()));
  escapeForViews(&node, view);
  AMFProtocol library;
  prepare(library, {true, true, false, false, false, pretty});
  library.jsonText.clear();
  library.appendNode(&node, AMF_VERSION_0);
  // A bare string takes the place after the line it stands on, and has no name of its own.
  const std::string json = between(library.jsonText, "\"", "\"," + library.newLine);
  const std::string script = between(library.scriptText, "amf = \"", "\";\n");
  require(json == script, "the same in both texts");
  const std::string read = readStrictly(json, view);
  std::size_t broken = 0, brokenLeft = 0;
  require(sound(read, brokenLeft) == sound(text, broken), "reads back as it was");
  require(brokenLeft == 0, "broken characters are replaced");
  require(broken != 0 || read == text, "a sound text is not changed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::uint8_t bits = input.u8();
  const bool isLong = (bits & 0xC0) == 0xC0;
  const std::string text = std::string(isLong ? 395 : 0, 'l') + input.rest();
  const Flags flags = {(bits & 1) != 0, (bits & 2) != 0,  (bits & 4) != 0,
                       (bits & 8) != 0, (bits & 16) != 0, (bits & 32) != 0};
  checkFormatString(text);
  checkAttr(text, flags);
  checkValue(text, flags);
  checkPrepared(text, flags.pretty, AMFEscapeFor::script);
  checkPrepared(text, flags.pretty, AMFEscapeFor::json);
  return 0;
}
