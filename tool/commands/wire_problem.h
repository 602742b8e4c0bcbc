// SPDX-License-Identifier: Apache-2.0
//
// Converts errors of AMFWire to problems.
#ifndef AMF2JSON_TOOL_COMMANDS_WIRE_PROBLEM_H
#define AMF2JSON_TOOL_COMMANDS_WIRE_PROBLEM_H

#include <AMFWire.h>

#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/problem.h"

// An error of export. The bytes are read again to find the section.
Problem exportProblem(const AMFWireResult& result, std::string_view bytes,
                      const AMFWireReadOptions& read, const Options& options);

// An error of import.
Problem importProblem(const AMFWireResult& result, const Options& options);

#endif  // AMF2JSON_TOOL_COMMANDS_WIRE_PROBLEM_H
