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

std::string colored(const FileResult& result) {
  return result.isJSON ? highlighted(result.text) : result.text;
}

std::string fitForOutput(const FileResult& result, Color wanted) {
  const bool isPainted = isColored(platform::kOutput, wanted);
  if (!platform::isTerminal(platform::kOutput)) return isPainted ? colored(result) : result.text;
  FileResult safe = result;
  safe.text = printableLines(result.text);
  return isPainted ? colored(safe) : safe.text;
}
