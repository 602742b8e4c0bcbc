// SPDX-License-Identifier: Apache-2.0
//
// A fast path for short pairs: pairs whose name and value have short texts. Nearly all pairs of
// real packets are short, and most of what is rendered is pairs. The fast path checks the free
// space once for a pair, and writes the same text as writePair in node_text.cpp. Tested by
// tests/render/plain_test.cpp.
#include <cmath>

#include "AMF2JSON.h"
#include "render/escape.h"
#include "render/type_line.h"
#include "render/writer.h"

namespace amf2json::render {

namespace {

constexpr std::size_t kShortMax = 100;
constexpr double kShortNumber = 1e9;
constexpr std::size_t kMarginMax = 48;
// A pair has five lines. A name or value that is a block has six more. Without margin and
// string, no line is longer than kLineMax.
constexpr std::size_t kLines = 5 + 2 * 6;
constexpr std::size_t kLineMax = 48;
constexpr std::size_t kStringsMax = 2 * 2 * kShortMax;

// Whether the node is a date or a short scalar, and has at most one block around it.
AMF2JSON_HOT bool isShortValue(const AMFNode* node, AMFVersion parentVersion) {
  if (!node || (isReference(node) && switchesVersion(node, parentVersion))) return false;
  if (node->type == AMFNode::AMF_STRING) {
    return static_cast<const AMFString*>(node)->length <= kShortMax;
  }
  if (node->type == AMFNode::AMF_DOUBLE) {
    return std::fabs(static_cast<const AMFDouble*>(node)->value) < kShortNumber;
  }
  constexpr std::uint32_t kShortKinds = 1u << AMFNode::AMF_NULL | 1u << AMFNode::AMF_BOOL |
                                        1u << AMFNode::AMF_INT | 1u << AMFNode::AMF_DATE;
  return node->type <= AMFNode::AMF_PACKAGE && (kShortKinds >> node->type & 1u) != 0;
}

// Whether the node is a pair of two such values.
AMF2JSON_HOT bool isShortPair(const AMFNode* node, AMFVersion parentVersion) {
  if (node->type != AMFNode::AMF_PAIR || isReference(node) ||
      switchesVersion(node, parentVersion)) {
    return false;
  }
  const auto* const pair = static_cast<const AMFPair*>(node);
  return isShortValue(pair->name, pair->version) && isShortValue(pair->value, pair->version);
}

bool isBlock(const AMFNode* node, AMFVersion parentVersion) {
  return isReference(node) || switchesVersion(node, parentVersion) ||
         node->type == AMFNode::AMF_DATE;
}

std::string_view textBetween(const char* start, const char* end) {
  return {start, static_cast<std::size_t>(end - start)};
}

}  // namespace

// Whether short pairs can be written here: not at the outermost level.
bool Writer::hasPlaceForShort() const {
  return lineEndDue && !p.closerStack.empty() && margin.sizeWithin(2) < kMarginMax && !p.trackDepth;
}

// Whether writeShort can write the node: a pair of two short values. The output must not pass its
// limit inside the pair, unless it has passed it before. With a script, name and value must not be
// blocks.
bool Writer::isShort(const char* to, const AMFNode* node, AMFVersion parentVersion) const {
  if (!isShortPair(node, parentVersion) || !hasPlaceForShort()) return false;
  if (p.jsonOnly && p.outputLimitReached) return true;
  const std::size_t length = json.sizeAt(to) + script.size() + maxShortPairBytes();
  if (p.jsonOnly) return length <= kOutputLimit;
  const auto* const pair = static_cast<const AMFPair*>(node);
  return !isBlock(pair->name, pair->version) && !isBlock(pair->value, pair->version) &&
         length + state.scriptPath.size() + maxShortPairBytes() <= kOutputLimit;
}

// Writes the children from `index` on for as long as they are short, and moves `index` past them.
// What isShort and writeShort test for each pair is tested once. With those instead, the JSON view
// takes 1.07 times as long (5,000 AMF0 objects).
char* Writer::writeShortPairs(char* to, const AMFNode* node, std::uint32_t& index) {
  if (!p.jsonOnly || !margin.isBalanced() || !hasPlaceForShort()) return to;
  const auto count = static_cast<std::uint32_t>(node->children.size());
  const std::size_t most = maxShortPairBytes();
  for (; index < count; ++index) {
    const AMFNode* const child = node->children[index];
    if (!child || !isShortPair(child, node->version)) break;
    if (!p.outputLimitReached && json.sizeAt(to) + script.size() + most > kOutputLimit) break;
    const auto* const pair = static_cast<const AMFPair*>(child);
    prefetchAfter(pair->name);
    prefetchAfter(pair->value);
    to = putPair(json.reserve(to, most), pair, pairTexts());
  }
  return to;
}

std::size_t Writer::maxShortPairBytes() const {
  return kLines * (margin.sizeWithin(2) + kLineMax) + kStringsMax + kSpill;
}

// Returns the fixed texts of a short pair at the current margin, which must be balanced. The texts
// are made again only if the size of the margin has changed.
const PairTexts& Writer::pairTexts() {
  if (pairs.margin != margin.size()) {
    pairs.margin = margin.size();
    const auto end = [](PairTexts::Text& text, const char* to) {
      text.size = static_cast<std::size_t>(to - text.bytes);
    };
    end(pairs.closing, put(margin.write(pairs.closing.bytes), "},"));
    char* const to = put(margin.write(pairs.opening.bytes), '{');
    margin.increase();
    end(pairs.opening, kName.write(margin.write(putTypeLine(margin.write(to), AMFNode::AMF_PAIR))));
    end(pairs.value, kValue.write(margin.write(put(pairs.value.bytes, ','))));
    margin.decrease();
  }
  return pairs;
}

char* Writer::writeShort(char* to, const AMFPair* pair) {
  to = json.reserve(to, maxShortPairBytes());
  to = putOpening(to);
  to = putTypeLine(margin.write(to), AMFNode::AMF_PAIR);
  if (p.jsonOnly) {
    to = put(putShortMember(to, kName, pair->name, pair->version), ',');
    to = putShortMember(to, kValue, pair->value, pair->version);
  } else {
    to = putScriptedPair(to, pair);
  }
  margin.decrease();
  to = put(margin.write(to), "},");
  p.scriptStatementStart = true;
  return to;
}

// Writes a pair in the JSON view. Each fixed text is copied at once, unless a soft break is due
// inside it.
AMF2JSON_HOT char* Writer::putPair(char* to, const AMFPair* pair, const PairTexts& texts) {
  if (json.sizeAt(to) + texts.opening.size < breakMark) {
    to = texts.opening.write(to);
  } else {
    to = putTypeLine(margin.write(putOpening(to)), AMFNode::AMF_PAIR);
    to = kName.write(startBreakableLine(to));
    margin.decrease();
  }
  to = putMember(to, pair->name, pair->version);
  if (json.sizeAt(to) + texts.value.size < breakMark) {
    to = texts.value.write(to);
  } else {
    margin.increase();
    to = kValue.write(startBreakableLine(put(to, ',')));
    margin.decrease();
  }
  to = putMember(to, pair->value, pair->version);
  return texts.closing.write(to);
}

AMF2JSON_HOT char* Writer::putMember(char* to, const AMFNode* node, AMFVersion parentVersion) {
  if (!isBlock(node, parentVersion)) return putBare(to, node);
  margin.increase();
  to = putBlock(to, node, parentVersion);
  margin.decrease();
  return to;
}

char* Writer::putOpening(char* to) {
  to = put(startBreakableLine(to), '{');
  margin.increase();
  return to;
}

// Kept: with a script, the value comes first.
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

// Writes a short value without the comma after it.
AMF2JSON_HOT char* Writer::putShort(char* to, const AMFNode* node, AMFVersion parentVersion) {
  return isBlock(node, parentVersion) ? putBlock(to, node, parentVersion) : putBare(to, node);
}

char* Writer::putBlock(char* to, const AMFNode* node, AMFVersion parentVersion) {
  to = putOpening(to);
  if (isReference(node)) {
    to = putTypeLine(margin.write(to), node->type);
    to = put(putInteger(kReference.write(margin.write(to)), node->referenceIndex), ',');
  } else if (switchesVersion(node, parentVersion)) {
    to = put(margin.write(to), "\"version\" : \"AMF3\",");
  }
  to = putTypeLine(margin.write(to), node->type);
  to = putBare(kValue.write(margin.write(to)), node);
  margin.decrease();
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
