// SPDX-License-Identifier: Apache-2.0
//
// Property: the check reads no byte outside of the packet. A limit refuses only packets that exceed
// it. Bytes after the packet change nothing, and bytes cut from its end are reported as missing.
// The visitor sees every byte once, except those of a truncated integer.
//
// Input: a byte of bits that choose limits, a byte for each limit chosen, the packet.
#include <AMFGuard.h>

#include "fuzz/input.h"
#include "support/same_result.h"

namespace {

using fuzz::Exact;
using fuzz::require;
using support::same;
using Status = AMFVerifyStatus;

// Small values one by one, then the powers of two.
std::uint32_t limit(std::uint8_t byte) {
  return byte < 0xE0 ? byte : 1u << (byte - 0xE0u);
}

AMFVerifyLimits limitsFrom(fuzz::Input& input) {
  AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
  const std::uint8_t chosen = input.u8();
  if (chosen & 0x01) limits.maxPacketBytes = limit(input.u8());
  if (chosen & 0x02) limits.maxDepth = limit(input.u8());
  if (chosen & 0x04) limits.maxNodes = limit(input.u8());
  if (chosen & 0x08) limits.maxTreeBytes = std::uint64_t{limit(input.u8())} * 64;
  if (chosen & 0x10) limits.maxCopiedBytes = std::uint64_t{limit(input.u8())} * 64;
  if (chosen & 0x20) limits.maxStringBytes = limit(input.u8());
  if (chosen & 0x40) limits.maxSwitchedReferences = limit(input.u8());
  if (chosen & 0x80) limits = AMFVerifyLimits();
  return limits;
}

AMFVerifyResult verify(const std::string& packet, const AMFVerifyLimits& limits) {
  const Exact exact(packet);
  return verifyPacket(exact.data(), exact.size(), limits);
}

bool within(const AMFVerifyResult& r, const AMFVerifyLimits& limits) {
  return r.depth <= limits.maxDepth && r.nodes <= limits.maxNodes &&
         r.treeBytes <= limits.maxTreeBytes && r.copiedBytes <= limits.maxCopiedBytes &&
         r.switchedReferences <= limits.maxSwitchedReferences;
}

void checkLimited(const AMFVerifyResult& limited, const AMFVerifyResult& whole,
                  const AMFVerifyLimits& limits) {
  require(limited.status != Status::nullPacket && limited.status != Status::outOfMemory, "status");
  if (limited.status <= Status::malformed && limited.status != Status::packetTooLarge) {
    require(same(limited, whole), "a limit that does not strike changes nothing");
    require(within(limited, limits), "what passes is within its limits");
    return;
  }
  require(std::strcmp(limited.message, describe(limited.status)) == 0, "a limit names itself");
  require(limited.offset == limited.consumed && limited.consumed <= whole.consumed,
          "a limit strikes before the end");
  require(limited.nodes <= whole.nodes && limited.treeBytes <= whole.treeBytes, "sums grow");
}

// With all but one of the missing bytes it fails at the same field; with all of them, later.
void checkTruncated(const std::string& packet, const AMFVerifyResult& whole) {
  require(whole.needed > 0 && whole.offset <= packet.size(), "truncated");
  if (whole.needed > 4096) return;
  const auto missing = static_cast<std::size_t>(whole.needed);
  const AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
  const AMFVerifyResult less = verify(packet + std::string(missing - 1, '\0'), limits);
  require(less.status == Status::truncated && less.offset == whole.offset && less.needed == 1,
          "one byte is still missing");
  const AMFVerifyResult more = verify(packet + std::string(missing, '\0'), limits);
  require(more.status != Status::truncated || more.offset > whole.offset, "nothing is missing");
}

void checkOk(const std::string& packet, const AMFVerifyResult& whole) {
  const AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
  require(same(verify(packet + "\x11\xFF", limits), whole), "bytes after the packet");
  require(same(verify(packet.substr(0, whole.consumed), limits), whole), "no byte more is needed");
  require(verify(packet.substr(0, whole.consumed - 1), limits).status == Status::truncated,
          "the last byte is needed");
}

class Bytes : public AMFVerifyVisitor {
 public:
  void field(const AMFVerifyField& field) override {
    require(field.offset == end, "fields follow one another");
    require(field.kind < AMFFieldKind::end || field.length == 0, "marks take no bytes");
    end += field.length;
  }
  std::size_t end = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const AMFVerifyLimits limits = limitsFrom(input);
  const std::string packet = input.rest();
  const AMFVerifyResult whole = verify(packet, AMFVerifyLimits::unlimited());
  require(whole.consumed <= packet.size(), "inside the packet");
  if (whole.status == Status::ok) {
    checkOk(packet, whole);
  } else if (whole.status == Status::truncated) {
    checkTruncated(packet, whole);
  } else {
    require(whole.status == Status::malformed, "status without limits");
  }
  const AMFVerifyResult limited = verify(packet, limits);
  checkLimited(limited, whole, limits);
  Bytes bytes;
  const Exact exact(packet);
  require(same(visitPacket(exact.data(), exact.size(), bytes, limits), limited), "visited alike");
  const std::size_t hidden = limited.consumed - bytes.end;  // wraps for too much
  require(hidden == 0 || (limited.status == Status::truncated && hidden <= 3),
          "every byte is shown");
  return 0;
}
