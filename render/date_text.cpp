// SPDX-License-Identifier: Apache-2.0
//
// Dates as text, without ctime: ctime shares one buffer between threads, and its thread-safe form
// refuses years that ctime prints. Tested by tests/render/dates_test.cpp.
#include "render/date_text.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <ctime>
#include <iterator>
#include <limits>

#include "base/time_zone.h"

using namespace amf2json;

namespace {

constexpr int kYearBase = 1900;

// Returns whole seconds, or 0 for a time that Seconds cannot hold.
Seconds toSeconds(double timeMs) {
  const double seconds = std::trunc(timeMs / 1000.0);
  const double limit = std::ldexp(1.0, std::numeric_limits<Seconds>::digits);
  return seconds >= -limit && seconds < limit ? static_cast<Seconds>(seconds) : 0;
}

void putTwo(char* to, int value, char lead) {
  to[0] = value < 10 ? lead : static_cast<char>('0' + value / 10);
  to[1] = static_cast<char>('0' + value % 10);
}

}  // namespace

namespace amf2json::render {

char* putDate(char* to, double timeMs) {
  static constexpr char kDays[] = "SunMonTueWedThuFriSat";
  static constexpr char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
  std::tm local{};
  if (!toLocalTime(toSeconds(timeMs), local) ||
      local.tm_year > std::numeric_limits<int>::max() - kYearBase) {
    local = std::tm{};
    toLocalTime(0, local);
  }
  std::memcpy(to, kDays + 3 * local.tm_wday, 3);
  to[3] = ' ';
  std::memcpy(to + 4, kMonths + 3 * local.tm_mon, 3);
  to[7] = ' ';
  putTwo(to + 8, local.tm_mday, ' ');
  to[10] = ' ';
  putTwo(to + 11, local.tm_hour, '0');
  to[13] = ':';
  putTwo(to + 14, local.tm_min, '0');
  to[16] = ':';
  putTwo(to + 17, local.tm_sec, '0');
  to[19] = ' ';
  return std::to_chars(to + 20, to + kDateMax, kYearBase + local.tm_year).ptr;
}

}  // namespace amf2json::render
