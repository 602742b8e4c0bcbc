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
    "Every packet is checked before anything is made of it, against its own end and against the\n"
    "limits. Files are worked on at once, on all processors; texts and messages come in the order\n"
    "of the files. After an error the other files follow.\n"
    "\n"
    "A problem in a packet is told as FILE:OFFSET: MESSAGE (SECTION), with the bytes around the\n"
    "place on the next line and a bar where it is. With --error-format json each problem is an\n"
    "object on one line: file, offset, section, status, message, exit_code; for a name that is "
    "not\n"
    "UTF-8 also file_bytes, in hexadecimal; for a text also path, line and column; hint where\n"
    "something can be done about it.\n"
    "\n"
    "An output file gets its name when it is complete. A file that -o names is replaced, unless it "
    "is\n"
    "an input or read-only; in a folder nothing is replaced without --force. What is no regular "
    "file\n"
    "is written to. On a terminal control characters of a packet, and those that change the\n"
    "direction of writing, are shown as \\xNN. Times are in UTC; nothing follows the locale. A\n"
    "reader that closes its pipe ends the program as SIGPIPE does.\n";

inline const std::vector<Example>& programExamples() {
  static const std::vector<Example> examples = {
      {"amf2json decode packet.amf", "one packet as JSON"},
      {"amf2json decode -o texts *.amf", "many packets, each to a file in the folder texts"},
      {"cat packet.amf | amf2json check", "whether a packet is sound"}};
  return examples;
}

#endif  // AMF2JSON_TOOL_CLI_ABOUT_H
