// SPDX-License-Identifier: Apache-2.0
//
// The calls of AMFWire as the test tables need them: bytes or text in, text or bytes or the error
// out as one string.
#ifndef TESTS_WIRE_CALLS_H
#define TESTS_WIRE_CALLS_H

#include <AMFWire.h>

#include <string>

namespace wire_tests {

// The outcome of a call as a line: `depth limit at 12: message`, `not JSON at 1:3 in a.b: message`.
inline std::string textOfResult(const AMFWireResult& result) {
  std::string text = describe(result.status);
  if (result.line != 0) {
    text += " at " + std::to_string(result.line) + ":" + std::to_string(result.column);
    text += " in '" + result.path + "'";
  } else {
    text += " at " + std::to_string(result.offset);
  }
  return text + ": " + result.message;
}

inline std::string exported(const std::string& bytes, const AMFWireExportOptions& options,
                            AMFWireStatistics* statistics = nullptr) {
  std::string json = "untouched";
  const AMFWireResult result = amfWireExport(bytes.data(), bytes.size(), json, options, statistics);
  if (result.ok()) return json;
  return json == "untouched" ? textOfResult(result) : "the text was touched: " + json;
}

inline std::string exported(const std::string& bytes, AMFWireForm form) {
  AMFWireExportOptions options;
  options.form = form;
  return exported(bytes, options);
}

inline std::string imported(const std::string& json, const AMFWireImportOptions& options = {}) {
  std::string bytes = "untouched";
  const AMFWireResult result = amfWireImport(json.data(), json.size(), bytes, options);
  if (result.ok()) return bytes;
  return bytes == "untouched" ? textOfResult(result) : "the bytes were touched: " + bytes;
}

}  // namespace wire_tests

#endif  // TESTS_WIRE_CALLS_H
