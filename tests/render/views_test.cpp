// SPDX-License-Identifier: Apache-2.0
//
// The four views: whole texts, framing, returned buffers, layout and soft breaks.
// Every row is run on the library and on the plain renderer.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/render_suite.h"
#include "support/trees.h"
#include "support/views.h"

namespace {

using namespace std::string_literals;
using namespace support;
using namespace trees;

RENDERER_SUITE(RenderViews);

struct ViewCase {
  const char* name;
  AMFPackage* (*make)();
  bool pretty;
  std::string json;    // getPackageInJSON
  std::string script;  // statements, "@" where the paths start with "amf." or with nothing
  // The other views write a short value before its name: `valueFirst` in place of `nameFirst`.
  std::string nameFirst = "";
  std::string valueFirst = "";
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// The JSON of getPackageInJS and getPackageInJSON_and_JS.
std::string literal(const ViewCase& row) {
  return row.nameFirst.empty() ? row.json : replaced(row.json, row.nameFirst, row.valueFirst);
}
std::string script(const ViewCase& row, const std::string& root) {
  return replaced(row.script, "@", root);
}

AMFPackage* echoPacket() {
  return package(k0, {message("echo", "", string(k0, "hi"), 14)});
}
AMFPackage* switchedPacket() {
  return package(k0, {message("echo", "", string(k3, "hi"), 14)});
}
AMFPackage* headerPacket() {
  return package(k0, {header("id", string(k0, "A1"), true, 5), header("opt", object(k0, "", {})),
                      message("ping", "/3", null(k0), 1)});
}
AMFPackage* membersPacket() {
  return package(k0, {message("t", "",
                              object(k0, "",
                                     {member(k0, "a", number(k0, 3.5)),
                                      member(k0, "b", array(k0, {null(k0), date(k0, 0)}, 1))}))});
}

const ViewCase kViews[] = {
    {"empty package, pretty", [] { return package(k0, {}); }, true,
     "{\n\t\"type\" : \"package\",\n\t\"content\" : \n\t[\n\t]\n}", ""},
    {"empty package, compact", [] { return package(k0, {}); }, false,
     R"({"type" : "package","content" : []})", ""},
    {"package of version 3", [] { return package(k3, {}); }, false,
     R"({"version" : "AMF3","type" : "package","content" : []})", ""},
    {"one AMF0 string, pretty", echoPacket, true,
     "{\n"
     "\t\"type\" : \"package\",\n"
     "\t\"content\" : \n"
     "\t[\n"
     "\t\t{\n"
     "\t\t\t\"type\" : \"message\",\n"
     "\t\t\t\"length\" : 14,\n"
     "\t\t\t\"targetUri\" : \"echo\",\n"
     "\t\t\t\"responseUri\" : \"\",\n"
     "\t\t\t\"value\" : \"hi\"\n"
     "\t\t}\n"
     "\t]\n"
     "}",
     "@content[0].targetUri = \"echo\";\n@content[0].responseUri = \"\";\n"
     "@content[0].value = \"hi\";\n"},
    {"one AMF0 string, compact", echoPacket, false,
     R"({"type" : "package","content" : [{"type" : "message","length" : 14,"targetUri" : "echo",)"
     R"("responseUri" : "","value" : "hi"}]})",
     "@content[0].targetUri = \"echo\";\n@content[0].responseUri = \"\";\n"
     "@content[0].value = \"hi\";\n"},
    {"one AMF3 string, pretty", switchedPacket, true,
     "{\n"
     "\t\"type\" : \"package\",\n"
     "\t\"content\" : \n"
     "\t[\n"
     "\t\t{\n"
     "\t\t\t\"type\" : \"message\",\n"
     "\t\t\t\"length\" : 14,\n"
     "\t\t\t\"targetUri\" : \"echo\",\n"
     "\t\t\t\"responseUri\" : \"\",\n"
     "\t\t\t\"value\" : \n"
     "\t\t\t{\n"
     "\t\t\t\t\"version\" : \"AMF3\",\n"
     "\t\t\t\t\"type\" : \"string\",\n"
     "\t\t\t\t\"value\" : \"hi\"\n"
     "\t\t\t}\n"
     "\t\t}\n"
     "\t]\n"
     "}",
     "@content[0].targetUri = \"echo\";\n@content[0].responseUri = \"\";\n"
     "@content[0].value = @content[0].value.value = \"hi\";\n"},
    {"two headers and a message, pretty", headerPacket, true,
     "{\n"
     "\t\"type\" : \"package\",\n"
     "\t\"content\" : \n"
     "\t[\n"
     "\t\t{\n"
     "\t\t\t\"type\" : \"header\",\n"
     "\t\t\t\"must_understand\" : true,\n"
     "\t\t\t\"length\" : 5,\n"
     "\t\t\t\"name\" : \"id\",\n"
     "\t\t\t\"value\" : \"A1\"\n"
     "\t\t},\n"
     "\t\t{\n"
     "\t\t\t\"type\" : \"header\",\n"
     "\t\t\t\"name\" : \"opt\",\n"
     "\t\t\t\"value\" : \n"
     "\t\t\t{\n"
     "\t\t\t\t\"type\" : \"object\",\n"
     "\t\t\t\t\"properties\" : \n"
     "\t\t\t\t[\n"
     "\t\t\t\t]\n"
     "\t\t\t}\n"
     "\t\t},\n"
     "\t\t{\n"
     "\t\t\t\"type\" : \"message\",\n"
     "\t\t\t\"length\" : 1,\n"
     "\t\t\t\"targetUri\" : \"ping\",\n"
     "\t\t\t\"responseUri\" : \"/3\",\n"
     "\t\t\t\"value\" : null\n"
     "\t\t}\n"
     "\t]\n"
     "}",
     "@content[0].value = \"A1\"; // \"id\"\n@content[1].name = \"opt\";\n"
     "@content[2].targetUri = \"ping\";\n@content[2].responseUri = \"/3\";\n"
     "@content[2].value = null;\n",
     "\"name\" : \"id\",\n\t\t\t\"value\" : \"A1\"",
     "\"value\" : \"A1\",\n\t\t\t\"name\" : \"id\""},
    {"object members, compact", membersPacket, false,
     R"({"type" : "package","content" : [{"type" : "message","targetUri" : "t","responseUri" : "",)"
     R"("value" : {"type" : "object","properties" : [{"type" : "property","name" : "a","value" : 3.500000},)"
     R"({"type" : "property","name" : "b","value" : {"type" : "array","array_type" : "strict","value" : )"
     R"([null,{"type" : "date","value" : "Thu Jan  1 00:00:00 1970"}]}}]}}]})",
     "@content[0].targetUri = \"t\";\n@content[0].responseUri = \"\";\n"
     "@content[0].value.properties[0].value = 3.500000; // \"a\"\n"
     "@content[0].value.properties[1].name = \"b\";\n"
     "@content[0].value.properties[1].value.value[0] = null;\n"
     "@content[0].value.properties[1].value.value[1].value = \"Thu Jan  1 00:00:00 1970\";\n",
     R"("name" : "a","value" : 3.500000)", R"("value" : 3.500000,"name" : "a")"},
};

TYPED_TEST(RenderViews, Json) {
  for (const ViewCase& row : kViews) {
    SCOPED_TRACE(row.name);
    WithPackage<TypeParam> host(row.make());
    const std::string& found = host.renderer.getPackageInJSON(row.pretty);
    EXPECT_EQ(found, row.json);
    EXPECT_EQ(&found, &host.renderer.jsonText);
    EXPECT_EQ(host.renderer.scriptText, "");
    EXPECT_EQ(host.renderer.closerStack, "");
    EXPECT_EQ(host.renderer.indent, "");
  }
}

TYPED_TEST(RenderViews, Script) {
  for (const ViewCase& row : kViews) {
    SCOPED_TRACE(row.name);
    WithPackage<TypeParam> host(row.make());
    const std::string& found = host.renderer.getPackageInJS(row.pretty);
    EXPECT_EQ(found, "\n amf = " + literal(row) + "\n\n" + script(row, "amf."));
    EXPECT_EQ(&found, &host.renderer.jsonText);
    EXPECT_EQ(host.renderer.scriptText, script(row, "amf."));
    EXPECT_EQ(host.renderer.scriptPreamble, "");
  }
}

TYPED_TEST(RenderViews, JsonAndScript) {
  for (const ViewCase& row : kViews) {
    SCOPED_TRACE(row.name);
    WithPackage<TypeParam> host(row.make());
    const std::string& found = host.renderer.getPackageInJSON_and_JS(row.pretty);
    EXPECT_EQ(found, literal(row) + "\n\nJS representaion\n\n" + script(row, ""));
    EXPECT_EQ(&found, &host.renderer.jsonText);
    EXPECT_EQ(host.renderer.scriptText, script(row, ""));
  }
}

TYPED_TEST(RenderViews, StatementsAlone) {
  for (const ViewCase& row : kViews) {
    SCOPED_TRACE(row.name);
    WithPackage<TypeParam> host(row.make());
    const std::string& found = host.renderer.getPackageAsJSView(row.pretty);
    EXPECT_EQ(found, script(row, ""));
    EXPECT_EQ(&found, &host.renderer.scriptText);
    EXPECT_EQ(host.renderer.jsonText, literal(row));
  }
}

TYPED_TEST(RenderViews, FramingWithoutAPackage) {
  for (const bool pretty : {true, false}) {
    TypeParam r;
    EXPECT_EQ(r.getPackageInJSON(pretty), "");
    EXPECT_EQ(r.getPackageInJS(pretty), "\n amf = \n\n");
    EXPECT_EQ(r.getPackageInJSON_and_JS(pretty), "\n\nJS representaion\n\n");
    EXPECT_EQ(r.getPackageAsJSView(pretty), "");
  }
}

TYPED_TEST(RenderViews, SeparatorHasTwentyBytesAndStandsOnce) {
  WithPackage<TypeParam> host(echoPacket());
  const std::string found = host.renderer.getPackageInJSON_and_JS(true);
  const std::size_t at = found.find("\n\nJS representaion\n\n");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(found.find("JS representaion", at + 3), std::string::npos);
  EXPECT_EQ(found[at - 1], '}');
  EXPECT_EQ(found.substr(at + 20, 10), "content[0]");
}

struct ModeCase {
  const char* name;
  int which;
  bool tracked;  // trackDepth, noRootPrefix, nextPrefixBare
  bool jsonOnly;
  bool jsonAndScript;
  bool scriptView;
  bool useTemporaries;
  int temporaryCounter;  // it was 5
  const char* preamble;  // it was "old"
};

const ModeCase kModes[] = {
    {"getPackageInJSON", 0, false, true, false, false, true, 5, "old"},
    {"getPackageInJS", 1, false, false, false, false, true, 0, ""},
    {"getPackageInJSON_and_JS", 2, true, false, true, true, true, 0, ""},
    {"getPackageAsJSView", 3, true, false, false, true, false, 0, ""},
};

TYPED_TEST(RenderViews, Modes) {
  for (const ModeCase& row : kModes) {
    for (const bool before : {false, true}) {
      for (const bool pretty : {false, true}) {
        SCOPED_TRACE(row.name);
        TypeParam r;
        r.trackDepth = r.noRootPrefix = r.nextPrefixBare = before;
        r.jsonOnly = r.jsonAndScript = r.scriptView = before;
        r.outputLimitReached = r.valueInline = before;
        r.scriptStatementStart = before;
        r.temporaryCounter = 5;
        r.scriptPreamble = "old";
        r.jsonText = r.scriptText = r.indent = r.newLine = r.indentUnit = "old";
        r.scriptNewLine = "own";
        r.childDepth = 3;
        r.lineBreakCount = 9;
        r.closerStack = "]";
        view(r, row.which, pretty);
        EXPECT_EQ(r.trackDepth, row.tracked);
        EXPECT_EQ(r.noRootPrefix, row.tracked);
        EXPECT_EQ(r.nextPrefixBare, row.tracked);
        EXPECT_EQ(r.jsonOnly, row.jsonOnly);
        EXPECT_EQ(r.jsonAndScript, row.jsonAndScript);
        EXPECT_EQ(r.scriptView, row.scriptView);
        EXPECT_EQ(r.useTemporaries, row.useTemporaries);
        EXPECT_EQ(r.temporaryCounter, row.temporaryCounter);
        EXPECT_EQ(r.scriptPreamble, row.preamble);
        EXPECT_EQ(r.newLine, pretty ? "\n" : "");
        EXPECT_EQ(r.indentUnit, pretty ? "\t" : "");
        EXPECT_EQ(r.indent, "");
        EXPECT_EQ(r.scriptText, "");
        EXPECT_EQ(r.lineBreakCount, 1);
        // left as they are
        EXPECT_EQ(r.outputLimitReached, before);
        EXPECT_EQ(r.valueInline, before);
        EXPECT_EQ(r.scriptStatementStart, before);
        EXPECT_EQ(r.scriptNewLine, "own");
        EXPECT_EQ(r.childDepth, 3);
        EXPECT_EQ(r.closerStack, "]");
        std::string path;
        r.AddPrefixes(path);
        EXPECT_EQ(path, row.tracked ? "" : "amf");
      }
    }
  }
}

TYPED_TEST(RenderViews, ModesWithAPackage) {
  for (const ModeCase& row : kModes) {
    SCOPED_TRACE(row.name);
    WithPackage<TypeParam> host(echoPacket());
    TypeParam& r = host.renderer;
    view(r, row.which, true);
    EXPECT_EQ(r.trackDepth, row.tracked);
    EXPECT_EQ(r.nextPrefixBare, row.tracked);  // set again after the last element
    EXPECT_EQ(r.childDepth, 0);
    EXPECT_FALSE(r.valueInline);
    EXPECT_TRUE(r.scriptStatementStart);
    EXPECT_FALSE(r.outputLimitReached);
    EXPECT_EQ(r.lineBreakCount, 1);
  }
}

// ---- Temporaries

TYPED_TEST(RenderViews, LongStringsPerView) {
  const std::string x1000(1000, 'x');
  const auto literal = [](const std::string& value) {
    return R"({"type" : "package","content" : [{"type" : "message","targetUri" : "t","responseUri" : "",)"
           R"("value" : )" +
           value + "}]}";
  };
  const auto script = [](const std::string& root, const std::string& value) {
    return root + "content[0].targetUri = \"t\";\n" + root + "content[0].responseUri = \"\";\n" +
           root + "content[0].value = " + value + ";\n";
  };
  const std::string quoted = "\"" + x1000 + "\"";
  for (int which = 0; which < 4; ++which) {
    SCOPED_TRACE(which);
    WithPackage<TypeParam> host(package(k0, {message("t", "", string(k0, x1000))}));
    TypeParam& r = host.renderer;
    const std::string& found = view(r, which, false);
    if (which == 0) {
      EXPECT_EQ(found, literal(quoted));
    }
    if (which == 2) {
      EXPECT_EQ(found, literal(quoted) + "\n\nJS representaion\n\n" + script("", quoted));
    }
    if (which == 3) {
      EXPECT_EQ(found, script("", quoted));
    }
    EXPECT_EQ(r.temporaryCounter, which == 1 ? 1 : 0);
    if (which != 1) continue;
    const std::string rest =
        "\n amf = " + literal("qxAmfTemporary1") + "\n\n" + script("amf.", "qxAmfTemporary1");
    EXPECT_EQ(found, "\nqxAmfTemporary1 = \"" + std::string(401, 'x') +
                         "\"\nqxAmfTemporary1 += \"" + std::string(400, 'x') +
                         "\"\nqxAmfTemporary1 += \"" + std::string(199, 'x') + "\"\n" + rest);
    EXPECT_EQ(&found, &r.scriptPreamble);
    EXPECT_EQ(r.jsonText, rest);
  }
}

TYPED_TEST(RenderViews, TemporariesOfAHeaderLine) {
  const std::string name(400, 'n');
  const std::string value(400, 'v');
  WithPackage<TypeParam> host(package(k0, {header(name, string(k0, value))}));
  const std::string found = host.renderer.getPackageInJS(false);
  EXPECT_EQ(found,
            "\nqxAmfTemporary1 = \"" + value + "\"\n\nqxAmfTemporary2 = \"" + name + "\"\n" +
                "\n amf = "
                R"({"type" : "package","content" : [{"type" : "header","value" : qxAmfTemporary1,)"
                R"("name" : qxAmfTemporary2}]})"
                "\n\namf.content[0].value = qxAmfTemporary1; // qxAmfTemporary2\n");
}

TYPED_TEST(RenderViews, ByteArraysBecomeTemporariesToo) {
  WithPackage<TypeParam> host(package(k0, {message("", "", raw(k0, std::string(200, '\x41')))}));
  const std::string found = host.renderer.getPackageInJS(false);
  std::string hex;
  for (int i = 0; i < 200; ++i) hex += "41";
  EXPECT_EQ(found, "\nqxAmfTemporary1 = \"" + hex +
                       "\"\n"
                       "\n amf = "
                       R"({"type" : "package","content" : [{"type" : "message","targetUri" : "",)"
                       R"("responseUri" : "","value" : {"type" : "bytearray","value" : )"
                       "qxAmfTemporary1}}]}\n\n"
                       "amf.content[0].targetUri = \"\";\namf.content[0].responseUri = \"\";\n"
                       "amf.content[0].value = amf.content[0].value.value = qxAmfTemporary1;\n");
}

// ---- Soft breaks

// The opening of each member is tested, so the place of the break follows from the length of the
// target: {"type" : "package","content" : [{"type" : "message","targetUri" : " are 68 bytes.
TYPED_TEST(RenderViews, SoftBreakInACompactText) {
  const std::string front =
      R"({"type" : "package","content" : [{"type" : "message","targetUri" : ")";
  ASSERT_EQ(front.size(), 68u);
  const struct {
    std::size_t target;
    const char* before;  // before "responseUri"
    const char* between;
  } rows[] = {
      {429, "", "\n"},                     // 68 + 429 + 2 = 499 bytes, then 499 + 19
      {430, "\n", ""},                     // 500 bytes
      {431, "\n", ""},   {909, "\n", ""},  // 979, then 979 + 1 + 19 = 999 bytes
      {910, "\n", "\n"},                   // 1000 bytes
      {929, "\n", "\n"}, {2000, "\n", "\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.target);
    const std::string target(row.target, 't');
    WithPackage<TypeParam> host(package(k0, {message(target, "", null(k0))}));
    EXPECT_EQ(host.renderer.getPackageInJSON(false), front + target + "\"," + row.before +
                                                         R"("responseUri" : "",)" + row.between +
                                                         R"("value" : null}]})");
    EXPECT_EQ(host.renderer.lineBreakCount, 1 + (*row.before != 0) + (*row.between != 0));
  }
}

TYPED_TEST(RenderViews, SoftBreakInAPrettyTextIsAnEmptyLine) {
  const std::string target(600, 't');
  WithPackage<TypeParam> host(package(k0, {message(target, "", object(k0, "", {}))}));
  EXPECT_EQ(host.renderer.getPackageInJSON(true),
            "{\n\t\"type\" : \"package\",\n\t\"content\" : \n\t[\n\t\t{\n"
            "\t\t\t\"type\" : \"message\",\n\t\t\t\"targetUri\" : \"" +
                target +
                "\",\n\n\t\t\t\"responseUri\" : \"\",\n\t\t\t\"value\" : \n\t\t\t{\n"
                "\t\t\t\t\"type\" : \"object\",\n\t\t\t\t\"properties\" : \n\t\t\t\t[\n\t\t\t\t]\n"
                "\t\t\t}\n\t\t}\n\t]\n}");
}

TYPED_TEST(RenderViews, SoftBreakBeforeTheBracketOfAList) {
  const std::string name(600, 'n');
  WithPackage<TypeParam> host(package(k0, {header(name, array(k0, {}))}));
  EXPECT_EQ(host.renderer.getPackageInJSON(false),
            R"({"type" : "package","content" : [{"type" : "header","name" : ")" + name +
                "\",\n"
                R"("value" : {"type" : "array","array_type" : "ECMA","value" : []}}]})");
  // 62 + 929 + 2 = 993 bytes after the name, a break, 1004 after "value" : and another break.
  const std::string longer(929, 'n');
  WithPackage<TypeParam> second(package(k0, {header(longer, array(k0, {}))}));
  const std::string found = second.renderer.getPackageInJSON(false);
  EXPECT_EQ(found, R"({"type" : "package","content" : [{"type" : "header","name" : ")" + longer +
                       "\",\n\"value\" : \n"
                       R"({"type" : "array","array_type" : "ECMA","value" : []}}]})");
}

