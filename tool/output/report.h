// SPDX-License-Identifier: Apache-2.0
//
// The one place that words problems and writes them to standard error.
#ifndef AMF2JSON_TOOL_OUTPUT_REPORT_H
#define AMF2JSON_TOOL_OUTPUT_REPORT_H

#include <string>

#include "tool/command.h"
#include "tool/problem.h"

struct ReportStyle {
  bool json = false;   // one JSON object a line
  bool color = false;  // of the text form
};

// The lines for a problem, each with its end:
//   FILE:OFFSET: MESSAGE (SECTION)
//       at 13: 00 02 2F | 31
// or, where it is not about a place in a packet, "amf2json: FILE: MESSAGE". A place in a JSON text
// is FILE:LINE:COLUMN, with its path for the section. A hint has a line of its own. Control
// characters are made visible whether or not somebody looks at a terminal. In JSON a file name that
// is not UTF-8 has U+FFFD in "file", and stands byte for byte in "file_bytes", in hexadecimal.
std::string formatProblem(const Problem& problem, const ReportStyle& style);

void report(const Problem& problem, const ReportStyle& style);

// The answer to a refused line of --lines: {"error":MESSAGE,"offset":N} for bytes,
// {"error":MESSAGE,"path":PATH,"line":N,"column":N} for a text.
FileResult refusedLine(const Problem& problem);

#endif  // AMF2JSON_TOOL_OUTPUT_REPORT_H
