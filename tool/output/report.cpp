// SPDX-License-Identifier: Apache-2.0
#include "tool/output/report.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "tool/text/hex.h"
#include "tool/text/printable.h"

namespace {

constexpr const char* kBold = "\033[1m";
constexpr const char* kRed = "\033[1;31m";
constexpr const char* kYellow = "\033[1;33m";
constexpr const char* kReset = "\033[0m";

std::string painted(const std::string& text, const char* color, bool isOn) {
  return isOn ? color + text + kReset : text;
}

std::string placeOf(const Problem& problem) {
  if (problem.offset) return problem.file + ":" + std::to_string(*problem.offset);
  if (problem.text) {
    return problem.file + ":" + std::to_string(problem.text->line) + ":" +
           std::to_string(problem.text->column);
  }
  return problem.file.empty() ? "amf2json" : "amf2json: " + problem.file;
}

std::string inWords(const Problem& problem, bool color) {
  std::string text = painted(printable(placeOf(problem)) + ":", kBold, color) + " ";
  if (problem.isWarning) text += painted("warning:", kYellow, color) + " ";
  text += painted(printable(problem.message), problem.isWarning ? kBold : kRed, color);
  if (!problem.section.empty()) text += " (" + problem.section + ")";
  if (problem.text && !problem.text->path.empty())
    text += " (" + printable(problem.text->path) + ")";
  text += "\n";
  if (!problem.bytes.empty()) text += "    " + problem.bytes + "\n";
  if (!problem.hint.empty()) text += "    " + printable(problem.hint) + "\n";
  return text;
}

std::string hexOf(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) text += hexByte(byte);
  return text;
}

bool isUTF8(const std::string& text) {
  try {
    static_cast<void>(nlohmann::json(text).dump());
    return true;
  } catch (const nlohmann::json::type_error&) {
    return false;
  }
}

// JSON texts are UTF-8, file names need not be: those are told in hexadecimal as well.
std::string inJSON(const Problem& problem) {
  nlohmann::ordered_json line;
  line["file"] = nullptr;
  if (!problem.file.empty()) line["file"] = problem.file;
  if (!isUTF8(problem.file)) line["file_bytes"] = hexOf(problem.file);
  line["offset"] = nullptr;
  if (problem.offset) line["offset"] = *problem.offset;
  line["section"] = nullptr;
  if (!problem.section.empty()) line["section"] = problem.section;
  if (problem.text) {
    line["path"] = problem.text->path;
    line["line"] = problem.text->line;
    line["column"] = problem.text->column;
  }
  line["status"] = problem.status;
  line["message"] = isUTF8(problem.message) ? problem.message : printable(problem.message);
  if (!problem.hint.empty()) line["hint"] = problem.hint;
  line["exit_code"] = static_cast<int>(problem.exitCode);
  // ASCII only: no control character gets through, and no byte that is not UTF-8.
  return line.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string wordsFor(const Problem& problem, const ReportStyle& style) {
  return style.json ? inJSON(problem) : inWords(problem, style.color);
}

void report(const Problem& problem, const ReportStyle& style) {
  std::fputs(wordsFor(problem, style).c_str(), stderr);
}
