// SPDX-License-Identifier: Apache-2.0
//
// Walks the tree of a packet and prints one line for each node, indented by its depth:
//
//   walk_tree PACKET
#include <AMFGuard.h>
#include <AMF2JSON>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

static const char* const kKinds[] = {"null",   "bool",      "int",    "double",  "string",
                                     "object", "date",      "xml",    "array",   "bytearray",
                                     "pair",   "undefined", "header", "message", "package"};

static std::string textOf(const AMFString* text) {
  return std::string(" \"") + std::string(text->data ? text->data : "", text->length) + '"';
}

static void walk(const AMFNode* node, int depth) {
  if (node == nullptr) return;
  std::string line(static_cast<std::size_t>(2 * depth), ' ');
  line += kKinds[node->type];  // each kind has one class, so static_cast is enough below
  const AMFNode* value = nullptr;
  switch (node->type) {
    case AMFNode::AMF_STRING: line += textOf(static_cast<const AMFString*>(node)); break;
    case AMFNode::AMF_OBJECT: line += textOf(static_cast<const AMFObject*>(node)->className); break;
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
      line += textOf(static_cast<const AMFPair*>(node)->name);
      value = static_cast<const AMFPair*>(node)->value;
      break;
    case AMFNode::AMF_MESSAGE:
      line += textOf(static_cast<const AMFMessage*>(node)->targetUri);
      value = static_cast<const AMFMessage*>(node)->value;
      break;
    default: break;
  }
  if (node->referenceIndex != AMFNode::kNoReference) line += ", a reference";
  std::puts(line.c_str());
  walk(value, depth + 1);
  for (const AMFNode* const child : node->children) walk(child, depth + 1);
}

int main(int argc, char** argv) {
  std::ifstream in(argc == 2 ? argv[1] : "", std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  AMFProtocol protocol;
  walk(parseVerified(protocol, bytes.data(), bytes.size()), 0);
  return protocol.package == nullptr ? 1 : 0;
}
