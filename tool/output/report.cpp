// SPDX-License-Identifier: Apache-2.0
#include "tool/output/report.h"

#include <cstdio>

#include "tool/text/hex.h"
#include "tool/text/json_line.h"
#include "tool/text/printable.h"
#include "tool/text/utf8.h"

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
  if (problem.position) {
    return problem.file + ":" + std::to_string(problem.position->line) + ":" +
           std::to_string(problem.position->column);
  }
  return problem.file.empty() ? "amf2json" : "amf2json: " + problem.file;
}

std::string asText(const Problem& problem, bool color) {
  std::string text = painted(printable(placeOf(problem)) + ":", kBold, color) + " ";
  if (problem.isWarning) text += painted("warning:", kYellow, color) + " ";
  text += painted(printable(problem.message), problem.isWarning ? kBold : kRed, color);
  if (!problem.section.empty()) text += " (" + problem.section + ")";
  if (problem.position && !problem.position->path.empty())
    text += " (" + printable(problem.position->path) + ")";
  text += "\n";
  if (!problem.hexContext.empty()) text += "    " + problem.hexContext + "\n";
  if (!problem.hint.empty()) text += "    " + printable(problem.hint) + "\n";
  return text;
}

std::string hexOf(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) text += hexByte(byte);
  return text;
}

// JSON is UTF-8, but file names need not be: their bytes are added in hexadecimal.
std::string asJSON(const Problem& problem) {
  JsonLine line;
  line.set("file", nullptr);
  if (!problem.file.empty()) line.set("file", problem.file);
  if (!isUTF8(problem.file)) line.set("file_bytes", hexOf(problem.file));
  line.set("offset", nullptr);
  if (problem.offset) line.set("offset", *problem.offset);
  line.set("section", nullptr);
  if (!problem.section.empty()) line.set("section", problem.section);
  if (problem.position) {
    line.set("path", problem.position->path);
    line.set("line", problem.position->line);
    line.set("column", problem.position->column);
  }
  line.set("status", problem.status);
  line.set("message", isUTF8(problem.message) ? problem.message : printable(problem.message));
  if (!problem.hint.empty()) line.set("hint", problem.hint);
  line.set("exit_code", static_cast<unsigned>(problem.exitCode));
  return line.text() + "\n";
}

}  // namespace

void report(const Problem& problem, const ReportStyle& style) {
  const std::string text = style.json ? asJSON(problem) : asText(problem, style.color);
  std::fputs(text.c_str(), stderr);
}

FileResult refusedLine(const Problem& problem) {
  JsonLine line;
  line.set("error", problem.message);
  if (problem.offset) line.set("offset", *problem.offset);
  if (problem.position) {
    line.set("path", problem.position->path);
    line.set("line", problem.position->line);
    line.set("column", problem.position->column);
  }
  FileResult result;
  result.text = line.text();
  result.problems.push_back(problem);
  return result;
}
