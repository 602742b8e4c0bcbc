// SPDX-License-Identifier: Apache-2.0
//
// Reads a packet from a file, checks it and decodes it. A value without a packet is put into an
// envelope first. Offsets in problems count from the start of the file, or of the bytes unwrapped
// from it.
#ifndef AMF2JSON_TOOL_INPUT_PACKET_H
#define AMF2JSON_TOOL_INPUT_PACKET_H

#include <AMFGuard.h>

#include <AMF2JSON>
#include <string>
#include <vector>

#include "tool/command.h"
#include "tool/input/form.h"
#include "tool/options.h"
#include "tool/problem.h"

struct Packet {
  std::string file;
  std::string bytes;
  AMFVerifyResult checked;  // offsets count in `bytes`
  Form form = Form::packet;
  std::size_t skipped = 0;                     // bytes skipped at the start
  std::string wrapperText = {};                // ", in what gzip holds"; may be empty
  std::vector<const char*> wrappers = {};      // that were removed
  std::vector<Problem> trailingWarnings = {};  // bytes after the wrappers

  // The offset in the file for an offset in `bytes`.
  std::size_t fileOffset(std::size_t offset) const;
  // `bytes` without the envelope of a value.
  std::string_view payload() const {
    return std::string_view(bytes).substr(envelopeOf(form).size());
  }
};

// Reads and checks a packet. A refused packet is returned like any other. Throws Problem if the
// file cannot be read or is too large.
Packet readPacket(const std::string& file, const Options& options);

// Describes why a packet was refused.
Problem refusalOf(const Packet& packet, const AMFVerifyLimits& limits);

// Decodes the packet. The tree is owned by `protocol`, a new object for each packet. Throws
// refusalOf(packet). The readers trust every length, so this is the only function that calls them,
// and only for checked packets.
void decodePacket(AMFProtocol& protocol, const Packet& packet, const AMFVerifyLimits& limits);

// Adds a warning to the result of a valid packet for bytes after its last message or after its
// wrapper, unless they are allowed.
void addTrailingWarning(FileResult& result, const Packet& packet, const Options& options);
// Adds the refusal, or a warning about trailing bytes.
void addVerdict(FileResult& result, const Packet& packet, const Options& options);

#endif  // AMF2JSON_TOOL_INPUT_PACKET_H
