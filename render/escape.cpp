// SPDX-License-Identifier: Apache-2.0
//
// The three escaping rules. They differ on purpose; none may be replaced by a general escaper.
// Tested by tests/render_escape_test.cpp.
#include "render/escape.h"

#include <array>
#include <cstdint>

#include "AMF2JSON.h"

namespace {

enum Class : std::uint8_t { kPlain, kControl, kBackslashOrSlash, kQuote };

constexpr std::array<Class, 256> makeClasses() {
  std::array<Class, 256> classes{};
  for (const char control : {'\b', '\f', '\n', '\r', '\t'}) {
    classes[static_cast<unsigned char>(control)] = kControl;
  }
  classes['\\'] = kBackslashOrSlash;
  classes['/'] = kBackslashOrSlash;
  classes['"'] = kQuote;
  return classes;
}
constexpr std::array<Class, 256> kClasses = makeClasses();

Class classOf(char byte) {
  return kClasses[static_cast<unsigned char>(byte)];
}

// The bytes that want no treatment go out in stretches; `treat` gets the others.
template <class IsPlain, class Treat>
void appendTreated(std::string& out, std::string_view text, IsPlain isPlain, Treat treat) {
  const char* stretch = text.data();
  const char* const end = stretch + text.size();
  for (const char* at = stretch; at != end; ++at) {
    const Class kind = classOf(*at);
    if (isPlain(kind)) continue;
    out.append(stretch, at);
    treat(kind, *at);
    stretch = at + 1;
  }
  out.append(stretch, end);
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

void appendJsonEscaped(std::string& out, std::string_view text) {
  appendTreated(
      out, text, [](Class kind) { return kind == kPlain; },
      [&out](Class kind, char byte) {
        out += kind == kQuote ? "\\\\\\" : "\\";
        out += byte;  // Kept: a control byte stays raw behind its backslash.
      });
}

void appendScriptEscaped(std::string& out, std::string_view text) {
  appendTreated(
      out, text, [](Class kind) { return kind == kPlain || kind == kBackslashOrSlash; },
      [&out](Class kind, char) {
        if (kind == kQuote) out += "\\\"";  // Kept: the others are dropped; backslashes pass.
      });
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
