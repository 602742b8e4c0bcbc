// SPDX-License-Identifier: Apache-2.0
//
// Dates as ISO 8601 texts, in the proleptic Gregorian calendar. Tested by
// tests/wire/texts_test.cpp.
#include "wire/date_text.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "wire/bytes.h"

namespace amf2json::wire {

namespace {

constexpr double kFirst = -62167219200000.0;  // 0000-01-01T00:00:00.000Z
constexpr double kLast = 253402300799999.0;   // 9999-12-31T23:59:59.999Z
constexpr std::int64_t kDayMs = 86400000;

struct Day {
  int year;
  int month;
  int day;
};

// Returns the days since 1970-01-01. In the computation years begin in March, so that the leap day
// is the last day. An era is 400 years or 146097 days. 719468 is the number of days from 0000-03-01
// to 1970-01-01.
std::int64_t daysOf(const Day& date) {
  const std::int64_t year = date.month > 2 ? date.year : date.year - 1;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t month = date.month > 2 ? date.month - 3 : date.month + 9;
  const std::int64_t dayOfYear = (153 * month + 2) / 5 + date.day - 1;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

// The inverse for a number of days since 0000-01-01. The computation begins with the era before, so
// that no number is negative.
void findDay(std::uint32_t days, std::uint32_t& year, std::uint32_t& month, std::uint32_t& day) {
  days += 146097 - 60;  // since March of the year -400
  const std::uint32_t era = days / 146097;
  const std::uint32_t dayOfEra = days % 146097;
  const std::uint32_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::uint32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
  day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
  month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
  year = era * 400 + yearOfEra - 400 + (month <= 2 ? 1 : 0);
}

char* putTwoDigits(char* to, std::uint32_t value) {
  to[0] = static_cast<char>('0' + value / 10);
  to[1] = static_cast<char>('0' + value % 10);
  return to + 2;
}

// Writes two digits, then `next`.
char* putTwoDigits(char* to, std::uint32_t value, char next) {
  to = putTwoDigits(to, value);
  *to = next;
  return to + 1;
}

// Reads `count` digits, then the character `next`.
bool readDigits(const char*& at, int count, char next, int& value) {
  value = 0;
  for (; count > 0; --count, ++at) {
    if (*at < '0' || *at > '9') return false;
    value = value * 10 + (*at - '0');
  }
  return *at++ == next;
}

int daysInMonth(int year, int month) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return month == 2 && leap ? 29 : kDays[month - 1];
}

}  // namespace

bool hasDateText(const double& timeMs) {
  return timeMs >= kFirst && timeMs <= kLast && timeMs == std::trunc(timeMs) &&
         bitsOf(timeMs) != 0x8000000000000000u;
}

char* putDate(char* to, const double& timeMs) {
  const auto all = static_cast<std::uint64_t>(timeMs - kFirst);  // since 0000-01-01
  std::uint32_t year;
  std::uint32_t month;
  std::uint32_t day;
  findDay(static_cast<std::uint32_t>(all / kDayMs), year, month, day);
  const auto ms = static_cast<std::uint32_t>(all % kDayMs);
  to = putTwoDigits(to, year / 100);
  to = putTwoDigits(to, year % 100, '-');
  to = putTwoDigits(to, month, '-');
  to = putTwoDigits(to, day, 'T');
  to = putTwoDigits(to, ms / 3600000, ':');
  to = putTwoDigits(to, ms / 60000 % 60, ':');
  to = putTwoDigits(to, ms / 1000 % 60, '.');
  *to++ = static_cast<char>('0' + ms % 1000 / 100);
  return putTwoDigits(to, ms % 100, 'Z');
}

bool readDate(const char* text, std::size_t length, double& timeMs) {
  if (length != kDateLength && length != kDateLength - 4) return false;
  Day date{};
  int hours = 0;
  int minutes = 0;
  int seconds = 0;
  int ms = 0;
  const bool withMs = length == kDateLength;
  if (!readDigits(text, 4, '-', date.year) || !readDigits(text, 2, '-', date.month) ||
      !readDigits(text, 2, 'T', date.day) || !readDigits(text, 2, ':', hours) ||
      !readDigits(text, 2, ':', minutes) || !readDigits(text, 2, withMs ? '.' : 'Z', seconds) ||
      (withMs && !readDigits(text, 3, 'Z', ms))) {
    return false;
  }
  if (date.month < 1 || date.month > 12 || date.day < 1 ||
      date.day > daysInMonth(date.year, date.month) || hours > 23 || minutes > 59 || seconds > 59) {
    return false;
  }
  timeMs = static_cast<double>(daysOf(date) * kDayMs + hours * 3600000 + minutes * 60000 +
                               seconds * 1000 + ms);
  return true;
}

}  // namespace amf2json::wire
