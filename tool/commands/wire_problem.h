// SPDX-License-Identifier: Apache-2.0
//
// What AMFWire reports, as problems of the program.
#ifndef AMF2JSON_TOOL_COMMANDS_WIRE_PROBLEM_H
#define AMF2JSON_TOOL_COMMANDS_WIRE_PROBLEM_H

#include <AMFWire.h>

#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/problem.h"

// The refusal of bytes. Its section is found by reading them once more.
Problem exportProblem(const AMFWireResult& result, std::string_view bytes,
                      const AMFWireReadOptions& read, const Options& options);

// The refusal of a text.
Problem importProblem(const AMFWireResult& result, const Options& options);

// The message alone: a limit is named by its option.
std::string messageOf(const AMFWireResult& result, const Options& options);
ExitCode exitCodeOf(AMFWireStatus status);

#endif  // AMF2JSON_TOOL_COMMANDS_WIRE_PROBLEM_H
