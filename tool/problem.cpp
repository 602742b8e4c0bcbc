// SPDX-License-Identifier: Apache-2.0
#include "tool/problem.h"

#include <cerrno>
#include <cstring>

Problem fileProblem(const std::string& file, const char* action) {
  Problem problem{kFileFailure, "file", std::string("cannot ") + action + ": "};
  problem.message += std::strerror(errno);
  problem.file = file;
  return problem;
}

Problem notReplaced(const std::string& file, const std::string& reason) {
  Problem problem{kFileFailure, "file", "cannot write: " + reason};
  problem.file = file;
  return problem;
}
