// SPDX-License-Identifier: Apache-2.0
//
// Writer, the renderer: it has two output cursors into the protocol object's texts, and all steps
// of the rendering. A view makes one Writer for its whole rendering. Each public primitive makes
// one for its single step. The steps are in these files; each public primitive is at the end of the
// file with its step:
//
//     writer.h         steps that every line needs     members.cpp      members and lists
//     brackets.cpp     brackets                        node_text.cpp    nodes
//     value_text.cpp   values                          short_nodes.cpp  fast path for short pairs
//     temporaries.cpp  values as script variables      script_path.cpp  the script path
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "AMF2JSON.h"
#include "base/prefetch.h"
#include "model/protocol_state.h"
#include "render/margin.h"
#include "render/number_text.h"
#include "render/text_out.h"

namespace amf2json::render {

// The name of a member, known at compile time, as it is written in its line: "name" :
// The text is in an array of fixed size, which is copied whole.
class Key {
 public:
  template <std::size_t Size>
  constexpr explicit Key(const char (&name)[Size]) : size(Size + sizeof kColon - 1) {
    static_assert(Size + sizeof kColon - 1 <= sizeof line, "the array holds it");
    line[0] = '"';
    for (std::size_t i = 0; i + 1 < Size; ++i) line[i + 1] = name[i];
    for (std::size_t i = 0; i + 1 < sizeof kColon; ++i) line[Size + i] = kColon[i];
  }
  constexpr std::string_view name() const { return {line + 1, size - sizeof kColon}; }
  char* write(char* to) const {
    std::memcpy(to, line, sizeof line);
    return to + size;
  }

 private:
  static constexpr char kColon[] = "\" : ";
  char line[24] = {};
  std::size_t size;
};

inline constexpr Key kName("name");
inline constexpr Key kValue("value");
inline constexpr Key kReference("reference");

// A name given by the host. Kept: it is not escaped.
class GivenKey {
 public:
  explicit GivenKey(std::string_view name) : text(name) {}
  std::string_view name() const { return text; }
  char* write(char* to) const {
    *to++ = '"';
    return put(put(to, text), "\" : ");
  }

 private:
  std::string_view text;
};

// The fixed texts of the short pairs at one depth. Without them, the JSON view takes 1.10 times as
// long (5,000 AMF0 objects).
//
//     a pair:  opening | text of the name | value | text of the value | closing
struct PairTexts {
  struct Text {
    static constexpr std::size_t kStep = kSpill;
    char bytes[192];
    std::size_t size;
    // Copies in steps of kStep bytes, so it may overwrite bytes after the text.
    AMF2JSON_HOT char* write(char* to) const {
      std::memcpy(to, bytes, kStep);
      for (std::size_t i = kStep; i < size; i += kStep) std::memcpy(to + i, bytes + i, kStep);
      return to + size;
    }
  };
  std::size_t margin = ~std::size_t{0};  // size of the margin for which they were made
  Text opening;
  Text value;
  Text closing;
};

// All steps that write to the JSON text take the output pointer and return it past what they wrote
// (text_out.h). The steps put..., start... and break... rely on the free space that their caller
// provides. All others provide it themselves.
class Writer {
 public:
  // Continues both texts after what they contain.
  Writer(AMFProtocol& protocol, ProtocolState& protocolState);
  // Starts both texts again from the beginning. `hidden` bytes before the JSON text are free for
  // the caller to fill.
  Writer(AMFProtocol& protocol, ProtocolState& protocolState, std::size_t hidden);

  // Runs one step for a view or a public primitive. `step` takes and returns the output pointer.
  template <class Step>
  void run(Step step) {
    char* const to = step(json.position());
    json.moveTo(lineEndDue ? margin.writeLineEnd(json.reserve(to, maxLineBytes())) : to);
    lineEndDue = false;
    if (p.indent != margin.indentation()) p.indent.assign(margin.indentation());
  }

  char* openBrackets(char* to, char open, char close);
  char* closeBrackets(char* to);
  char* writeAttr(char* to, std::string_view name, std::string_view value, bool quote);
  void writeStatement(std::string_view name, std::string_view value, bool quote);
  char* writeValue(char* to, std::string_view value, bool quote, bool named);
  char* writeNode(char* to, const AMFNode* node, AMFVersion parentVersion);
  template <class AnyKey>
  char* writeChild(char* to, const AnyKey& key, const AMFNode* node, AMFVersion nodeVersion,
                   bool isInline);
  template <class AnyKey>
  char* writeChildren(char* to, const AnyKey& key, const AMFNode* node);

