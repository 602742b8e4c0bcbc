// SPDX-License-Identifier: Apache-2.0
//
// What depends on whether somebody looks at a terminal.
#ifndef AMF2JSON_TOOL_TERMINAL_H
#define AMF2JSON_TOOL_TERMINAL_H

#include <string>

#include "tool/options.h"
#include "tool/report.h"

// Whether what goes to this descriptor is coloured.
bool isColored(int descriptor, Color wanted);

ReportStyle reportStyle(const Options& options);

// A text for standard output: on a terminal without a control byte other than line feeds and tabs.
std::string fitForOutput(const std::string& text);

#endif  // AMF2JSON_TOOL_TERMINAL_H
