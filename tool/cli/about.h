// SPDX-License-Identifier: Apache-2.0
//
// Help that applies to all commands, for --help and the manual page.
#ifndef AMF2JSON_TOOL_CLI_ABOUT_H
#define AMF2JSON_TOOL_CLI_ABOUT_H

#include <vector>

#include "tool/command.h"

// Paragraphs.
inline constexpr const char* kAboutFormat =
    "AMF is the binary remoting format of Flash and Flex. Without a file, or for the file -, a "
    "packet\n"
    "is read from standard input.\n";
inline constexpr const char* kAboutProgram =
    "Every packet is checked before it is used, against its own end and against the limits.\n"
    "Several files are processed at the same time, on all processors; texts and messages are in\n"
    "the order of the files. After an error the program continues with the next file.\n"
    "\n"
    "A problem in a packet is reported as FILE:OFFSET: MESSAGE (SECTION). The next line has the\n"
    "bytes around the place, with a bar at the place. With --error-format json each problem is\n"
    "an object on one line: file, offset, section, status, message, exit_code; for a name that\n"
    "is not UTF-8 also file_bytes, in hexadecimal; for a text also path, line and column; hint\n"
    "if something can be done about it.\n"
    "\n"
    "An output file gets its name when it is complete. A file that -o names is replaced, unless\n"
    "it is an input or read-only; in a directory nothing is replaced without --force. An output\n"
    "that is not a regular file is written to. On a terminal control characters of a packet, and\n"
    "those that change the direction of writing, are shown as \\xNN. Times are in UTC; nothing\n"
    "depends on the locale. If the reader of a pipe closes it, the program ends as SIGPIPE would\n"
    "end it.\n";

inline const std::vector<Example>& programExamples() {
  static const std::vector<Example> examples = {
      {"amf2json decode packet.amf", "one packet as JSON"},
      {"amf2json decode -o texts *.amf", "many packets, each to a file in the directory texts"},
      {"cat packet.amf | amf2json check", "whether a packet can be decoded"}};
  return examples;
}

#endif  // AMF2JSON_TOOL_CLI_ABOUT_H
