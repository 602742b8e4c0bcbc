// SPDX-License-Identifier: Apache-2.0
//
// Script temporaries: a long value is defined as a numbered variable in `scriptPreamble`, which
// comes before the output. Both texts then contain the variable's name instead of the value. Tested
// by tests/render/value_test.cpp.
#include <algorithm>

#include "AMF2JSON.h"
#include "render/hex_text.h"
#include "render/number_text.h"
#include "render/writer.h"

namespace amf2json::render {

namespace {

constexpr std::int32_t kPieceSize = 400;
constexpr std::int32_t kPieceAndNameMax = 994;

// Returns where to cut a piece that would end at `end`: before the backslashes at its end, so that
// a backslash and what it escapes stay together.
std::size_t cutBefore(std::string_view text, std::size_t start, std::size_t end) {
  std::size_t cut = end;
  while (cut > start && text[cut - 1] == '\\') --cut;
  return cut;
}

// Appends the definition of a variable to `preamble`, in lines of about 400 bytes.
class Definition {
 public:
  // `length`: the number of bytes of the value, in all lines together.
  Definition(std::string& preamble, std::string_view variable, std::size_t length)
      : pieceSize(static_cast<std::size_t>(
            std::min(kPieceSize, kPieceAndNameMax - static_cast<std::int32_t>(variable.size())))),
        name(variable),
        ahead(length < kLongText ? 0 : kLongText),
        out(reserved(preamble, length + (length / pieceSize + 2) * lineMax() + ahead),
            preamble.size()) {
    out.append('\n');
  }

  // Kept: the first piece holds up to 401 bytes, and each piece reduces `remaining` by
  // `pieceSize`, whatever it really holds. So the last line can be empty, and bytes at the end can
  // be lost.
  void write(std::string_view text) {
    if (text.size() <= pieceSize) return writePiece(text);
    std::size_t start = 0;
    std::size_t end = pieceSize + 1;
    auto remaining = static_cast<std::int64_t>(text.size());
    do {
      const std::size_t cut = cutBefore(text, start, end);
      writePiece(text.substr(start, cut - start));
      remaining -= static_cast<std::int64_t>(pieceSize);
      start = cut;
      end = cut + pieceSize;
    } while (static_cast<std::int64_t>(pieceSize) < remaining);
    if (remaining > 0) writePiece(text.substr(start, pieceSize));
  }

  // The same for hexadecimal text. It contains no backslash, so no cut moves.
  void writeHex(std::string_view bytes, std::size_t length) {
    HexPieces pieces(bytes);
    const std::size_t lines = (length + pieceSize - 1) / pieceSize;
    for (std::size_t line = 0; line < lines; ++line) {
      const std::size_t count = line == 0 && lines > 1 ? pieceSize + 1 : pieceSize;
      out.moveTo(closeLine(pieces.put(openLine(count), count)));
    }
  }

 private:
  std::size_t lineMax() const { return name.size() + sizeof " += \"\"\n" + kSpill; }

  void writePiece(std::string_view piece) {
    out.moveTo(closeLine(put(openLine(piece.size()), piece)));
  }
  char* openLine(std::size_t length) {
    char* const to = put(out.reserve(length + lineMax() + ahead), name);
    if (!isFirstLine) return put(to, " += \"");
    isFirstLine = false;
    return put(to, " = \"");
  }
  static char* closeLine(char* to) { return put(to, "\"\n"); }

  // A short text grows as needed. A longer text also reserves space for the rest of the script at
  // once, because each reallocation would touch new memory for the whole text.
  static std::string& reserved(std::string& text, std::size_t count) {
    constexpr std::size_t kScriptMax = 1500000;
    const std::size_t needed = text.size() + count;
    if (needed > text.capacity()) text.reserve(needed <= kLongText ? needed : needed + kScriptMax);
    return text;
  }

  const std::size_t pieceSize;
  const std::string_view name;
  // For a long definition, each line reserves `ahead` bytes more than it needs. So the text grows
  // once for many lines.
  static constexpr std::size_t kLongText = 16384;
  const std::size_t ahead;
  bool isFirstLine = true;
  TextOut out;
};

constexpr std::string_view kVariable = "qxAmfTemporary";

struct VariableName {
  char text[32];
  std::size_t size;
  explicit VariableName(std::int32_t number) {
    char* to = text + kVariable.copy(text, kVariable.size());
    const auto digits = static_cast<std::uint32_t>(number);
    if (number < 0) *to++ = '-';  // a host may have set the counter
    to = putInteger(to, number < 0 ? 0 - digits : digits);
    size = static_cast<std::size_t>(to - text);
  }
  operator std::string_view() const { return {text, size}; }
};

}  // namespace

AMF2JSON_APART void Writer::defineTemporary(std::string_view text) {
  Definition(p.scriptPreamble, VariableName(nextTemporary()), text.size()).write(text);
}

AMF2JSON_APART void Writer::defineHexTemporary(std::string_view bytes) {
  const std::size_t length = hexLength(bytes);
  Definition(p.scriptPreamble, VariableName(nextTemporary()), length).writeHex(bytes, length);
}

std::int32_t Writer::nextTemporary() {
  const std::uint32_t number = static_cast<std::uint32_t>(p.temporaryCounter) + 1;
  return p.temporaryCounter = static_cast<std::int32_t>(number);
}

// Writes the name of the variable defined last, in place of the value.
AMF2JSON_APART char* Writer::writeTemporaryName(char* to) {
  const VariableName name(p.temporaryCounter);
  return put(json.reserve(to, maxLineBytes()), std::string_view(name));
}

}  // namespace amf2json::render
