// SPDX-License-Identifier: Apache-2.0
//
// The check with a visitor for every field. The check itself is the same as in verify.cpp.
// Tested by tests/guard/visit_test.cpp.
#include "AMFGuard.h"
#include "guard/amf0_walk.h"
#include "guard/amf3_walk.h"
#include "guard/packet_walk.h"

using namespace amf2json;

namespace {

struct VisitorSink {
  static constexpr bool kActive = true;
  void field(AMFFieldKind kind, std::size_t offset, std::size_t length, std::uint64_t value,
             std::uint32_t depth, AMFFieldKind of) {
    visitor.field({kind, offset, length, value, depth, of});
  }
  AMFVerifyVisitor& visitor;
};

}  // namespace

AMFVerifyVisitor::~AMFVerifyVisitor() = default;

AMFVerifyResult visitPacket(const void* packet, std::size_t size, AMFVerifyVisitor& visitor,
                            const AMFVerifyLimits& limits) {
  VisitorSink sink{visitor};
  return guard::walk(packet, size, limits, sink);
}

const char* describe(AMFFieldKind kind) noexcept {
  static constexpr const char* kNames[] = {
      "version",        "headerCount", "messageCount", "mustUnderstand",
      "declaredLength", "marker0",     "marker3",      "length",
      "count",          "reference0",  "reference3",   "head",
      "integer",        "number",      "boolean",      "timeMs",
      "timeZone",       "headerName",  "targetUri",    "responseUri",
      "className",      "memberName",  "string",       "xml",
      "byteArray",      "end",         "amf0Entry",    "objectEntry",
      "stringEntry",    "traitsEntry"};
  const auto index = static_cast<std::size_t>(kind);
  return index < sizeof kNames / sizeof *kNames ? kNames[index] : "unknown field";
}
