// SPDX-License-Identifier: Apache-2.0
//
// Local time, as the process's time zone says. Tested by tests/render/dates_test.cpp.
#pragma once

#include <ctime>

namespace amf2json {

// Reads the time zone of the process again (environment variable TZ).
void readTimeZone();
// Local time of `seconds` since 1970 UTC, without a buffer shared between threads. False: refused.
bool toLocalTime(std::time_t seconds, std::tm& local);

}  // namespace amf2json
