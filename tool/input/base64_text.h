// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_INPUT_BASE64_TEXT_H
#define AMF2JSON_TOOL_INPUT_BASE64_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The bytes that a base64 text spells: of both alphabets, with or without "=" at its end, in lines,
// as a data URI. Nothing: it is no such text. Throws Problem for a data URI that is broken, and for
// more than `most` bytes.
std::optional<std::string> fromBase64Text(std::string_view text, std::size_t most);

#endif  // AMF2JSON_TOOL_INPUT_BASE64_TEXT_H
