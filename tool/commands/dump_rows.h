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
  bool full = false;                                   // show long payloads completely
  std::size_t hiddenHead = 0;                          // bytes at the start that are not shown
  std::size_t firstOffset = 0;                         // the offset of the first byte that is shown
  std::size_t maxText = static_cast<std::size_t>(-1);  // bytes
  AMFVerifyLimits limits;
};

// Appends a row to `text` for each field of `packet`: offset, hexadecimal, ASCII, meaning. If the
// packet is refused, the bytes from there on follow as "not read"; bytes after the packet follow as
// "left over". Appends nothing for a packet over the size limit. Throws Problem (kOverLimit) if the
// text becomes larger than `maxText`.
AMFVerifyResult dumpPacket(std::string_view packet, const DumpOptions& options, std::string& text);

// ---- Single values

// The name of a marker: "object"; "unknown" if no value begins with it.
const char* markerName0(std::uint64_t marker);
const char* markerName3(std::uint64_t marker);

// Reads the eight bytes at `offset`.
double numberAt(std::string_view packet, std::size_t offset);

// The shortest text that is read back as the same number.
std::string numberText(double number);

// Milliseconds, and the time in UTC if it is in range: "86400000 (1970-01-02T00:00:00.000Z)".
std::string dateText(double timeMs);

// The time zone at `offset`, two bytes, in minutes. Readers ignore it.
std::string zoneText(std::string_view packet, std::size_t offset);

#endif  // AMF2JSON_TOOL_COMMANDS_DUMP_ROWS_H
