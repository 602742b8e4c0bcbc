// SPDX-License-Identifier: Apache-2.0
//
// Values: the same text is written to both outputs. In the plain script view, long values become
// numbered temporaries (temporaries.cpp). Enter at Writer::writeValue. Tested by
// tests/render/value_test.cpp.
#include <algorithm>

#include "AMF2JSON.h"
#include "base/time_zone.h"
#include "model/attach.h"
#include "render/date_text.h"
#include "render/escape.h"
#include "render/hex_text.h"
#include "render/number_text.h"
#include "render/writer.h"

using namespace amf2json;

namespace amf2json::render {

namespace {

constexpr std::size_t kInlineMax = 399;
constexpr std::size_t kHexBlock = 512;

char* writeHexText(TextOut& out, char* to, std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view block = bytes.substr(0, kHexBlock);
    to = putHex(out.reserve(to, kHexPerByte * block.size() + kSpill), block);
    bytes.remove_prefix(block.size());
  }
  return to;
}

char* putBool(char* to, bool value) {
  std::memcpy(to, value ? "true\0\0\0" : "false\0\0", 8);  // no branch: both are equally likely
  return to + (value ? 4 : 5);
}

}  // namespace

char* Writer::writeValue(char* to, std::string_view value, bool quote, bool named) {
  to = beginValue(to, named);
  const std::size_t start = json.sizeAt(to);
  if (isLong(value.size())) {
    if (quote) {
      TextOut out(escaped, 0);
      appendScriptEscaped(out, value);
    }
    defineTemporary(quote ? escaped : value);
    to = writeTemporaryName(to);
  } else if (quote) {
    // Kept: the JSON text is escaped with the script rule too.
    to = put(json.reserve(to, maxLineBytes()), '"');
    to = put(writeScriptEscaped(json, to, value), '"');
  } else {
    to = put(json.reserve(to, value.size()), value);
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
  // Kept: removes as many characters as `newLine` has, whatever they are.
  return to - std::min(json.sizeAt(to), margin.lineEndSize());
}

// Ends a value that begins at `start` of the JSON text. The script gets a copy of it.
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

char* Writer::writeHex(char* to, const AMFRaw* raw) {
  const std::string_view bytes = bytesOf(raw);
  to = beginValue(to, true);
  const std::size_t start = json.sizeAt(to);
  if (!p.jsonOnly && isLong(hexLength(bytes))) {
    defineHexTemporary(bytes);
    to = writeTemporaryName(to);
  } else {
    to = put(json.reserve(to, maxLineBytes()), '"');
    to = put(writeHexText(json, to, bytes), '"');  // hexadecimal digits need no escape
  }
  return endValue(to, start);
}

char* Writer::writeDate(char* to, const AMFDate* date) {
  to = json.reserve(beginValue(to, true), maxLineBytes());
  const std::size_t start = json.sizeAt(to);
  to = put(to, '"');
  to = put(putDate(to, date), '"');
  return endValue(to, start);
}

char* Writer::putDate(char* to, const AMFDate* date) {
  if (!zoneIsRead) readTimeZone();
  zoneIsRead = true;
  return render::putDate(to, date->value);
}

char* Writer::writeScalar(char* to, const AMFNode* node, bool named) {
  if (node->type == AMFNode::AMF_STRING) {
    return writeValue(to, bytesOf(static_cast<const AMFString*>(node)), true, named);
  }
  to = json.reserve(beginValue(to, named), kDoubleMax + kSpill);
  const std::size_t start = json.sizeAt(to);
  return endValue(putScalar(to, node), start);
}

// Writes the text of a scalar that is not a string.
char* Writer::putScalar(char* to, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: return put(to, "null");
    case AMFNode::AMF_BOOL:
      return putBool(to, model::storedByte(static_cast<const AMFBool*>(node)->value) != 0);
    case AMFNode::AMF_INT: return putInteger(to, static_cast<const AMFInt*>(node)->value);
    case AMFNode::AMF_DOUBLE: return putDouble(to, static_cast<const AMFDouble*>(node)->value);
    default: return put(to, "\"undefined\"");  // unknown kinds too
  }
}

}  // namespace amf2json::render

void AMFProtocol::appendValue(const std::string& value, bool quote, bool named) {
  const std::string copy(value);
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.writeValue(to, copy, quote, named); });
}
