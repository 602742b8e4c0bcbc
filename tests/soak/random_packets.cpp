// SPDX-License-Identifier: Apache-2.0
//
// Random well-formed packets through the whole library:
//
//   random_packets COUNT [SEED]
//
// Packet number i is made from SEED + i alone, so "random_packets 1 N" repeats packet N. Each one
// is parsed by a fresh protocol object from a buffer of its exact size (a reader that goes past the
// end is seen by the address sanitizer), rendered by all four views in both layouts, copied,
// encoded, and read back. At the end the share of packets with each marker, reference, traits form
// and length step is printed; from kShareCount packets on, a share under 1 % is a failure.
#include <AMF2JSON.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "support/dump.h"
#include "support/hex.h"
#include "support/packet_generator.h"
#include "support/same_tree.h"
#include "support/views.h"

namespace {

using packets::Packet;
using packets::PacketGenerator;

constexpr std::uint64_t kShareCount = 2000;  // packets from which shares mean something
constexpr std::uint64_t kTellEvery = 100000;
constexpr std::uint64_t kDumpEvery = 64;  // dumps are slow: trees are compared by field otherwise

struct Totals {
  std::array<std::uint64_t, packets::kFeatureCount> featured{};
  std::uint64_t bytes = 0;
  std::uint64_t nodes = 0;
  std::uint64_t textBytes = 0;
  std::uint64_t limitsReached = 0;
  std::uint64_t written = 0;
  std::uint64_t readBack = 0;
  std::uint64_t dumped = 0;
};

struct Failure {
  std::string what;
};

void require(bool condition, const char* what) {
  if (!condition) throw Failure{what};
}

std::unique_ptr<char[]> exactCopy(const std::string& bytes) {
  std::unique_ptr<char[]> copy(new char[bytes.size()]);
  std::memcpy(copy.get(), bytes.data(), bytes.size());
  return copy;
}

// Line ends and tabs are the whole difference between the layouts: values hold neither. Not checked
// byte by byte by the sanitizers, which would take most of the time of a run.
__attribute__((no_sanitize("address"), no_sanitize("undefined"))) bool sameButLayout(
    const std::string& pretty, const std::string& compact) {
  const char* a = pretty.data();
  const char* b = compact.data();
  const char* const aEnd = a + pretty.size();
  const char* const bEnd = b + compact.size();
  while (true) {
    while (a != aEnd && (*a == '\n' || *a == '\t')) ++a;
    while (b != bEnd && (*b == '\n' || *b == '\t')) ++b;
    if (a == aEnd || b == bEnd) return a == aEnd && b == bEnd;
    if (*a++ != *b++) return false;
  }
}

void checkParse(AMFProtocol& protocol, const Packet& packet) {
  {
    const std::unique_ptr<char[]> buffer = exactCopy(packet.bytes);
    require(protocol.parse(buffer.get()) == protocol.package, "parse returns its package");
    require(protocol.readCursor == buffer.get() + packet.bytes.size(), "the cursor is at the end");
  }  // the tree must not need the buffer
  require(support::nodeCount(protocol.package) == packet.nodes, "number of nodes");
  require(protocol.amf0References.size() == packet.amf0References, "AMF0 table size");
  require(protocol.amf3StringReferences.size() == packet.amf3StringReferences, "string table size");
  require(protocol.amf3ObjectReferences.size() == packet.amf3ObjectReferences, "object table size");
  require(protocol.amf3TraitReferences.size() == packet.amf3TraitReferences, "traits table size");
  require(protocol.jsonText.size() == 716800 && protocol.scriptText.size() == 358400, "text sizes");
}

void checkView(AMFProtocol& protocol, const support::PackageView<AMFProtocol>& view,
               Totals& totals) {
  const std::string pretty = view.text(protocol, true);
  const std::string& compact = view.text(protocol, false);
  totals.textBytes += pretty.size() + compact.size();
  // Two things of one view are left to the next: brackets after a reference that follows a switch,
  // and the mark of the output limit.
  if (!protocol.closerStack.empty() || protocol.outputLimitReached) return;
  require(sameButLayout(pretty, compact), "both layouts say the same");
}

void checkViews(AMFProtocol& protocol, Totals& totals) {
  for (const auto& view : support::kPackageViews<>) checkView(protocol, view, totals);
  if (protocol.outputLimitReached) ++totals.limitsReached;
}

void checkCopy(const AMFPackage& package, bool withDump, Totals& totals) {
  const std::unique_ptr<AMFPackage> copy(package.clone());
  require(copy->parent == nullptr, "a copy has no parent");
  require(support::sameTree(&package, copy.get()), "a copy is equal");
  if (!withDump) return;
  require(support::dump(&package) == support::dump(copy.get()), "a copy has the same dump");
  ++totals.dumped;
}

void checkWriting(AMFProtocol& protocol, AMFProtocol& reader, const Packet& packet,
                  Totals& totals) {
  if (!packet.writable) return;
  const char* const written = protocol.compile(protocol.package);
  ++totals.written;
  if (!packet.returns) return;
  const std::string bytes(written, protocol.getResultLength());
  const std::unique_ptr<char[]> buffer = exactCopy(bytes);
  reader.parse(buffer.get());
  require(reader.readCursor == buffer.get() + bytes.size(), "what is written is read to its end");
  require(support::sameTree(protocol.package, reader.package), "what is written reads the same");
  ++totals.readBack;
}

void checkPacket(const Packet& packet, AMFProtocol& reader, bool withDump, Totals& totals) {
  AMFProtocol protocol;
  checkParse(protocol, packet);
  checkViews(protocol, totals);
  checkCopy(*protocol.package, withDump, totals);
  checkWriting(protocol, reader, packet, totals);
}

void add(const Packet& packet, Totals& totals) {
  totals.bytes += packet.bytes.size();
  totals.nodes += packet.nodes;
  for (unsigned feature = 0; feature < packets::kFeatureCount; ++feature)
    totals.featured[feature] += packet.features[feature] ? 1 : 0;
}

// False: something was wrong, and is printed.
bool checkSeed(std::uint64_t seed, bool withDump, AMFProtocol& reader, Totals& totals) {
  PacketGenerator generator(seed);
  const Packet& packet = generator.next();
  std::string what;
  try {
    checkPacket(packet, reader, withDump, totals);
    add(packet, totals);
    return true;
  } catch (const AMFException& e) {
    what = std::string("refused: ") + e.message;
  } catch (const Failure& failure) {
    what = failure.what;
  }
  std::printf("packet %" PRIu64 " (%zu bytes): %s\n", seed, packet.bytes.size(), what.c_str());
  if (packet.bytes.size() <= 2000) std::printf("  %s\n", support::toHex(packet.bytes).c_str());
  return false;
}

// The number of common features that were too seldom.
unsigned report(std::uint64_t count, const Totals& totals) {
  unsigned seldom = 0;
  for (unsigned feature = 0; feature < packets::kFeatureCount; ++feature) {
    const packets::FeatureText text = packets::featureText(feature);
    const double share =
        100.0 * static_cast<double>(totals.featured[feature]) / static_cast<double>(count);
    const bool tooSeldom = !text.rare && share < 1.0;
    if (tooSeldom) ++seldom;
    std::printf("%-52s %10" PRIu64 " %7.2f %%%s\n", text.name, totals.featured[feature], share,
                tooSeldom   ? "  SELDOM"
                : text.rare ? "  (rare)"
                            : "");
  }
  std::printf("packets %" PRIu64 ", bytes %" PRIu64 ", nodes %" PRIu64 ", text bytes %" PRIu64
              ", past the output limit %" PRIu64 ", written %" PRIu64 ", read back %" PRIu64
              ", dumps compared %" PRIu64 "\n",
              count, totals.bytes, totals.nodes, totals.textBytes, totals.limitsReached,
              totals.written, totals.readBack, totals.dumped);
  return seldom;
}

int run(std::uint64_t count, std::uint64_t seed) {
  std::printf("random_packets %" PRIu64 " %" PRIu64 "\n", count, seed);
  std::fflush(stdout);
  Totals totals;
  AMFProtocol reader;
  for (std::uint64_t i = 0; i < count; ++i) {
    if (!checkSeed(seed + i, (seed + i) % kDumpEvery == 0, reader, totals)) return 1;
    if ((i + 1) % kTellEvery == 0) std::fprintf(stderr, "%" PRIu64 " packets\n", i + 1);
  }
  const unsigned seldom = report(count, totals);
  if (count < kShareCount || seldom == 0) return 0;
  std::printf("%u features in less than 1 %% of the packets\n", seldom);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: %s COUNT [SEED]\n", argv[0]);
    return 2;
  }
  const std::uint64_t count = std::strtoull(argv[1], nullptr, 10);
  const std::uint64_t seed = argc == 3 ? std::strtoull(argv[2], nullptr, 10) : 1;
  if (count == 0) return 2;
  return run(count, seed);
}
