// SPDX-License-Identifier: Apache-2.0
//
// What depends on whether somebody looks at a terminal.
#ifndef AMF2JSON_TOOL_TERMINAL_H
#define AMF2JSON_TOOL_TERMINAL_H

#include "tool/command.h"
#include "tool/options.h"
#include "tool/report.h"

ReportStyle reportStyle(const Options& options);

// What is done to texts on their way out.
struct TextStyle {
  bool printable = false;  // no control byte of a packet gets to a terminal
  bool color = false;
};
TextStyle textStyle(const Options& options);
void dress(FileResult& result, const TextStyle& style);

#endif  // AMF2JSON_TOOL_TERMINAL_H
