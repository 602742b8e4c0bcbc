// SPDX-License-Identifier: Apache-2.0
//
// The guard against the readers, over any number of generated packets: two readings of the format
// that share nothing but the texts have to agree on status, text, cursor, what is missing, nodes,
// depth and text bytes, and the tree must never take more heap than the guard said. The readers are
// built once more for this, with loads that know where the input ends. Limits are tried too: each
// strikes exactly where its sum crosses it.
//
//   guard_diff [packets [seed]]     prints what occurred how often; 1 at the first difference
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "codec/reader_texts.h"
#include "support/counted_heap.h"
#include "support/guard_agreement.h"
#include "support/guard_generator.h"
#include "support/guard_packets.h"
#include "support/hex.h"

namespace {

using Status = AMFVerifyStatus;
using support::Counts;
using support::Dice;
using support::differ;
using support::kMeasures;
using support::liveBlocks;
using support::Measure;
using support::strikesInPlace;

// ---- Limits ------------------------------------------------------------------------------------

bool tryLimit(const std::string& packet, Dice& dice, Counts& counts) {
  const AMFVerifyLimits unlimited = AMFVerifyLimits::unlimited();
  const AMFVerifyResult whole = verifyPacket(packet.data(), packet.size(), unlimited);
  std::uint32_t chosen = 4;  // the rarest first
  while (chosen > 0 && (kMeasures[chosen].measured(whole) == 0 || dice.oneIn(chosen + 2))) --chosen;
  const Measure& measure = kMeasures[chosen];
  const std::uint64_t measured = measure.measured(whole);
  AMFVerifyLimits limits = unlimited;
  measure.set(limits, measured);
  AGREE("status at the limit", verifyPacket(packet.data(), packet.size(), limits).status,
        whole.status);
  if (measured == 0) return true;
  const std::uint64_t limit = dice.oneIn(2) ? measured - 1 : dice.next() % measured;
  return strikesInPlace(packet, measure, limit, counts);
}

bool tryStringLimit(const std::string& packet, Dice& dice, Counts& counts) {
  AMFVerifyLimits limits = AMFVerifyLimits::unlimited();
  limits.maxStringBytes = dice.below(4);
  const AMFVerifyResult struck = verifyPacket(packet.data(), packet.size(), limits);
  if (struck.status != Status::stringLimit) {
    const AMFVerifyResult whole =
        verifyPacket(packet.data(), packet.size(), AMFVerifyLimits::unlimited());
    AGREE("status under the string limit", struck.status, whole.status);
    AGREE("offset under the string limit", struck.offset, whole.offset);
    return true;
  }
  ++counts.statuses[struck.status];
  // Without the bytes that follow, the text is what is missing, and it is too long.
  const AMFVerifyResult cut =
      verifyPacket(packet.data(), struck.offset, AMFVerifyLimits::unlimited());
  AGREE("status at the text", cut.status, Status::truncated);
  AGREE("offset of the text", struck.offset, cut.offset);
  if (cut.needed <= limits.maxStringBytes)
    return differ("length", limits.maxStringBytes, cut.needed);
  return true;
}

bool trySize(const std::string& packet, Counts& counts) {
  AMFVerifyLimits limits;
  limits.maxPacketBytes = packet.size() - 1;
  const AMFVerifyResult large = verifyPacket(packet.data(), packet.size(), limits);
  ++counts.statuses[large.status];
  AGREE("status of a large packet", large.status, Status::packetTooLarge);
  return true;
}

// One kind of node each, many times, and what references make of it.
std::vector<std::string> largePackets() {
  using namespace support;
  const auto list3 = [](const char* element, std::uint32_t count) {
    return packetWith(hex("11 09") + u29(count << 1 | 1) + hex("01") + repeat(hex(element), count));
  };
  return {packetWith(hex("0A 00009C40") + std::string(40000, '\x05')),
          packetWith(hex("0A 00002710") + repeat(hex("03 0001 'a' 05 000009"), 10000)),
          packetWith(hex("0A 00002710") + repeat(hex("10 0001 'C' 000009"), 10000)),
          packetWith(hex("08 00002710") + repeat(hex("0001 'a' 02 0011 (61)*17"), 10000)),
          list3("0A 13 01 03 'a' 01", 10000),
          list3("0A 0B 01 03 'a' 01 03 'b' 01 03 'c' 01 01", 3000),
          list3("09 03 03 'a' 01 01 01", 10000),
          list3("08 01 0000000000000000", 10000),
          list3("06 03 'a'", 10000),
          list3("0B 23 (61)*17", 10000),
          list3("0C 19 (00)*12", 10000),
          packetWith(hex("11 0A 0B 01 03 'a' 01") + repeat(hex("00 01"), 20000) + hex("01")),
          traitsBomb(50, 500),
          stringBomb(100000, 50),
          doubling3(12),
          doubling0(12),
          referenceChain(300),
          packetWith(repeat(hex("0A 00000001"), 900) + hex("05"))};
}

void report(const Counts& counts, std::uint64_t packets, double seconds) {
  std::uint64_t all = 0;
  for (const auto& status : counts.statuses) all += status.second;
  std::printf(
      "%llu packets, %.1f bytes each, %.0f a second; %llu references; %llu nodes built; "
      "%llu trees too large to build\n",
      static_cast<unsigned long long>(packets),
      static_cast<double>(counts.bytes) / static_cast<double>(packets),
      static_cast<double>(packets) / seconds, static_cast<unsigned long long>(counts.references),
      static_cast<unsigned long long>(counts.nodes),
      static_cast<unsigned long long>(counts.skipped));
  std::printf("heap of the tree: %.3f to %.3f of what was said\n", counts.loosest, counts.tightest);
  for (const auto& status : counts.statuses) {
    std::printf("%12llu %5.2f %%  %s\n", static_cast<unsigned long long>(status.second),
                100.0 * static_cast<double>(status.second) / static_cast<double>(all),
                describe(status.first));
  }
  for (const auto& text : counts.texts) {
    std::printf("%12llu  %s\n", static_cast<unsigned long long>(text.second), text.first);
  }
  std::printf("%zu texts\n", counts.texts.size());
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint64_t packets = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 100000;
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 20;
  std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
  cPagedMsg = "E";  // short names, so that more fits into small packets
  cUpdateCollectMsg = "Ex";

  AMFProtocol protocol;
  // Gives each table its block, so that later on every block that stays is a leak.
  const std::string warm = support::hex(
      "0000 0000 0001 0000 0000 FFFFFFFF 0A 00000002 0A 00000000 11 0A 13 03 'C' 03 'a' 01");
  Counts counts;
  if (!support::agree(protocol, warm, counts)) return 1;
  counts = Counts();

  for (const std::string& packet : largePackets()) {
    if (!support::agree(protocol, packet, counts)) return 1;
  }
  if (counts.statuses.size() != 1) return 1;
  std::printf("large packets: heap of the tree %.3f to %.3f of what was said\n", counts.loosest,
              counts.tightest);
  counts = Counts();

  support::GuardGenerator generator(seed);
  Dice dice(~seed);
  const auto start = std::chrono::steady_clock::now();
  for (std::uint64_t i = 0; i < packets; ++i) {
    const std::string& packet = generator.next();
    const std::uint64_t blocks = liveBlocks;
    const std::size_t entries = counts.texts.size() + counts.statuses.size();
    bool same = support::agree(protocol, packet, counts);
    const std::uint64_t noted = counts.texts.size() + counts.statuses.size() - entries;
    if (same && noted == 0 && liveBlocks != blocks)
      same = differ("live blocks", blocks, liveBlocks);
    if (same && dice.oneIn(3)) same = tryLimit(packet, dice, counts);
    if (same && dice.oneIn(8)) same = tryStringLimit(packet, dice, counts);
    if (same && !packet.empty() && dice.oneIn(40)) same = trySize(packet, counts);
    if (!same) {
      std::printf("packet %llu: %s\n", static_cast<unsigned long long>(i),
                  support::toHex(packet).c_str());
      return 1;
    }
  }
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  report(counts, packets, elapsed.count());
  return 0;
}
