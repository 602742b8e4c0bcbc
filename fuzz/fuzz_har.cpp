// SPDX-License-Identifier: Apache-2.0
//
// Property: whatever the bytes, they are refused with a place, or each AMF body of the archive is
// a line of JSON. A line without an error is a document that is imported to the restored bytes.
// Few problems are reported, and they count the lines with an error.
//
// Input: the archive.
#include <AMFWire.h>
#include <rapidjson/document.h>

#include "fuzz/input.h"
#include "tool/commands/export_har.h"

namespace {

using fuzz::require;

FileResult exported(const std::string& bytes) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  FileResult result;
  const AMFWireResult done = amfWireExport(bytes.data(), bytes.size(), result.text, options);
  if (!done.ok()) {
    Problem problem{kMalformed, "refused", done.message};
    problem.offset = static_cast<std::size_t>(done.offset);
    throw problem;
  }
  result.text += '\n';
  return result;
}

// Returns whether the line is a document.
bool isDocument(const std::string& line) {
  rapidjson::Document json;
  json.Parse<rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag>(line.c_str());
  require(!json.HasParseError() && json.IsObject(), "each line is an object of JSON");
  require(json.HasMember("source") && json["source"].IsObject(), "with its source");
  if (!json.HasMember("error")) return true;
  require(json["error"].GetStringLength() > 0 && json.HasMember("bytes"), "an error says why");
  return false;
}

void checkDocument(const std::string& line, const std::string& bytes) {
  std::string imported;
  require(amfWireImport(line.data(), line.size(), imported).ok(), "a document is imported");
  require(imported == bytes, "to the restored bytes");
}

void checkProblems(const FileResult& result, std::size_t errors) {
  require(result.problems.size() <= 22, "the first 20 problems and two counts");
  require((exitCodeOf(result) == kDone) == (errors == 0), "errors decide the exit code");
  require(errors == 0 || result.problems.back().isWarning, "the last problem is the summary");
}

void checkText(const FileResult& result, const std::vector<std::string>& restored) {
  std::size_t documents = 0, errors = 0;
  for (std::size_t at = 0; at < result.text.size();) {
    const std::size_t end = result.text.find('\n', at);
    require(end != std::string::npos, "whole lines");
    const std::string line = result.text.substr(at, end - at);
    if (isDocument(line)) {
      require(documents < restored.size(), "a document for each body");
      checkDocument(line, restored[documents++]);
    } else {
      ++errors;
    }
    at = end + 1;
  }
  require(documents == restored.size(), "a body for each document");
  checkProblems(result, errors);
}

void checkRefusal(const Problem& problem, std::size_t size) {
  require(!problem.message.empty() && problem.exitCode == kMalformed, "an error says why");
  const bool isWhole = problem.message == "this is no archive (HAR): no list log.entries";
  require(isWhole || (problem.offset && *problem.offset <= size), "and where");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string archive(reinterpret_cast<const char*>(data), size);
  Options options;
  options.wire.lines = true;
  AMFWireReadOptions read;
  read.form = AMFWireForm::packet;
  std::vector<std::string> restored;
  const auto exportBytes = [&restored](const std::string& bytes) {
    FileResult result = exported(bytes);
    restored.push_back(bytes);
    return result;
  };
  try {
    checkText(exportHar(archive, options, read, exportBytes), restored);
  } catch (const Problem& problem) {
    checkRefusal(problem, size);
  }
  return 0;
}
