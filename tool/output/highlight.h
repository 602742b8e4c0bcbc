// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_OUTPUT_HIGHLIGHT_H
#define AMF2JSON_TOOL_OUTPUT_HIGHLIGHT_H

#include <string_view>

#include "tool/output/output.h"

// Colours names, strings, numbers and words of a text in JSON or JavaScript: passes the text to
// `put`, piece by piece, and in front of and behind pieces the codes of terminals to `putCode`.
void highlight(std::string_view text, const Sink& put, const Sink& putCode);

#endif  // AMF2JSON_TOOL_OUTPUT_HIGHLIGHT_H
