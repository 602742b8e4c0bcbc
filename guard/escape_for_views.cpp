// SPDX-License-Identifier: Apache-2.0
//
// Makes a tree harmless for the views: replaces what the views would copy into their texts and what
// would not stay inside its quotes there. Everything new is made before anything old is touched.
// Tested by tests/guard_escape_test.cpp.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "AMFGuard.h"
#include "base/eight_bytes.h"

using namespace amf2json;

namespace {

using Byte = unsigned char;

// ---- Text --------------------------------------------------------------------------------------

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

struct LeadByte {
  std::size_t length;  // of the sequence; 0: begins none
  Byte secondFrom;     // what its second byte may be: no overlong forms, no surrogates,
  Byte secondTo;       // nothing above U+10FFFF
};

LeadByte leadByte(Byte byte) {
  if (byte < 0x80) return {1, 0, 0};
  if (byte < 0xC2) return {0, 0, 0};
  if (byte < 0xE0) return {2, 0x80, 0xBF};
  if (byte < 0xF0)
    return {3, byte == 0xE0 ? Byte{0xA0} : Byte{0x80}, byte == 0xED ? Byte{0x9F} : Byte{0xBF}};
  if (byte < 0xF5)
    return {4, byte == 0xF0 ? Byte{0x90} : Byte{0x80}, byte == 0xF4 ? Byte{0x8F} : Byte{0xBF}};
  return {0, 0, 0};
}

struct Character {
  std::size_t length;  // bytes taken, 1 or more
  bool valid;          // false: the longest beginning of a character that does not go on as it must
};

Character characterAt(const char* text, std::size_t left) {
  const auto at = [text](std::size_t i) { return static_cast<Byte>(text[i]); };
  const LeadByte lead = leadByte(at(0));
  if (lead.length == 0) return {1, false};
  for (std::size_t i = 1; i < lead.length; ++i) {
    const Byte from = i == 1 ? lead.secondFrom : Byte{0x80};
    const Byte to = i == 1 ? lead.secondTo : Byte{0xBF};
    if (i == left || at(i) < from || at(i) > to) return {i, false};
  }
  return {lead.length, true};
}

void appendEscape(std::string& out, unsigned code) {
  static const char kDigits[] = "0123456789ABCDEF";
  out += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[code >> shift & 0xF];
}

// Of a valid character: its first byte says that there are three.
bool isLineSeparator(const char* text) {
  return text[0] == '\xE2' && text[1] == '\x80' && (text[2] == '\xA8' || text[2] == '\xA9');
}

// Nothing in it changes.
bool isPlain(char c) {
  return c >= 0x20 && c < 0x7F && c != '<' && c != '\\';
}

// Eight such bytes.
bool isPlain(std::uint64_t word) {
  return isEach(isAtLeast(word, 0x20) & isNot(word, 0x7F) & isNot(word, '<') & isNot(word, '\\') &
                ~word);
}

std::size_t plainLength(const char* text, std::size_t length) {
  std::size_t i = 0;
  for (std::uint64_t word; length - i >= sizeof word; i += sizeof word) {
    std::memcpy(&word, text + i, sizeof word);
    if (!isPlain(word)) break;
  }
  while (i < length && isPlain(text[i])) ++i;
  return i;
}

// One byte that is a character of its own, and not plain.
void appendASCII(std::string& out, char c) {
  if (c != '\\') return appendEscape(out, static_cast<Byte>(c));
  out += "\\\\";
}

std::string escaped(const char* text, std::size_t length) {
  std::string out;
  out.reserve(length + length / 8 + 8);
  for (std::size_t i = 0;;) {
    const std::size_t plain = plainLength(text + i, length - i);
    out.append(text + i, plain);
    i += plain;
    if (i == length) return out;
    const Character character = characterAt(text + i, length - i);
    if (!character.valid) {
      out += kReplacement;
    } else if (character.length == 1) {
      appendASCII(out, text[i]);
    } else if (isLineSeparator(text + i)) {
      appendEscape(out, text[i + 2] == '\xA8' ? 0x2028 : 0x2029);
    } else {
      out.append(text + i, character.length);
    }
    i += character.length;
  }
}

// ---- What will be changed ----------------------------------------------------------------------

struct NewText {
  AMFRaw* node;
  std::unique_ptr<char[]> data;
  std::uint32_t length;
};

struct NewNull {
  AMFNode** place;  // where the number stands
  std::unique_ptr<AMFNull> null;
};

class Escaper {
 public:
  void prepare(AMFNode* root);
  void apply() noexcept;

