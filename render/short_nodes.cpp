// SPDX-License-Identifier: Apache-2.0
//
// Pairs of short values once more, in straight runs of stores: nearly all pairs of real packets are
// such, and pairs are most of what there is to render. The same text as writePair in node_text.cpp
// gives. Tested by tests/render_plain_test.cpp.
#include <cmath>

#include "AMF2JSON.h"
#include "render/escape.h"
#include "render/fetch_ahead.h"
#include "render/type_line.h"
#include "render/writer.h"

namespace amf2json::render {

namespace {

constexpr std::size_t kShortMax = 100;
constexpr double kShortNumber = 1e9;
constexpr std::size_t kMarginMax = 48;
// A pair has five lines, a value in a block of its own six more, and none of them but a string's is
// longer than this.
constexpr std::size_t kLines = 5 + 2 * 6;
constexpr std::size_t kLineMax = 48;
constexpr std::size_t kStringsMax = 2 * 2 * kShortMax;

// A date or a scalar of a few bytes, bare or in one block.
bool isShortValue(const AMFNode* node, AMFVersion parentVersion) {
  if (!node || (isReference(node) && switchesVersion(node, parentVersion))) return false;
  switch (node->type) {
    case AMFNode::AMF_STRING: return static_cast<const AMFString*>(node)->length <= kShortMax;
    case AMFNode::AMF_DOUBLE:
      return std::fabs(static_cast<const AMFDouble*>(node)->value) < kShortNumber;
    case AMFNode::AMF_NULL:
    case AMFNode::AMF_BOOL:
    case AMFNode::AMF_INT:
    case AMFNode::AMF_DATE: return true;
    default: return false;
  }
}

bool isBlock(const AMFNode* node, AMFVersion parentVersion) {
  return isReference(node) || switchesVersion(node, parentVersion) ||
         node->type == AMFNode::AMF_DATE;
}

std::string_view textBetween(const char* start, const char* end) {
  return {start, static_cast<std::size_t>(end - start)};
}

}  // namespace

// And not at the outermost level, nor where the output limit may be passed inside. In a script both
// are bare.
bool Writer::isShort(const char* to, const AMFPair* pair) const {
  if (!lineEndDue || p.closerStack.empty() || margin.sizeWithin(2) >= kMarginMax) return false;
  if (p.trackDepth || !isShortValue(pair->name, pair->version) ||
      !isShortValue(pair->value, pair->version)) {
    return false;
  }
  if (p.jsonOnly && p.outputLimitReached) return true;
  const std::size_t length = json.sizeAt(to) + script.size() + shortPairRoom();
  if (p.jsonOnly) return length <= kOutputLimit;
  return !isBlock(pair->name, pair->version) && !isBlock(pair->value, pair->version) &&
         length + state.scriptPath.size() + shortPairRoom() <= kOutputLimit;
}

std::size_t Writer::shortPairRoom() const {
  return kLines * (margin.sizeWithin(2) + kLineMax) + kStringsMax + kSpill;
}

char* Writer::writeShort(char* to, const AMFPair* pair) {
  fetchAhead(pair->name);
  fetchAhead(pair->value);
  to = putOpening(json.room(to, shortPairRoom()));
  to = putTypeLine(margin.write(to), AMFNode::AMF_PAIR);
  if (p.jsonOnly) {
    to = put(putShortMember(to, kName, pair->name, pair->version), ',');
    to = putShortMember(to, kValue, pair->value, pair->version);
  } else {
    to = putScriptedPair(to, pair);
  }
  margin.shallow();
  p.scriptStatementStart = true;
  return put(margin.write(to), "},");
}

char* Writer::putOpening(char* to) {
  to = put(startBreakableLine(to), '{');
  margin.deepen();
  return to;
}

// Kept: in a script value first.
char* Writer::putScriptedPair(char* to, const AMFPair* pair) {
  appendPath();
  script.append(".value = ");
  to = kValue.write(startBreakableLine(to));
  const char* const value = to;
  to = putShort(to, pair->value, pair->version);
  script.append(textBetween(value, to));
  script.append("; // ");
  to = kName.write(startBreakableLine(put(to, ',')));
  const char* const name = to;
  to = putShort(to, pair->name, pair->version);
  script.append(textBetween(name, to));
  script.append('\n');
  p.valueInline = false;
  return to;
}

template <class AnyKey>
char* Writer::putShortMember(char* to, const AnyKey& key, const AMFNode* node,
                             AMFVersion parentVersion) {
  return putShort(key.write(startBreakableLine(to)), node, parentVersion);
}

// A value without the comma behind it.
char* Writer::putShort(char* to, const AMFNode* node, AMFVersion parentVersion) {
  if (!isBlock(node, parentVersion)) return putBare(to, node);
  to = putOpening(to);
  if (isReference(node)) {
    to = putTypeLine(margin.write(to), node->type);
    to = put(putInteger(kReference.write(margin.write(to)), node->referenceIndex), ',');
  } else if (switchesVersion(node, parentVersion)) {
    to = put(margin.write(to), "\"version\" : \"AMF3\",");
  }
  to = putTypeLine(margin.write(to), node->type);
  to = putBare(kValue.write(margin.write(to)), node);
  margin.shallow();
  return put(margin.write(to), '}');
}

char* Writer::putBare(char* to, const AMFNode* node) {
  if (node->type == AMFNode::AMF_STRING) {
    to = escapeForScript(put(to, '"'), bytesOf(static_cast<const AMFString*>(node)));
    return put(to, '"');
  }
  if (node->type == AMFNode::AMF_DATE) {
    return put(putDate(put(to, '"'), static_cast<const AMFDate*>(node)), '"');
  }
  return putScalar(to, node);
}

}  // namespace amf2json::render
