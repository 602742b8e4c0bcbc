// SPDX-License-Identifier: Apache-2.0
//
// One text made harmless for the views, by one of two rules (AMFEscapeFor). Tested by
// tests/guard/escape_test.cpp.
#pragma once

#include <string>
#include <string_view>

#include "AMFGuard.h"

namespace amf2json::guard {

/// Whether `text` is sure to stay as it is: all of it is ASCII that neither rule changes.
bool isPlainText(std::string_view text, AMFEscapeFor view);

/// Throws std::bad_alloc too when the result would pass 2^32-1 bytes.
std::string escapedText(std::string_view text, AMFEscapeFor view);

}  // namespace amf2json::guard
