// SPDX-License-Identifier: Apache-2.0
//
// The constructor of Margin, and its growth. Tested by tests/render/brackets_test.cpp.
#include "render/margin.h"

namespace amf2json::render {

Margin::Margin(const std::string& newLine, const std::string& indent, const std::string& indentUnit)
    : lineEnd(newLine.size()),
      length(newLine.size() + indent.size()),
      unit(indentUnit),
      uniformCharacter(indentUnit.empty() ? indent[0] : indentUnit[0]) {
  isUniform = unit.size() <= 1 && indent.find_first_not_of(uniformCharacter) == std::string::npos;
  std::memset(inlineText, uniformCharacter, sizeof inlineText);
  if (length > capacity) reserve(length, 0);
  newLine.copy(text, lineEnd);
  indent.copy(text + lineEnd, indent.size());
}

void Margin::reserve(std::size_t size, std::size_t kept) {
  std::string larger(2 * size, uniformCharacter);
  larger.replace(0, kept, text, kept);
  heapText.swap(larger);
  text = &heapText[0];
  capacity = heapText.size();
}

}  // namespace amf2json::render
