// SPDX-License-Identifier: Apache-2.0
//
// openBrackets and closeBrackets: layout, commas, pending closers and the soft line break.
// Every row is run on the library and on the plain renderer that the other tests compare it with.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/render_suite.h"

namespace {

using namespace std::string_literals;

RENDERER_SUITE(RenderBrackets);

// '{', '[' and '<' open a block, '}', ']' and '>' close one (whatever it was opened with), 'a' is
// the attribute line "a" : 1, 'x' one byte of the host's own.
template <class Renderer>
void run(Renderer& r, const std::string& steps) {
  for (const char step : steps) {
    switch (step) {
      case '{': r.openBrackets('{', '}'); break;
      case '[': r.openBrackets('[', ']'); break;
      case '<': r.openBrackets('<', '>'); break;
      case 'a': r.appendAttr("a", "1", false); break;
      case 'x': r.jsonText += 'x'; break;
      default: r.closeBrackets(); break;
    }
  }
}

struct BlockCase {
  const char* name;
  const char* steps;
  bool pretty;
  const char* json;
  const char* closers;  // left on closerStack
  const char* indent;   // what remains
};

const BlockCase kBlocks[] = {
    {"empty block, pretty", "{}", true, "{\n}", "", ""},
    {"empty block, compact", "{}", false, "{}", "", ""},
    {"one member, pretty", "{a}", true, "{\n\t\"a\" : 1\n}", "", ""},
    {"one member, compact", "{a}", false, "{\"a\" : 1}", "", ""},
    {"two members", "{aa}", true, "{\n\t\"a\" : 1,\n\t\"a\" : 1\n}", "", ""},
    {"two members, compact", "{aa}", false, "{\"a\" : 1,\"a\" : 1}", "", ""},
    {"inner block is a member", "{a[a]}", true, "{\n\t\"a\" : 1,\n\t[\n\t\t\"a\" : 1\n\t]\n}", "",
     ""},
    {"inner block, compact", "{a[a]}", false, "{\"a\" : 1,[\"a\" : 1]}", "", ""},
    {"member after an inner block", "{[a]a}", true, "{\n\t[\n\t\t\"a\" : 1\n\t],\n\t\"a\" : 1\n}",
     "", ""},
    {"member after an inner block, compact", "{[a]a}", false, "{[\"a\" : 1],\"a\" : 1}", "", ""},
    {"empty inner block, pretty", "{[]}", true, "{\n\t[\n\t]\n}", "", ""},
    {"empty inner block, compact", "{[]}", false, "{[]}", "", ""},
    {"two empty inner blocks", "{[][]}", true, "{\n\t[\n\t],\n\t[\n\t]\n}", "", ""},
    {"inner block still pending", "{[a]", true, "{\n\t[\n\t\t\"a\" : 1\n\t],\n", "}", "\t"},
    {"inner block pending, compact", "{[a]", false, "{[\"a\" : 1],", "}", ""},
    {"open blocks only", "{[<", true, "{\n\t[\n\t\t<\n", "}]>", "\t\t\t"},
    {"closers come back innermost first", "<{[]}>", false, "<{[]}>", "", ""},
    {"two outermost blocks run together", "{a}{a}", true, "{\n\t\"a\" : 1\n}{\n\t\"a\" : 1\n}", "",
     ""},
    {"byte that is no comma stays, compact", "{x}", false, "{x}", "", ""},
    {"three levels", "{a[{a}{a}]a}", true,
     "{\n\t\"a\" : 1,\n\t[\n\t\t{\n\t\t\t\"a\" : 1\n\t\t},\n\t\t{\n\t\t\t\"a\" : 1\n\t\t}\n\t],\n"
     "\t\"a\" : 1\n}",
     "", ""},
};

TYPED_TEST(RenderBrackets, Blocks) {
  for (const BlockCase& row : kBlocks) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    support::layout(r, row.pretty);
    run(r, row.steps);
    EXPECT_EQ(r.jsonText, row.json);
    EXPECT_EQ(r.closerStack, row.closers);
    EXPECT_EQ(r.indent, row.indent);
    EXPECT_EQ(r.lineBreakCount, 1);
    EXPECT_EQ(r.scriptText, "");
  }
}

struct CloseCase {
  const char* name;
  const char* newLine;
  const char* indent;
  const char* closers;
  const char* text;
  const char* after;
  const char* indentAfter;
  const char* closersAfter;
};

