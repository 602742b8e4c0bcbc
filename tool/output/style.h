// SPDX-License-Identifier: Apache-2.0
//
// Colours and printable text: what depends on whether the output is a terminal.
#ifndef AMF2JSON_TOOL_OUTPUT_STYLE_H
#define AMF2JSON_TOOL_OUTPUT_STYLE_H

#include "tool/command.h"
#include "tool/options.h"
#include "tool/output/destination.h"
#include "tool/output/report.h"
#include "tool/output/write.h"

ReportStyle reportStyle(const Options& options);

// How texts are changed before they are written.
struct TextStyle {
  bool printable = false;  // escape control characters of packets
  bool color = false;
};
// Depends on the destination, not on the name the user gave it.
TextStyle textStyle(const Options& options, const Destination& destination);
// Binary output can damage a terminal. Throws Problem (kUsage) if the destination is a terminal,
// unless --force is given.
void refuseTerminal(const Destination& destination, const Options& options);
// Passes the text to `sink` in pieces, so that it is not copied as a whole.
void writeStyled(const FileResult& result, const TextStyle& style, const Sink& sink);

#endif  // AMF2JSON_TOOL_OUTPUT_STYLE_H
