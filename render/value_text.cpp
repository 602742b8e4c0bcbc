// SPDX-License-Identifier: Apache-2.0
//
// Values: one text into both outputs, long ones through numbered temporaries of the plain script
// view. Enter at Writer::writeValue. Tested by tests/render_value_test.cpp.
#include <algorithm>

#include "AMF2JSON.h"
#include "model/attach.h"
#include "model/platform.h"
#include "render/date_text.h"
#include "render/escape.h"
#include "render/number_text.h"
#include "render/writer.h"

namespace render {

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

constexpr std::size_t kHexPerByte = 8;
constexpr std::size_t kHexBlock = 512;

// What each byte becomes. Kept: it is widened with its sign, so 80 to FF give eight digits.
struct HexTexts {
  char text[256][kHexPerByte];
};

constexpr HexTexts makeHexTexts() {
  constexpr char kDigits[] = "0123456789ABCDEF";
  HexTexts texts{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    char* to = texts.text[byte];
    for (int i = byte < 0x80 ? 0 : 6; i > 0; --i) *to++ = 'F';
    *to++ = kDigits[byte >> 4];
    *to++ = kDigits[byte & 15];
  }
  return texts;
}

constexpr HexTexts kHexTexts = makeHexTexts();

// Spills six bytes.
char* putHex(char* to, std::string_view bytes) {
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    std::memcpy(to, kHexTexts.text[value], kHexPerByte);
    to += 2 + 6 * (value >> 7);
  }
  return to;
}

char* writeHexText(TextOut& out, char* to, std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view block = bytes.substr(0, kHexBlock);
    to = putHex(out.room(to, kHexPerByte * block.size() + kSpill), block);
    bytes.remove_prefix(block.size());
  }
  return to;
}

std::size_t hexLength(std::string_view bytes) {
  std::size_t high = 0;
  for (const char byte : bytes) high += static_cast<unsigned char>(byte) >> 7;
  return 2 * bytes.size() + 6 * high;
}

}  // namespace

char* Writer::writeValue(char* to, std::string_view value, bool quote, bool named) {
  to = beginValue(to, named);
  const std::size_t start = json.sizeAt(to);
  if (isLong(value.size())) {
    std::string escaped;
    if (quote) {
      TextOut out(escaped, 0);
      appendScriptEscaped(out, value);
    }
    to = writeTemporary(to, quote ? escaped : value);
  } else if (quote) {
    // Kept: the JSON side is escaped with the script rule too.
    to = put(json.room(to, lineRoom()), '"');
    to = put(writeScriptEscaped(json, to, value), '"');
  } else {
    to = put(json.room(to, value.size()), value);
  }
  return endValue(to, start);
}

char* Writer::beginValue(char* to, bool named) {
  if (named) {
    to = writeMemberName(to, kValue);
    if (p.jsonOnly || p.valueInline) return to;
    appendPath();
    script.append(".value = ");
    return to;
  }
  if (!p.jsonOnly && p.scriptStatementStart && !p.valueInline) {
    appendPath();
    script.append(" = ");
  }
  if (lineEndDue) return to;
  // Kept: as many characters as `newLine` has go, whatever they are.
  return to - std::min(json.sizeAt(to), margin.lineEndSize());
}

// Both texts get the same value, which begins at `start` of the JSON text.
char* Writer::endValue(char* to, std::size_t start) {
  if (!p.jsonOnly) {
    const std::size_t length = json.sizeAt(to) - start;
    script.append(std::string_view(to - length, length));
    if (!p.valueInline) endStatement();
  }
  return endMember(to);
}

bool Writer::isLong(std::size_t length) const {
  return length > kInlineMax && !p.jsonOnly && !p.jsonAndScript && p.useTemporaries;
}

// The value is the variable's name; its definition goes in front of the script.
char* Writer::writeTemporary(char* to, std::string_view text) {
  const std::uint32_t number = static_cast<std::uint32_t>(p.temporaryCounter) + 1;
  p.temporaryCounter = static_cast<std::int32_t>(number);
  const std::string name = "qxAmfTemporary" + std::to_string(p.temporaryCounter);
  appendDefinition(p.scriptPreamble, name, text);
  return put(json.room(to, lineRoom()), std::string_view(name));
}

char* Writer::writeHex(char* to, const AMFRaw* raw) {
  const std::string_view bytes = bytesOf(raw);
  to = beginValue(to, true);
  const std::size_t start = json.sizeAt(to);
  if (!p.jsonOnly && isLong(hexLength(bytes))) {
    std::string text;
    {
      TextOut out(text, 0);
      out.moveTo(writeHexText(out, out.position(), bytes));
    }
    to = writeTemporary(to, text);
  } else {
    to = put(json.room(to, lineRoom()), '"');
    to = put(writeHexText(json, to, bytes), '"');  // nothing in it needs an escape
  }
  return endValue(to, start);
}

char* Writer::writeDate(char* to, const AMFDate* date) {
  to = json.room(beginValue(to, true), lineRoom());
  const std::size_t start = json.sizeAt(to);
  to = put(to, '"');
  to = put(putDate(to, date), '"');
  return endValue(to, start);
}

char* Writer::putDate(char* to, const AMFDate* date) {
  if (!zoneIsRead) platform::readTimeZone();
  zoneIsRead = true;
  return render::putDate(to, date->value);
}

char* Writer::writeScalar(char* to, const AMFNode* node, bool named) {
  if (node->type == AMFNode::AMF_STRING) {
    return writeValue(to, bytesOf(static_cast<const AMFString*>(node)), true, named);
  }
  to = json.room(beginValue(to, named), kDoubleMax + kSpill);
  const std::size_t start = json.sizeAt(to);
  return endValue(putScalar(to, node), start);
}

// The text of a scalar that is no string.
char* Writer::putScalar(char* to, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: return put(to, "null");
    case AMFNode::AMF_BOOL: {
      const bool isTrue = model::storedByte(static_cast<const AMFBool*>(node)->value) != 0;
      std::memcpy(to, isTrue ? "true\0\0\0" : "false\0\0", 8);  // either is as likely
      return to + (isTrue ? 4 : 5);
    }
    case AMFNode::AMF_INT: return putInteger(to, static_cast<const AMFInt*>(node)->value);
    case AMFNode::AMF_DOUBLE: return putDouble(to, static_cast<const AMFDouble*>(node)->value);
    default: return put(to, "\"undefined\"");  // unknown kinds too
  }
}

}  // namespace render

void AMFProtocol::appendValue(const std::string& value, bool quote, bool named) {
  const std::string copy(value);  // it may be one of our texts
  render::Writer writer(*this);
  writer.run([&](char* to) { return writer.writeValue(to, copy, quote, named); });
}