const CloseCase kCloses[] = {
    {"comma before a two-byte line end", "\r\n", "", "}", "{1,\r\n", "{1\r\n}", "", ""},
    {"the byte before the line end is not tested otherwise", "\n", "", "}", "{,x", "{x}", "", ""},
    {"comma in the line end's own place stays", "\n", "", "}", "{x,", "{x,}", "", ""},
    {"only one comma goes", "", "", "}", "{1,,", "{1,}", "", ""},
    {"one byte of the indentation goes, not one unit", "\n", "    ", "}]", "[\n", "[\n   ],\n",
     "   ", "}"},
    {"no indentation left to remove", "\n", "", "}]", "[\n", "[\n],\n", "", "}"},
    {"outermost: no indentation, comma or line end", "\n", "\t\t", "}", "{\n", "{\n}", "\t", ""},
    {"the text ends up one bracket long", "", "", "}", ",", "}", "", ""},
};

TYPED_TEST(RenderBrackets, CloseLooksAtOneByte) {
  for (const CloseCase& row : kCloses) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.newLine = row.newLine;
    r.indentUnit = "\t";
    r.indent = row.indent;
    r.closerStack = row.closers;
    r.jsonText = row.text;
    r.closeBrackets();
    EXPECT_EQ(r.jsonText, row.after);
    EXPECT_EQ(r.indent, row.indentAfter);
    EXPECT_EQ(r.closerStack, row.closersAfter);
  }
}

TYPED_TEST(RenderBrackets, OpenAddsOneUnitOfAnyLength) {
  TypeParam r;
  r.newLine = "\r\n";
  r.indentUnit = "  ";
  r.openBrackets('{', '}');
  r.openBrackets('[', ']');
  EXPECT_EQ(r.jsonText, "{\r\n  [\r\n");
  EXPECT_EQ(r.indent, "    ");
  EXPECT_EQ(r.closerStack, "}]");
  r.closeBrackets();
  EXPECT_EQ(r.jsonText, "{\r\n  [\r\n   ],\r\n");
  EXPECT_EQ(r.indent, "   ");
}

TYPED_TEST(RenderBrackets, CloseTakesTheFirstByteOfAMixedIndentation) {
  TypeParam r;
  r.indentUnit = "\t";
  r.indent = "ab";
  r.openBrackets('{', '}');
  r.openBrackets('[', ']');
  EXPECT_EQ(r.jsonText, "ab{ab\t[");
  EXPECT_EQ(r.indent, "ab\t\t");
  r.closeBrackets();
  EXPECT_EQ(r.jsonText, "ab{ab\t[b\t\t],");
  r.closeBrackets();
  EXPECT_EQ(r.indent, "\t\t");
  EXPECT_EQ(r.jsonText, "ab{ab\t[b\t\t]}");
}

TYPED_TEST(RenderBrackets, DeepIndentation) {
  TypeParam r;
  support::layout(r, true);
  r.lineBreakCount = -1;  // no soft breaks
  std::string expected;
  for (std::size_t depth = 0; depth < 40; ++depth) {
    r.openBrackets('[', ']');
    expected += std::string(depth, '\t') + "[\n";
  }
  r.appendAttr("a", "1", false);
  expected += std::string(40, '\t') + "\"a\" : 1";
  EXPECT_EQ(r.jsonText, expected + ",\n");
  for (std::size_t depth = 40; depth > 0; --depth) r.closeBrackets();
  for (std::size_t depth = 39; depth > 0; --depth)
    expected += "\n" + std::string(depth, '\t') + "]";
  EXPECT_EQ(r.jsonText, expected + "\n]");
  EXPECT_EQ(r.indent, "");
}

struct BreakCase {
  const char* name;
  std::int32_t count;
  std::size_t length;
  bool breaks;
};

