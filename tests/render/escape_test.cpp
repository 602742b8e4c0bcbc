// SPDX-License-Identifier: Apache-2.0
//
// The three escaping rules: appendAttr, appendJSAttr and formatString.
// Rows of the members are run on the library and on the plain renderer.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <string>

#include "support/hex.h"
#include "support/plain_renderer.h"
#include "support/render_suite.h"

namespace {

using namespace std::string_literals;

RENDERER_SUITE(RenderEscape);

struct EscapeCase {
  const char* name;
  std::string value;
  std::string json;    // between the quotes of appendAttr
  std::string script;  // between the quotes of appendJSAttr
};

const EscapeCase kEscapes[] = {
    {"empty", "", "", ""},
    {"plain", "hello", "hello", "hello"},
    {"slash and quote", "a/b\"c", "a\\/b\\\\\\\"c", "a/b\\\"c"},
    {"one quote", "\"", "\\\\\\\"", "\\\""},
    {"backslash", "\\", "\\\\", "\\"},
    {"slash", "/", "\\/", "/"},
    {"backspace keeps its byte", "a\x08z", "a\\\x08z", "az"},
    {"form feed", "a\x0Cz", "a\\\x0Cz", "az"},
    {"line feed", "a\nz", "a\\\nz", "az"},
    {"carriage return", "a\rz", "a\\\rz", "az"},
    {"tab", "a\tz", "a\\\tz", "az"},
    {"all seven in a row", "\\/\x08\x0C\n\r\t", "\\\\\\/\\\x08\\\x0C\\\n\\\r\\\t", "\\/"},
    {"seven and a quote, twice", "\\/\b\f\n\r\t\"\\/\b\f\n\r\t\"",
     "\\\\\\/\\\b\\\f\\\n\\\r\\\t\\\\\\\"\\\\\\/\\\b\\\f\\\n\\\r\\\t\\\\\\\"", "\\/\\\"\\/\\\""},
    {"carriage return and line feed", "a\r\nb", "a\\\r\\\nb", "ab"},
    {"dropped bytes only", "\b\f\n\r\t", "\\\b\\\f\\\n\\\r\\\t", ""},
    {"dropped byte before a quote", "\t\"", "\\\t\\\\\\\"", "\\\""},
    {"backslash and quote", "\\\"", "\\\\\\\\\\\"", "\\\\\""},
    {"two quotes", "\"\"", "\\\\\\\"\\\\\\\"", "\\\"\\\""},
    {"first and last", "\"x\"", "\\\\\\\"x\\\\\\\"", "\\\"x\\\""},
    {"vertical tab, ESC and 01 pass", "\x0B\x1B\x01", "\x0B\x1B\x01", "\x0B\x1B\x01"},
    {"NUL passes", "a\0b"s, "a\0b"s, "a\0b"s},
    {"DEL and UTF-8 pass", "\x7F\xC3\xA9\xFF", "\x7F\xC3\xA9\xFF", "\x7F\xC3\xA9\xFF"},
    {"apostrophe and markup pass", "'<!-- </script>", "'<!-- <\\/script>", "'<!-- </script>"},
};

TYPED_TEST(RenderEscape, AttributeLines) {
  for (const EscapeCase& row : kEscapes) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.newLine = "\n";
    r.indent = "\t";
    r.appendAttr("n", row.value, true);
    EXPECT_EQ(r.jsonText, "\t\"n\" : \"" + row.json + "\",\n");
    r.jsonText.clear();
    r.appendAttr("n", row.value, false);
    EXPECT_EQ(r.jsonText, "\t\"n\" : " + row.value + ",\n");
    EXPECT_EQ(r.scriptText, "");
  }
}

TYPED_TEST(RenderEscape, ScriptStatements) {
  for (const EscapeCase& row : kEscapes) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.CreatePrefix();
    r.AddOnePrefix("message");
    r.scriptStatementStart = false;
    r.appendJSAttr("value", row.value, true);
    EXPECT_EQ(r.scriptText, "amf.message.value = \"" + row.script + "\";\n");
    EXPECT_TRUE(r.scriptStatementStart);
    r.scriptText.clear();
    r.scriptStatementStart = false;
    r.appendJSAttr("value", row.value, false);
    EXPECT_EQ(r.scriptText, "amf.message.value = " + row.value + ";\n");
    EXPECT_TRUE(r.scriptStatementStart);
    EXPECT_EQ(r.jsonText, "");
  }
}

