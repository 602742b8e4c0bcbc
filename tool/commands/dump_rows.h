// SPDX-License-Identifier: Apache-2.0
//
// The rows of amf2json dump, and the single values in them.
#ifndef AMF2JSON_TOOL_COMMANDS_DUMP_ROWS_H
#define AMF2JSON_TOOL_COMMANDS_DUMP_ROWS_H

#include <AMFGuard.h>
#include <cstddef>
#include <cstdint>
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

// ---- Single values

// "object"; "unknown" for what no value begins with.
const char* markerName0(std::uint64_t marker);
const char* markerName3(std::uint64_t marker);

// The eight bytes at `offset`.
double numberAt(std::string_view packet, std::size_t offset);

// As short as it reads back the same.
std::string numberText(double number);

// Milliseconds, and the time in UTC where there is one: "86400000 (1970-01-02T00:00:00.000Z)".
std::string dateText(double timeMs);

// The two bytes at `offset`, minutes that the readers do not look at.
std::string zoneText(std::string_view packet, std::size_t offset);

#endif  // AMF2JSON_TOOL_COMMANDS_DUMP_ROWS_H
