// SPDX-License-Identifier: Apache-2.0
//
// Formats problems and writes them to standard error.
#ifndef AMF2JSON_TOOL_OUTPUT_REPORT_H
#define AMF2JSON_TOOL_OUTPUT_REPORT_H

#include <string>

#include "tool/command.h"
#include "tool/problem.h"

struct ReportStyle {
  bool json = false;   // one JSON object per line
  bool color = false;  // colours in the text form
};

// Writes a problem to standard error:
//   FILE:OFFSET: MESSAGE (SECTION)
//       at 13: 00 02 2F | 31
// A problem without an offset is "amf2json: FILE: MESSAGE"; in a JSON text it is FILE:LINE:COLUMN
// with the path in place of the section. A hint has its own line. Control characters are always
// made visible. In JSON, a file name that is not UTF-8 has U+FFFD in "file", and its bytes in
// hexadecimal in "file_bytes".
void report(const Problem& problem, const ReportStyle& style);

// The answer to a refused line of --lines: {"error":MESSAGE,"offset":N} for bytes,
// {"error":MESSAGE,"path":PATH,"line":N,"column":N} for a text.
FileResult refusedLine(const Problem& problem);

#endif  // AMF2JSON_TOOL_OUTPUT_REPORT_H
