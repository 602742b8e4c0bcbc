// SPDX-License-Identifier: Apache-2.0
//
// A command over its files: one after another, going on after an error.
#ifndef AMF2JSON_TOOL_RUN_FILE_LOOP_H
#define AMF2JSON_TOOL_RUN_FILE_LOOP_H

#include "tool/command.h"
#include "tool/options.h"

// Texts go out and problems are reported in the order of the files. Returns the worst exit code.
// Throws ClosedPipe, and Problem when standard output cannot be written.
ExitCode workOnFiles(const Command& command, const Options& options);

#endif  // AMF2JSON_TOOL_RUN_FILE_LOOP_H
