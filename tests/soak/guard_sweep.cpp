// SPDX-License-Identifier: Apache-2.0
//
// Compares the guard with the readers exhaustively: all short bodies, all cuts, all
// small changes and all edge values of the fields of given packets; each limit at what was measured
// and one below; and changes that must have no effect.
//
//   guard_sweep [--whole] PACKET_OR_FOLDER...   prints what was tried; 1 at the first difference
// Without --whole, a part that takes seconds. script/soak guard runs the whole.
#include <AMF2JSON.h>
#include <AMFGuard.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/fenced_pages.h"
#include "support/guard_agreement.h"
#include "support/guard_generator.h"
#include "support/guard_packets.h"
#include "support/hex.h"
#include "support/same_result.h"

namespace {

using Status = AMFVerifyStatus;
using Kind = AMFFieldKind;
using support::same;

const AMFVerifyLimits kUnlimited = AMFVerifyLimits::unlimited();

AMFVerifyResult verify(const std::string& packet, std::size_t length) {
  return verifyPacket(packet.data(), length, kUnlimited);
}

class Sweep {
 public:
  explicit Sweep(bool everything) : whole(everything) {}

  bool run(std::vector<std::string> given);

 private:
  bool bodies();
  bool bodies(const std::string& begin, const std::string& alphabet, std::size_t length);
  bool prefixes(const std::string& packet);
  bool changedBytes(const std::string& packet);
  bool changedFields(const std::string& packet);
  bool limitsStrike(const std::string& packet);
  bool textAndSizeLimits(const std::string& packet, const AMFVerifyResult& measured);
  bool trailingBytes(const std::string& packet);
  bool raisedLimits(const std::string& packet);
  bool fenced(const std::string& packet);

  bool overAll(const char* name, bool (Sweep::*sweep)(const std::string&));
  bool overGenerated(const char* name, std::uint64_t count,
                     bool (Sweep::*sweep)(const std::string&));
  bool tryOne(const std::string& packet);
  // In a short run: whether to skip this packet. One of `oneOf` is not skipped.
  bool skips(std::uint64_t oneOf) { return !whole && skipCalls++ % oneOf != 0; }
  bool report(const char* name, bool same);

