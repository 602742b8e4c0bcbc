// SPDX-License-Identifier: Apache-2.0
//
// What depends on whether somebody looks at a terminal.
#ifndef AMF2JSON_TOOL_OUTPUT_STYLE_H
#define AMF2JSON_TOOL_OUTPUT_STYLE_H

#include "tool/command.h"
#include "tool/options.h"
#include "tool/output/destination.h"
#include "tool/output/report.h"
#include "tool/output/write.h"

ReportStyle reportStyle(const Options& options);

// What is done to texts on their way out.
struct TextStyle {
  bool printable = false;  // no control byte of a packet gets to a terminal
  bool color = false;
};
// By what the bytes go to, however it was named.
TextStyle textStyle(const Options& options, const Destination& destination);
// Bytes that are no text do harm to a terminal. Throws Problem (kUsage) for one, unless --force.
void refuseTerminal(const Destination& destination, const Options& options);
// Passes the text on in pieces: no second one of its size is made.
void writeStyled(const FileResult& result, const TextStyle& style, const Sink& sink);

#endif  // AMF2JSON_TOOL_OUTPUT_STYLE_H
