// SPDX-License-Identifier: Apache-2.0
//
// One line of --lines: packets in base64 and hexadecimal.
#ifndef AMF2JSON_TOOL_TEXT_LINE_TEXT_H
#define AMF2JSON_TOOL_TEXT_LINE_TEXT_H

#include <optional>
#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/problem.h"

// The packet that a line spells: base64 of either alphabet, with or without padding; or pairs of
// hexadecimal digits. No blanks. The offset of the problem counts in the line.
std::optional<Problem> fromLine(std::string_view line, TextForm form, std::string& bytes);

// The line for a packet, without its end: base64 with padding; lower-case digits.
std::string toLine(std::string_view bytes, TextForm form);

#endif  // AMF2JSON_TOOL_TEXT_LINE_TEXT_H
