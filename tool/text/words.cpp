// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/manual_test.cpp.
#include "tool/text/words.h"

#include <algorithm>
#include <cstddef>

std::string joined(const std::vector<std::string>& words, const char* separator) {
  std::string line;
  for (const std::string& word : words) {
    if (&word != &words.front()) line += separator;
    line += word;
  }
  return line;
}

std::string lowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  return text;
}

// ---- Suggestions

namespace {

// The edit distance: characters to insert, delete, replace or swap with their neighbour.
std::size_t distanceOf(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> steps(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) steps[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) steps[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = steps[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
      }
    }
  }
  return steps[a.size()][b.size()];
}

}  // namespace

std::string didYouMean(const std::string& word, const std::vector<std::string>& known) {
  constexpr std::size_t kLongestWord = 64;  // longer words are not compared
  constexpr std::size_t kLongestList = 8;
  const std::string* nearest = nullptr;
  std::size_t shortest = std::max<std::size_t>(1, word.size() / 3) + 1;
  for (const std::string& candidate : known) {
    const bool isBeginning = !word.empty() && candidate.compare(0, word.size(), word) == 0;
    const std::size_t distance = isBeginning                  ? 1
                                 : word.size() > kLongestWord ? shortest
                                                              : distanceOf(word, candidate);
    if (distance >= shortest || distance >= candidate.size()) continue;
    shortest = distance;
    nearest = &candidate;
  }
  if (nearest != nullptr) return "; did you mean '" + *nearest + "'?";
  return known.size() <= kLongestList ? "; there are " + joined(known, ", ") : "";
}

// ---- Lines of limited width

namespace {

// Adds a word to the last line, or to a new line if it does not fit.
void addWord(std::string& text, std::string_view word, std::size_t width) {
  const std::size_t lineStart = text.rfind('\n') + 1;  // 0 if there is none
  const std::size_t used = text.size() - lineStart;
  if (used > 0) text += used + 1 + word.size() > width ? '\n' : ' ';
  text += word;
}

std::string_view takeUntil(std::string_view& text, char end) {
  const std::string_view piece = text.substr(0, text.find(end));
  text.remove_prefix(std::min(text.size(), piece.size() + 1));
  return piece;
}

}  // namespace

std::string wordWrap(std::string_view text, std::size_t width) {
  std::string lines;
  bool isInParagraph = false;
  while (!text.empty()) {
    std::string_view line = takeUntil(text, '\n');
    const bool isRunning = !line.empty() && line.front() != ' ';
    if (isInParagraph && !isRunning) lines += '\n';
    if (!isRunning) lines.append(line).append("\n");
    while (isRunning && !line.empty()) addWord(lines, takeUntil(line, ' '), width);
    isInParagraph = isRunning;
  }
  if (isInParagraph) lines += '\n';
  return lines;
}
