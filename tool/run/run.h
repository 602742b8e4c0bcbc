// SPDX-License-Identifier: Apache-2.0
//
// Runs a command on its files, or on the lines of one file.
#ifndef AMF2JSON_TOOL_RUN_RUN_H
#define AMF2JSON_TOOL_RUN_RUN_H

#include "tool/command.h"
#include "tool/options.h"

// Runs the command on each file and continues after errors. Results and problems are written in the
// order of the files. Returns the largest exit code. Throws ClosedPipe, and Problem if standard
// output cannot be written.
ExitCode runOnFiles(const Command& command, const Options& options);

// Runs the command as a filter: one line of output for each line of input, in order. Writes all
// results before it waits for more input. Memory does not grow with the number of lines. Returns
// the largest exit code. Throws ClosedPipe, and Problem if the input cannot be read or the output
// cannot be written.
ExitCode runOnLines(const Command& command, const Options& options);

#endif  // AMF2JSON_TOOL_RUN_RUN_H
