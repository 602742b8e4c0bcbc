// SPDX-License-Identifier: Apache-2.0
//
// Bracketed blocks and single members of the JSON text, and statements of the script.
// Tested by tests/render/brackets_test.cpp and tests/render/escape_test.cpp.
#include "AMF2JSON.h"
#include "render/escape.h"
#include "render/number_text.h"
#include "render/writer.h"

using namespace amf2json;

namespace amf2json::render {

namespace {

std::size_t breakMarkFor(std::int32_t lineBreakCount) {
  return static_cast<std::size_t>(
      static_cast<std::int32_t>(static_cast<std::uint32_t>(lineBreakCount) * 500u));
}

}  // namespace

AMF2JSON_APART Writer::Writer(AMFProtocol& protocol, ProtocolState& protocolState)
    : p(protocol),
      state(protocolState),
      json(protocol.jsonText, protocol.jsonText.size()),
      script(protocol.scriptText, protocol.scriptText.size()),
      margin(protocol.newLine, protocol.indent, protocol.indentUnit),
      breakMark(breakMarkFor(protocol.lineBreakCount)) {
  state.texts.markWritten();
}

AMF2JSON_APART Writer::Writer(AMFProtocol& protocol, ProtocolState& protocolState,
                              std::size_t hidden)
    : p(protocol),
      state(protocolState),
      json(protocol.jsonText, 0, hidden),
      script(protocol.scriptText, 0),
      margin(protocol.newLine, protocol.indent, protocol.indentUnit),
      breakMark(breakMarkFor(protocol.lineBreakCount)) {}

char* Writer::closeBrackets(char* to) {
  margin.decrease();
  // Removes the comma after the last member of the block.
  const std::size_t back = (lineEndDue ? 0 : margin.lineEndSize()) + 1;
  if (json.sizeAt(to) >= back && *(to - back) == ',') {
    std::memmove(to - back, to - back + 1, back - 1);
    --to;
  }
  if (p.closerStack.empty()) return to;
  to = json.reserve(to, maxLineBytes());
  const char closer = p.closerStack.back();
  const bool isOutermost = p.closerStack.size() == 1;
  p.closerStack.erase(p.closerStack.size() - 1);
  if (isOutermost) {  // this closer gets no indentation, and no comma and line end after it
    if (lineEndDue) to = margin.writeLineEnd(to);
    *to++ = closer;
    lineEndDue = false;
    return to;
  }
  to = startLine(to);
  to[0] = closer;
  to[1] = ',';
  lineEndDue = true;
  return to + 2;
}

char* Writer::writeAttr(char* to, std::string_view name, std::string_view value, bool quote) {
  json.moveTo(writeMemberName(to, GivenKey(name)));
  if (quote) {
    json.append('"');
    appendJsonEscaped(json, value);
    json.append('"');
  } else {
    json.append(value);
  }
  return endMember(json.position());
}

void Writer::writeStatement(std::string_view name, std::string_view value, bool quote) {
  appendPath();
  script.append('.');
  script.append(name);
  script.append(" = ");
  if (quote) {
    script.append('"');
    appendScriptEscaped(script, value);
    script.append('"');
  } else {
    script.append(value);
  }
  endStatement();
}

}  // namespace amf2json::render

void AMFProtocol::openBrackets(char open, char close) {
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.openBrackets(to, open, close); });
}

void AMFProtocol::closeBrackets() {
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.closeBrackets(to); });
}

// The arguments are copied, because they may be the texts that are written to. The copies and the
// Writer are in frames of two functions, because no frame may have more than 1,024 bytes.

namespace {

AMF2JSON_APART void writeAttr(AMFProtocol& protocol, ProtocolState& state, std::string_view name,
                              std::string_view value, bool quote) {
  render::Writer writer(protocol, state);
  writer.run([&](char* to) { return writer.writeAttr(to, name, value, quote); });
}

AMF2JSON_APART void writeStatement(AMFProtocol& protocol, ProtocolState& state,
                                   std::string_view name, std::string_view value, bool quote) {
  render::Writer(protocol, state).writeStatement(name, value, quote);
}

}  // namespace

void AMFProtocol::appendAttr(const std::string& name, const std::string& value, bool quote) {
  writeAttr(*this, *state, std::string(name), std::string(value), quote);
}

void AMFProtocol::appendJSAttr(const std::string& name, const std::string& value, bool quote) {
  writeStatement(*this, *state, std::string(name), std::string(value), quote);
}
