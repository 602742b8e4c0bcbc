// SPDX-License-Identifier: Apache-2.0
//
// One packet, from the file to the tree, past the check of untrusted bytes. A value without a
// packet is put into an envelope first; problems tell offsets of the file, or of what was unwrapped
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
  AMFVerifyResult checked;  // counts in `bytes`
  Form form = Form::packet;
  std::size_t skipped = 0;                 // bytes that were left out in front
  std::string wrapperText = {};            // ", in what gzip holds"; empty: nothing was unwrapped
  std::vector<const char*> wrappers = {};  // that were taken off
  std::vector<Problem> trailingWarnings = {};  // warnings: what followed the wrappers

  // Where the byte at `offset` of `bytes` stands for whoever has the file.
  std::size_t fileOffset(std::size_t offset) const;
  // `bytes` without the envelope that was made for a value.
  std::string_view payload() const {
    return std::string_view(bytes).substr(envelopeOf(form).size());
  }
};

// Reads and checks; a packet that is refused comes back like any other. Throws Problem when it
// cannot be read or is too large.
Packet readPacket(const std::string& file, const Options& options);

// The problem of a packet that was refused.
Problem refusalOf(const Packet& packet, const AMFVerifyLimits& limits);

// The tree, owned by `protocol`: a fresh object for each packet. Throws refusalOf. The one place
// where bytes meet the readers, which believe every length: nothing gets there unchecked.
void decodePacket(AMFProtocol& protocol, const Packet& packet, const AMFVerifyLimits& limits);

// Adds a warning to the result of a sound packet for bytes that follow its last message or the
// wrapper it came in, unless they are allowed.
void addTrailingWarning(FileResult& result, const Packet& packet, const Options& options);
// Adds why a packet is refused, or what is left over behind a sound one.
void addVerdict(FileResult& result, const Packet& packet, const Options& options);

// "header 0", "message 2", "envelope"; "AMF0 value", "AMF3 value".
std::string sectionName(const Packet& packet);

#endif  // AMF2JSON_TOOL_INPUT_PACKET_H
