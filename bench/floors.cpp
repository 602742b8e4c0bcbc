// SPDX-License-Identifier: Apache-2.0
//
// The floors: the tree's blocks with malloc, and text appended in small pieces.
#include "floors.h"

#include <cstdlib>

namespace {

constexpr std::size_t kPiece = 20;

void add(std::vector<std::size_t>& sizes, const AMFNode* node);

template <class Node>
const Node& as(const AMFNode& node) {
  return static_cast<const Node&>(node);
}

void addPair(std::vector<std::size_t>& sizes, const AMFPair& pair) {
  add(sizes, pair.name);
  add(sizes, pair.value);
}

void addMessage(std::vector<std::size_t>& sizes, const AMFMessage& message) {
  add(sizes, message.targetUri);
  add(sizes, message.responseUri);
  add(sizes, message.value);
}

std::size_t nodeSize(const AMFNode& node) {
  switch (node.type) {
    case AMFNode::AMF_NULL: return sizeof(AMFNull);
    case AMFNode::AMF_UNDEFINED: return sizeof(AMFUndefined);
    case AMFNode::AMF_BOOL: return sizeof(AMFBool);
    case AMFNode::AMF_INT: return sizeof(AMFInt);
    case AMFNode::AMF_DOUBLE: return sizeof(AMFDouble);
    case AMFNode::AMF_DATE: return sizeof(AMFDate);
    case AMFNode::AMF_STRING: return sizeof(AMFString);
    case AMFNode::AMF_XML: return sizeof(AMFXML);
    case AMFNode::AMF_RAW: return sizeof(AMFRaw);
    case AMFNode::AMF_OBJECT: return sizeof(AMFObject);
    case AMFNode::AMF_ARRAY: return sizeof(AMFArray);
    case AMFNode::AMF_PAIR: return sizeof(AMFPair);
    case AMFNode::AMF_HEADER: return sizeof(AMFHeader);
    case AMFNode::AMF_MESSAGE: return sizeof(AMFMessage);
    case AMFNode::AMF_PACKAGE: return sizeof(AMFPackage);
  }
  return sizeof(AMFNull);
}

void addOwned(std::vector<std::size_t>& sizes, const AMFNode& node) {
  switch (node.type) {
    case AMFNode::AMF_STRING:
    case AMFNode::AMF_XML:
    case AMFNode::AMF_RAW:
      if (as<AMFRaw>(node).length > 0) sizes.push_back(as<AMFRaw>(node).length);
      break;
    case AMFNode::AMF_OBJECT: add(sizes, as<AMFObject>(node).className); break;
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER: addPair(sizes, as<AMFPair>(node)); break;
    case AMFNode::AMF_MESSAGE: addMessage(sizes, as<AMFMessage>(node)); break;
    default: break;
  }
}

void add(std::vector<std::size_t>& sizes, const AMFNode* node) {
  if (node == nullptr) return;
  sizes.push_back(nodeSize(*node));
  addOwned(sizes, *node);
  if (node->children.empty()) return;
  sizes.push_back(node->children.size() * sizeof(AMFNode*));
  for (const AMFNode* child : node->children) add(sizes, child);
}

}  // namespace

std::vector<std::size_t> blockSizes(const AMFNode* root) {
  std::vector<std::size_t> sizes;
  add(sizes, root);
  return sizes;
}

void allocateAndFree(const std::vector<std::size_t>& sizes, std::vector<void*>& blocks) {
  blocks.clear();
  for (const std::size_t size : sizes) blocks.push_back(std::malloc(size));
  for (std::size_t i = blocks.size(); i > 0; --i) std::free(blocks[i - 1]);
}

void appendInPieces(std::string& text, std::size_t length) {
  static const char piece[kPiece + 1] = "\t\"value\" : \"text 20\"";
  text.clear();
  for (; length >= kPiece; length -= kPiece) text.append(piece, kPiece);
  text.append(piece, length);
}
