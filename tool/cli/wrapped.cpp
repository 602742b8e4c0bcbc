// SPDX-License-Identifier: Apache-2.0
#include "tool/cli/wrapped.h"

#include <algorithm>

namespace {

// Adds a word to the last line, or to a new one if it is full.
void addWord(std::string& text, std::string_view word, std::size_t width) {
  const std::size_t lineStart = text.rfind('\n') + 1;  // 0 where there is none
  const std::size_t used = text.size() - lineStart;
  if (used > 0) text += used + 1 + word.size() > width ? '\n' : ' ';
  text += word;
}

std::string_view cutOff(std::string_view& text, char end) {
  const std::string_view piece = text.substr(0, text.find(end));
  text.remove_prefix(std::min(text.size(), piece.size() + 1));
  return piece;
}

}  // namespace

std::string wrapped(std::string_view text, std::size_t width) {
  std::string lines;
  bool isInParagraph = false;
  while (!text.empty()) {
    std::string_view line = cutOff(text, '\n');
    const bool isRunning = !line.empty() && line.front() != ' ';
    if (isInParagraph && !isRunning) lines += '\n';
    if (!isRunning) lines.append(line).append("\n");
    while (isRunning && !line.empty()) addWord(lines, cutOff(line, ' '), width);
    isInParagraph = isRunning;
  }
  if (isInParagraph) lines += '\n';
  return lines;
}
