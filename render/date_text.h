// SPDX-License-Identifier: Apache-2.0
//
// Dates as text, in the process's time zone.
#pragma once

#include <cstddef>

namespace amf2json::render {

// Holds every year that a calendar time can have.
constexpr std::size_t kDateMax = 32;

// Writes `timeMs` at `to` as ctime prints it, without its line end: "Thu Jan  1 00:00:00 1970".
// Milliseconds are cut off toward zero. What ctime refuses is the epoch. Returns where the next
// byte goes.
char* putDate(char* to, double timeMs);

}  // namespace amf2json::render
