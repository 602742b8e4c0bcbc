// SPDX-License-Identifier: Apache-2.0
//
// Decodes a packet, changes the first text in its messages, and encodes it again without references
// and with true lengths:
//
//   edit_packet IN OUT TEXT
//
// Prints the JSON text of the changed packet.
#include <AMFEdit.h>
#include <AMFGuard.h>
#include <AMF2JSON>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <string>

namespace {

int fail(const char* what, const char* detail) {
  std::fprintf(stderr, "edit_packet: %s: %s\n", what, detail);
  return 1;
}

// The first string value in the subtree, names left aside; null when there is none.
AMFString* firstText(AMFNode* node) {
  if (node == nullptr) return nullptr;
  if (node->type == AMFNode::AMF_STRING) return dynamic_cast<AMFString*>(node);
  if (auto* const pair = dynamic_cast<AMFPair*>(node)) return firstText(pair->value);
  for (AMFNode* const child : node->children) {
    if (AMFString* const found = firstText(child)) return found;
  }
  return nullptr;
}

AMFString* firstText(const AMFPackage& package) {
  for (unsigned i = 0; const AMFMessage* const message = package.getMessage(i); ++i) {
    if (AMFString* const found = firstText(message->value)) return found;
  }
  return nullptr;
}

int run(const char* input, const char* output, const char* newText) {
  std::ifstream in(input, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in) return fail("cannot read", input);

  AMFProtocol protocol;
  AMFVerifyResult checked;
  AMFPackage* const package =
      parseVerified(protocol, bytes.data(), bytes.size(), AMFVerifyLimits(), &checked);
  if (package == nullptr) return fail(input, checked.message);

  AMFString* const found = firstText(*package);
  if (found == nullptr) return fail(input, "no text in any message");
  found->setValue(newText, static_cast<unsigned>(std::strlen(newText)));

  // References to the old text, or to what it stood in, hold copies of their own. Clearing all
  // indexes makes each of them be written as it stands in the tree.
  clearReferences(package);
  setTrueLengths(package);
  protocol.compile(package);

  std::ofstream out(output, std::ios::binary);
  out.write(protocol.resultBuffer, static_cast<std::streamsize>(protocol.getResultLength()));
  if (!out.flush()) return fail("cannot write", output);
  std::puts(protocol.getPackageInJSON(true).c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: edit_packet IN OUT TEXT\n", stderr);
    return 2;
  }
  try {
    return run(argv[1], argv[2], argv[3]);
  } catch (const AMFException& e) {
    return fail(argv[1], e.message);
  } catch (const std::bad_alloc&) {
    return fail(argv[1], "out of memory");
  }
}
