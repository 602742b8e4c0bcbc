// SPDX-License-Identifier: Apache-2.0
#include "tool/terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "tool/printable.h"

bool isColored(int descriptor, Color wanted) {
  if (wanted != Color::automatic) return wanted == Color::always;
  const char* const noColor = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return (noColor == nullptr || *noColor == '\0') &&
         (terminal == nullptr || std::strcmp(terminal, "dumb") != 0) && ::isatty(descriptor) == 1;
}

ReportStyle reportStyle(const Options& options) {
  return {options.errorFormat == ErrorFormat::json, isColored(STDERR_FILENO, options.color)};
}

std::string fitForOutput(const std::string& text) {
  return ::isatty(STDOUT_FILENO) == 1 ? printableLines(text) : text;
}
