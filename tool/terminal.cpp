// SPDX-License-Identifier: Apache-2.0
#include "tool/terminal.h"

#include <cstdlib>
#include <cstring>

#include "tool/highlight.h"
#include "tool/platform.h"
#include "tool/printable.h"

namespace {

bool isColored(int descriptor, Color wanted) {
  if (wanted != Color::automatic) return wanted == Color::always;
  const char* const noColor = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return platform::isTerminal(descriptor) && (noColor == nullptr || *noColor == '\0') &&
         (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
}

}  // namespace

ReportStyle reportStyle(const Options& options) {
  return {options.errorFormat == ErrorFormat::json, isColored(platform::kErrors, options.color)};
}

TextStyle textStyle(const Options& options) {
  if (options.output != "-") return {false, options.color == Color::always};
  return {platform::isTerminal(platform::kOutput), isColored(platform::kOutput, options.color)};
}

void dress(FileResult& result, const TextStyle& style) {
  if (style.printable) result.text = printableLines(result.text);
  if (style.color && result.isJSON) result.text = highlighted(result.text);
}
