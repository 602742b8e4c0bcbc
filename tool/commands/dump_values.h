// SPDX-License-Identifier: Apache-2.0
//
// Single values of a packet as amf2json dump shows them.
#ifndef AMF2JSON_TOOL_COMMANDS_DUMP_VALUES_H
#define AMF2JSON_TOOL_COMMANDS_DUMP_VALUES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

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

#endif  // AMF2JSON_TOOL_COMMANDS_DUMP_VALUES_H
