// SPDX-License-Identifier: Apache-2.0
//
// Property: the check and the readers report the same for every packet: complete, truncated at the
// same field with as many bytes missing, or refused with the same text; and the tree is as large as
// the check reports. The readers are those of tests/soak/guard_diff.cpp, which know where the input
// ends.
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include "codec/big_endian.h"
#include "fuzz/input.h"
#include "support/tree_census.h"

using namespace amf2json;

namespace {

using fuzz::require;
using Status = AMFVerifyStatus;

constexpr std::uint64_t kMostNodes = 3000;  // tests/soak/guard_diff.cpp builds the large ones
constexpr std::uint32_t kMostDepth = 500;

struct Read {
  Status status = Status::ok;
  const char* text = nullptr;
  std::uint64_t missing = 0;
};

Read read(AMFProtocol& protocol, const fuzz::Exact& packet) {
  big_endian::inputEnd = packet.end();
  try {
    protocol.parse(packet.data());
    return {};
  } catch (const AMFException& refusal) {
    return {Status::malformed, refusal.message, 0};
  } catch (const big_endian::EndOfInput& end) {
    return {Status::truncated, nullptr, end.missing};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Reader held;
  AMFProtocol& protocol = *held;
  const fuzz::Exact packet(std::string(reinterpret_cast<const char*>(data), size));
  const AMFVerifyResult checked =
      verifyPacket(packet.data(), packet.size(), AMFVerifyLimits::unlimited());
  if (checked.nodes > kMostNodes || checked.depth > kMostDepth) return 0;
  if (checked.treeBytes > kMostNodes * 200) return 0;

  const Read done = read(protocol, packet);
  const auto cursor = static_cast<std::size_t>(protocol.readCursor - packet.data());
  require(checked.status == done.status, "status");
  require(checked.consumed == cursor, "cursor");
  require(checked.offset == (done.status == Status::ok ? 0 : cursor), "offset");
  require(checked.needed == done.missing, "missing bytes");
  require(!done.text || checked.message == done.text, "text");
  if (done.status != Status::ok) return 0;

  support::Census census;
  const std::uint32_t depth = census.take(protocol.package, AMF_VERSION_0);
  require(checked.depth == depth, "depth");
  require(checked.nodes == census.nodes, "nodes");
  require(checked.stringBytes == census.stringBytes, "string bytes");
  require(checked.rawBytes == census.rawBytes, "raw bytes");
  require(checked.switchedReferences == census.switchedReferences, "switched references");
  require(checked.headers == protocol.package->headerCount, "headers");
  require(checked.messages == protocol.package->children.size() - checked.headers, "messages");
  return 0;
}
