// SPDX-License-Identifier: Apache-2.0
//
// A command over the lines of its input, as a filter: one answer for each line, in order.
#ifndef AMF2JSON_TOOL_RUN_LINE_LOOP_H
#define AMF2JSON_TOOL_RUN_LINE_LOOP_H

#include "tool/command.h"
#include "tool/options.h"

// Answers what was read before it waits for more. Memory does not grow with the number of lines.
// Returns the worst exit code. Throws ClosedPipe, and Problem when the input cannot be read or the
// output cannot be written.
ExitCode workOnLines(const Command& command, const Options& options);

#endif  // AMF2JSON_TOOL_RUN_LINE_LOOP_H
