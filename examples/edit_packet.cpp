// SPDX-License-Identifier: Apache-2.0
//
// Replaces the first string in the messages of a packet, and encodes the packet again, without
// references and with correct lengths:
//
//   edit_packet IN OUT TEXT
#include <AMFEdit.h>
#include <AMFGuard.h>
#include <AMF2JSON>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

// The first string value in the subtree, without names; null if there is none.
static AMFString* firstText(AMFNode* node) {
  if (node == nullptr) return nullptr;
  if (node->type == AMFNode::AMF_STRING) return static_cast<AMFString*>(node);
  if (node->type == AMFNode::AMF_PAIR) return firstText(static_cast<AMFPair*>(node)->value);
  if (node->type == AMFNode::AMF_MESSAGE) return firstText(static_cast<AMFMessage*>(node)->value);
  for (AMFNode* const child : node->children) {
    if (AMFString* const found = firstText(child)) return found;
  }
  return nullptr;
}

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  std::ifstream in(argv[1], std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const std::string newText = argv[3];

  AMFProtocol protocol;
  AMFVerifyResult checked;
  AMFPackage* const package =
      parseVerified(protocol, bytes.data(), bytes.size(), AMFVerifyLimits(), &checked);
  AMFString* const found = firstText(package);
  if (found == nullptr) {
    std::fprintf(stderr, "edit_packet: %s: %s\n", argv[1], package ? "no text" : checked.message);
    return 1;
  }
  found->setValue(newText.data(), static_cast<unsigned>(newText.size()));

  // References to the old text, or to a value that contains it, hold copies of their own. Without
  // the indexes each copy is written as it is in the tree.
  clearReferences(package);
  setTrueLengths(package);
  protocol.compile(package);

  std::ofstream out(argv[2], std::ios::binary);
  out.write(protocol.resultBuffer, static_cast<std::streamsize>(protocol.getResultLength()));
  if (!out.flush()) return 1;
  std::puts(protocol.getPackageInJSON(true).c_str());
  return 0;
}
