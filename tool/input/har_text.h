// SPDX-License-Identifier: Apache-2.0
//
// Prepares the text of an archive for RapidJSON, which refuses two things that recorders write, lone
// surrogates and numbers out of range, and reads past the end of some texts.
#ifndef AMF2JSON_TOOL_INPUT_HAR_TEXT_H
#define AMF2JSON_TOOL_INPUT_HAR_TEXT_H

#include <cstddef>
#include <string>

// Rewrites in place what RapidJSON would refuse, so that offsets stay the same. An escaped lone
// surrogate becomes an escaped low surrogate, which RapidJSON decodes to three bytes that are not
// UTF-8. A number with an exponent or with more than 20 digits becomes 0.0, with as many zeros as
// fit. The first byte of a character that would end after the text becomes FF. A text that is not
// JSON does not become JSON.
void prepareForRapidJSON(std::string& json);

// Replaces each lone surrogate in a string that RapidJSON decoded by U+FFFD, which is as long.
// Returns their number.
std::size_t replaceLoneSurrogates(char* text, std::size_t length);

#endif  // AMF2JSON_TOOL_INPUT_HAR_TEXT_H
