// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_HIGHLIGHT_H
#define AMF2JSON_TOOL_HIGHLIGHT_H

#include <string>
#include <string_view>

// A JSON text or a script of the views with colours for terminals: names, strings, numbers, words.
std::string highlighted(std::string_view text);

#endif  // AMF2JSON_TOOL_HIGHLIGHT_H
