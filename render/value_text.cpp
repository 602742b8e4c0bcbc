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

void appendQuoted(TextOut& out, std::string_view text) {
  out.append('"');
  appendScriptEscaped(out, text);
  out.append('"');
}

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

// Kept: each byte is widened with its sign, so 80 to FF give eight digits. `out` has room for them.
std::size_t putHex(char* out, std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  char* to = out;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    std::memcpy(to, "FFFFFF", 6);
    to += value >= 0x80 ? 6 : 0;
    *to++ = kDigits[value >> 4];
    *to++ = kDigits[value & 15];
  }
  return static_cast<std::size_t>(to - out);
}
constexpr std::size_t kHexPerByte = 8;
constexpr std::size_t kHexBlock = 2048;

void appendHex(TextOut& out, std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view block = bytes.substr(0, kHexBlock);
    out.advance(putHex(out.room(kHexPerByte * block.size()), block));
    bytes.remove_prefix(block.size());
  }
}

std::size_t hexLength(std::string_view bytes) {
  std::size_t high = 0;
  for (const char byte : bytes) high += static_cast<unsigned char>(byte) >> 7;
  return 2 * bytes.size() + 6 * high;
}

void appendQuotedHex(TextOut& out, std::string_view bytes) {
  out.append('"');
  appendHex(out, bytes);  // nothing in it needs an escape
  out.append('"');
}

}  // namespace

void Writer::writeValue(std::string_view value, bool quote, bool named) {
  beginValue(named);
  if (isLong(value.size())) {
    std::string escaped;
    if (quote) {
      TextOut out(escaped, 0);
      appendScriptEscaped(out, value);
    }
    writeTemporary(quote ? escaped : value);
  } else if (quote) {
    // Kept: the JSON side is escaped with the script rule too.
    appendQuoted(json, value);
    if (!p.jsonOnly) appendQuoted(script, value);
  } else {
    json.append(value);
    if (!p.jsonOnly) script.append(value);
  }
  endValue();
}

void Writer::beginValue(bool named) {
  if (named) {
    writeMemberName("value");
    if (p.jsonOnly || p.valueInline) return;
    appendPath();
    script.append(".value = ");
    return;
  }
  if (!p.jsonOnly && p.scriptStatementStart && !p.valueInline) {
    appendPath();
    script.append(" = ");
  }
  dropLineEnd();
}

void Writer::endValue() {
  endMember();
  if (!p.jsonOnly && !p.valueInline) endStatement();
}

// Kept: as many characters as `newLine` has go, whatever they are.
void Writer::dropLineEnd() {
  json.shorten(std::min(json.size(), p.newLine.size()));
}

bool Writer::isLong(std::size_t length) const {
  return length > kInlineMax && !p.jsonOnly && !p.jsonAndScript && p.useTemporaries;
}

// Both outputs name the variable; its definition goes in front of the script.
void Writer::writeTemporary(std::string_view text) {
  const std::uint32_t number = static_cast<std::uint32_t>(p.temporaryCounter) + 1;
  p.temporaryCounter = static_cast<std::int32_t>(number);
  const std::string name = "qxAmfTemporary" + std::to_string(p.temporaryCounter);
  json.append(std::string_view(name));
  script.append(std::string_view(name));
  appendDefinition(p.scriptPreamble, name, text);
}

void Writer::writeHex(const AMFRaw* raw) {
  const std::string_view bytes = bytesOf(raw);
  beginValue(true);
  if (isLong(hexLength(bytes))) {
    std::string text;
    {
      TextOut out(text, 0);
      appendHex(out, bytes);
    }
    writeTemporary(text);
  } else {
    appendQuotedHex(json, bytes);
    if (!p.jsonOnly) appendQuotedHex(script, bytes);
  }
  endValue();
}

void Writer::writeDate(const AMFDate* date) {
  if (!zoneIsRead) platform::readTimeZone();
  zoneIsRead = true;
  DateBuffer buffer;
  writeValue(dateText(date->value, buffer), true, true);
}

void Writer::writeScalar(const AMFNode* node, bool named) {
  NumberBuffer buffer;
  switch (node->type) {
    case AMFNode::AMF_NULL: return writeValue("null", false, named);
    case AMFNode::AMF_BOOL: {
      const bool isTrue = model::storedByte(static_cast<const AMFBool*>(node)->value) != 0;
      return writeValue(isTrue ? "true" : "false", false, named);
    }
    case AMFNode::AMF_INT:
      return writeValue(integerText(static_cast<const AMFInt*>(node)->value, buffer), false, named);
    case AMFNode::AMF_DOUBLE:
      return writeValue(doubleText(static_cast<const AMFDouble*>(node)->value, buffer), false,
                        named);
    case AMFNode::AMF_STRING:
      return writeValue(bytesOf(static_cast<const AMFString*>(node)), true, named);
    default: return writeValue("undefined", true, named);  // unknown kinds too
  }
}

}  // namespace render

void AMFProtocol::appendValue(const std::string& value, bool quote, bool named) {
  render::Writer(*this).writeValue(std::string(value), quote, named);  // it may be one of our texts
}
