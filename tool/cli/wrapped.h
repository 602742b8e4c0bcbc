// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_CLI_WRAPPED_H
#define AMF2JSON_TOOL_CLI_WRAPPED_H

#include <string>
#include <string_view>

// Paragraphs in lines of up to `width` bytes. Lines that begin with a space stay as they are.
std::string wrapped(std::string_view text, std::size_t width);

#endif  // AMF2JSON_TOOL_CLI_WRAPPED_H
