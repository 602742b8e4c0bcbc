// SPDX-License-Identifier: Apache-2.0
//
// How a run of the program can end: its exit codes, and the failures that carry one.
#ifndef AMF2JSON_TOOL_OUTCOME_H
#define AMF2JSON_TOOL_OUTCOME_H

#include <cstddef>
#include <string>

// Worse outcomes have larger numbers: a command over several files exits with the largest.
enum ExitCode : int {
  kDone = 0,         // also: the two packets are equal
  kDiffers = 1,      // roundtrip only
  kUsage = 2,        // the command line is wrong
  kRefused = 3,      // the packet holds something that the library refuses
  kFileFailure = 4,  // a file cannot be read or written
  kOutOfMemory = 5,
  kTruncated = 6,  // the packet ends too early
  kOverLimit = 7,  // the packet is larger, deeper or costlier than allowed
};

// The library's own text and the place it was noticed at.
struct Refusal {
  ExitCode exitCode;
  const char* text;
  std::size_t offset;  // bytes from the start of the packet
};

// "FILE: cannot read: REASON".
struct FileFailure {
  std::string text;
};

// One line on stderr, behind the program's name.
void report(const std::string& text);

#endif  // AMF2JSON_TOOL_OUTCOME_H
