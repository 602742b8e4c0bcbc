// SPDX-License-Identifier: Apache-2.0
//
// Bytes in hexadecimal.
#ifndef AMF2JSON_TOOL_TEXT_HEX_H
#define AMF2JSON_TOOL_TEXT_HEX_H

#include <cstddef>
#include <string>
#include <string_view>

// Two upper-case digits.
std::string hexByte(char byte);

// "at 13: 00 02 2F 31 | 04 05": up to 16 bytes around `offset`, with the offset of the first byte,
// and a bar at `offset`. Empty if there are no bytes. Offsets in the text are counted from
// `firstOffset`.
std::string hexAround(std::string_view bytes, std::size_t offset, std::size_t firstOffset = 0);

#endif  // AMF2JSON_TOOL_TEXT_HEX_H
