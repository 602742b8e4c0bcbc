// SPDX-License-Identifier: Apache-2.0
//
// Time zone calls that C++17 does not have. Tested by tests/render/dates_test.cpp.
#include "base/time_zone.h"

#include <time.h>

#ifdef _WIN32

void amf2json::readTimeZone() {
  _tzset();
}
bool amf2json::toLocalTime(Seconds seconds, std::tm& local) {
  return localtime_s(&local, &seconds) == 0;
}

#elif defined(__EMSCRIPTEN__)

// WebAssembly has no time zone, so local time is UTC. In its C library, gmtime_r calls the function
// below, but itself takes a time_t, which ends in 2038.
extern "C" int __secs_to_tm(long long seconds, struct tm* local);

void amf2json::readTimeZone() {}
bool amf2json::toLocalTime(Seconds seconds, std::tm& local) {
  return __secs_to_tm(seconds, &local) == 0;
}

#else

void amf2json::readTimeZone() {
  tzset();
}
bool amf2json::toLocalTime(Seconds seconds, std::tm& local) {
  return localtime_r(&seconds, &local) != nullptr;
}

#endif
