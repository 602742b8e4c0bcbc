// SPDX-License-Identifier: Apache-2.0
//
// amf2json roundtrip: decodes packets, encodes them again and compares the bytes. Tested by
// tests/tool/roundtrip_test.cpp.
#include "tool/commands/commands.h"

#include <algorithm>
#include <string_view>

#include "tool/commands/field_finder.h"
#include "tool/input/packet.h"
#include "tool/port/stack_thread.h"
#include "tool/text/hex.h"
#include "tool/text/printable.h"

namespace {

constexpr const char* kDetails =
    "One line for each file that can be decoded and encoded again:\n"
    "\n"
    "  FILE: equal\n"
    "  FILE: differs at byte OFFSET: XX read, YY written: FIELD in SECTION (REASON)\n"
    "\n"
    "Only the first difference is shown. A REASON means that the difference is intended: the\n"
    "program writes this field in one way only. A difference without a reason should not happen.\n";

// The byte at `offset`, or "nothing" after the end.
std::string byteAt(std::string_view bytes, std::size_t offset) {
  return offset < bytes.size() ? hexByte(bytes[offset]) : "nothing";
}

// The offset is the number of bytes that were encoded before the error.
Problem cannotEncode(const AMFProtocol& protocol, const char* message) {
  std::size_t written = 0;
  for (const AMFOutputChunks::Chunk& chunk : protocol.outputChunks) written += chunk.length;
  Problem problem{kCannotEncode, "cannot encode",
                  std::string("cannot be written again: ") + message};
  problem.offset = written;
  return problem;
}

std::string_view encode(AMFProtocol& protocol) {
  try {
    protocol.compile(protocol.package);
  } catch (const AMFException& e) {
    throw cannotEncode(protocol, e.message);
  }
  return {protocol.resultBuffer, protocol.getResultLength()};
}

std::string difference(std::string_view read, std::string_view written, std::size_t offset,
                       std::size_t place) {
  const Field field = fieldAt(read.data(), read.size(), offset);
  std::string text = "differs at byte " + std::to_string(place) + ": " + byteAt(read, offset) +
                     " read, " + byteAt(written, offset) + " written: " + field.name;
  if (field.reason != nullptr) text += std::string(" (") + field.reason + ")";
  return text;
}

FileResult compare(const Packet& packet, const Options& options) {
  AMFProtocol protocol;
  decodePacket(protocol, packet, options.limits);
  const std::string_view written = encode(protocol);
  const std::string_view whole = packet.bytes;
  const std::string_view read =
      options.allowTrailing ? whole.substr(0, packet.checked.consumed) : whole;
  const auto common = static_cast<std::ptrdiff_t>(std::min(read.size(), written.size()));
  const auto offset = static_cast<std::size_t>(
      std::mismatch(read.begin(), read.begin() + common, written.begin()).first - read.begin());
  const bool isEqual = offset == read.size() && offset == written.size();
  FileResult result;
  result.exitCode = isEqual ? kDone : kNo;
  result.text = printable(packet.file) + ": " +
                (isEqual ? "equal" : difference(read, written, offset, packet.fileOffset(offset))) +
                "\n";
  return result;
}

FileResult roundtrip(const std::string& file, const Options& options) {
  const Packet packet = readPacket(file, options);
  FileResult result;
  runWithStackFor(packet.checked.depth, [&] { result = compare(packet, options); });
  return result;
}

void declare(OptionTable& table, Options& options) {
  declareFormOptions(table, options);
}

}  // namespace

Command roundtripCommand() {
  return {"roundtrip",
          "Encodes packets again and compares the bytes",
          kDetails,
          {{"amf2json roundtrip packet.amf", "the first byte that differs"},
           {"amf2json roundtrip *.amf", "a line for each file; the worst exit code"},
           {"amf2json roundtrip --max-depth 200 packet.amf", "with a higher limit"}},
          declare,
          roundtrip};
}
