// SPDX-License-Identifier: Apache-2.0
//
// Changes of trees: clearReferences(), member(), setTrueLengths(). Tested by
// tests/edit/edit_test.cpp.
#include "AMFEdit.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <vector>

// ---- References

// Tests the class, not the type code: a pair, for example, may have any type code.
void clearReferences(AMFNode* tree) noexcept {
  if (!tree) return;
  tree->referenceIndex = AMFNode::kNoReference;
  for (AMFNode* const child : tree->children) clearReferences(child);
  if (auto* const pair = dynamic_cast<AMFPair*>(tree)) {
    clearReferences(pair->name);
    clearReferences(pair->value);
  } else if (auto* const object = dynamic_cast<AMFObject*>(tree)) {
    object->traitsIndex = AMFNode::kNoReference;
    clearReferences(object->className);
  } else if (auto* const message = dynamic_cast<AMFMessage*>(tree)) {
    clearReferences(message->targetUri);
    clearReferences(message->responseUri);
    clearReferences(message->value);
  }
}

// ---- Members

namespace {

bool isNamed(const AMFPair& pair, std::string_view name) {
  if (!pair.name || pair.name->length != name.size()) return false;
  if (name.empty()) return true;
  return pair.name->data && std::equal(name.begin(), name.end(), pair.name->data);
}

}  // namespace

// Tests the class of a child, not its type code: a pair may have any type code.
const AMFNode* member(const AMFNode* node, std::string_view name) noexcept {
  if (!node || (node->type != AMFNode::AMF_OBJECT && node->type != AMFNode::AMF_ARRAY)) {
    return nullptr;
  }
  const auto isWanted = [name](const AMFNode* child) {
    const auto* const pair = dynamic_cast<const AMFPair*>(child);
    return pair && isNamed(*pair, name);
  };
  const auto& children = node->children;
  const auto found = std::find_if(children.rbegin(), children.rend(), isWanted);
  return found == children.rend() ? nullptr : static_cast<const AMFPair*>(*found)->value;
}

// ---- Lengths

namespace {

constexpr std::uint64_t kMaxLength = 0xFFFFFFFEu;  // FFFFFFFF means unknown

// The bytes before a header's value: u16 name length, name, u8 must-understand, u32 length.
std::uint64_t envelopeLength(const AMFHeader& header) {
  return 2 + std::uint64_t{header.name->length} + 1 + 4;
}

// The bytes before a message's value: u16 length and bytes of both URIs, u32 length.
std::uint64_t envelopeLength(const AMFMessage& message) {
  return 2 + std::uint64_t{message.targetUri->length} + 2 + message.responseUri->length + 4;
}

// Counts the bytes of the encoded header or message, and discards its pieces.
std::uint32_t valueLength(AMFProtocol& scratch, std::uint64_t envelope) {
  std::uint64_t total = 0;
  for (const auto& piece : scratch.outputChunks) total += piece.length;
  scratch.clean();
  if (total - envelope > kMaxLength) throw std::bad_alloc();
  return static_cast<std::uint32_t>(total - envelope);
}

}  // namespace

void setTrueLengths(AMFPackage* package) {
  if (!package) return;
  AMFProtocol scratch;
  std::vector<std::uint32_t> lengths;
  for (std::uint32_t i = 0; i < package->headerCount; ++i) {
    const AMFHeader* const header = package->getHeader(i);
    // Throws for null, for a missing name, and for a value that cannot be encoded.
    scratch.setHeader(header);
    lengths.push_back(valueLength(scratch, envelopeLength(*header)));
  }
  const auto messageCount =
      static_cast<std::uint32_t>(package->children.size() - package->headerCount);
  for (std::uint32_t i = 0; i < messageCount; ++i) {
    const AMFMessage* const message = package->getMessage(i);
    scratch.setMessage(message);
    lengths.push_back(valueLength(scratch, envelopeLength(*message)));
  }

  // Nothing below throws.
  for (std::uint32_t i = 0; i < package->headerCount; ++i) {
    package->getHeader(i)->length = lengths[i];
  }
  for (std::uint32_t i = 0; i < messageCount; ++i) {
    package->getMessage(i)->length = lengths[package->headerCount + i];
  }
}
