// SPDX-License-Identifier: Apache-2.0
//
// One packet, from the file to the tree, past the check of untrusted bytes.
#ifndef AMF2JSON_TOOL_PACKET_H
#define AMF2JSON_TOOL_PACKET_H

#include <AMFGuard.h>

#include <AMF2JSON>
#include <string>

#include "tool/command.h"
#include "tool/options.h"
#include "tool/problem.h"

struct Packet {
  std::string file;
  std::string bytes;
  AMFVerifyResult checked;
};

// Reads and checks; a packet that is refused comes back like any other. Throws Problem when it
// cannot be read or is too large.
Packet readPacket(const std::string& file, const Options& options);

// The problem of a packet that was refused.
Problem refusalOf(const Packet& packet, const AMFVerifyLimits& limits);

// The tree, owned by `protocol`: a fresh object for each packet. Throws refusalOf. The one place
// where bytes meet the readers, which believe every length: nothing gets there unchecked.
void decodePacket(AMFProtocol& protocol, const Packet& packet, const AMFVerifyLimits& limits);

// Adds a warning to the result of a sound packet where bytes stand behind its last message, unless
// they are allowed.
void tellLeftOver(FileResult& result, const Packet& packet, const Options& options);

// "header 0", "message 2", "envelope".
std::string sectionName(const Packet& packet);

// Above --max-packet-bytes; `size` is empty where it is not known.
Problem tooLarge(const std::string& file, const std::string& size, std::size_t limit);

#endif  // AMF2JSON_TOOL_PACKET_H
