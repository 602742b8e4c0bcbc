// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/json_line_test.cpp. A JSON library's writer may write DEL and bytes that are not
// UTF-8 unchanged.
#include "tool/text/json_line.h"

#include <algorithm>
#include <cstdio>

#include "tool/text/utf8.h"

namespace {

std::string unicodeEscape(std::uint32_t unit) {
  char text[7];
  std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(unit & 0xFFFF));
  return text;
}

std::string escaped(std::uint32_t code) {
  constexpr std::string_view kMarked = "\"\\\b\f\n\r\t", kLetters = "\"\\bfnrt";
  if (code < 0x7F) {
    const char plain = static_cast<char>(code);
    const std::size_t marked = kMarked.find(plain);
    if (marked != std::string_view::npos) return {'\\', kLetters[marked]};
    if (code >= 0x20) return {plain};
  }
  if (code < 0x10000) return unicodeEscape(code);
  return unicodeEscape(0xD7C0 + (code >> 10)) + unicodeEscape(0xDC00 + (code & 0x3FF));
}

std::string quotedJson(std::string_view text) {
  std::string json = "\"";
  for (std::size_t i = 0; i < text.size();) {
    const Character character = characterAt(text, i);
    json += escaped(character.code);
    i += character.length;
  }
  return json + '"';
}

}  // namespace

void JsonLine::setValue(std::string_view name, std::string json) {
  std::string quotedName = quotedJson(name);
  const auto known = std::find_if(members.begin(), members.end(),
                                  [&](const auto& member) { return member.first == quotedName; });
  if (known != members.end()) {
    known->second = std::move(json);
  } else {
    members.emplace_back(std::move(quotedName), std::move(json));
  }
}

void JsonLine::set(const char* name, std::nullptr_t) {
  setValue(name, "null");
}

void JsonLine::set(const char* name, std::uint64_t value) {
  setValue(name, std::to_string(value));
}

void JsonLine::set(const char* name, std::string_view value) {
  setValue(name, quotedJson(value));
}

void JsonLine::set(const char* name, const std::vector<const char*>& values) {
  std::string json;
  for (const char* const value : values) json += (json.empty() ? "" : ",") + quotedJson(value);
  setValue(name, "[" + json + "]");
}

std::string JsonLine::text() const {
  std::string json;
  for (const auto& [name, value] : members) json += (json.empty() ? "" : ",") + name + ":" + value;
  return "{" + json + "}";
}