// ---- Missing parts

TYPED_TEST(RenderViews, MissingTargetIsNullAndHasNoStatement) {
  AMFMessage* shown = message("", "r", null(k0));
  delete shown->targetUri;
  shown->targetUri = nullptr;
  WithPackage<TypeParam> host(package(k0, {shown}));
  EXPECT_EQ(host.renderer.getPackageInJSON_and_JS(false),
            R"({"type" : "package","content" : [{"type" : "message","targetUri" : null,)"
            R"("responseUri" : "r","value" : null}]})"
            "\n\nJS representaion\n\ncontent[0].responseUri = \"r\";\ncontent[0].value = null;\n");
}

TYPED_TEST(RenderViews, NullMessageIsSkippedButCounted) {
  AMFPackage* shown = package(k0, {});
  shown->children.push_back(nullptr);
  shown->appendMessage(message("t", "", object(k0, "", {})), false);
  WithPackage<TypeParam> host(shown);
  EXPECT_EQ(host.renderer.getPackageAsJSView(false),
            "content[1].targetUri = \"t\";\ncontent[1].responseUri = \"\";\n");
  EXPECT_EQ(host.renderer.jsonText,
            R"({"type" : "package","content" : [{"type" : "message","targetUri" : "t",)"
            R"("responseUri" : "","value" : {"type" : "object","properties" : []}}]})");
}

TYPED_TEST(RenderViews, RepeatedViewsAreEqual) {
  for (int which = 0; which < 4; ++which) {
    WithPackage<TypeParam> host(membersPacket());
    const std::string first = view(host.renderer, which, true);
    const std::string second = view(host.renderer, which, true);
    EXPECT_EQ(first, second);
    EXPECT_NE(first, view(host.renderer, which == 3 ? 0 : which, false));
  }
}

}  // namespace
