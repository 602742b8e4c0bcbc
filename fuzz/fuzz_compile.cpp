// SPDX-License-Identifier: Apache-2.0
//
// Property: for any tree that the interface allows a host to build, the rules of the format predict
// the result: the encoder refuses it, or writes it. What is written is refused by the check with
// the reader's text, or reads back as the predicted tree, which is the tree itself unless a loss is
// named.
//
// Input: a script. A value is a byte, its kind in the low four bits, then what that kind takes; the
// high bits put it into the other version, give it a reference index and make it odd.
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include "fuzz/input.h"
#include "support/reading_model.h"
#include "support/same_tree.h"
#include "support/trees.h"

namespace {

using fuzz::require;
using trees::k0;
using trees::k3;

class TreeScript {
 public:
  TreeScript(const std::uint8_t* data, std::size_t size) : in(data, size) {}

  std::unique_ptr<AMFPackage> package() {
    auto tree = std::make_unique<AMFPackage>(static_cast<AMFVersion>(in.u8()));
    const std::uint8_t counts = in.u8();
    for (int remaining = counts & 3; remaining > 0; --remaining)
      tree->appendHeader(header(), false);
    for (int remaining = counts >> 2 & 3; remaining > 0; --remaining)
      tree->appendMessage(message(), false);
    // Not allowed: a header count that takes a message for a header.
    if ((counts & 0x0C) == 0) tree->headerCount += counts >> 4 & 1;
    if (counts & 0x20) tree->children.push_back(nullptr);
    return tree;
  }

 private:
  static constexpr std::uint8_t kOther = 0x10, kReferring = 0x20, kOdd = 0x40;
  static constexpr unsigned kDeepest = 40;

  // One byte for small numbers.
  std::uint32_t number() {
    const std::uint8_t first = in.u8();
    return first < 0xF0 ? first : first < 0xFE ? (2u << (first - 0xE0)) - 1 + in.u8() : in.u32();
  }

  // A byte of length; FF: around the longest short string.
  std::string bytes() {
    const std::uint8_t length = in.u8();
    return length < 0xFF ? in.text(length) : std::string(65534u + in.u8() % 4, 'l');
  }

  // Bit 0: no such node. Bits 1 to 3 make it odd.
  AMFString* name(AMFVersion version) {
    const std::uint8_t form = in.u8();
    if (form == 0xFF) return nullptr;
    auto* const node = new AMFString(form & 0x80 ? static_cast<AMFVersion>(form) : version);
    const std::string text = form & 0x40 ? bytes() : in.text(form & 7);
    node->setValue(text.data(), static_cast<unsigned>(text.size()));
    if (form & 0x20) node->referenceIndex = number();
    return node;
  }

  template <class Member>
  static void replace(Member*& member, Member* by) {
    delete member;
    member = by;
  }

  AMFHeader* header() {
    auto* const node = new AMFHeader;
    const std::uint8_t form = in.u8();
    node->mustUnderstand = form & 1;
    node->length = number();
    if (form & 2) node->version = static_cast<AMFVersion>(in.u8());
    replace(node->name, name(k0));
    replace(node->value, value(k0, 0));
    return node;
  }

  AMFMessage* message() {
    auto* const node = new AMFMessage;
    const std::uint8_t form = in.u8();
    node->length = number();
    if (form & 2) node->version = static_cast<AMFVersion>(in.u8());
    replace(node->targetUri, name(k0));
    replace(node->responseUri, name(k0));
    replace(node->value, value(k0, 0));
    return node;
  }

  // Sometimes null.
  AMFNode* value(AMFVersion place, unsigned depth) {
    const std::uint8_t form = in.empty() ? 0 : in.u8();
    if (form == 0xFF) return nullptr;
    AMFVersion version = place;
    if (form & kOther) version = place == k0 ? k3 : k0;
    if ((form & (kOther | kOdd)) == (kOther | kOdd)) version = static_cast<AMFVersion>(in.u8());
    AMFNode* const node = kind(depth > kDeepest ? 0 : form & 15, version, depth, form & kOdd);
    if (form & kReferring) node->referenceIndex = number();
    return node;
  }

  AMFNode* kind(unsigned kind, AMFVersion version, unsigned depth, bool odd) {
    switch (kind) {
      case AMFNode::AMF_NULL: return trees::null(version);
      case AMFNode::AMF_BOOL: return trees::booleanByte(version, in.u8());
      case AMFNode::AMF_INT: return trees::integer(version, number());
      case AMFNode::AMF_DOUBLE: return trees::number(version, in.u8());
      case AMFNode::AMF_STRING: return filled(new AMFString(version), odd);
      case AMFNode::AMF_OBJECT: return object(version, depth, odd);
      case AMFNode::AMF_DATE: return trees::date(version, in.u8());
      case AMFNode::AMF_XML: {
        auto* const node = new AMFXML(version);
        node->document = in.u8();
        return filled(node, odd);
      }
      case AMFNode::AMF_ARRAY: return array(version, depth, odd);
      case AMFNode::AMF_RAW: return filled(new AMFRaw(version), odd);
      case AMFNode::AMF_PAIR: return pair(version, depth);
      case AMFNode::AMF_UNDEFINED: return trees::undefined(version);
      case AMFNode::AMF_HEADER: return new AMFPair(version, nullptr, AMFNode::AMF_HEADER);
      case AMFNode::AMF_PACKAGE: return new AMFPackage(version);
      default: return new trees::Stranger(15 + number() % 0x10000, version);
    }
  }

