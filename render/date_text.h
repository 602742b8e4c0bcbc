// SPDX-License-Identifier: Apache-2.0
//
// Dates as text, in the process's time zone.
#pragma once

#include <string_view>

namespace render {

struct DateBuffer {
  char bytes[64];
};

// `timeMs` as ctime prints it, without its line end: "Thu Jan  1 00:00:00 1970". Milliseconds are
// cut off toward zero. What ctime refuses is the epoch.
std::string_view dateText(double timeMs, DateBuffer& buffer);

}  // namespace render