TYPED_TEST(RenderEscape, AllBytesOfBothMembers) {
  std::string value;
  std::string json;
  std::string script;
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    value += c;
    if (i == 0x08 || i == 0x09 || i == 0x0A || i == 0x0C || i == 0x0D || i == '/' || i == '\\')
      json += '\\';
    if (i == '"') json += "\\\\\\";
    json += c;
    if (i == 0x08 || i == 0x09 || i == 0x0A || i == 0x0C || i == 0x0D) continue;
    if (i == '"') script += '\\';
    script += c;
  }
  TypeParam r;
  r.appendAttr("", value, true);
  EXPECT_EQ(r.jsonText, "\"\" : \"" + json + "\",");
  r.appendJSAttr("", value, true);
  EXPECT_EQ(r.scriptText, ". = \"" + script + "\";\n");
}

TYPED_TEST(RenderEscape, LongValues) {
  std::string value;
  std::string json;
  std::string script;
  for (int i = 0; i < 50000; ++i) {
    value += "\"\n\\";
    json += "\\\\\\\"\\\n\\\\";
    script += "\\\"\\";
  }
  TypeParam r;
  r.appendAttr("a", value, true);
  r.appendJSAttr("a", value, true);
  EXPECT_TRUE(r.jsonText == "\"a\" : \"" + json + "\",");
  EXPECT_TRUE(r.scriptText == ".a = \"" + script + "\";\n");
}

TYPED_TEST(RenderEscape, NamesAreNeverEscaped) {
  TypeParam r;
  r.appendAttr("a\"b\n\\", "1", false);
  EXPECT_EQ(r.jsonText, "\"a\"b\n\\\" : 1,");
  r.CreatePrefix();
  r.appendJSAttr("a\"b\n\0c"s, "1", false);
  EXPECT_EQ(r.scriptText, "amf.a\"b\n\0c = 1;\n"s);
}

TYPED_TEST(RenderEscape, LayoutComesFromTheFields) {
  TypeParam r;
  r.newLine = "\r\n";
  r.indent = "  ";
  r.scriptNewLine = "\r\n";
  r.appendAttr("a", "1", false);
  r.appendAttr("b", "", false);
  r.appendAttr("c", "", true);
  r.appendJSAttr("d", "", false);
  r.appendJSAttr("e", "", true);
  EXPECT_EQ(r.jsonText, "  \"a\" : 1,\r\n  \"b\" : ,\r\n  \"c\" : \"\",\r\n");
  EXPECT_EQ(r.scriptText, ".d = ;\r\n.e = \"\";\r\n");
}

TYPED_TEST(RenderEscape, ModeFlagsAreNotLookedAt) {
  TypeParam r;
  r.jsonOnly = true;
  r.valueInline = true;
  r.outputLimitReached = true;
  r.appendAttr("a", "1", false);
  r.appendJSAttr("a", std::string(500, 'x'), true);
  EXPECT_EQ(r.jsonText, "\"a\" : 1,");
  EXPECT_EQ(r.scriptText, ".a = \"" + std::string(500, 'x') + "\";\n");
  EXPECT_EQ(r.scriptPreamble, "");
}

TYPED_TEST(RenderEscape, EmptyPathStartsWithADot) {
  TypeParam r;
  r.noRootPrefix = true;
  r.CreatePrefix();
  r.appendJSAttr("a", "1", false);
  EXPECT_EQ(r.scriptText, ".a = 1;\n");
}

TYPED_TEST(RenderEscape, ValueMayBeTheBufferItself) {
  TypeParam r;
  r.jsonText = "x/";
  r.appendAttr("a", std::string(r.jsonText), true);
  EXPECT_EQ(r.jsonText, "x/\"a\" : \"x\\/\",");
}

// ---- formatString

struct FormatCase {
  const char* name;
  std::string text;
  std::string kept;     // dropControl false
  std::string dropped;  // dropControl true
};

