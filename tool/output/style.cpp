// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/terminal_test.cpp.
#include "tool/output/style.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tool/port/platform.h"
#include "tool/text/printable.h"

namespace {

bool isColored(int descriptor, Color color) {
  if (color != Color::automatic) return color == Color::always;
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
  throw usageProblem(
      "packets are binary and not written to a terminal; -o FILE writes a file, --to hex "
      "a text, --force the bytes");
}

// ---- Colours

namespace {

constexpr const char* kName = "\033[1;34m";
constexpr const char* kString = "\033[32m";
constexpr const char* kNumber = "\033[36m";
constexpr const char* kWord = "\033[35m";
constexpr const char* kReset = "\033[0m";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// The end of the string that begins at `begin`, after the closing quote.
std::size_t endOfString(std::string_view text, std::size_t begin) {
  for (std::size_t i = begin + 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i + 1;
    }
  }
  return text.size();
}

std::size_t endOfWord(std::string_view text, std::size_t begin) {
  std::size_t i = begin + 1;
  while (i < text.size() && (isLetter(text[i]) || isDigit(text[i]) || text[i] == '.' ||
                             text[i] == '+' || text[i] == '-')) {
    ++i;
  }
  return i;
}

const char* colorOfString(std::string_view text, std::size_t end) {
  return text.substr(end, 1) == ":" || text.substr(end, 2) == " :" ? kName : kString;
}

const char* colorOfWord(std::string_view word) {
  if (isDigit(word[0]) || word[0] == '-') return kNumber;
  return word == "true" || word == "false" || word == "null" ? kWord : nullptr;
}

// Colours names, strings, numbers and words of JSON or JavaScript. Passes the text to `put` in
// pieces, and the escape sequences around coloured pieces to `putCode`.
void highlight(std::string_view text, const Sink& put, const Sink& putCode) {
  std::size_t plain = 0;  // begin of the text that was not passed on yet
  for (std::size_t i = 0; i < text.size();) {
    std::size_t end = i + 1;
    const char* color = nullptr;
    if (text[i] == '"') {
      end = endOfString(text, i);
      color = colorOfString(text, end);
    } else if (isLetter(text[i]) || isDigit(text[i]) || text[i] == '-') {
      end = endOfWord(text, i);
      color = colorOfWord(text.substr(i, end - i));
    }
    if (color != nullptr) {
      put(text.substr(plain, i - plain));
      putCode(color);
      put(text.substr(i, end - i));
      putCode(kReset);
      plain = end;
    }
    i = end;
  }
  put(text.substr(plain));
}

}  // namespace

// ---- Texts on their way out

namespace {

// Buffers small pieces.
class PieceBuffer {
 public:
  explicit PieceBuffer(const Sink& next) : sink(next) {}
  void put(std::string_view piece) {
    if (joined.size() + piece.size() > kBlock) flush();
    if (piece.size() > kBlock) return sink(piece);
    joined += piece;
  }
  // Splits the text between two characters.
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

void writeStyled(const FileResult& result, const TextStyle& style, const Sink& sink) {
  const bool color = style.color && result.isJSON;
  if (result.isBinary || (!style.printable && !color)) return sink(result.text);
  PieceBuffer joiner(sink);
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
