// SPDX-License-Identifier: Apache-2.0
//
// Bracketed blocks in the JSON text: indentation, pending closers, commas, soft breaks.
// Tested by tests/render_brackets_test.cpp.
#include "AMF2JSON.h"

namespace {

constexpr std::uint32_t kSoftBreakEvery = 500;

}  // namespace

void AMFProtocol::openBrackets(char open, char close) {
  textsBlank = false;
  breakSoftly();
  jsonText += indent;
  jsonText += open;
  jsonText += newLine;
  indent += indentUnit;
  closerStack += close;
}

void AMFProtocol::closeBrackets() {
  textsBlank = false;
  if (!indent.empty()) indent.erase(0, 1);  // Kept: one character, not one unit.
  // The comma behind the last member of the block.
  if (jsonText.size() > newLine.size()) {
    const std::size_t last = jsonText.size() - 1 - newLine.size();
    if (jsonText[last] == ',') jsonText.erase(last, 1);
  }
  if (closerStack.empty()) return;
  const char closer = closerStack.back();
  if (closerStack.size() == 1) {
    jsonText += closer;  // the outermost block: no comma and no line end
  } else {
    jsonText += indent;
    jsonText += closer;
    jsonText += ',';
    jsonText += newLine;
  }
  closerStack.pop_back();
}

// At most one line feed for every 500 bytes of text, wherever a block opens or a member begins.
// Kept: in the pretty layout too. The product wraps at 32 bits; a negative one gives no break.
void AMFProtocol::breakSoftly() {
  const auto mark =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(lineBreakCount) * kSoftBreakEvery);
  if (static_cast<std::size_t>(mark) > jsonText.size()) return;
  jsonText += '\n';
  lineBreakCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(lineBreakCount) + 1);
}