  // Changes of the script path need no Writer.
  static void pushSegment(AMFProtocol& p, ProtocolState& state, std::string_view name);
  static void popSegment(ProtocolState& state);

 private:
  // Lines
  char* breakSoftly(char* to);
  char* startLine(char* to);
  char* startBreakableLine(char* to);
  template <class AnyKey>
  char* writeMemberName(char* to, const AnyKey& key);
  char* writeLine(char* to, std::string_view member);  // a whole member, its comma included
  template <class AnyKey>
  char* writeNumber(char* to, const AnyKey& key, std::uint32_t value);
  char* endMember(char* to);
  std::size_t maxLineBytes() const { return margin.size() + kMaxLineBytes; }

  // Values
  char* beginValue(char* to, bool named);
  char* endValue(char* to, std::size_t start);
  void endStatement();
  bool isLong(std::size_t length) const;
  void defineTemporary(std::string_view text);
  void defineHexTemporary(std::string_view bytes);
  std::int32_t nextTemporary();
  char* writeTemporaryName(char* to);
  char* writeScalar(char* to, const AMFNode* node, bool named);
  static char* putScalar(char* to, const AMFNode* node);
  char* putDate(char* to, const AMFDate* date);
  char* writeHex(char* to, const AMFRaw* raw);
  char* writeDate(char* to, const AMFDate* date);

  // Nodes
  bool isPastLimit(const char* to);
  char* writeTypeLine(char* to, const AMFNode* node);
  char* writeWrapped(char* to, const AMFNode* node, AMFVersion parentVersion);
  char* writeMembersOf(char* to, const AMFNode* node);
  char* writeObject(char* to, const AMFObject* object);
  char* writeArray(char* to, const AMFArray* array);
  char* writeXML(char* to, const AMFXML* xml);
  char* writeHeaderLines(char* to, const AMFHeader* header);
  char* writePair(char* to, const AMFPair* pair);
  char* writeMessage(char* to, const AMFMessage* message);

  // Short nodes
  bool hasPlaceForShort() const;
  bool isShort(const char* to, const AMFNode* node, AMFVersion parentVersion) const;
  char* writeShortPairs(char* to, const AMFNode* node, std::uint32_t& index);
  std::size_t maxShortPairBytes() const;
  char* writeShort(char* to, const AMFPair* pair);
  const PairTexts& pairTexts();
  inline char* putMember(char* to, const AMFNode* node, AMFVersion parentVersion);
  inline char* putPair(char* to, const AMFPair* pair, const PairTexts& texts);
  char* putScriptedPair(char* to, const AMFPair* pair);
  char* putOpening(char* to);
  char* putBare(char* to, const AMFNode* node);
  inline char* putShort(char* to, const AMFNode* node, AMFVersion parentVersion);
  char* putBlock(char* to, const AMFNode* node, AMFVersion parentVersion);
  template <class AnyKey>
  char* putShortMember(char* to, const AnyKey& key, const AMFNode* node, AMFVersion parentVersion);

  // Members
  char* writeScripted(char* to, std::string_view name, const AMFNode* node, AMFVersion nodeVersion);
  char* writeElements(char* to, std::string_view name, const AMFNode* node);
  void enterLevel();
  void leaveLevel();
  void beginStatement(std::string_view name);

  // The script path
  void appendPath() { script.append(state.scriptPath); }
  void pushMember(std::string_view name);
  void pushElement(std::string_view name, std::uint32_t index);

  static constexpr std::size_t kOutputLimit = 499999;
  // Enough for a line's fixed text, a pending line end, a soft break, and kSpill.
  static constexpr std::size_t kMaxLineBytes = 64 + kSpill;

