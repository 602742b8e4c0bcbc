// SPDX-License-Identifier: Apache-2.0
//
// One JSON value a line, for `check` and `identify`.
#ifndef AMF2JSON_TOOL_TEXT_JSON_LINE_H
#define AMF2JSON_TOOL_TEXT_JSON_LINE_H

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "tool/command.h"

// ASCII only: no control character gets through, and no byte that is not UTF-8.
inline std::string jsonLine(const nlohmann::ordered_json& value) {
  return value.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

inline ExitCode exitCodeOf(const FileResult& result) {
  ExitCode worst = result.answer;
  for (const Problem& problem : result.problems) worst = std::max(worst, problem.exitCode);
  return worst;
}

#endif  // AMF2JSON_TOOL_TEXT_JSON_LINE_H
