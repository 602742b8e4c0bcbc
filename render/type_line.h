// SPDX-License-Identifier: Apache-2.0
//
// The "type" line that each kind of node gets.
#pragma once

#include <cstring>

#include "AMF2JSON.h"

namespace amf2json::render {

// The text is in an array of fixed size, which is copied whole.
struct TypeLine {
  char text[24];
  std::size_t size;
};

template <std::size_t Size>
constexpr TypeLine typeLine(const char (&name)[Size]) {
  TypeLine line{R"("type" : ")", 10};
  for (std::size_t i = 0; i + 1 < Size; ++i) line.text[line.size++] = name[i];
  line.text[line.size++] = '"';
  line.text[line.size++] = ',';
  return line;
}

// For kinds 0 to 14. Undefined has no type line.
inline constexpr TypeLine kTypeLines[] = {
    typeLine("null"),     typeLine("boolen"),  // Kept: this spelling.
    typeLine("integer"),  typeLine("double"), typeLine("string"), typeLine("object"),
    typeLine("date"),     typeLine("xml"),    typeLine("array"),  typeLine("bytearray"),
    typeLine("property"), TypeLine{},         typeLine("header"), typeLine("message"),
    typeLine("package")};

inline char* putTypeLine(char* to, AMFNode::AMFType kind) {
  std::memcpy(to, kTypeLines[kind].text, sizeof kTypeLines[kind].text);
  return to + kTypeLines[kind].size;
}

}  // namespace amf2json::render
