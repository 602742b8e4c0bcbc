// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_terminal_test.cpp.
#include "tool/output/terminal.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tool/output/highlight.h"
#include "tool/port/platform.h"
#include "tool/text/printable.h"

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

TextStyle textStyle(const Options& options, const Destination& destination) {
  const bool isTerminal = destination.isTerminal();
  const bool isColorWanted = options.color == Color::always ||
                             (isTerminal && isColored(destination.descriptor(), options.color));
  return {isTerminal, isColorWanted};
}

void refuseTerminal(const Destination& destination, const Options& options) {
  if (options.force || !destination.isTerminal()) return;
  throw Problem{kUsage, "usage",
                "packets are binary and not written to a terminal; -o FILE writes a file, --to hex "
                "a text, --force the bytes"};
}

namespace {

// Joins pieces to larger ones.
class Joiner {
 public:
  explicit Joiner(const Sink& next) : sink(next) {}
  void put(std::string_view piece) {
    if (joined.size() + piece.size() > kBlock) flush();
    if (piece.size() > kBlock) return sink(piece);
    joined += piece;
  }
  // In blocks that end between two characters.
  void putPrintable(std::string_view text) {
    while (!text.empty()) {
      std::size_t length = std::min(text.size(), kBlock);
      for (int back = 0; back < 3 && length < text.size() && isInside(text[length]); ++back) {
        --length;
      }
      put(printableLines(text.substr(0, length)));
      text.remove_prefix(length);
    }
  }
  void flush() {
    sink(joined);
    joined.clear();
  }

 private:
  static bool isInside(char byte) { return (byte & 0xC0) == 0x80; }

  static constexpr std::size_t kBlock = 65536;
  const Sink& sink;
  std::string joined;
};

}  // namespace

void dress(const FileResult& result, const TextStyle& style, const Sink& sink) {
  const bool color = style.color && result.isJSON;
  if (result.isBytes || (!style.printable && !color)) return sink(result.text);
  Joiner joiner(sink);
  const auto put = [&](std::string_view piece) {
    if (style.printable) return joiner.putPrintable(piece);
    joiner.put(piece);
  };
  if (color) {
    highlight(result.text, put, [&](std::string_view code) { joiner.put(code); });
  } else {
    put(result.text);
  }
  joiner.flush();
}
