// SPDX-License-Identifier: Apache-2.0
//
// Values: one text into both outputs, long ones through numbered temporaries of the plain script
// view. Enter at appendValue. Tested by tests/render_value_test.cpp.
#include <algorithm>

#include "AMF2JSON.h"
#include "render/escape.h"

namespace {

constexpr std::size_t kInlineMax = 399;
constexpr std::int32_t kPieceSize = 400;
constexpr std::int32_t kPieceAndNameMax = 994;

constexpr char kAssign[] = " = \"";
constexpr char kAppend[] = " += \"";

void appendPieceLine(std::string& out, std::string_view name, const char* opener,
                     std::string_view piece) {
  out += name;
  out += opener;
  out += piece;
  out += "\"\n";
}

// Where a piece that would end at `end` is cut, so that no backslash is parted from what it
// escapes.
std::size_t cutBefore(std::string_view text, std::size_t start, std::size_t end) {
  std::size_t cut = end;
  while (cut > start && text[cut - 1] == '\\') --cut;
  return cut;
}

// The definition of a temporary in lines of about 400 bytes.
// Kept: the first piece holds up to 401 bytes, and `remaining` falls by the piece size whatever a
// piece really held, so that the last line can be empty, and bytes at the end can be lost.
void appendDefinition(std::string& out, std::string_view name, std::string_view text) {
  const auto size = static_cast<std::size_t>(
      std::min(kPieceSize, kPieceAndNameMax - static_cast<std::int32_t>(name.size())));
  out += '\n';
  if (text.size() <= size) return appendPieceLine(out, name, kAssign, text);
  const char* opener = kAssign;
  std::size_t start = 0;
  std::size_t end = size + 1;
  auto remaining = static_cast<std::int64_t>(text.size());
  do {
    const std::size_t cut = cutBefore(text, start, end);
    appendPieceLine(out, name, opener, text.substr(start, cut - start));
    opener = kAppend;
    remaining -= static_cast<std::int64_t>(size);
    start = cut;
    end = cut + size;
  } while (static_cast<std::int64_t>(size) < remaining);
  if (remaining > 0) appendPieceLine(out, name, kAppend, text.substr(start, size));
}

}  // namespace

void AMFProtocol::appendValue(const std::string& value, bool quote, bool named) {
  textsBlank = false;
  writeValue(value, quote, named);
}

void AMFProtocol::writeValue(std::string_view value, bool quote, bool named) {
  if (named) {
    writeMemberName("value");
    if (!jsonOnly && !valueInline) {
      AddPrefixes(scriptText);
      scriptText += ".value = ";
    }
  } else {
    if (!jsonOnly && scriptStatementStart && !valueInline) {
      AddPrefixes(scriptText);
      scriptText += " = ";
    }
    dropLineEnd();
  }
  const bool isLong = value.size() > kInlineMax && !jsonOnly && !jsonAndScript && useTemporaries;
  if (isLong) {
    writeTemporary(value, quote);
  } else {
    writeInline(jsonText, value, quote);
    if (!jsonOnly) writeInline(scriptText, value, quote);
  }
  jsonText += ',';
  jsonText += newLine;
  if (!jsonOnly && !valueInline) endStatement();
}

// Kept: as many characters as `newLine` has go, whatever they are.
void AMFProtocol::dropLineEnd() {
  jsonText.resize(jsonText.size() - std::min(jsonText.size(), newLine.size()));
}

// Kept: the JSON side is escaped with the script rule too.
void AMFProtocol::writeInline(std::string& out, std::string_view value, bool quote) {
  if (!quote) {
    out += value;
    return;
  }
  out += '"';
  render::appendScriptEscaped(out, value);
  out += '"';
}

void AMFProtocol::writeTemporary(std::string_view value, bool quote) {
  temporaryCounter = static_cast<std::int32_t>(static_cast<std::uint32_t>(temporaryCounter) + 1);
  const std::string name = "qxAmfTemporary" + std::to_string(temporaryCounter);
  jsonText += name;
  scriptText += name;
  if (!quote) return appendDefinition(scriptPreamble, name, value);
  std::string escaped;
  render::appendScriptEscaped(escaped, value);
  appendDefinition(scriptPreamble, name, escaped);
}