 private:
  // Places that are still to be visited, one behind the other. The last range is the innermost.
  struct Range {
    AMFNode** next;
    AMFNode** end;
    AMFVersion version;
  };

  void visit(AMFNode* node);
  void visitPart(AMFString* part) {
    if (part) visit(part);
  }
  void visitValue(AMFNode*& value, AMFVersion version) {
    waiting.push_back({&value, &value + 1, version});
  }
  void visitPlace(AMFNode*& place, AMFVersion placeVersion);
  void escapeText(AMFRaw* node);

  std::vector<Range> waiting;
  std::vector<NewText> texts;
  std::vector<NewNull> nulls;
  std::vector<AMFNode*> unbalanced;  // not owned
};

// In the order of the tree, which is mostly that of its memory.
void Escaper::prepare(AMFNode* root) {
  if (root) visit(root);
  while (!waiting.empty()) {
    Range& range = waiting.back();
    if (range.next == range.end) {
      waiting.pop_back();
    } else {
      visitPlace(*range.next++, range.version);
    }
  }
}

void Escaper::visit(AMFNode* node) {
  if (!node->children.empty()) {
    AMFNode** const first = node->children.data();
    waiting.push_back({first, first + node->children.size(), node->version});
  }
  switch (node->type) {
    case AMFNode::AMF_STRING:
    case AMFNode::AMF_XML: return escapeText(static_cast<AMFRaw*>(node));
    case AMFNode::AMF_OBJECT: return visitPart(static_cast<AMFObject*>(node)->className);
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER: {
      auto* const pair = static_cast<AMFPair*>(node);
      visitPart(pair->name);
      return visitValue(pair->value, pair->version);
    }
    case AMFNode::AMF_MESSAGE: {
      auto* const message = static_cast<AMFMessage*>(node);
      visitPart(message->targetUri);
      visitPart(message->responseUri);
      return visitValue(message->value, message->version);
    }
    default: return;
  }
}

void Escaper::visitPlace(AMFNode*& place, AMFVersion placeVersion) {
  if (!place) return;
  if (place->type == AMFNode::AMF_DOUBLE && !std::isfinite(static_cast<AMFDouble*>(place)->value)) {
    nulls.push_back({&place, std::make_unique<AMFNull>(place->version, place->parent)});
  }
  // The views open two brackets for such a node and close one.
  if (place->version == AMF_VERSION_3 && placeVersion == AMF_VERSION_0 &&
      place->referenceIndex != AMFNode::kNoReference) {
    unbalanced.push_back(place);
  }
  visit(place);
}

void Escaper::escapeText(AMFRaw* node) {
  if (!node->data || plainLength(node->data, node->length) == node->length) return;
  const std::string text = escaped(node->data, node->length);
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  if (text.size() == node->length && text.compare(0, text.size(), node->data, text.size()) == 0)
    return;
  std::unique_ptr<char[]> data(new char[text.size()]);
  text.copy(data.get(), text.size());
  texts.push_back({node, std::move(data), static_cast<std::uint32_t>(text.size())});
}

void Escaper::apply() noexcept {
  for (NewText& text : texts) {
    text.node->setValue(nullptr, 0);  // gives the old bytes back and needs none
    text.node->data = text.data.release();
    text.node->length = text.length;
  }
  for (AMFNode* node : unbalanced) node->referenceIndex = AMFNode::kNoReference;
  // Inner ones first: they may stand in outer ones, which go.
  for (auto last = nulls.rbegin(); last != nulls.rend(); ++last) {
    NewNull& replacement = *last;
    replacement.null->referenceIndex = (*replacement.place)->referenceIndex;
    delete *replacement.place;
    *replacement.place = replacement.null.release();
  }
}

}  // namespace

void escapeForViews(AMFNode* tree) {
  Escaper escaper;
  escaper.prepare(tree);
  escaper.apply();
}