  const bool whole;
  std::uint64_t skipCalls = 0;
  std::uint64_t tried = 0;
  AMFProtocol protocol;
  support::Counts counts;
  std::vector<std::string> packets;
};

bool Sweep::tryOne(const std::string& packet) {
  ++tried;
  if (support::agree(protocol, packet, counts)) return true;
  std::printf("packet: %s\n", support::toHex(packet).c_str());
  return false;
}

bool Sweep::report(const char* name, bool same) {
  std::printf("%-34s %11" PRIu64 " tried", name, tried);
  for (const auto& status : counts.statuses) {
    std::printf(", %" PRIu64 " %s", status.second, describe(status.first));
  }
  std::printf(", %zu texts%s\n", counts.texts.size(), same ? "" : ": DIFFERENT");
  std::fflush(stdout);
  same = same && tried != 0;
  tried = skipCalls = 0;
  counts = support::Counts();
  return same;
}

bool Sweep::overAll(const char* name, bool (Sweep::*sweep)(const std::string&)) {
  const bool same = std::all_of(packets.begin(), packets.end(), [&](const std::string& packet) {
    if ((this->*sweep)(packet)) return true;
    std::printf("in: %s\n", support::toHex(packet.substr(0, 1000)).c_str());
    return false;
  });
  return report(name, same);
}

bool Sweep::overGenerated(const char* name, std::uint64_t count,
                          bool (Sweep::*sweep)(const std::string&)) {
  support::GuardGenerator generator(31);
  bool same = true;
  for (; same && count > 0; --count) {
    const std::string& packet = generator.next();
    same = (this->*sweep)(packet);
    if (!same) std::printf("in: %s\n", support::toHex(packet).c_str());
  }
  return report(name, same);
}

// ---- Short bodies ------------------------------------------------------------------------------

// All bodies of exactly this length.
bool Sweep::bodies(const std::string& begin, const std::string& alphabet, std::size_t length) {
  std::vector<std::size_t> digits(length, 0);
  std::string packet = begin + std::string(length, alphabet[0]);
  for (;;) {
    if (!tryOne(packet)) return false;
    std::size_t i = 0;
    while (i < length && ++digits[i] == alphabet.size()) digits[i++] = 0;
    for (std::size_t j = 0; j <= i && j < length; ++j) {
      packet[begin.size() + j] = alphabet[digits[j]];
    }
    if (i == length) return true;
  }
}

bool Sweep::bodies() {
  std::string allBytes(256, '\0');
  for (std::size_t i = 0; i < 256; ++i) allBytes[i] = static_cast<char>(i);
  const std::string telling = support::hex("00 01 02 03 05 07 08 09 0A 0C 11 80");
  const std::string envelope = support::hex("0000 0000 0001 0000 0000 FFFFFFFF");
  for (const std::string& begin : {envelope, envelope + '\x11'}) {
    for (std::size_t length = 1; length <= (whole ? 3u : 2u); ++length) {
      if (!bodies(begin, allBytes, length)) return false;
    }
    for (std::size_t length = 3; length <= (whole ? 6u : 4u); ++length) {
      if (!bodies(begin, telling, length)) return false;
    }
  }
  return true;
}

// ---- Cuts and changes --------------------------------------------------------------------------

// Cut before the end of what is read, a packet is truncated; cut after it, all is as before.
bool Sweep::prefixes(const std::string& packet) {
  const AMFVerifyResult all = verify(packet, packet.size());
  // The whole is truncated itself: its end is where bytes are missing.
  const std::size_t end = all.status == Status::truncated ? packet.size() + 1 : all.consumed;
  for (std::size_t length = 0; length <= packet.size(); ++length) {
    if (length > 300 && skips(packet.size() / 100)) continue;
    const std::string prefix = packet.substr(0, length);
    const AMFVerifyResult cut = verify(prefix, length);
    AGREE("status of a prefix", cut.status, length < end ? Status::truncated : all.status);
    AGREE("message of a prefix", cut.message == all.message,
          length >= end || cut.status == all.status);
    if (length < end && cut.offset > length) return support::differ("offset", cut.offset, length);
    if (length >= end) AGREE("offset of a prefix", cut.offset, all.offset);
    if (length >= end) AGREE("end of a prefix", cut.consumed, all.consumed);
    if (!tryOne(prefix)) return false;
  }
  return true;
}

bool Sweep::changedBytes(const std::string& packet) {
  constexpr std::size_t kLongest = 300;
  constexpr std::uint64_t kOneOf = 29;
  if (packet.size() > kLongest) return true;
  for (std::size_t i = 0; i <= packet.size(); ++i) {
    std::string replaced = packet;
    std::string inserted = packet;
    inserted.insert(i, 1, '\0');
    for (int byte = 0; byte < 256; ++byte) {
      if (skips(kOneOf)) continue;
      inserted[i] = static_cast<char>(byte);
      if (!tryOne(inserted)) return false;
      if (i == packet.size()) continue;
      replaced[i] = inserted[i];  // all flips of its bits among them
      if (!tryOne(replaced)) return false;
    }
    if (i < packet.size() && !tryOne(std::string(packet).erase(i, 1))) return false;
  }
  return true;
}

class Fields : public AMFVerifyVisitor {
 public:
  void field(const AMFVerifyField& field) override {
    if (field.kind < Kind::end) all.push_back(field);
  }
  std::vector<AMFVerifyField> all;
};

bool isVariable(Kind kind) {
  return kind == Kind::reference3 || kind == Kind::head || kind == Kind::integer;
}

std::string fixedBytes(std::uint64_t value, std::size_t length) {
  std::string bytes;
  for (; length > 0; --length) bytes += static_cast<char>(value >> 8 * (length - 1) & 0xFF);
  return bytes;
}

std::string variableBytes(std::uint32_t value) {
  value &= 0x1FFFFFFF;
  if (value < 0x200000) return support::u29(value);
  return fixedBytes(0x808080u | (value >> 22 & 0x7F) << 16 | (value >> 15 & 0x7F) << 8 |
                        (value >> 8 & 0x7F),
                    3) +
         static_cast<char>(value & 0xFF);
}

// What to put into a whole number's place.
std::vector<std::string> edgeValues(const AMFVerifyField& field) {
  const std::uint32_t n = static_cast<std::uint32_t>(field.value);
  const std::uint32_t edges[] = {
      0,        1,        2,          n - 2,      n - 1,      n + 1,      n + 2,
      n ^ 1,    0x7F,     0x80,       0x3FFF,     0x4000,     0xFFFF,     0x10000,
      0x1FFFFF, 0x200000, 0x0FFFFFFF, 0x1FFFFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  std::vector<std::string> values;
  for (const std::uint32_t edge : edges) {
    values.push_back(isVariable(field.kind) ? variableBytes(edge) : fixedBytes(edge, field.length));
  }
  if (isVariable(field.kind)) {
    for (const char* const form : {"80 80 80 00", "80 80 80 7F", "80 80 80 80", "80 80 80 FF",
                                   "FF FF FF FE", "FF FF FF FF", "80 00", "80 80 01"}) {
      values.push_back(support::hex(form));
    }
  }
  return values;
}

bool isWholeNumber(Kind kind) {
  return kind <= Kind::boolean && kind != Kind::number;
}

bool Sweep::changedFields(const std::string& packet) {
  Fields fields;
  visitPacket(packet.data(), packet.size(), fields, kUnlimited);
  for (const AMFVerifyField& field : fields.all) {
    if (!isWholeNumber(field.kind)) continue;
    for (const std::string& value : edgeValues(field)) {
      if (skips(1 + packet.size() / 200)) continue;
      if (!tryOne(std::string(packet).replace(field.offset, field.length, value))) return false;
    }
  }
  return true;
}

// ---- Limits ------------------------------------------------------------------------------------

bool Sweep::textAndSizeLimits(const std::string& packet, const AMFVerifyResult& measured) {
  Fields fields;
  visitPacket(packet.data(), packet.size(), fields, kUnlimited);
  std::size_t longest = 0, afterLength = 0;
  for (const AMFVerifyField& field : fields.all) {
    const bool isText = field.kind >= Kind::headerName && field.kind <= Kind::byteArray;
    if (!isText || field.length <= longest) continue;
    longest = field.length;
    afterLength = field.offset;
  }
  AMFVerifyLimits limits = kUnlimited;
  limits.maxStringBytes = static_cast<std::uint32_t>(longest);
  if (!same(verifyPacket(packet.data(), packet.size(), limits), measured)) {
    return support::differ("result at the string limit", longest, 0);
  }
  if (longest > 0) {
    --limits.maxStringBytes;
    const AMFVerifyResult struck = verifyPacket(packet.data(), packet.size(), limits);
    AGREE("status above the string limit", struck.status, Status::stringLimit);
    AGREE("offset of the string limit", struck.offset, afterLength);
    ++counts.statuses[struck.status];
  }
  limits = kUnlimited;
  limits.maxPacketBytes = packet.size();
  AGREE("status at the size limit", verifyPacket(packet.data(), packet.size(), limits).status,
        Status::ok);
  --limits.maxPacketBytes;
  const AMFVerifyResult large = verifyPacket(packet.data(), packet.size(), limits);
  AGREE("status above the size limit", large.status, Status::packetTooLarge);
  AGREE("offset of the size limit", large.offset, std::size_t{0});
  ++counts.statuses[large.status];
  return true;
}

// Each limit at what was measured takes the packet; one below refuses it where the sum passes it.
bool Sweep::limitsStrike(const std::string& packet) {
  const AMFVerifyResult measured = verify(packet, packet.size());
  if (measured.status != Status::ok) return true;
  ++tried;
  for (const support::Measure& measure : support::kMeasures) {
    const std::uint64_t sum = measure.measured(measured);
    AMFVerifyLimits limits = kUnlimited;
    measure.set(limits, sum);
    if (!same(verifyPacket(packet.data(), packet.size(), limits), measured)) {
      return support::differ("result at the limit", sum, 0);
    }
    if (sum != 0 && !support::strikesInPlace(packet, measure, sum - 1, counts)) return false;
  }
  return textAndSizeLimits(packet, measured);
}

// ---- What makes no difference ------------------------------------------------------------------

// Bytes after the end of what is read.
bool Sweep::trailingBytes(const std::string& packet) {
  const AMFVerifyResult alone = verify(packet, packet.size());
  if (alone.status == Status::truncated) return true;
  for (const std::string& more : {std::string(1, '\0'), std::string(7, '\xFF'), packet}) {
    ++tried;
    const std::string longer = packet + more;
    if (!same(verify(longer, longer.size()), alone)) {
      return support::differ("result with bytes after it", longer.size(), packet.size());
    }
  }
  return true;
}

// A higher limit never refuses more, nor earlier.
bool Sweep::raisedLimits(const std::string& packet) {
  const AMFVerifyResult all = verify(packet, packet.size());
  for (const support::Measure& measure : support::kMeasures) {
    const std::uint64_t sum = std::min<std::uint64_t>(measure.measured(all), 0xFFFFFF00);
    std::size_t reached = 0;
    for (const std::uint64_t limit : {std::uint64_t{0}, sum / 4, sum / 2, sum - sum / 8, sum + 1}) {
      ++tried;
      AMFVerifyLimits limits = kUnlimited;
      measure.set(limits, limit);
      const AMFVerifyResult result = verifyPacket(packet.data(), packet.size(), limits);
      if (result.consumed < reached) return support::differ("end", result.consumed, reached);
      if (result.status == all.status) AGREE("end", result.consumed, all.consumed);
      reached = result.consumed;
    }
  }
  return true;
}

// Pages that nobody may touch, directly after the last byte and in front of the first.
bool Sweep::fenced(const std::string& packet) {
  support::FencedPages pages(packet.size());
  for (std::size_t length = 0; length <= packet.size(); ++length) {
    if (length < packet.size() && (skips(5) || packet.size() > 3000)) continue;
    for (const bool atEnd : {true, false}) {
      ++tried;
      const char* const place = pages.hold(packet.substr(0, length), atEnd);
      Fields fields;
      if (!same(visitPacket(place, length, fields, kUnlimited), verify(packet, length))) {
        return support::differ("result between fences", length, packet.size());
      }
    }
  }
  return true;
}

bool Sweep::run(std::vector<std::string> given) {
  packets = std::move(given);
  const std::uint64_t generated = whole ? 1000000 : 2000;
  return report("short bodies", bodies()) && overAll("prefixes", &Sweep::prefixes) &&
         overAll("bytes changed", &Sweep::changedBytes) &&
         overAll("fields changed", &Sweep::changedFields) &&
         overAll("limits strike", &Sweep::limitsStrike) &&
         overGenerated("limits strike, generated", generated, &Sweep::limitsStrike) &&
         overAll("bytes after", &Sweep::trailingBytes) &&
         overGenerated("bytes after, generated", generated, &Sweep::trailingBytes) &&
         overAll("raised limits", &Sweep::raisedLimits) &&
         overGenerated("raised limits, generated", generated, &Sweep::raisedLimits) &&
         overAll("between fences", &Sweep::fenced) &&
         overGenerated("between fences, generated", generated / 100, &Sweep::fenced);
}

std::vector<std::string> packetsOf(const std::vector<std::string>& places) {
  std::vector<std::filesystem::path> files;
  for (const std::string& place : places) {
    if (!std::filesystem::is_directory(place)) {
      files.emplace_back(place);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(place)) {
      if (entry.path().extension() == ".amf") files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> packets;
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    packets.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  return packets;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> places(argv + 1, argv + argc);
  const auto option = std::find(places.begin(), places.end(), "--whole");
  const bool whole = option != places.end();
  if (whole) places.erase(option);
  std::vector<std::string> packets = packetsOf(places);
  std::printf("%zu packets\n", packets.size());
  if (packets.empty()) return 2;
  return Sweep(whole).run(std::move(packets)) ? 0 : 1;
}
