// SPDX-License-Identifier: Apache-2.0
//
// amf2json roundtrip. Tested by tests/tool_test.cpp.
#include "tool/roundtrip.h"

#include <algorithm>
#include <new>

#include "tool/field_map.h"
#include "tool/packet_file.h"

namespace {

struct Verdict {
  ExitCode exitCode;
  std::string text;
};

std::string hexByte(char byte) {
  static const char kDigits[] = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  return {kDigits[value >> 4], kDigits[value & 15]};
}

// The byte at `offset`, or that there is none.
std::string byteAt(const char* bytes, std::size_t length, std::size_t offset) {
  return offset < length ? hexByte(bytes[offset]) : "nothing";
}

Verdict refused(const char* prefix, const Refusal& refusal) {
  return {refusal.exitCode,
          prefix + std::string(refusal.text) + " at byte " + std::to_string(refusal.offset)};
}

// Encodes the package of `protocol`. A refusal's offset is the number of bytes written before it.
void encode(AMFProtocol& protocol) {
  try {
    protocol.compile(protocol.package);
  } catch (const AMFException& e) {
    std::size_t written = 0;
    for (const AMFOutputChunks::Chunk& chunk : protocol.outputChunks) written += chunk.length;
    throw Refusal{kRefused, e.message, written};
  }
}

Verdict compare(const std::vector<char>& packet, const char* written, std::size_t writtenLength) {
  const std::size_t common = std::min(packet.size(), writtenLength);
  const std::size_t offset = static_cast<std::size_t>(
      std::mismatch(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(common), written)
          .first -
      packet.begin());
  if (offset == packet.size() && offset == writtenLength) return {kDone, "equal"};
  const Field field = fieldAt(packet.data(), packet.size(), offset);
  std::string text = "differs at byte " + std::to_string(offset) + ": " +
                     byteAt(packet.data(), packet.size(), offset) + " read, " +
                     byteAt(written, writtenLength, offset) + " written: " + field.name;
  if (field.reason != nullptr) text += std::string(" (") + field.reason + ")";
  return {kDiffers, text};
}

Verdict roundtrip(const std::string& file, const AMFVerifyLimits& limits) {
  const std::vector<char> packet = readPacket(file);
  AMFProtocol protocol;
  try {
    decodePacket(protocol, packet, limits);
  } catch (const Refusal& refusal) {
    return refused("refused: ", refusal);
  }
  try {
    encode(protocol);
  } catch (const Refusal& refusal) {
    return refused("refused when written: ", refusal);
  }
  return compare(packet, protocol.resultBuffer, protocol.getResultLength());
}

ExitCode reportFile(const std::string& file, const AMFVerifyLimits& limits) {
  try {
    const Verdict verdict = roundtrip(file, limits);
    writeText("-", file + ": " + verdict.text + "\n");
    return verdict.exitCode;
  } catch (const FileFailure& failure) {
    report(failure.text);
    return kFileFailure;
  } catch (const std::bad_alloc&) {
    report(file + ": out of memory");
    return kOutOfMemory;
  }
}

}  // namespace

ExitCode roundtrip(const std::vector<std::string>& files, const AMFVerifyLimits& limits) {
  ExitCode worst = kDone;
  for (const std::string& file : files) worst = std::max(worst, reportFile(file, limits));
  return worst;
}
