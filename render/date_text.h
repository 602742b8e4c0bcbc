// SPDX-License-Identifier: Apache-2.0
//
// Dates as text, in the time zone of the process.
#pragma once

#include <cstddef>

namespace amf2json::render {

// Enough for every year that std::tm can hold.
constexpr std::size_t kDateMax = 32;

// Writes `timeMs` at `to` as ctime prints it, without its line end: "Thu Jan  1 00:00:00 1970".
// Milliseconds are truncated toward zero. A time that ctime refuses is written as the epoch.
// Returns the output pointer past the text.
char* putDate(char* to, double timeMs);

}  // namespace amf2json::render
