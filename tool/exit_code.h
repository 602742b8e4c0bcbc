// SPDX-License-Identifier: Apache-2.0
//
// The exit codes of the program: the one table that --help, the manual and the documents show.
#ifndef AMF2JSON_TOOL_EXIT_CODE_H
#define AMF2JSON_TOOL_EXIT_CODE_H

#include <vector>

// Worse outcomes have larger numbers: of several files the largest counts.
enum ExitCode : int {
  kDone = 0,
  kNo = 1,
  kUsage = 2,
  kLeftOver = 3,
  kViewCut = 4,
  kTruncated = 5,
  kMalformed = 6,
  kOverLimit = 7,
  kCannotEncode = 8,
  kFileFailure = 9,
  kOutOfMemory = 10,
  kBug = 11,
};

struct ExitCodeRow {
  ExitCode code;
  const char* meaning;
};

const std::vector<ExitCodeRow>& exitCodes();

#endif  // AMF2JSON_TOOL_EXIT_CODE_H