  AMFProtocol& p;
  ProtocolState& state;
  TextOut json;
  TextOut script;
  Margin margin;
  PairTexts pairs;
  // Whether the last line still needs its line end. Usually the line end is written together with
  // the indentation of the next line.
  bool lineEndDue = false;
  std::size_t breakMark;    // length of the JSON text at which the next soft break is due
  std::string escaped;      // the long value that is being written
  bool zoneIsRead = false;  // the time zone is read once for all dates
};

AMF2JSON_HOT char* Writer::startLine(char* to) {
  if (lineEndDue) return margin.write(to);
  return margin.writeIndentation(to);
}

// Writes a line feed if a soft break is due. Soft breaks come where a block opens or a member
// begins, at most one for every 500 bytes of text. Kept: they come in the pretty layout too.
inline char* Writer::breakSoftly(char* to) {
  constexpr std::uint32_t kSoftBreakEvery = 500;
  if (json.sizeAt(to) + (lineEndDue ? margin.lineEndSize() : 0) < breakMark) return to;
  if (lineEndDue) to = margin.writeLineEnd(to);
  lineEndDue = false;
  *to++ = '\n';
  const std::uint32_t count = static_cast<std::uint32_t>(p.lineBreakCount) + 1;
  p.lineBreakCount = static_cast<std::int32_t>(count);
  // Kept: the product wraps at 32 bits; while it is negative there are no breaks.
  breakMark = static_cast<std::size_t>(static_cast<std::int32_t>(count * kSoftBreakEvery));
  return to;
}

// Same as startLine(breakSoftly(to)), for callers that know that a line end is pending.
inline char* Writer::startBreakableLine(char* to) {
  if (json.sizeAt(to) + margin.lineEndSize() < breakMark) return margin.write(to);
  to = startLine(breakSoftly(to));
  lineEndDue = true;
  return to;
}

AMF2JSON_HOT char* Writer::openBrackets(char* to, char bracket, char closer) {
  to = startLine(breakSoftly(json.reserve(to, maxLineBytes())));
  *to++ = bracket;
  lineEndDue = true;
  margin.increase();
  p.closerStack += closer;
  return to;
}

template <class AnyKey>
char* Writer::writeMemberName(char* to, const AnyKey& key) {
  return key.write(startLine(json.reserve(to, maxLineBytes() + key.name().size())));
}

AMF2JSON_APART inline char* Writer::writeLine(char* to, std::string_view member) {
  to = put(startLine(json.reserve(to, maxLineBytes())), member);
  lineEndDue = true;
  return to;
}

inline char* Writer::endMember(char* to) {
  to = json.reserve(to, maxLineBytes());
  *to++ = ',';
  lineEndDue = true;
  return to;
}

inline void Writer::endStatement() {
  script.append(';');
  script.append(p.scriptNewLine);
  p.scriptStatementStart = true;
}

// Whether rendering stops because the output has passed its limit. Kept: outputLimitReached is
// never reset. In the JSON view it is only set, and rendering continues.
inline bool Writer::isPastLimit(const char* to) {
  if (p.outputLimitReached) return !p.jsonOnly;
  const std::size_t due = lineEndDue ? margin.lineEndSize() : 0;
  if (json.sizeAt(to) + due + script.size() <= kOutputLimit) return false;
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

template <class AnyKey>
char* Writer::writeNumber(char* to, const AnyKey& key, std::uint32_t value) {
  to = putInteger(writeMemberName(to, key), value);
  *to++ = ',';
  lineEndDue = true;
  return to;
}

template <class AnyKey>
char* Writer::writeChild(char* to, const AnyKey& key, const AMFNode* node, AMFVersion nodeVersion,
                         bool isInline) {
  enterLevel();
  to = breakSoftly(json.reserve(to, maxLineBytes() + key.name().size()));
  to = key.write(startLine(to));
  lineEndDue = true;  // a value on this line cancels it
  if (!node) {
    to = endMember(put(to, "null"));
  } else if (p.jsonOnly || isInline) {
    to = writeNode(to, node, nodeVersion);
    p.scriptStatementStart = true;
  } else {
    to = writeScripted(to, key.name(), node, nodeVersion);
  }
  leaveLevel();
  return to;
}

template <class AnyKey>
char* Writer::writeChildren(char* to, const AnyKey& key, const AMFNode* node) {
  if (!node) return to;  // Kept: writes nothing; a missing named member is written as null.
  enterLevel();
  to = writeMemberName(to, key);
  lineEndDue = true;
  p.scriptStatementStart = true;
  to = openBrackets(to, '[', ']');
  to = writeElements(to, key.name(), node);
  to = closeBrackets(to);
  leaveLevel();
  return to;
}

// Called for each node that is rendered: prefetches memory of nodes that are rendered soon. Without
// this prefetch, the JSON view takes 1.05 times as long (5,000 objects).
inline void prefetchAfter(const AMFNode* node) {
  prefetchNear(node, 2048);
}

inline std::string_view bytesOf(const AMFRaw* node) {
  return node->data ? std::string_view(node->data, node->length) : std::string_view();
}

inline bool isContainer(const AMFNode* node) {
  return node->type == AMFNode::AMF_OBJECT || node->type == AMFNode::AMF_ARRAY;
}

// A scalar is written as a block if it is a reference or switches the version.
inline bool isReference(const AMFNode* node) {
  return node->referenceIndex != AMFNode::kNoReference;
}

inline bool switchesVersion(const AMFNode* node, AMFVersion parentVersion) {
  return node->version == AMF_VERSION_3 && parentVersion == AMF_VERSION_0;
}

}  // namespace amf2json::render