  template <class Node>
  Node* filled(Node* node, bool odd) {
    const std::string text = bytes();
    node->setValue(text.data(), static_cast<unsigned>(text.size()));
    if (odd && node->length == 0) node->length = number();  // a length without bytes
    return node;
  }

  AMFPair* pair(AMFVersion version, unsigned depth) {
    auto* const node = new AMFPair(version);
    replace(node->name, name(version));
    replace(node->value, value(version, depth + 1));
    return node;
  }

  AMFArray* array(AMFVersion version, unsigned depth, bool odd) {
    auto* const node = new AMFArray(version);
    const std::uint8_t form = in.u8();
    node->strict = form >> 6 & 1;
    for (unsigned remaining = form & 15; remaining > 0 && !in.empty(); --remaining) {
      AMFNode* const child = value(version, depth + 1);
      const bool counted = child && child->type != AMFNode::AMF_PAIR;
      if (child) child->parent = node;
      node->children.push_back(child);
      if (counted) ++node->denseCount;
    }
    if (odd) node->denseCount = number();
    if (odd) node->strict = in.u8();
    return node;
  }

  AMFObject* object(AMFVersion version, unsigned depth, bool odd) {
    auto* const node = new AMFObject(version);
    const std::uint8_t form = in.u8();
    const unsigned members = form & 7;
    const bool named = form & 0x08;
    node->dynamic = form & 0x10;
    node->externalizable = form & 0x20;
    if (named) replace(node->className, form & 0x80 ? accepted(version) : name(version));
    if (form & 0x40) node->traitsIndex = number();
    node->sealedCount = version == k0 ? 0 : node->dynamic ? members / 2 : members;
    for (unsigned i = 0; i < members; ++i) {
      AMFNode* const child = odd ? value(version, depth + 1) : pair(version, depth + 1);
      if (child) child->parent = node;
      node->children.push_back(child);
    }
    if (odd) node->sealedCount = number();
    return node;
  }

  AMFString* accepted(AMFVersion version) {
    const char* const kClasses[] = {cArrayClass, cObjProxyClass, cSerialProxy, cAsyncMsg,
                                    cCommandMsg, cDataMsg,       cPagedMsg,    cUpdateCollectMsg};
    return trees::string(version, kClasses[in.u8() & 7]);
  }

  fuzz::Input in;
};

AMFVerifyLimits limits() {
  AMFVerifyLimits limits;
  limits.maxDepth = 500;
  limits.maxNodes = 20000;
  limits.maxTreeBytes = std::uint64_t{8} << 20;
  limits.maxSwitchedReferences = 0xFFFFFFFF;
  return limits;
}

std::string listed(const AMFProtocol& protocol) {
  std::string bytes;
  for (const auto& piece : protocol.outputChunks) bytes.append(piece.bytes, piece.length);
  return bytes;
}

void checkRefusal(const char* actual, const char* expected) {
  const char* const is = actual ? actual : "none";
  const char* const should = expected ? expected : "none";
  if (std::strcmp(is, should) == 0) return;
  std::fprintf(stderr, "refusal: %s; expected: %s\n", is, should);
  require(false, "another refusal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::unique_ptr<AMFPackage> tree = TreeScript(data, size).package();
  AMFProtocol writer;
  const char* refused = nullptr;
  try {
    const char* const joined = writer.compile(tree.get());
    require(listed(writer) == std::string(joined, writer.getResultLength()), "the pieces, joined");
  } catch (const AMFException& e) {
    refused = e.message;
  }
  const fuzz::Exact exact(listed(writer));
  const fuzz::Reader held;
  AMFProtocol& reader = *held;
  AMFVerifyResult checked;
  const AMFPackage* const read =
      parseVerified(reader, exact.data(), exact.size(), limits(), &checked);
  if (checked.status > AMFVerifyStatus::malformed) return 0;  // copies of copies: too much to build

  const support::Outcome outcome = support::ReadingModel::of(*tree);
  checkRefusal(refused, outcome.writerRefusal);
  if (refused || outcome.derailed) return 0;
  checkRefusal(read ? nullptr : checked.message, outcome.readerRefusal);
  if (!read) return 0;
  require(checked.consumed == exact.size(), "what is written is read to its end");
  support::normalise(reader.package);
  support::normalise(outcome.package.get());
  require(support::sameTree(reader.package, outcome.package.get()), "another tree than expected");
  if (!outcome.losses.empty()) return 0;
  support::normalise(tree.get());
  require(support::sameTree(reader.package, tree.get()), "a loss without a name");
  return 0;
}
