// SPDX-License-Identifier: Apache-2.0
//
// Property: a packet that passes the check goes through everything: it is read to where the check
// said, copied, shown by all views as the plain renderer shows it, and encoded; the bytes pass the
// check, read back as the same tree, and are the same bytes when that tree is encoded.
// Two things do not read back as they were, and are compared with what the rules of the format
// foretell: integers above 1FFFFF, and externalizable objects whose traits say more than the
// encoder writes.
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include "fuzz/input.h"
#include "support/plain_renderer.h"
#include "support/reading_model.h"
#include "support/same_tree.h"

namespace {

using fuzz::require;

constexpr std::uint64_t kPlainNodes = 60;  // the plain renderer takes its time

AMFVerifyLimits limits() {
  AMFVerifyLimits limits;
  limits.maxNodes = 20000;
  limits.maxTreeBytes = std::uint64_t{4} << 20;
  limits.maxStringBytes = 64 << 10;
  return limits;
}

void render(AMFProtocol& protocol, bool pretty) {
  protocol.getPackageInJSON(pretty);
  protocol.getPackageInJS(pretty);
  protocol.getPackageInJSON_and_JS(pretty);
  protocol.getPackageAsJSView(pretty);
}

void compareViews(AMFProtocol& protocol, bool pretty) {
  support::PlainRenderer plain;
  plain.package = protocol.package;
  require(plain.getPackageInJSON(pretty) == protocol.getPackageInJSON(pretty), "JSON view");
  require(plain.getPackageInJS(pretty) == protocol.getPackageInJS(pretty), "script view");
  require(plain.getPackageInJSON_and_JS(pretty) == protocol.getPackageInJSON_and_JS(pretty),
          "combined view");
  require(plain.getPackageAsJSView(pretty) == protocol.getPackageAsJSView(pretty), "statements");
  require(support::stateDifference(plain, protocol).empty(), "state after the views");
}

void showAll(AMFProtocol& protocol, std::uint64_t nodes) {
  // A packet object of its own for each layout: views leave things to the next.
  AMFProtocol second;
  second.package = protocol.package->clone();
  require(support::sameTree(protocol.package, second.package), "a copy is equal");
  for (AMFProtocol* const shown : {&protocol, &second}) {
    const bool pretty = shown == &protocol;
    nodes <= kPlainNodes ? compareViews(*shown, pretty) : render(*shown, pretty);
  }
}

// Whether something in the tree is written as something else.
bool drifts(const AMFNode* node) {
  if (!node) return false;
  switch (node->type) {
    case AMFNode::AMF_INT:
      if (static_cast<const AMFInt*>(node)->value > 0x1FFFFF) return true;
      break;
    case AMFNode::AMF_OBJECT: {
      const auto* const object = static_cast<const AMFObject*>(node);
      if (object->externalizable && (object->sealedCount != 0 || object->dynamic)) return true;
      break;
    }
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
      if (drifts(static_cast<const AMFPair*>(node)->value)) return true;
      break;
    case AMFNode::AMF_MESSAGE:
      if (drifts(static_cast<const AMFMessage*>(node)->value)) return true;
      break;
    default: break;
  }
  for (const AMFNode* const child : node->children) {
    if (drifts(child)) return true;
  }
  return false;
}

// Null: refused, with that text.
std::unique_ptr<std::string> encode(AMFProtocol& protocol, const AMFPackage* package,
                                    const char*& refusal) {
  std::unique_ptr<std::string> bytes;
  try {
    const char* const written = protocol.compile(package);
    bytes = std::make_unique<std::string>(written, protocol.getResultLength());
  } catch (const AMFException& e) {
    refusal = e.message;
  }
  protocol.clean();
  return bytes;
}

void readDrifted(AMFProtocol& protocol, const std::string* bytes, const char* refusal) {
  const support::Outcome outcome = support::ReadingModel::of(*protocol.package);
  require((refusal == nullptr) == (outcome.writerRefusal == nullptr), "refused or not");
  require(!refusal || std::strcmp(refusal, outcome.writerRefusal) == 0, "refusal of the encoder");
  if (!bytes) return;
  const fuzz::Exact exact(*bytes);
  const fuzz::Reader held;
  AMFProtocol& reader = *held;
  AMFVerifyResult checked;
  const AMFPackage* const again =
      parseVerified(reader, exact.data(), exact.size(), limits(), &checked);
  if (outcome.derailed) return;
  require((again == nullptr) == (outcome.readerRefusal != nullptr), "read back or not");
  require(again || std::strcmp(checked.message, outcome.readerRefusal) == 0, "refusal on the way");
  if (!again) return;
  support::normalise(reader.package);
  support::normalise(outcome.package.get());
  require(support::sameTree(reader.package, outcome.package.get()), "another tree than expected");
}

void readBack(AMFProtocol& protocol, const std::string& bytes) {
  const fuzz::Exact exact(bytes);
  const fuzz::Reader held;
  AMFProtocol& reader = *held;
  AMFVerifyResult checked;
  require(parseVerified(reader, exact.data(), exact.size(), limits(), &checked) != nullptr,
          "what is written passes the check");
  require(checked.consumed == bytes.size(), "what is written is read to its end");
  require(support::sameTree(protocol.package, reader.package), "what is written reads the same");
  const char* refusal = nullptr;
  const auto again = encode(reader, reader.package, refusal);
  require(again && *again == bytes, "the same bytes the second time");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Exact packet(std::string(reinterpret_cast<const char*>(data), size));
  AMFProtocol protocol;
  AMFVerifyResult checked;
  if (!parseVerified(protocol, packet.data(), packet.size(), limits(), &checked)) return 0;
  require(protocol.readCursor == packet.data() + checked.consumed, "the check's end");
  require(support::nodeCount(protocol.package) == checked.nodes, "the check's nodes");
  showAll(protocol, checked.nodes);

  const char* refusal = nullptr;
  const auto bytes = encode(protocol, protocol.package, refusal);
  if (drifts(protocol.package)) {
    readDrifted(protocol, bytes.get(), refusal);
  } else {
    require(bytes != nullptr, "refused by the encoder");
    readBack(protocol, *bytes);
  }
  return 0;
}
