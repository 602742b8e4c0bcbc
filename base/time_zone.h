// SPDX-License-Identifier: Apache-2.0
//
// Local time in the time zone of the process. Tested by tests/render/dates_test.cpp.
#pragma once

#include <cstdint>
#include <ctime>

namespace amf2json {

// Seconds since 1970 UTC. The time_t of Emscripten 3.1.6 ends in 2038.
#ifdef __EMSCRIPTEN__
using Seconds = std::int64_t;
#else
using Seconds = std::time_t;
#endif

// Reads the time zone of the process (environment variable TZ) again.
void readTimeZone();
// Converts `seconds` since 1970 UTC to local time. Uses no buffer that threads share. Returns false
// if the system cannot convert the time.
bool toLocalTime(Seconds seconds, std::tm& local);

}  // namespace amf2json
