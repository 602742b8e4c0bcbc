// SPDX-License-Identifier: Apache-2.0
//
// What can be wrong with a wrapper. Offsets count in the wrapper's own bytes.
#ifndef AMF2JSON_TOOL_INPUT_WRAPPER_PROBLEM_H
#define AMF2JSON_TOOL_INPUT_WRAPPER_PROBLEM_H

#include <cstddef>
#include <string>

#include "tool/problem.h"

inline Problem wrapperProblem(ExitCode exitCode, const char* status, const std::string& message,
                              std::size_t offset) {
  Problem problem{exitCode, status, message};
  problem.offset = offset;
  return problem;
}

inline Problem brokenWrapper(const std::string& message, std::size_t offset) {
  return wrapperProblem(kMalformed, "malformed wrapper", message, offset);
}

inline Problem cutWrapper(const std::string& message, std::size_t offset) {
  return wrapperProblem(kTruncated, "truncated wrapper", message, offset);
}

// What comes out would be more than `most` bytes.
inline Problem unwrappedTooLarge(const std::string& wrapper, std::size_t most, std::size_t offset) {
  return wrapperProblem(
      kOverLimit, "packet too large",
      "packet too large: " + wrapper + " of more than --max-packet-bytes " + std::to_string(most),
      offset);
}

#endif  // AMF2JSON_TOOL_INPUT_WRAPPER_PROBLEM_H
