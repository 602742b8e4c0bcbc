// SPDX-License-Identifier: Apache-2.0
//
// Bracketed blocks and fixed member lines in the JSON text, statements in the script.
// Tested by tests/render_brackets_test.cpp and tests/render_escape_test.cpp.
#include "AMF2JSON.h"
#include "render/escape.h"
#include "render/number_text.h"
#include "render/writer.h"

namespace render {

namespace {

// The one character that the indentation is made of, if it is.
char indentCharacter(const std::string& indent, const std::string& unit) {
  return unit.empty() ? indent[0] : unit[0];  // the terminator where both are empty
}

// Whether taking one character from the front of the indentation is the same as taking it from the
// end.
bool isEven(const std::string& indent, const std::string& unit) {
  return unit.size() <= 1 &&
         indent.find_first_not_of(indentCharacter(indent, unit)) == std::string::npos;
}

std::uint64_t eightTimes(char byte) {
  return static_cast<unsigned char>(byte) * std::uint64_t{0x0101010101010101u};
}

std::size_t breakMarkFor(std::int32_t lineBreakCount) {
  return static_cast<std::size_t>(
      static_cast<std::int32_t>(static_cast<std::uint32_t>(lineBreakCount) * 500u));
}

}  // namespace

Writer::Writer(AMFProtocol& protocol)
    : p(protocol),
      json(protocol.jsonText, protocol.jsonText.size()),
      script(protocol.scriptText, protocol.scriptText.size()),
      breakMark(breakMarkFor(protocol.lineBreakCount)),
      evenIndent(isEven(protocol.indent, protocol.indentUnit)),
      indentWord(eightTimes(indentCharacter(protocol.indent, protocol.indentUnit))) {
  protocol.textsBlank = false;
}

Writer::Writer(AMFProtocol& protocol, std::size_t hidden)
    : p(protocol),
      json(protocol.jsonText, 0, hidden),
      script(protocol.scriptText, 0),
      breakMark(breakMarkFor(protocol.lineBreakCount)),
      evenIndent(isEven(protocol.indent, protocol.indentUnit)),
      indentWord(eightTimes(indentCharacter(protocol.indent, protocol.indentUnit))) {}

void Writer::closeBrackets() {
  if (!p.indent.empty()) {
    // Kept: one character goes from the front, not one unit.
    if (evenIndent) {
      p.indent.pop_back();
    } else {
      p.indent.erase(0, 1);
    }
  }
  // The comma behind the last member of the block.
  const std::size_t back = p.newLine.size() + 1;
  if (json.size() >= back && json.fromEnd(back) == ',') json.removeFromEnd(back);
  if (p.closerStack.empty()) return;
  Stretch line(*this, lineRoom());
  if (p.closerStack.size() == 1) {
    line.put(p.closerStack.back());  // the outermost block: no comma and no line end
  } else {
    line.indent();
    line.put(p.closerStack.back());
    line.put(',');
    line.endLine();
  }
  p.closerStack.pop_back();
}

void Writer::writeAttr(std::string_view name, std::string_view value, bool quote) {
  writeMemberName(name);
  if (quote) {
    json.append('"');
    appendJsonEscaped(json, value);
    json.append('"');
  } else {
    json.append(value);
  }
  endMember();
}

void Writer::writeNumber(std::string_view name, std::uint32_t value) {
  Stretch line(*this, lineRoom() + name.size());
  line.memberName(name);
  line.to = putInteger(line.to, value);
  line.put(',');
  line.endLine();
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

}  // namespace render

void AMFProtocol::openBrackets(char open, char close) {
  render::Writer(*this).openBrackets(open, close);
}

void AMFProtocol::closeBrackets() {
  render::Writer(*this).closeBrackets();
}

// The arguments are copied: they may be the very texts that are written to.

void AMFProtocol::appendAttr(const std::string& name, const std::string& value, bool quote) {
  render::Writer(*this).writeAttr(std::string(name), std::string(value), quote);
}

void AMFProtocol::appendJSAttr(const std::string& name, const std::string& value, bool quote) {
  render::Writer(*this).writeStatement(std::string(name), std::string(value), quote);
}
