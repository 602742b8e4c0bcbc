// SPDX-License-Identifier: Apache-2.0
#include "support/guard_agreement.h"

#include <algorithm>
#include <cstdio>

#include "codec/big_endian.h"
#include "support/counted_heap.h"
#include "support/tree_census.h"

using namespace amf2json;

namespace support {

using Status = AMFVerifyStatus;

bool differ(const char* what, unsigned long long guard, unsigned long long reader) {
  std::printf("DIFFERENCE in %s: guard %llu, reader %llu\n", what, guard, reader);
  return false;
}

namespace {

bool compareTree(AMFProtocol& protocol, const AMFVerifyResult& checked, Counts& counts) {
  Census census;
  const std::uint32_t depth = census.take(protocol.package, AMF_VERSION_0);
  // The package's version may be 3: it is no reference.
  AGREE("nodes", checked.nodes, census.nodes);
  AGREE("depth", checked.depth, depth);
  AGREE("string bytes", checked.stringBytes, census.stringBytes);
  AGREE("raw bytes", checked.rawBytes, census.rawBytes);
  AGREE("switched references", checked.switchedReferences, census.switchedReferences);
  const std::uint64_t before = liveBytes;
  delete protocol.package;
  protocol.package = nullptr;
  const std::uint64_t heap = before - liveBytes;
  if (heap > checked.treeBytes) return differ("tree bytes", checked.treeBytes, heap);
  const double part = static_cast<double>(heap) / static_cast<double>(checked.treeBytes);
  counts.loosest = std::min(counts.loosest, part);
  counts.tightest = std::max(counts.tightest, part);
  counts.nodes += census.nodes;
  return true;
}

}  // namespace

bool agree(AMFProtocol& protocol, const std::string& packet, Counts& counts) {
  const AMFVerifyResult checked =
      verifyPacket(packet.data(), packet.size(), AMFVerifyLimits::unlimited());
  ++counts.statuses[checked.status];
  counts.references += checked.references;
  counts.bytes += packet.size();
  if (checked.nodes > 100000 || checked.depth > 5000) {
    ++counts.skipped;
    return true;
  }
  const char* const begin = packet.data();
  big_endian::inputEnd = begin + packet.size();
  Status status = Status::ok;
  const char* text = nullptr;
  std::uint64_t missing = 0;
  try {
    protocol.parse(begin);
  } catch (const AMFException& refusal) {
    status = Status::malformed;
    text = refusal.message;
    ++counts.texts[text];
  } catch (const big_endian::EndOfInput& end) {
    status = Status::truncated;
    missing = end.missing;
  }
  const auto cursor = static_cast<std::size_t>(protocol.readCursor - begin);
  AGREE("status", checked.status, status);
  AGREE("cursor", checked.consumed, cursor);
  AGREE("offset", checked.offset, status == Status::ok ? 0 : cursor);
  AGREE("missing bytes", checked.needed, missing);
  if (text && checked.message != text) return differ("text", 0, 1);
  if (protocol.package) {
    const std::uint32_t headers = protocol.package->headerCount;
    AGREE("headers", checked.headers, headers);
    AGREE("messages", checked.messages, protocol.package->children.size() - headers);
  }
  if (status == Status::ok) return compareTree(protocol, checked, counts);
  delete protocol.package;
  protocol.package = nullptr;
  return true;
}

const Measure kMeasures[5] = {
    {Status::nodeLimit, [](const AMFVerifyResult& r) { return r.nodes; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxNodes = v; }},
    {Status::treeLimit, [](const AMFVerifyResult& r) { return r.treeBytes; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxTreeBytes = v; }},
    {Status::depthLimit, [](const AMFVerifyResult& r) -> std::uint64_t { return r.depth; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxDepth = static_cast<std::uint32_t>(v); }},
    {Status::copyLimit, [](const AMFVerifyResult& r) { return r.copiedBytes; },
     [](AMFVerifyLimits& l, std::uint64_t v) { l.maxCopiedBytes = v; }},
    {Status::switchedReferenceLimit,
     [](const AMFVerifyResult& r) -> std::uint64_t { return r.switchedReferences; },
     [](AMFVerifyLimits& l, std::uint64_t v) {
       l.maxSwitchedReferences = static_cast<std::uint32_t>(v);
     }},
};

namespace {

// Where the sum over the first bytes passes the limit: found by halving, because it never shrinks.
std::size_t crossing(const std::string& packet, const Measure& measure, std::uint64_t limit) {
  std::size_t below = 0, above = packet.size();
  while (below < above) {
    const std::size_t middle = below + (above - below) / 2;
    const AMFVerifyResult cut = verifyPacket(packet.data(), middle, AMFVerifyLimits::unlimited());
    if (measure.measured(cut) > limit) {
      above = middle;
    } else {
      below = middle + 1;
    }
  }
  return above;
}

}  // namespace

bool strikesInPlace(const std::string& packet, const Measure& measure, std::uint64_t limit,
                    Counts& counts) {
  const AMFVerifyLimits unlimited = AMFVerifyLimits::unlimited();
  AMFVerifyLimits limits = unlimited;
  measure.set(limits, limit);
  const AMFVerifyResult struck = verifyPacket(packet.data(), packet.size(), limits);
  ++counts.statuses[struck.status];
  AGREE("status above the limit", struck.status, measure.status);
  const std::size_t expected = crossing(packet, measure, limit);
  // An AMF0 name counts once the byte after it is known.
  const AMFVerifyResult before = verifyPacket(packet.data(), struck.offset, unlimited);
  const bool lookedAhead =
      expected == struck.offset + 1 && before.offset == struck.offset && before.needed == 1;
  if (!lookedAhead) AGREE("offset of the limit", struck.offset, expected);
  return true;
}

}  // namespace support
