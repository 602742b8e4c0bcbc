// SPDX-License-Identifier: Apache-2.0
#include "tool/packet.h"

#include <algorithm>
#include <limits>

#include "tool/hex.h"
#include "tool/input.h"
#include "tool/unwrap.h"
#include "tool/words.h"

namespace {

ExitCode exitCodeOf(AMFVerifyStatus status) {
  switch (status) {
    case AMFVerifyStatus::malformed: return kMalformed;
    case AMFVerifyStatus::truncated: return kTruncated;
    case AMFVerifyStatus::outOfMemory: return kOutOfMemory;
    default: return kOverLimit;
  }
}

std::string overLimit(const char* name, const char* option, std::uint64_t limit) {
  return std::string(name) + ": more than " + option + " " + std::to_string(limit);
}

std::string messageOf(const AMFVerifyResult& checked, const AMFVerifyLimits& limits) {
  const char* const text = checked.message;
  switch (checked.status) {
    case AMFVerifyStatus::truncated:
      return std::string(text) + ": at least " +
             words(checked.needed, "byte is missing", "bytes are missing");
    case AMFVerifyStatus::depthLimit: return overLimit(text, "--max-depth", limits.maxDepth);
    case AMFVerifyStatus::nodeLimit: return overLimit(text, "--max-nodes", limits.maxNodes);
    case AMFVerifyStatus::treeLimit:
      return overLimit(text, "--max-tree-bytes", limits.maxTreeBytes);
    case AMFVerifyStatus::copyLimit:
      return overLimit(text, "--max-copied-bytes", limits.maxCopiedBytes);
    case AMFVerifyStatus::stringLimit:
      return overLimit(text, "--max-string-bytes", limits.maxStringBytes);
    case AMFVerifyStatus::switchedReferenceLimit:
      return overLimit(text, "--max-switched-references", limits.maxSwitchedReferences);
    default: return text;
  }
}

constexpr std::size_t kEndless = std::numeric_limits<std::size_t>::max();

std::size_t inputLimit(const Options& options) {
  const std::size_t most = options.limits.maxPacketBytes;
  if (options.unwrap) return wrappedLimit(most);
  return most > kEndless - options.skip ? kEndless : most + options.skip;
}

// Problems of wrappers, as those of the file.
Unwrapped unwrapFile(const std::string& file, std::string bytes, const Options& options) {
  try {
    return unwrap(std::move(bytes), options.limits.maxPacketBytes,
                  isForm(options.form, options.skip, options.limits));
  } catch (Problem& problem) {
    problem.file = file;
    throw;
  }
}

// The problem at `offset` of the packet's bytes.
void locate(Problem& problem, const Packet& packet, std::size_t offset) {
  problem.message += packet.inside;
  problem.file = packet.file;
  problem.offset = packet.place(offset);
  problem.bytes = hexAround(packet.own(), *problem.offset - packet.skipped, packet.skipped);
}

}  // namespace

std::size_t Packet::place(std::size_t offset) const {
  return offset - std::min(offset, envelopeOf(form).size()) + skipped;
}

std::size_t wrappedLimit(std::size_t most) {
  constexpr std::size_t kHead = 65536;  // of an HTTP message
  return most > kEndless / 8 - kHead ? kEndless : 8 * (most + kHead);
}

Problem tooLarge(const std::string& file, const std::string& size, std::size_t limit) {
  Problem problem{kOverLimit, describe(AMFVerifyStatus::packetTooLarge), ""};
  problem.message = overLimit(problem.status.c_str(), "--max-packet-bytes", limit);
  if (!size.empty()) problem.message += " (" + size + " bytes)";
  problem.file = file;
  return problem;
}

Packet readPacket(const std::string& file, const Options& options) {
  Packet packet{file, readInput(file, inputLimit(options)), {}, options.form};
  if (options.unwrap) {
    Unwrapped unwrapped = unwrapFile(file, std::move(packet.bytes), options);
    packet.bytes = std::move(unwrapped.bytes);
    packet.inside = insideOf(unwrapped.wrappers);
  }
  packet.skipped = std::min(options.skip, packet.bytes.size());
  packet.bytes.replace(0, packet.skipped, envelopeOf(options.form));
  packet.checked = verifyPacket(packet.bytes.data(), packet.bytes.size(),
                                limitsFor(options.form, options.limits));
  return packet;
}

Problem refusalOf(const Packet& packet, const AMFVerifyLimits& limits) {
  const AMFVerifyResult& checked = packet.checked;
  Problem problem{exitCodeOf(checked.status), describe(checked.status), messageOf(checked, limits)};
  problem.section = sectionName(packet);
  locate(problem, packet, checked.offset);
  return problem;
}

void decodePacket(AMFProtocol& protocol, const Packet& packet, const AMFVerifyLimits& limits) {
  if (packet.checked.status != AMFVerifyStatus::ok) throw refusalOf(packet, limits);
  protocol.parse(packet.bytes.data());
}

void tellLeftOver(FileResult& result, const Packet& packet, const Options& options) {
  const std::size_t size = packet.bytes.size() - packet.checked.consumed;
  if (size == 0 || options.allowTrailing) return;
  Problem problem{kLeftOver, "left over",
                  words(size, "byte") + " left over behind the " +
                      (packet.form == Form::packet ? "last message" : "value")};
  problem.isWarning = true;
  locate(problem, packet, packet.checked.consumed);
  result.problems.push_back(problem);
}

void tellVerdict(FileResult& result, const Packet& packet, const Options& options) {
  if (packet.checked.status != AMFVerifyStatus::ok) {
    result.problems.push_back(refusalOf(packet, options.limits));
  } else {
    tellLeftOver(result, packet, options);
  }
}

std::string sectionName(const Packet& packet) {
  if (packet.form != Form::packet) return packet.form == Form::amf0 ? "AMF0 value" : "AMF3 value";
  const std::uint32_t section = packet.checked.section;
  if (section == AMFVerifyResult::kEnvelope) return "envelope";
  // Bytes 2 and 3, which were read if a section was: how many headers there are.
  const auto byteAt = [&packet](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(packet.bytes[i]));
  };
  const std::uint32_t headers = byteAt(2) << 8 | byteAt(3);
  return section < headers ? "header " + std::to_string(section)
                           : "message " + std::to_string(section - headers);
}
