// SPDX-License-Identifier: Apache-2.0
//
// One JSON object on a line, from texts that may not be UTF-8. Exercises tool/text/json_line.cpp and
// tool/text/utf8.cpp.
#include "tool/text/json_line.h"

#include <gtest/gtest.h>

#include "tool/text/utf8.h"

namespace {

struct TextCase {
  const char* name;
  std::string_view bytes;
  const char* json;
  bool isUTF8 = true;
};

using namespace std::string_view_literals;

const TextCase kTexts[] = {
    {"empty", "", ""},
    {"printable ASCII", " ~/'", " ~/'"},
    {"quote and backslash", "\"\\", "\\\"\\\\"},
    {"short escapes", "\b\t\n\f\r", "\\b\\t\\n\\f\\r"},
    {"control characters", "\0\x1F\x7F"sv, "\\u0000\\u001f\\u007f"},
    {"two bytes", "\xC2\x80\xDF\xBF", "\\u0080\\u07ff"},
    {"three bytes", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
     "\\u0800\\ud7ff\\ue000\\uffff"},
    {"four bytes", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\\ud800\\udc00\\udbff\\udfff"},
    {"no lead byte", "\x80\xBF\xC1\xF5", "\\ufffd\\ufffd\\ufffd\\ufffd", false},
    {"longer than needed", "\xE0\x9F\xBF", "\\ufffd\\ufffd\\ufffd", false},
    {"half of a surrogate pair", "\xED\xA0\x80", "\\ufffd\\ufffd\\ufffd", false},
    {"above U+10FFFF", "\xF4\x90\x80\x80", "\\ufffd\\ufffd\\ufffd\\ufffd", false},
    {"cut by another character", "\xE2\x82z\xF0\x9F\x98z", "\\ufffdz\\ufffdz", false},
    {"cut by the end", "z\xF0\x9F\x98", "z\\ufffd", false},
};

TEST(JsonLine, EscapesTexts) {
  for (const TextCase& row : kTexts) {
    JsonLine line;
    line.set("text", row.bytes);
    EXPECT_EQ(line.text(), "{\"text\":\"" + std::string(row.json) + "\"}") << row.name;
    EXPECT_EQ(isUTF8(row.bytes), row.isUTF8) << row.name;
  }
}

TEST(JsonLine, KeepsTheOrderInWhichNamesWereFirstSet) {
  JsonLine line;
  EXPECT_EQ(line.text(), "{}");
  line.set("b", nullptr);
  line.set("a", 18446744073709551615u);
  line.set("list", {"x", "\""});
  line.set("none", std::vector<const char*>());
  line.set("b", "set");
  EXPECT_EQ(line.text(),
            "{\"b\":\"set\",\"a\":18446744073709551615,\"list\":[\"x\",\"\\\"\"],\"none\":[]}");
}

}  // namespace
