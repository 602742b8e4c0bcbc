// SPDX-License-Identifier: Apache-2.0
//
// The two calls on time zones that C++17 does not have. Tested by tests/render_dates_test.cpp.
#include "base/time_zone.h"

#include <time.h>

#ifdef _WIN32

void amf2json::readTimeZone() {
  _tzset();
}
bool amf2json::toLocalTime(std::time_t seconds, std::tm& local) {
  return localtime_s(&local, &seconds) == 0;
}

#else

void amf2json::readTimeZone() {
  tzset();
}
bool amf2json::toLocalTime(std::time_t seconds, std::tm& local) {
  return localtime_r(&seconds, &local) != nullptr;
}

#endif
