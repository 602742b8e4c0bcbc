// SPDX-License-Identifier: Apache-2.0
#include "tool/input/packet.h"

#include <algorithm>

#include "tool/input/input.h"
#include "tool/input/published_format.h"
#include "tool/input/unwrap.h"
#include "tool/text/hex.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace {

ExitCode exitCodeOf(AMFVerifyStatus status) {
  switch (status) {
    case AMFVerifyStatus::malformed: return kMalformed;
    case AMFVerifyStatus::truncated: return kTruncated;
    case AMFVerifyStatus::outOfMemory: return kOutOfMemory;
    default: return kOverLimit;
  }
}

std::string messageOf(const AMFVerifyResult& checked, const AMFVerifyLimits& limits) {
  const char* const text = checked.message;
  switch (checked.status) {
    case AMFVerifyStatus::truncated:
      return std::string(text) + ": at least " +
             pluralize(checked.needed, "byte is missing", "bytes are missing");
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

// Adds the file name to problems of wrappers.
Unwrapped unwrapFile(const std::string& file, std::string bytes, const Options& options) {
  try {
    return unwrap(std::move(bytes), options.limits.maxPacketBytes,
                  matchForm(options.form, options.skip, options.limits));
  } catch (Problem& problem) {
    problem.file = file;
    throw;
  }
}

// Adds the place `offset` of the packet to the problem.
void locate(Problem& problem, const Packet& packet, std::size_t offset) {
  problem.message += packet.wrapperText;
  problem.file = packet.file;
  problem.offset = packet.fileOffset(offset);
  problem.hexContext =
      hexAround(packet.payload(), *problem.offset - packet.skipped, packet.skipped);
}

AMFWireForm publishedForm(Form form) {
  return form == Form::packet ? AMFWireForm::packet
         : form == Form::amf0 ? AMFWireForm::amf0
                              : AMFWireForm::amf3;
}

// The command to run if the published format reads the packet and this dialect does not; else
// empty.
std::string exportHint(const Packet& packet) {
  if (packet.skipped != 0 || !readsAsPublished(packet.payload(), publishedForm(packet.form)))
    return "";
  std::string line = "the published format reads it: amf2json export";
  if (!packet.wrappers.empty()) line += " --unwrap";
  line += optionFor(packet.form);
  return packet.file == "-" ? line : line + " " + quoteForShell(packet.file);
}

// "header 0", "message 2", "envelope"; "AMF0 value", "AMF3 value".
std::string sectionName(const Packet& packet) {
  if (packet.form != Form::packet) return nameOfValue(packet.form);
  const std::uint32_t section = packet.checked.section;
  if (section == AMFVerifyResult::kEnvelope) return "envelope";
  // Bytes 2 and 3 are the number of headers. They were read if a section was.
  const auto byteAt = [&packet](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(packet.bytes[i]));
  };
  const std::uint32_t headers = byteAt(2) << 8 | byteAt(3);
  return section < headers ? "header " + std::to_string(section)
                           : "message " + std::to_string(section - headers);
}

}  // namespace

std::size_t Packet::fileOffset(std::size_t offset) const {
  return offset - std::min(offset, envelopeOf(form).size()) + skipped;
}

Packet readPacket(const std::string& file, const Options& options) {
  Packet packet{file, readInput(file, options.limits.maxPacketBytes), {}, options.form};
  if (options.unwrap) {
    Unwrapped unwrapped = unwrapFile(file, std::move(packet.bytes), options);
    packet.bytes = std::move(unwrapped.bytes);
    packet.wrapperText = insideWrappers(unwrapped.wrappers);
    packet.wrappers = std::move(unwrapped.wrappers);
    packet.trailingWarnings = std::move(unwrapped.trailingWarnings);
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
  const bool isRefused =
      problem.exitCode == kTruncated || problem.exitCode == kMalformed;  // not because of a limit
  if (isRefused) problem.hint = exportHint(packet);
  for (const Problem& warning : packet.trailingWarnings) problem.message += "; " + warning.message;
  return problem;
}

void decodePacket(AMFProtocol& protocol, const Packet& packet, const AMFVerifyLimits& limits) {
  if (packet.checked.status != AMFVerifyStatus::ok) throw refusalOf(packet, limits);
  protocol.parse(packet.bytes.data());
}

void addTrailingWarning(FileResult& result, const Packet& packet, const Options& options) {
  if (options.allowTrailing) return;
  for (Problem problem : packet.trailingWarnings) {
    problem.file = packet.file;
    result.problems.push_back(problem);
  }
  const std::size_t end = packet.checked.consumed;
  const std::string_view rest = std::string_view(packet.bytes).substr(end);
  if (rest.empty()) return;
  const bool isPacket = packet.form == Form::packet;
  Problem problem{kTrailingBytes, "left over",
                  pluralize(rest.size(), "byte") + " left over after the " +
                      (isPacket ? "last message" : "value")};
  if (isPacket && beginsPacket(rest, options.limits)) {
    problem.message +=
        ": another packet, which --skip " + std::to_string(packet.fileOffset(end)) + " gets at";
  }
  problem.isWarning = true;
  locate(problem, packet, end);
  problem.hint = exportHint(packet);
  result.problems.push_back(problem);
}

void addVerdict(FileResult& result, const Packet& packet, const Options& options) {
  if (packet.checked.status != AMFVerifyStatus::ok) {
    result.problems.push_back(refusalOf(packet, options.limits));
  } else {
    addTrailingWarning(result, packet, options);
  }
}
