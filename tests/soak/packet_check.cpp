// SPDX-License-Identifier: Apache-2.0
//
// packet_check FOLDER: holds every packet of a folder to its verdict in FOLDER/verdicts.tsv (file,
// sha256, outcome, detail, offset). Used by script/check packets.
//
// "valid" and "left-over" packets must be read up to `offset`, "refused" ones must be refused with
// the text `detail` at `offset`, by the reader and by the check of untrusted bytes alike. "short"
// ones end too early: the check must say so, and the reader never sees them. What was read is then
// shown in every view and layout, cloned, encoded, decoded and encoded again: the second tree is
// the first one and the second encoding the first, but for integers that are not written as they
// were read. Those drift exactly as the U29 writer and reader have it, and their packets are named.
#include <AMFGuard.h>

#include <AMF2JSON>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "support/dump.h"
#include "support/views.h"

namespace {

struct Verdict {
  std::string file;
  std::string outcome;
  std::string detail;
  std::size_t offset = 0;
};

// Bytes in a block of exactly their size, so that a sanitizer sees the first byte read after them.
struct Packet {
  std::unique_ptr<char[]> bytes;
  std::size_t length = 0;
};

Packet readPacket(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  Packet packet{std::unique_ptr<char[]>(new char[text.size()]), text.size()};
  text.copy(packet.bytes.get(), text.size());
  return packet;
}

// What the check says, in the words of outcomeOf.
std::string checkedOutcome(const Packet& packet) {
  const AMFVerifyResult result =
      verifyPacket(packet.bytes.get(), packet.length, AMFVerifyLimits::unlimited());
  switch (result.status) {
    case AMFVerifyStatus::ok: return "read to " + std::to_string(result.consumed);
    case AMFVerifyStatus::malformed:
      return std::string("refused ") + result.message + " at " + std::to_string(result.offset);
    default: return result.message;
  }
}

// "refused TEXT at OFFSET" or "read to OFFSET".
std::string outcomeOf(AMFProtocol& protocol, const Packet& packet) {
  std::string text = "read to ";
  try {
    protocol.parse(packet.bytes.get());
  } catch (const AMFException& e) {
    text = std::string("refused ") + e.message + " at ";
  }
  return text + std::to_string(protocol.readCursor - packet.bytes.get());
}

std::string expectedOutcome(const Verdict& verdict) {
  if (verdict.outcome == "short") return describe(AMFVerifyStatus::truncated);
  const std::string offset = std::to_string(verdict.offset);
  return verdict.outcome == "refused" ? "refused " + verdict.detail + " at " + offset
                                      : "read to " + offset;
}

std::string render(const Packet& packet, int which, bool pretty) {
  AMFProtocol protocol;
  protocol.parse(packet.bytes.get());
  return support::view(protocol, which, pretty);
}

// The text of a view without what the layout adds. Values hold no raw tabs and line feeds.
std::string withoutLayout(const std::string& text) {
  std::string kept;
  for (const char c : text) {
    if (c != '\t' && c != '\n') kept += c;
  }
  return kept;
}

std::string compiled(const AMFPackage* package) {
  AMFProtocol protocol;
  protocol.compile(package);
  return std::string(protocol.resultBuffer, protocol.getResultLength());
}

// What is wrong with a packet that was read; empty: nothing.
std::string checkContent(AMFProtocol& protocol, const Packet& packet) {
  for (int view = 0; view < 4; ++view) {
    const std::string pretty = render(packet, view, true);
    const std::string compact = render(packet, view, false);
    if (view == 0 && withoutLayout(pretty) != withoutLayout(compact))
      return "the two layouts of the JSON text differ in more than layout";
  }
  const std::unique_ptr<AMFPackage> copy(protocol.package->clone());
  if (compiled(copy.get()) != compiled(protocol.package)) return "the clone compiles otherwise";
  return {};
}

// What an integer reads back as once it has been written; false: it runs into what follows.
bool readBack(std::uint32_t& value) {
  AMFProtocol protocol;
  protocol.setVLInteger(value);
  std::string bytes;
  for (const auto& piece : protocol.outputChunks) bytes.append(piece.bytes, piece.length);
  const std::size_t length = bytes.size();
  bytes += '\0';  // a reader that goes on stops here
  protocol.readCursor = bytes.data();
  value = protocol.getVLUnsignedInt();
  return protocol.readCursor == bytes.data() + length;
}

// Replaces every integer by what it reads back as, and counts those that change.
struct Drift {
  unsigned changed = 0;
  bool runsOn = false;

