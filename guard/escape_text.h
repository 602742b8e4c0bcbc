// SPDX-License-Identifier: Apache-2.0
//
// Escapes one string for the views, by one of two rules (AMFEscapeFor). Tested by
// tests/guard/escape_test.cpp.
#pragma once

#include <string>
#include <string_view>

#include "AMFGuard.h"

namespace amf2json::guard {

/// Whether `text` certainly stays the same: it has only ASCII characters that the rule does not
/// change.
bool isPlainText(std::string_view text, AMFEscapeFor view);

/// Returns the escaped text. Throws std::bad_alloc also if the result would exceed 2^32-1 bytes.
std::string escapedText(std::string_view text, AMFEscapeFor view);

}  // namespace amf2json::guard
