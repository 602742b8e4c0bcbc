// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/dump_test.cpp.
#include "tool/commands/dump_rows.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

template <std::size_t count>
const char* nameOf(const char* const (&names)[count], std::uint64_t marker) {
  return marker < count ? names[marker] : "unknown";
}

// Rounds down, also for times before 1970.
std::int64_t floorDivision(std::int64_t number, std::int64_t divisor) {
  return number / divisor - (number % divisor < 0 ? 1 : 0);
}

constexpr std::int64_t kDayMs = 86400000;

struct Date {
  std::int64_t year;
  int month;  // from 1
  int day;    // from 1
};

bool isLeap(std::int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysOf(std::int64_t year, int month) {
  if (month == 2) return isLeap(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// The calendar repeats every 400 years. Not gmtime_r(), which Windows does not have.
Date dateOf(std::int64_t daysSince1970) {
  constexpr std::int64_t kCycle = 146097;
  const std::int64_t cycles = floorDivision(daysSince1970, kCycle);
  std::int64_t remaining = daysSince1970 - cycles * kCycle;
  Date date{1970 + 400 * cycles, 1, 1};
  for (; remaining >= (isLeap(date.year) ? 366 : 365); ++date.year)
    remaining -= isLeap(date.year) ? 366 : 365;
  for (; remaining >= daysOf(date.year, date.month); ++date.month)
    remaining -= daysOf(date.year, date.month);
  date.day += static_cast<int>(remaining);
  return date;
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
  constexpr double kLatest = 8.64e15;  // the latest date of ECMAScript
  if (!(std::fabs(timeMs) <= kLatest)) return numberText(timeMs);
  const auto time = static_cast<std::int64_t>(std::floor(timeMs));
  const std::int64_t days = floorDivision(time, kDayMs);
  const auto ofDay = static_cast<int>(time - days * kDayMs);
  const Date date = dateOf(days);
  char text[80];
  std::snprintf(text, sizeof text, " (%04lld-%02d-%02dT%02d:%02d:%02d.%03dZ)",
                static_cast<long long>(date.year), date.month, date.day, ofDay / 3600000,
                ofDay / 60000 % 60, ofDay / 1000 % 60, ofDay % 1000);
  return numberText(timeMs) + text;
}

std::string zoneText(std::string_view packet, std::size_t offset) {
  const auto high = static_cast<unsigned char>(packet[offset]);
  const auto low = static_cast<unsigned char>(packet[offset + 1]);
  const int minutes = (high << 8 | low) - (high >= 0x80 ? 0x10000 : 0);
  return std::to_string(minutes) + " minutes";
}
