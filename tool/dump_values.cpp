// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool_dump_test.cpp.
#include "tool/dump_values.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

template <std::size_t count>
const char* nameOf(const char* const (&names)[count], std::uint64_t marker) {
  return marker < count ? names[marker] : "unknown";
}

}  // namespace

const char* markerName0(std::uint64_t marker) {
  static constexpr const char* kNames[] = {
      "number",       "boolean",      "string",        "object",      "movie clip, unknown",
      "null",         "undefined",    "reference",     "ECMA array",  "end mark",
      "strict array", "date",         "long string",   "unsupported", "record set, unknown",
      "XML document", "typed object", "switch to AMF3"};
  return nameOf(kNames, marker);
}

const char* markerName3(std::uint64_t marker) {
  static constexpr const char* kNames[] = {"undefined", "null",   "false",        "true", "integer",
                                           "double",    "string", "XML document", "date", "array",
                                           "object",    "XML",    "byte array"};
  return nameOf(kNames, marker);
}

double numberAt(std::string_view packet, std::size_t offset) {
  std::uint64_t bits = 0;
  for (const char byte : packet.substr(offset, 8)) {
    bits = bits << 8 | static_cast<unsigned char>(byte);
  }
  double number;
  std::memcpy(&number, &bits, sizeof number);
  return number;
}

std::string numberText(double number) {
  char digits[32];
  const bool isWhole = std::fabs(number) < 1e16 && std::trunc(number) == number;
  const auto format = isWhole ? std::chars_format::fixed : std::chars_format::general;
  return {digits, std::to_chars(digits, digits + sizeof digits, number, format).ptr};
}

std::string dateText(double timeMs) {
  constexpr double kLatest = 8.64e15;  // as far as dates of these clients go
  if (!(std::fabs(timeMs) <= kLatest)) return numberText(timeMs);
  const double seconds = std::floor(timeMs / 1000);
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  if (gmtime_r(&time, &parts) == nullptr) return numberText(timeMs);
  char text[64];
  std::snprintf(text, sizeof text, " (%04d-%02d-%02dT%02d:%02d:%02d.%03dZ)", parts.tm_year + 1900,
                parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                static_cast<int>(timeMs - seconds * 1000));
  return numberText(timeMs) + text;
}

std::string zoneText(std::string_view packet, std::size_t offset) {
  const auto high = static_cast<unsigned char>(packet[offset]);
  const auto low = static_cast<unsigned char>(packet[offset + 1]);
  const int minutes = (high << 8 | low) - (high >= 0x80 ? 0x10000 : 0);
  return std::to_string(minutes) + " minutes";
}
