// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_OUTPUT_H
#define AMF2JSON_TOOL_OUTPUT_H

#include <string>
#include <string_view>

#include "tool/gate.h"

// Writes to standard output, at once. Throws ClosedPipe, and Problem when it cannot.
void writeOutput(std::string_view text);

// Writes `text` to `file`: into a new file beside it that takes its name once it is complete, and
// the mode of the one that was there, which is not replaced before the new one is on the disk. What
// is not a regular file is written in place. "-" is standard output. Throws as writeOutput. In the
// gate as long as something would be left beside the file.
void writeFile(const std::string& file, std::string_view text, Gate& gate);

// Whoever read had enough.
struct ClosedPipe {};

#endif  // AMF2JSON_TOOL_OUTPUT_H
