// SPDX-License-Identifier: Apache-2.0
//
// appendValue: lead-in, short and long form, ending, and the pieces of the script temporaries.
// Every row is run on the library and on the plain renderer.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/render_suite.h"

namespace {

using namespace std::string_literals;

RENDERER_SUITE(RenderValue);

enum Flags : unsigned {
  kQuote = 1,
  kNamed = 2,
  kPretty = 4,
  kJsonOnly = 8,
  kInline = 16,
  kMidStatement = 32,  // scriptStatementStart cleared
  kBoth = 64,          // jsonAndScript
  kNoTemporaries = 128
};

struct ValueCase {
  const char* name;
  unsigned flags;
  std::string value;
  std::string json;    // after the "?\n" that stands there before (pretty), or "?" (compact)
  std::string script;  // the path is amf.p
  bool statementStartAfter;
};

template <class Renderer>
void prepare(Renderer& r, unsigned flags) {
  r.CreatePrefix();
  r.AddOnePrefix("p");
  if (flags & kPretty) {
    r.newLine = "\n";
    r.indentUnit = "\t";
    r.indent = "\t\t";
  }
  r.jsonOnly = (flags & kJsonOnly) != 0;
  r.valueInline = (flags & kInline) != 0;
  r.scriptStatementStart = (flags & kMidStatement) == 0;
  r.jsonAndScript = (flags & kBoth) != 0;
  r.useTemporaries = (flags & kNoTemporaries) == 0;
  r.jsonText = (flags & kPretty) ? "?\n" : "?";
}

template <class Renderer>
void check(const ValueCase& row) {
  SCOPED_TRACE(row.name);
  Renderer r;
  prepare(r, row.flags);
  r.appendValue(row.value, (row.flags & kQuote) != 0, (row.flags & kNamed) != 0);
  EXPECT_EQ(r.jsonText, row.json);
  EXPECT_EQ(r.scriptText, row.script);
  EXPECT_EQ(r.scriptStatementStart, row.statementStartAfter);
  EXPECT_EQ(r.scriptPreamble, "");
  EXPECT_EQ(r.temporaryCounter, 0);
  EXPECT_EQ(r.lineBreakCount, 1);
}

const ValueCase kShort[] = {
    {"named literal", kNamed, "5", "?\"value\" : 5,", "amf.p.value = 5;\n", true},
    {"named literal, pretty", kNamed | kPretty, "5", "?\n\t\t\"value\" : 5,\n",
     "amf.p.value = 5;\n", true},
    {"named string", kNamed | kQuote, "hi", "?\"value\" : \"hi\",", "amf.p.value = \"hi\";\n",
     true},
    {"named ignores the statement mark", kNamed | kMidStatement, "5", "?\"value\" : 5,",
     "amf.p.value = 5;\n", true},
    {"named inline", kNamed | kQuote | kInline, "hi", "?\"value\" : \"hi\",", "\"hi\"", true},
    {"named inline keeps the mark", kNamed | kInline | kMidStatement, "1", "?\"value\" : 1,", "1",
     false},
    {"named, JSON alone", kNamed | kQuote | kJsonOnly, "hi", "?\"value\" : \"hi\",", "", true},
    {"JSON alone keeps the mark", kNamed | kQuote | kJsonOnly | kMidStatement, "hi",
     "?\"value\" : \"hi\",", "", false},
    {"unnamed at a statement's start", 0, "5", "?5,", "amf.p = 5;\n", true},
    {"unnamed within a statement", kMidStatement, "5", "?5,", "5;\n", true},
    {"unnamed, pretty: one byte goes", kPretty, "5", "?5,\n", "amf.p = 5;\n", true},
    {"unnamed string, pretty", kPretty | kQuote | kMidStatement, "hi", "?\"hi\",\n", "\"hi\";\n",
     true},
    {"unnamed inline", kInline | kQuote, "hi", "?\"hi\",", "\"hi\"", true},
    {"unnamed inline within a statement", kInline | kMidStatement | kPretty, "1", "?1,\n", "1",
     false},
    {"unnamed, JSON alone", kJsonOnly, "5", "?5,", "", true},
    {"unnamed, JSON alone, pretty", kJsonOnly | kPretty, "5", "?5,\n", "", true},
    {"empty string", kQuote, "", "?\"\",", "amf.p = \"\";\n", true},
    {"empty literal", 0, "", "?,", "amf.p = ;\n", true},
    {"tab and line end are lost on both sides", kQuote, "a\tb\r\nc\b\f", "?\"abc\",",
     "amf.p = \"abc\";\n", true},
    {"quote gets one backslash on both sides", kQuote, "a\"b", "?\"a\\\"b\",",
     "amf.p = \"a\\\"b\";\n", true},
    {"backslash and slash stay", kQuote, "\\/\\\"", "?\"\\/\\\\\"\",", "amf.p = \"\\/\\\\\"\";\n",
     true},
    {"JSON alone has the same escaping", kQuote | kJsonOnly, "\\\"/\t", "?\"\\\\\"/\",", "", true},
    {"NUL, 01 and UTF-8 stay", kQuote, "\0\x01\xC3\xA9"s, "?\"\0\x01\xC3\xA9\","s,
     "amf.p = \"\0\x01\xC3\xA9\";\n"s, true},
    {"literal is not escaped", 0, "\"\t\n\\", "?\"\t\n\\,", "amf.p = \"\t\n\\;\n", true},
};

TYPED_TEST(RenderValue, ShortForm) {
  for (const ValueCase& row : kShort) check<TypeParam>(row);
}

TYPED_TEST(RenderValue, LongTextsThatStayInline) {
  const std::string x399(399, 'x');
  const std::string x400(400, 'x');
  const std::string x9000(9000, 'x');
  const ValueCase rows[] = {
      {"399 bytes", kQuote, x399, "?\"" + x399 + "\",", "amf.p = \"" + x399 + "\";\n", true},
      {"399 literal bytes", 0, x399, "?" + x399 + ",", "amf.p = " + x399 + ";\n", true},
      {"399 quotes are 798 bytes", kQuote | kMidStatement, std::string(399, '"'),
       "?\"" +
           [] {
             std::string twice;
             for (int i = 0; i < 399; ++i) twice += "\\\"";
             return twice;
           }() +
           "\",",
       "\"" +
           [] {
             std::string twice;
             for (int i = 0; i < 399; ++i) twice += "\\\"";
             return twice;
           }() +
           "\";\n",
       true},
      {"400 bytes, JSON alone", kQuote | kJsonOnly, x400, "?\"" + x400 + "\",", "", true},
      {"400 bytes, JSON and script", kQuote | kBoth, x400, "?\"" + x400 + "\",",
       "amf.p = \"" + x400 + "\";\n", true},
      {"400 bytes without temporaries", kQuote | kNoTemporaries, x400, "?\"" + x400 + "\",",
       "amf.p = \"" + x400 + "\";\n", true},
      {"9000 bytes, named, without temporaries", kQuote | kNamed | kNoTemporaries, x9000,
       "?\"value\" : \"" + x9000 + "\",", "amf.p.value = \"" + x9000 + "\";\n", true},
      {"9000 literal bytes, JSON alone", kNamed | kJsonOnly, x9000, "?\"value\" : " + x9000 + ",",
       "", true},
  };
  for (const ValueCase& row : rows) check<TypeParam>(row);
}

// ---- Script temporaries

struct PieceCase {
  const char* name;
  bool quote;
  std::string value;
  std::vector<std::string> pieces;
};

std::string run(std::size_t count, char c = 'x') {
  return std::string(count, c);
}

std::vector<PieceCase> pieceCases() {
  std::vector<PieceCase> rows = {
      {"400 bytes: one line", true, run(400), {run(400)}},
      {"401 bytes: all in the first, and an empty line", true, run(401), {run(401), ""}},
      {"402", true, run(402), {run(401), "x"}},
      {"800", true, run(800), {run(401), run(399)}},
      {"801: the last line is full", true, run(801), {run(401), run(400), ""}},
      {"802", true, run(802), {run(401), run(400), "x"}},
      {"1000", true, run(1000), {run(401), run(400), run(199)}},
      {"1200", true, run(1200), {run(401), run(400), run(399)}},
      {"1201", true, run(1201), {run(401), run(400), run(400), ""}},
      {"2001", true, run(2001), {run(401), run(400), run(400), run(400), run(400), ""}},
      {"literal text", false, run(400, '7'), {run(400, '7')}},
      {"long literal text", false, run(1000, '7'), {run(401, '7'), run(400, '7'), run(199, '7')}},
      {"literal text is not escaped", false, run(399) + "\"", {run(399) + "\""}},
      {"literal line ends stay", false, "\n" + run(399), {"\n" + run(399)}},
      {"400 bytes that shrink to none", true, run(400, '\n'), {""}},
      {"401 bytes that shrink to 400", true, run(200) + "\t" + run(200), {run(400)}},
      {"402 bytes that shrink to 401", true, "\r" + run(401), {run(401), ""}},
      {"400 bytes that grow to 401", true, run(399) + "\"", {run(399) + "\\\"", ""}},
      {"quote at the front", true, "\"" + run(399), {"\\\"" + run(399), ""}},
      {"quote directly after the first piece",
       true,
       run(401) + "\"" + run(10),
       {run(401), "\\\"" + run(10)}},
      {"quote across the first cut", true, run(400) + "\"" + run(10), {run(400), "\\\"" + run(10)}},
      {"quote whose backslash is the last but one",
       true,
       run(399) + "\"" + run(10),
       {run(399) + "\\\"", run(10)}},
      {"backslash at 400", true, run(400) + "\\" + run(99), {run(400), "\\" + run(99)}},
      {"backslash at 399 has a byte after it",
       true,
       run(399) + "\\" + run(100),
       {run(399) + "\\x", run(99)}},
      {"backslash at 400 and no more", true, run(400) + "\\", {run(400), "\\"}},
      {"three backslashes before the cut",
       true,
       run(398) + "\\\\\\" + run(99),
       {run(398), "\\\\\\" + run(99)}},
      {"backslash at 400 in 801 bytes",
       true,
       run(400) + "\\" + run(400),
       {run(400), "\\" + run(399), "x"}},
      {"backslash at 400 and at the end of 800",
       true,
       run(400) + "\\" + run(398) + "\\",
       {run(400), "\\" + run(398) + "\\"}},
      {"second cut moves", true, run(800) + "\\" + run(199), {run(401), run(399), "\\" + run(199)}},
      {"last byte is lost",
       true,
       run(400) + "\\" + run(398) + "\\" + run(400),
       {run(400), "\\" + run(398), "\\" + run(399)}},
      {"500 backslashes", true, run(500, '\\'), {"", run(400, '\\')}},
      {"1000 backslashes: two empty lines, and the rest is lost",
       true,
       run(1000, '\\'),
       {"", "", run(400, '\\')}},
      {"a byte before backslashes", true, "x" + run(600, '\\'), {"x", run(400, '\\')}},
      {"NUL and UTF-8", true, "\0"s + run(400, '\xC3'), {"\0"s + run(400, '\xC3'), ""}},
  };
  return rows;
}

TYPED_TEST(RenderValue, Pieces) {
  for (const PieceCase& row : pieceCases()) {
    SCOPED_TRACE(row.name);
    std::string preamble = "\n";
    for (std::size_t i = 0; i < row.pieces.size(); ++i)
      preamble +=
          std::string("qxAmfTemporary1") + (i == 0 ? " = \"" : " += \"") + row.pieces[i] + "\"\n";
    for (const unsigned flags : {0u, kNamed + 0u, kMidStatement + 0u, kPretty + 0u}) {
      TypeParam r;
      prepare(r, flags);
      r.appendValue(row.value, row.quote, (flags & kNamed) != 0);
      EXPECT_EQ(r.scriptPreamble, preamble);
      EXPECT_EQ(r.temporaryCounter, 1);
      EXPECT_TRUE(r.scriptStatementStart);
      if (flags & kNamed) {
        EXPECT_EQ(r.jsonText, "?\"value\" : qxAmfTemporary1,");
        EXPECT_EQ(r.scriptText, "amf.p.value = qxAmfTemporary1;\n");
      } else {
        EXPECT_EQ(r.jsonText, (flags & kPretty) ? "?qxAmfTemporary1,\n" : "?qxAmfTemporary1,");
        EXPECT_EQ(r.scriptText,
                  (flags & kMidStatement) ? "qxAmfTemporary1;\n" : "amf.p = qxAmfTemporary1;\n");
      }
    }
  }
}

TYPED_TEST(RenderValue, TheLostByteHasAName) {
  std::string value = run(1200);
  value[400] = '\\';
  value[799] = '\\';
  value[1199] = 'L';
  TypeParam r;
  prepare(r, 0);
  r.appendValue(value, true, false);
  EXPECT_EQ(r.scriptPreamble.find('L'), std::string::npos);
  EXPECT_EQ(r.scriptPreamble, "\nqxAmfTemporary1 = \"" + run(400) + "\"\nqxAmfTemporary1 += \"\\" +
                                  run(398) + "\"\nqxAmfTemporary1 += \"\\" + run(399) + "\"\n");
}

TYPED_TEST(RenderValue, TemporariesAreNumberedInTurn) {
  TypeParam r;
  prepare(r, 0);
  for (int i = 1; i <= 12; ++i) r.appendValue(run(400, static_cast<char>('a' + i)), true, true);
  std::string preamble;
  std::string script;
  for (int i = 1; i <= 12; ++i) {
    const std::string name = "qxAmfTemporary" + std::to_string(i);
    preamble += "\n" + name + " = \"" + run(400, static_cast<char>('a' + i)) + "\"\n";
    script += "amf.p.value = " + name + ";\n";
  }
  EXPECT_EQ(r.scriptPreamble, preamble);
  EXPECT_EQ(r.scriptText, script);
  EXPECT_EQ(r.temporaryCounter, 12);
}

TYPED_TEST(RenderValue, TheNumberIsTheCountersPlusOne) {
  const std::pair<int, std::string> rows[] = {
      {0, "qxAmfTemporary1"},
      {-7, "qxAmfTemporary-6"},
      {-1, "qxAmfTemporary0"},
      {99999, "qxAmfTemporary100000"},
      {2147483646, "qxAmfTemporary2147483647"},
  };
  for (const auto& row : rows) {
    TypeParam r;
    prepare(r, 0);
    r.temporaryCounter = row.first;
    r.appendValue(run(1000), true, false);
    EXPECT_EQ(r.jsonText, "?" + row.second + ",");
    EXPECT_EQ(r.scriptPreamble, "\n" + row.second + " = \"" + run(401) + "\"\n" + row.second +
                                    " += \"" + run(400) + "\"\n" + row.second + " += \"" +
                                    run(199) + "\"\n");
    EXPECT_EQ(r.temporaryCounter, row.first + 1);
  }
}

TYPED_TEST(RenderValue, TemporaryInline) {
  TypeParam r;
  prepare(r, kInline | kMidStatement);
  r.appendValue(run(400), true, false);
  EXPECT_EQ(r.jsonText, "?qxAmfTemporary1,");
  EXPECT_EQ(r.scriptText, "qxAmfTemporary1");
  EXPECT_FALSE(r.scriptStatementStart);
  EXPECT_EQ(r.scriptPreamble, "\nqxAmfTemporary1 = \"" + run(400) + "\"\n");
}

TYPED_TEST(RenderValue, PreambleIsAppendedToAndHasItsOwnLineEnds) {
  TypeParam r;
  prepare(r, 0);
  r.scriptPreamble = "var a;";
  r.scriptNewLine = "\r\n";
  r.appendValue(run(400), true, false);
  EXPECT_EQ(r.scriptPreamble, "var a;\nqxAmfTemporary1 = \"" + run(400) + "\"\n");
  EXPECT_EQ(r.scriptText, "amf.p = qxAmfTemporary1;\r\n");
}

TYPED_TEST(RenderValue, UnnamedRemovesAsManyBytesAsTheLineEndHas) {
  TypeParam r;
  r.jsonOnly = true;
  r.newLine = "\r\n";
  r.jsonText = "abcd";  // not compared
  r.appendValue("5", false, false);
  EXPECT_EQ(r.jsonText, "ab5,\r\n");
}

TYPED_TEST(RenderValue, WithoutARootThePathIsEmpty) {
  TypeParam r;
  r.jsonText = "?";
  r.appendValue("5", false, false);
  r.appendValue("6", false, true);
  EXPECT_EQ(r.scriptText, " = 5;\n.value = 6;\n");
}

TYPED_TEST(RenderValue, LongValuesAreEscapedWhole) {
  std::string value;
  std::string escaped;
  for (int i = 0; i < 40000; ++i) {
    value += "a\"\n\\";
    escaped += "a\\\"\\";
  }
  TypeParam r;
  prepare(r, kNoTemporaries);
  r.appendValue(value, true, false);
  EXPECT_TRUE(r.jsonText == "?\"" + escaped + "\",");
  EXPECT_TRUE(r.scriptText == "amf.p = \"" + escaped + "\";\n");
}

}  // namespace
