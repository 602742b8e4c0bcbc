// SPDX-License-Identifier: Apache-2.0
//
// --max-output-bytes: the size of the text that is made of one file.
#ifndef AMF2JSON_TOOL_OUTPUT_OUTPUT_LIMIT_H
#define AMF2JSON_TOOL_OUTPUT_OUTPUT_LIMIT_H

#include <cstddef>
#include <string>

#include "tool/problem.h"

inline Problem outputTooLarge(std::size_t limit) {
  return {kOverLimit, "output limit",
          "output limit: more than --max-output-bytes " + std::to_string(limit)};
}

#endif  // AMF2JSON_TOOL_OUTPUT_OUTPUT_LIMIT_H
