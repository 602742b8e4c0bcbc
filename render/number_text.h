// SPDX-License-Identifier: Apache-2.0
//
// Numbers as text, independent of the locale of the process. Both functions write at `to` and
// return the output pointer past the text.
#pragma once

#include <cstddef>
#include <cstdint>

namespace amf2json::render {

// The longest text of a double: a sign, 309 digits, a point and six decimals.
constexpr std::size_t kDoubleMax = 328;
constexpr std::size_t kIntegerMax = 10;

// Same text as the C format "%f": six decimals, nan and inf with their sign.
char* putDouble(char* to, double value);
// Unsigned decimal.
char* putInteger(char* to, std::uint32_t value);

}  // namespace amf2json::render
