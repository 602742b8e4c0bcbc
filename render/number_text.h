// SPDX-License-Identifier: Apache-2.0
//
// Numbers as text, independent of the process's locale.
#pragma once

#include <cstdint>
#include <string_view>

namespace render {

// Holds the longest text of a double: a sign, 309 digits, a point and six decimals.
struct NumberBuffer {
  char bytes[328];
};

// As the C format "%f": six decimals, nan and inf with their sign.
std::string_view doubleText(double value, NumberBuffer& buffer);
// Unsigned decimal, ten digits at most. Returns where the next byte goes.
char* putInteger(char* to, std::uint32_t value);
std::string_view integerText(std::uint32_t value, NumberBuffer& buffer);

}  // namespace render
