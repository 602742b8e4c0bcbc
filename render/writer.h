// SPDX-License-Identifier: Apache-2.0
//
// The renderer at work: two cursors into the protocol object's texts, and every step of the walk. A
// view makes one for its whole rendering; each public primitive makes one for its single step.
// What every line of text goes through stands here; brackets in brackets.cpp, values in
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
  class Stretch;

  // Lines
  void breakSoftly();
  void writeMemberName(std::string_view name);
  void writeLine(std::string_view member);  // a whole member, its comma included
  void writeNumber(std::string_view name, std::uint32_t value);
  void endMember();
  std::size_t lineRoom() const { return p.indent.size() + kLineRoom + p.newLine.size(); }

  // Values
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
  bool isPastLimit();
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
  void beginStatement(std::string_view name);

  // The script path
  void appendPath() { script.append(p.scriptPath); }
  void pushMember(std::string_view name);
  void pushElement(std::string_view name, std::uint32_t index);

  static constexpr std::size_t kLineRoom = 64;  // a line's fixed text, and the over-long stores

  AMFProtocol& p;
  TextOut json;
  TextOut script;
  std::size_t breakMark;     // the length of the JSON text that asks for the next soft break
  bool evenIndent;           // the indentation is one character over and over
  std::uint64_t indentWord;  // that character, eight times
  bool zoneIsRead = false;   // one look at the process's time zone serves all dates
};

// A stretch of the JSON text whose room is made ahead; it keeps its place in a register while it
// writes.
class Writer::Stretch {
 public:
  Stretch(Writer& owner, std::size_t room) : w(owner), to(owner.json.room(room)) {}
  ~Stretch() { w.json.moveTo(to); }
  Stretch(const Stretch&) = delete;
  Stretch& operator=(const Stretch&) = delete;

  void indent() {
    const std::size_t count = w.p.indent.size();
    if (!w.evenIndent) {
      std::memcpy(to, w.p.indent.data(), count);
    } else {
      std::memcpy(to, &w.indentWord, 8);  // kLineRoom holds what is stored too much
      std::memcpy(to + 8, &w.indentWord, 8);
      if (count > 16) std::memset(to + 16, static_cast<char>(w.indentWord & 0xFF), count - 16);
    }
    to += count;
  }
  void endLine() {
    const std::string& lineEnd = w.p.newLine;
    *to = lineEnd[0];  // its terminator where it is empty
    if (lineEnd.size() > 1) std::memcpy(to, lineEnd.data(), lineEnd.size());
    to += lineEnd.size();
  }
  void put(char byte) { *to++ = byte; }
  template <std::size_t Size>
  void put(const char (&literal)[Size]) {
    std::memcpy(to, literal, Size - 1);
    to += Size - 1;
  }
  void put(std::string_view text) {
    copyBytes(to, text.data(), text.size());
    to += text.size();
  }
  void memberName(std::string_view name) {
    indent();
    put('"');
    put(name);
    put("\" : ");
  }

  Writer& w;
  char* to;
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

inline void Writer::openBrackets(char bracket, char closer) {
  breakSoftly();
  {
    Stretch line(*this, lineRoom());
    line.indent();
    line.put(bracket);
    line.endLine();
  }
  p.indent += p.indentUnit;
  p.closerStack += closer;
}

// Kept: the name is not escaped.
inline void Writer::writeMemberName(std::string_view name) {
  Stretch line(*this, lineRoom() + name.size());
  line.memberName(name);
}

inline void Writer::writeLine(std::string_view member) {
  Stretch line(*this, lineRoom() + member.size());
  line.indent();
  line.put(member);
  line.endLine();
}

inline void Writer::endMember() {
  Stretch line(*this, lineRoom());
  line.put(',');
  line.endLine();
}

inline void Writer::endStatement() {
  script.append(';');
  script.append(p.scriptNewLine);
  p.scriptStatementStart = true;
}

// Kept: once set, the mark stays. In the JSON view it is only set, and rendering goes on.
inline bool Writer::isPastLimit() {
  constexpr std::size_t kOutputLimit = 499999;
  if (p.outputLimitReached) return !p.jsonOnly;
  if (json.size() + script.size() <= kOutputLimit) return false;
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
