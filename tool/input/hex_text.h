// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_INPUT_HEX_TEXT_H
#define AMF2JSON_TOOL_INPUT_HEX_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The bytes that a hexadecimal text spells: digits in pairs, blanks and "#" comments between them;
// the columns of xxd, hexdump -C and the like; a C array. Nothing: it is no such text. Throws
// Problem for one that is broken, or spells more than `most` bytes.
std::optional<std::string> fromHexText(std::string_view text, std::size_t most);

#endif  // AMF2JSON_TOOL_INPUT_HEX_TEXT_H
