// SPDX-License-Identifier: Apache-2.0
//
// Calls for time zones that are not in C++17. Tested by tests/render/dates_test.cpp.
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
