// SPDX-License-Identifier: Apache-2.0
//
// amf2json dump: the bytes of a packet, field by field.
#ifndef AMF2JSON_TOOL_COMMANDS_DUMP_H
#define AMF2JSON_TOOL_COMMANDS_DUMP_H

#include <AMFGuard.h>

#include <cstddef>
#include <string>
#include <string_view>

struct DumpOptions {
  bool full = false;                                   // long payloads to their end
  std::size_t hiddenHead = 0;                          // bytes in front that are not shown
  std::size_t firstOffset = 0;                         // what the first one shown counts as
  std::size_t maxText = static_cast<std::size_t>(-1);  // bytes
  AMFVerifyLimits limits;
};

// Appends to `text` a row for each field of `packet`: offset, hexadecimal, ASCII, meaning. Up to
// the place where it is refused; what stands there and behind the packet follows as such. Nothing
// for a packet over the size limit. Throws Problem (kOverLimit) where the text gets larger than
// `maxText`.
AMFVerifyResult dumpPacket(std::string_view packet, const DumpOptions& options, std::string& text);

#endif  // AMF2JSON_TOOL_COMMANDS_DUMP_H