  void apply(AMFNode* node) {
    if (!node) return;
    for (AMFNode* const child : node->children) apply(child);
    if (node->type == AMFNode::AMF_INT) {
      std::uint32_t& value = static_cast<AMFInt*>(node)->value;
      const std::uint32_t before = value;
      if (!readBack(value)) runsOn = true;
      if (value != before) ++changed;
    } else if (node->type == AMFNode::AMF_PAIR || node->type == AMFNode::AMF_HEADER) {
      apply(static_cast<AMFPair*>(node)->value);
    } else if (node->type == AMFNode::AMF_MESSAGE) {
      apply(static_cast<AMFMessage*>(node)->value);
    }
  }
};

struct RoundTrips {
  unsigned equalToOriginal = 0;
  unsigned drifting = 0;
};

// Bytes to tree to bytes to tree to bytes.
std::string checkRoundTrip(const AMFPackage* tree, const Verdict& verdict, const Packet& packet,
                           RoundTrips& totals) {
  const std::string first = compiled(tree);
  if (first == std::string(packet.bytes.get(), verdict.offset)) ++totals.equalToOriginal;
  const std::unique_ptr<AMFPackage> expected(tree->clone());
  Drift drift;
  drift.apply(expected.get());
  if (drift.changed > 0 || drift.runsOn) {
    ++totals.drifting;
    std::printf("%s: %u integers are not written as they were read%s\n", verdict.file.c_str(),
                drift.changed, drift.runsOn ? ", one runs into what follows" : "");
    if (drift.runsOn) return {};
  }
  AMFProtocol again;
  again.parse(first.data());
  if (again.readCursor != first.data() + first.size()) return "read back to another place";
  if (support::dump(again.package) != support::dump(expected.get()))
    return "another tree comes back";
  if (drift.changed == 0 && compiled(again.package) != first) return "other bytes the second time";
  return {};
}

std::string check(const Verdict& verdict, const std::string& folder, RoundTrips& totals) {
  const Packet packet = readPacket(folder + "/" + verdict.file);
  const std::string expected = expectedOutcome(verdict);
  const std::string checked = checkedOutcome(packet);
  if (checked != expected) return "check: " + checked + ", expected: " + expected;
  if (verdict.outcome == "short") return {};
  AMFProtocol protocol;
  const std::string outcome = outcomeOf(protocol, packet);
  if (outcome != expected) return outcome + ", expected: " + expected;
  if (verdict.outcome == "refused") return {};
  try {
    const std::string fault = checkContent(protocol, packet);
    return fault.empty() ? checkRoundTrip(protocol.package, verdict, packet, totals) : fault;
  } catch (const AMFException& e) {
    return std::string("refused when shown or compiled: ") + e.message;
  }
}

Verdict parseLine(const std::string& line) {
  std::istringstream fields(line);
  Verdict verdict;
  std::string ignoredSum;
  std::string offset;
  std::getline(fields, verdict.file, '\t');
  std::getline(fields, ignoredSum, '\t');
  std::getline(fields, verdict.outcome, '\t');
  std::getline(fields, verdict.detail, '\t');
  std::getline(fields, offset);
  if (!offset.empty()) verdict.offset = std::stoul(offset);
  return verdict;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("packet_check FOLDER\n", stderr);
    return 2;
  }
  const std::string folder = argv[1];
  std::ifstream verdicts(folder + "/verdicts.tsv");
  std::string line;
  std::getline(verdicts, line);  // the names of the columns
  std::map<std::string, unsigned> counts = {
      {"valid", 0}, {"left-over", 0}, {"refused", 0}, {"short", 0}};
  RoundTrips totals;
  unsigned failed = 0;
  while (std::getline(verdicts, line)) {
    const Verdict verdict = parseLine(line);
    std::string fault;
    if (counts.count(verdict.outcome) == 0) {
      fault = "unknown verdict " + verdict.outcome;
    } else {
      ++counts[verdict.outcome];
      fault = check(verdict, folder, totals);
    }
    if (fault.empty()) continue;
    ++failed;
    std::fprintf(stderr, "%s: %s\n", verdict.file.c_str(), fault.c_str());
  }
  const unsigned checked =
      counts["valid"] + counts["left-over"] + counts["refused"] + counts["short"];
  std::printf("%u packets checked: %u valid, %u left-over, %u refused, %u short; %u mismatches\n",
              checked, counts["valid"], counts["left-over"], counts["refused"], counts["short"],
              failed);
  std::printf("%u packets are written back as they were read, %u have integers that drift\n",
              totals.equalToOriginal, totals.drifting);
  return failed == 0 && checked > 0 ? 0 : 1;
}
