// SPDX-License-Identifier: Apache-2.0
//
// Prepares a tree for the views. Escapes strings, so that none can end the quotes that the views
// write around it (escape_text.h). Replaces numbers that are not finite by null, and clears the
// references for which the views write too few closing brackets. All new strings and nodes are made
// before any old one is changed. Tested by tests/guard/escape_test.cpp.
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AMFGuard.h"
#include "guard/escape_text.h"

using namespace amf2json;

namespace {

// ---- The changes ----------------------------------------------------------------------

struct NewText {
  AMFRaw* node;
  std::unique_ptr<char[]> data;
  std::uint32_t length;
};

struct NewNull {
  AMFNode** place;  // the pointer to the number
  std::unique_ptr<AMFNull> null;
};

class Escaper {
 public:
  explicit Escaper(AMFEscapeFor chosen) : view(chosen) {}
  void prepare(AMFNode* root);
  void apply() noexcept;

 private:
  // Pointers to nodes that have not been visited yet. The last range is the innermost.
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

  const AMFEscapeFor view;
  std::vector<Range> waiting;
  std::vector<NewText> texts;
  std::vector<NewNull> nulls;
  std::vector<AMFNode*> unbalanced;  // not owned
};

// Visits the nodes in the order of the tree: this is mostly their order in memory.
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
  const std::string_view old(node->data, node->data ? node->length : 0);
  if (guard::isPlainText(old, view)) return;
  const std::string text = guard::escapedText(old, view);
  if (text == old) return;
  std::unique_ptr<char[]> data(new char[text.size()]);
  text.copy(data.get(), text.size());
  texts.push_back({node, std::move(data), static_cast<std::uint32_t>(text.size())});
}

void Escaper::apply() noexcept {
  for (NewText& text : texts) {
    text.node->setValue(nullptr, 0);  // frees the old bytes and allocates nothing
    text.node->data = text.data.release();
    text.node->length = text.length;
  }
  for (AMFNode* node : unbalanced) node->referenceIndex = AMFNode::kNoReference;
  // Inner numbers are replaced first: an outer one is deleted with all nodes inside it.
  for (auto last = nulls.rbegin(); last != nulls.rend(); ++last) {
    NewNull& replacement = *last;
    replacement.null->referenceIndex = (*replacement.place)->referenceIndex;
    delete *replacement.place;
    *replacement.place = replacement.null.release();
  }
}

}  // namespace

void escapeForViews(AMFNode* tree, AMFEscapeFor view) {
  Escaper escaper(view);
  escaper.prepare(tree);
  escaper.apply();
}
