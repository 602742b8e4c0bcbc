// SPDX-License-Identifier: Apache-2.0
//
// The public calls of the check. The check itself is in walker.h and the files that it names.
// Tested by tests/guard/ and tests/soak/guard_diff.cpp.
#include "AMFGuard.h"

#include <limits>

#include "guard/amf0_walk.h"
#include "guard/amf3_walk.h"
#include "guard/packet_walk.h"

using namespace amf2json;

AMFVerifyLimits AMFVerifyLimits::unlimited() noexcept {
  AMFVerifyLimits limits;
  limits.maxPacketBytes = std::numeric_limits<std::size_t>::max();
  limits.maxDepth = std::numeric_limits<std::uint32_t>::max();
  limits.maxNodes = std::numeric_limits<std::uint64_t>::max();
  limits.maxTreeBytes = std::numeric_limits<std::uint64_t>::max();
  limits.maxCopiedBytes = std::numeric_limits<std::uint64_t>::max();
  limits.maxStringBytes = std::numeric_limits<std::uint32_t>::max();
  limits.maxSwitchedReferences = std::numeric_limits<std::uint32_t>::max();
  return limits;
}

const char* describe(AMFVerifyStatus status) noexcept {
  static constexpr const char* kTexts[] = {"ok",
                                           "no packet",
                                           "packet too large",
                                           "truncated",
                                           "malformed",
                                           "depth limit",
                                           "node limit",
                                           "tree size limit",
                                           "copy limit",
                                           "string limit",
                                           "switched reference limit",
                                           "out of memory"};
  const auto index = static_cast<std::size_t>(status);
  return index < sizeof kTexts / sizeof *kTexts ? kTexts[index] : "unknown status";
}

AMFVerifyResult verifyPacket(const void* packet, std::size_t size,
                             const AMFVerifyLimits& limits) noexcept {
  guard::NoSink sink;
  return guard::walk(packet, size, limits, sink);
}

AMFPackage* parseVerified(AMFProtocol& protocol, const void* packet, std::size_t size,
                          const AMFVerifyLimits& limits, AMFVerifyResult* result) {
  const AMFVerifyResult checked = verifyPacket(packet, size, limits);
  if (result) *result = checked;
  if (checked.status != AMFVerifyStatus::ok) return nullptr;
  return protocol.parse(static_cast<const char*>(packet));
}
