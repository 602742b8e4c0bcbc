// SPDX-License-Identifier: Apache-2.0
//
// What depends on whether somebody looks at a terminal.
#ifndef AMF2JSON_TOOL_TERMINAL_H
#define AMF2JSON_TOOL_TERMINAL_H

#include <string>

#include "tool/command.h"
#include "tool/options.h"
#include "tool/report.h"

ReportStyle reportStyle(const Options& options);

// A text for standard output: on a terminal without a control byte of the packet, and coloured.
std::string fitForOutput(const FileResult& result, Color wanted);

// A text with its colours.
std::string colored(const FileResult& result);

#endif  // AMF2JSON_TOOL_TERMINAL_H
