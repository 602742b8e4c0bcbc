// SPDX-License-Identifier: Apache-2.0
//
// The "type" line that each kind of node gets.
#pragma once

#include <cstring>

#include "AMF2JSON.h"

namespace amf2json::render {

// In a fixed stretch that is copied whole.
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

// Kinds 0 to 14. Undefined has none.
inline constexpr TypeLine kTypeLines[] = {
    typeLine("null"),     typeLine("boolen"),  // Kept: so spelled.
    typeLine("integer"),  typeLine("double"), typeLine("string"), typeLine("object"),
    typeLine("date"),     typeLine("xml"),    typeLine("array"),  typeLine("bytearray"),
    typeLine("property"), TypeLine{},         typeLine("header"), typeLine("message"),
    typeLine("package")};

inline char* putTypeLine(char* to, AMFNode::AMFType kind) {
  std::memcpy(to, kTypeLines[kind].text, sizeof kTypeLines[kind].text);
  return to + kTypeLines[kind].size;
}

}  // namespace amf2json::render
