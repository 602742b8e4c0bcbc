// SPDX-License-Identifier: Apache-2.0
//
// A command over its files, or over the lines of one.
#ifndef AMF2JSON_TOOL_RUN_RUN_H
#define AMF2JSON_TOOL_RUN_RUN_H

#include "tool/command.h"
#include "tool/options.h"

// One file after another, going on after an error.
// Texts go out and problems are reported in the order of the files. Returns the worst exit code.
// Throws ClosedPipe, and Problem when standard output cannot be written.
ExitCode runOnFiles(const Command& command, const Options& options);

// As a filter: one answer for each line, in order.
// Answers what was read before it waits for more. Memory does not grow with the number of lines.
// Returns the worst exit code. Throws ClosedPipe, and Problem when the input cannot be read or the
// output cannot be written.
ExitCode runOnLines(const Command& command, const Options& options);

#endif  // AMF2JSON_TOOL_RUN_RUN_H