const FormatCase kFormats[] = {
    {"empty", "", "", ""},
    {"plain", "abc", "abc", "abc"},
    {"backslash", "\\", "\\\\", "\\\\"},
    {"two backslashes", "\\\\", "\\\\\\\\", "\\\\\\\\"},
    {"quote", "\"", "\\\"", "\\\""},
    {"two quotes", "\"\"", "\\\"\\\"", "\\\"\\\""},
    {"backslash and quote", "\\\"", "\\\\\\\"", "\\\\\\\""},
    {"quote and backslash", "\"\\", "\\\"\\\\", "\\\"\\\\"},
    {"slash alone", "a/b", "a/b", "a/b"},
    {"star alone", "a*b", "a*b", "a*b"},
    {"comment opens", "/*", "/\\x2A", "/\\x2A"},
    {"comment closes", "*/", "\\x2A/", "\\x2A/"},
    {"star slash star", "*/*", "\\x2A/\\x2A", "\\x2A/\\x2A"},
    {"slash star slash", "/*/", "/\\x2A/", "/\\x2A/"},
    {"empty comment", "/**/", "/\\x2A\\x2A/", "/\\x2A\\x2A/"},
    {"comment", "/* x */", "/\\x2A x \\x2A/", "/\\x2A x \\x2A/"},
    {"three stars", "/***/", "/\\x2A*\\x2A/", "/\\x2A*\\x2A/"},
    {"two stars", "**", "**", "**"},
    {"close and open", "*//*", "\\x2A//\\x2A", "\\x2A//\\x2A"},
    {"long chain", "/*/*/*/", "/\\x2A/\\x2A/\\x2A/", "/\\x2A/\\x2A/\\x2A/"},
    {"chain from a star", "*/*/*", "\\x2A/\\x2A/\\x2A", "\\x2A/\\x2A/\\x2A"},
    {"line comment stays", "//", "//", "//"},
    {"backslash between", "/\\*", "/\\\\*", "/\\\\*"},
    {"quote between", "*\"/", "*\\\"/", "*\\\"/"},
    {"a byte that is dropped keeps them apart first", "/\n*", "/\\x0A*", "/*"},
    {"nor is the result tested again", "/\x01*", "/\\x01*", "/*"},
    {"the same from the other side", "*\xC3\xA9/", "*\xC3\xA9/", "*/"},
    {"line feed", "\n", "\\x0A", ""},
    {"1F", "\x1F", "\\x1F", ""},
    {"NUL", "a\0b"s, "a\\x00b", "ab"},
    {"blank is the first that stays", "\x1F\x20", "\\x1F ", " "},
    {"7F stays in both", "\x7F", "\x7F", "\x7F"},
    {"80", "\x80", "\x80", ""},
    {"FF", "\xFF", "\xFF", ""},
    {"A CR and a character of two bytes", "A\r\xC3\xA9", "A\\x0D\xC3\xA9", "A"},
    {"written form of a line feed", "\\n", "\\\\n", "\\\\n"},
    {"backslash before a line feed", "\\\n", "\\\\\\x0A", "\\\\"},
};

TEST(FormatString, Rows) {
  for (const FormatCase& row : kFormats) {
    SCOPED_TRACE(row.name);
    std::string text = row.text;
    EXPECT_EQ(formatString(text, false), row.kept);
    EXPECT_EQ(formatString(text, true), row.dropped);
    EXPECT_EQ(text, row.text);
    EXPECT_EQ(support::plainFormatString(text, false), row.kept);
    EXPECT_EQ(support::plainFormatString(text, true), row.dropped);
  }
}

TEST(FormatString, AllBytes) {
  for (int i = 0; i < 256; ++i) {
    SCOPED_TRACE(i);
    std::string text(1, static_cast<char>(i));
    std::string kept = text;
    if (i == '\\' || i == '"') kept = "\\" + text;
    if (i < 0x20) kept = "\\x" + support::toHex(text);
    EXPECT_EQ(formatString(text, false), kept);
    EXPECT_EQ(formatString(text, true), i < 0x20 || i >= 0x80 ? std::string() : kept);
  }
}

// All texts of up to six of the bytes that the rules mention.
TEST(FormatString, AllShortTextsAgreeWithThePlainOne) {
  static const char kBytes[] = {'\\', '"', '/', '*', '\n', '\xE9', 'a'};
  for (int length = 0; length <= 6; ++length) {
    int count = 1;
    for (int i = 0; i < length; ++i) count *= 7;
    for (int code = 0; code < count; ++code) {
      std::string text;
      for (int i = 0, rest = code; i < length; ++i, rest /= 7) text += kBytes[rest % 7];
      const std::string given = text;
      ASSERT_EQ(formatString(text, false), support::plainFormatString(given, false)) << given;
      ASSERT_EQ(formatString(text, true), support::plainFormatString(given, true)) << given;
      ASSERT_EQ(text, given);
    }
  }
}

}  // namespace
