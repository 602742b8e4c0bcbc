// SPDX-License-Identifier: Apache-2.0
//
// Local time, as the process's time zone says. Tested by tests/render/dates_test.cpp.
#pragma once

#include <cstdint>
#include <ctime>

namespace amf2json {

// Since 1970 UTC. The time_t of Emscripten 3.1.6 ends in 2038.
#ifdef __EMSCRIPTEN__
using Seconds = std::int64_t;
#else
using Seconds = std::time_t;
#endif

// Reads the time zone of the process again (environment variable TZ).
void readTimeZone();
// Local time of `seconds` since 1970 UTC, without a buffer shared between threads. False: refused.
bool toLocalTime(Seconds seconds, std::tm& local);

}  // namespace amf2json
