// SPDX-License-Identifier: Apache-2.0
#include "tool/problem.h"

#include <cerrno>
#include <cstring>

const std::vector<ExitCodeRow>& exitCodes() {
  static const std::vector<ExitCodeRow> rows = {
      {kDone, "success; the answer is yes"},
      {kNo, "the answer is no: bytes differ after a round trip, a length field is wrong"},
      {kUsage, "wrong command line"},
      {kTrailingBytes, "bytes follow the last message"},
      {kViewCut, "a script view stopped at its output limit; sections were salvaged"},
      {kTruncated, "the packet ends too early"},
      {kMalformed, "the packet or the text holds something that is refused"},
      {kOverLimit, "the packet exceeds a limit"},
      {kCannotEncode, "the packet was read, but cannot be written again"},
      {kFileFailure, "a file cannot be read or written"},
      {kOutOfMemory, "out of memory"},
      {kBug, "an error of the program itself"},
  };
  return rows;
}

Problem fileProblem(const std::string& file, const char* action) {
  Problem problem{kFileFailure, "file", std::string("cannot ") + action + ": "};
  problem.message += std::strerror(errno);
  problem.file = file;
  return problem;
}

Problem notReplacedProblem(const std::string& file, const std::string& reason) {
  Problem problem{kFileFailure, "file", "cannot write: " + reason};
  problem.file = file;
  return problem;
}

Problem usageProblem(const std::string& message) {
  return {kUsage, "usage", message};
}

Problem outOfMemory(const std::string& message) {
  return {kOutOfMemory, "out of memory", message};
}
