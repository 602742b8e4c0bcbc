// SPDX-License-Identifier: Apache-2.0
//
// A JSON object on one line.
#ifndef AMF2JSON_TOOL_TEXT_JSON_LINE_H
#define AMF2JSON_TOOL_TEXT_JSON_LINE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Members keep the order in which their names were first set. The text is ASCII: other characters
// and control characters are escaped, bytes that are not UTF-8 become U+FFFD.
class JsonLine {
 public:
  // Adds a member, or replaces its value.
  void set(const char* name, std::nullptr_t);
  void set(const char* name, std::uint64_t value);
  void set(const char* name, std::string_view value);
  void set(const char* name, const std::vector<const char*>& values);

  // The object, without a line end.
  std::string text() const;

 private:
  void setValue(std::string_view name, std::string json);

  std::vector<std::pair<std::string, std::string>> members;  // names and values, both as JSON
};

#endif  // AMF2JSON_TOOL_TEXT_JSON_LINE_H
