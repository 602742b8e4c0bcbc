// SPDX-License-Identifier: Apache-2.0
//
// The renderer at work: two cursors into the protocol object's texts, and every step of the walk. A
// view makes one for its whole rendering; each public primitive makes one for its single step.
// Brackets and member names stand here because every line of text goes through them; values in
// value_text.cpp, nodes in node_text.cpp, members and lists in members.cpp, the path in
// script_path.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "AMF2JSON.h"
#include "render/text_out.h"

namespace render {

class Writer {
 public:
  // Goes on behind what both texts hold.
  explicit Writer(AMFProtocol& protocol);
  // Begins both texts anew. `hidden` bytes in front of the JSON text are left for the caller to
  // fill.
  Writer(AMFProtocol& protocol, std::size_t hidden);

  void openBrackets(char open, char close);
  void closeBrackets();
  void writeAttr(std::string_view name, std::string_view value, bool quote);
  void writeStatement(std::string_view name, std::string_view value, bool quote);
  void writeValue(std::string_view value, bool quote, bool named);
  void writeNode(const AMFNode* node, AMFVersion parentVersion);
  void writeChild(std::string_view name, const AMFNode* node, AMFVersion nodeVersion,
                  bool isInline);
  void writeChildren(std::string_view name, const AMFNode* node);

  // The script path needs no texts.
  static void pushSegment(AMFProtocol& p, std::string_view name);
  static void popSegment(AMFProtocol& p);

 private:
  // Lines
  void breakSoftly();
  void writeIndent() { json.append(p.indent); }
  void endLine() { json.append(p.newLine); }
  void writeMemberName(std::string_view name);
  template <std::size_t Size>
  void writeLine(const char (&member)[Size]);  // a whole member, its comma included
  void writeLine(std::string_view member);
  void writeNumber(std::string_view name, std::uint32_t value);

  // Values
  template <class Text>
  void writeMember(const Text& text, bool named);
  void beginValue(bool named);
  void endValue();
  void endStatement();
  void dropLineEnd();
  bool isLong(std::size_t length) const;
  void writeTemporary(std::string_view text);
  void writeScalar(const AMFNode* node, bool named);
  void writeHex(const AMFRaw* raw);
  void writeDate(const AMFDate* date);

  // Nodes
  bool isPastLimit(std::size_t pending = 0);
  bool writePreludes(const AMFNode* node, AMFVersion parentVersion);
  void writeMembersOf(const AMFNode* node);
  void writeObject(const AMFObject* object);
  void writeArray(const AMFArray* array);
  void writeXML(const AMFXML* xml);
  void writeHeaderLines(const AMFHeader* header);
  void writePair(const AMFPair* pair);
  void writeMessage(const AMFMessage* message);

  // Members
  void enterLevel();
  void leaveLevel();
  void writeChildNode(const AMFNode* node, AMFVersion nodeVersion);
  void beginStatement(std::string_view name);

  // The script path
  void appendPath() { script.append(p.scriptPath); }
  void pushMember(std::string_view name);
  void pushElement(std::string_view name, std::uint32_t index);

  AMFProtocol& p;
  TextOut json;
  TextOut script;
  std::size_t breakMark;    // the length of the JSON text that asks for the next soft break
  bool evenIndent;          // the indentation is one character over and over
  bool zoneIsRead = false;  // one look at the process's time zone serves all dates
};

// At most one line feed for every 500 bytes of text, wherever a block opens or a member begins.
// Kept: in the pretty layout too.
inline void Writer::breakSoftly() {
  constexpr std::uint32_t kSoftBreakEvery = 500;
  if (breakMark > json.size()) return;
  json.append('\n');
  const std::uint32_t count = static_cast<std::uint32_t>(p.lineBreakCount) + 1;
  p.lineBreakCount = static_cast<std::int32_t>(count);
  // Kept: the product wraps at 32 bits; a negative one gives no break.
  breakMark = static_cast<std::size_t>(static_cast<std::int32_t>(count * kSoftBreakEvery));
}

inline void Writer::openBrackets(char open, char close) {
  breakSoftly();
  writeIndent();
  json.append(open);
  endLine();
  p.indent += p.indentUnit;
  p.closerStack += close;
}

// Kept: the name is not escaped.
inline void Writer::writeMemberName(std::string_view name) {
  writeIndent();
  json.append('"');
  json.append(name);
  json.append("\" : ");
}

template <std::size_t Size>
void Writer::writeLine(const char (&member)[Size]) {
  writeIndent();
  json.append(member);
  endLine();
}

inline void Writer::writeLine(std::string_view member) {
  writeIndent();
  json.append(member);
  endLine();
}

inline void Writer::endStatement() {
  script.append(';');
  script.append(p.scriptNewLine);
  p.scriptStatementStart = true;
}

// Kept: once set, the mark stays. In the JSON view it is only set, and rendering goes on.
// `pending`: bytes of the JSON text that are due but not written.
inline bool Writer::isPastLimit(std::size_t pending) {
  constexpr std::size_t kOutputLimit = 499999;
  if (p.outputLimitReached) return !p.jsonOnly;
  if (json.size() + pending + script.size() <= kOutputLimit) return false;
  p.outputLimitReached = true;
  return !p.jsonOnly;
}

inline void Writer::enterLevel() {
  if (!p.trackDepth) return;
  ++p.childDepth;
  if (p.childDepth == 1) p.nextPrefixBare = true;
}

inline void Writer::leaveLevel() {
  if (p.trackDepth) --p.childDepth;
}

inline std::string_view bytesOf(const AMFRaw* node) {
  return node->data ? std::string_view(node->data, node->length) : std::string_view();
}

inline bool isContainer(const AMFNode* node) {
  return node->type == AMFNode::AMF_OBJECT || node->type == AMFNode::AMF_ARRAY;
}

}  // namespace render