// The product is taken modulo 2^32, then as a signed number; a negative one is never reached.
const BreakCase kBreaks[] = {
    {"empty text", 1, 0, false},
    {"499", 1, 499, false},
    {"500", 1, 500, true},
    {"501", 1, 501, true},
    {"999 on the second line", 2, 999, false},
    {"1000 on the second line", 2, 1000, true},
    {"far past the mark", 1, 5000, true},
    {"1499", 3, 1499, false},
    {"1500", 3, 1500, true},
    {"0 x 500 is reached by nothing at all", 0, 0, true},
    {"-1 x 500", -1, 5000, false},
    {"4294967 x 500 = 2147483500", 4294967, 5000, false},
    {"4294968 x 500 has the sign bit", 4294968, 5000, false},
    {"8589934 x 500 = 2^32 - 296", 8589934, 5000, false},
    {"8589935 x 500 = 2^32 + 204, 203", 8589935, 203, false},
    {"8589935 x 500 = 2^32 + 204, 204", 8589935, 204, true},
    {"-8589934 x 500 = -2^32 + 296, 295", -8589934, 295, false},
    {"-8589934 x 500 = -2^32 + 296, 296", -8589934, 296, true},
    {"-2147483648 x 500 = 0", INT32_MIN, 0, true},
    {"2147483647 x 500 = -500", INT32_MAX, 5000, false},
};

TYPED_TEST(RenderBrackets, SoftBreakBeforeABlock) {
  for (const BreakCase& row : kBreaks) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.newLine = "\n";
    r.indentUnit = "\t";
    r.indent = "\t";
    r.lineBreakCount = row.count;
    r.jsonText.assign(row.length, 'x');
    r.openBrackets('{', '}');
    EXPECT_EQ(r.jsonText, std::string(row.length, 'x') + (row.breaks ? "\n\t{\n" : "\t{\n"));
    EXPECT_EQ(r.lineBreakCount, row.breaks ? row.count + 1 : row.count);
  }
}

TYPED_TEST(RenderBrackets, SoftBreakBeforeANamedMember) {
  for (const BreakCase& row : kBreaks) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.indent = "\t";
    r.lineBreakCount = row.count;
    r.jsonText.assign(row.length, 'x');
    r.appendChild("n", nullptr, AMF_VERSION_0, false);
    EXPECT_EQ(r.jsonText,
              std::string(row.length, 'x') + (row.breaks ? "\n" : "") + "\t\"n\" : null,");
    EXPECT_EQ(r.lineBreakCount, row.breaks ? row.count + 1 : row.count);
  }
}

TYPED_TEST(RenderBrackets, OneBreakPerCallAndOneCountForBoth) {
  TypeParam r;
  r.jsonText.assign(1700, 'x');
  r.openBrackets('{', '}');
  EXPECT_EQ(r.lineBreakCount, 2);
  r.appendChild("n", nullptr, AMF_VERSION_0, false);
  EXPECT_EQ(r.lineBreakCount, 3);
  r.openBrackets('[', ']');
  EXPECT_EQ(r.lineBreakCount, 4);
  r.openBrackets('[', ']');
  EXPECT_EQ(r.lineBreakCount, 4);
  EXPECT_EQ(r.jsonText, std::string(1700, 'x') + "\n{\n\"n\" : null,\n[[");
}

// 8589935 x 500 is 204 modulo 2^32, the next two products are 704 and 1204.
TYPED_TEST(RenderBrackets, ProductWrapsWithinOneCallToo) {
  TypeParam r;
  r.jsonOnly = true;
  r.lineBreakCount = 8589935;
  r.jsonText.assign(204, 'x');
  AMFMessage message;
  message.targetUri->setValue(std::string(500, 't').data(), 500);
  r.appendNode(&message, AMF_VERSION_0);
  EXPECT_EQ(r.jsonText, std::string(204, 'x') + R"(
{"type" : "message","targetUri" : ")" +
                            std::string(500, 't') + "\",\n" +
                            R"("responseUri" : "","value" : "undefined"})");
  EXPECT_EQ(r.lineBreakCount, 8589937);
}

TYPED_TEST(RenderBrackets, NoBreakBeforeAttributesAndValues) {
  TypeParam r;
  r.jsonOnly = true;
  r.jsonText.assign(600, 'x');
  r.appendAttr("a", "1", false);
  r.appendValue("2", false, true);
  EXPECT_EQ(r.jsonText, std::string(600, 'x') + "\"a\" : 1,\"value\" : 2,");
  EXPECT_EQ(r.lineBreakCount, 1);
}

TYPED_TEST(RenderBrackets, ListNameIsNotBrokenButItsBracketIs) {
  TypeParam r;
  r.jsonOnly = true;
  AMFArray none(AMF_VERSION_0);
  r.closerStack = "}";
  r.jsonText.assign(500, 'x');
  r.appendChildren("n", &none);
  EXPECT_EQ(r.jsonText, std::string(500, 'x') + "\"n\" : \n[],");
}

}  // namespace
