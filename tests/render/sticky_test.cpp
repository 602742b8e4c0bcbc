// SPDX-License-Identifier: Apache-2.0
//
// What one view, parse or primitive leaves for the next call on the same object. Rows that
// need no parse are run on the library and on the plain renderer.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support/hex.h"
#include "support/plain_renderer.h"
#include "support/render_suite.h"
#include "support/trees.h"
#include "support/views.h"

namespace {

using namespace support;
using namespace trees;

RENDERER_SUITE(RenderSticky);

// A view by its letter: 'J' JSON, 'S' script, 'B' both, 'V' statements alone; lower case: compact.
template <class Renderer>
std::string view(Renderer& r, char which) {
  constexpr std::string_view kLetters = "JSBVjsbv";
  const int index = static_cast<int>(kLetters.find(which));
  return support::view(r, index % 4, index < 4);
}

AMFPackage* twoMessages() {
  return package(k0, {message("a", "", null(k0)), message("b", "", null(k0))});
}

constexpr char kTwoLiteral[] =
    R"({"type" : "package","content" : [{"type" : "message","targetUri" : "a","responseUri" : "",)"
    R"("value" : null},{"type" : "message","targetUri" : "b","responseUri" : "","value" : null}]})";

std::string twoStatements(const std::string& root) {
  std::string result;
  for (const char* which : {"0", "1"}) {
    const std::string front = root + "content[" + which + "].";
    result += front + "targetUri = \"" + (*which == '0' ? "a" : "b") + "\";\n";
    result += front + "responseUri = \"\";\n" + front + "value = null;\n";
  }
  return result;
}

// ---- The root is the first view's

struct RootCase {
  const char* views;  // only the last one is tested
  const char* root;   // in front of content[0]
};

const RootCase kRoots[] = {
    {"s", "amf."}, {"v", ""},       {"b", ""},       {"js", "amf."}, {"jv", "amf"},   {"jb", "amf"},
    {"sv", "amf"}, {"sb", "amf"},   {"vs", "."},     {"bs", "."},    {"vb", ""},      {"bv", ""},
    {"vjs", "."},  {"svs", "amf."}, {"svvb", "amf"}, {"vsv", ""},    {"ssvs", "amf."}};

TYPED_TEST(RenderSticky, RootIsChosenByTheFirstView) {
  for (const RootCase& row : kRoots) {
    SCOPED_TRACE(row.views);
    WithPackage<TypeParam> host(twoMessages());
    std::string last;
    for (const char* which = row.views; *which; ++which) last = view(host.renderer, *which);
    const char kind = row.views[std::string(row.views).size() - 1];
    const std::string statements = twoStatements(row.root);
    std::string expected = statements;
    if (kind == 's') expected = std::string("\n amf = ") + kTwoLiteral + "\n\n" + statements;
    if (kind == 'b') expected = kTwoLiteral + ("\n\nJS representaion\n\n" + statements);
    EXPECT_EQ(last, expected);
  }
}

TYPED_TEST(RenderSticky, RootIsChosenWithoutAPackageToo) {
  WithPackage<TypeParam> host;
  host.renderer.getPackageAsJSView(false);
  host.show(twoMessages());
  EXPECT_EQ(host.renderer.getPackageInJS(false),
            std::string("\n amf = ") + kTwoLiteral + "\n\n" + twoStatements("."));
}

TYPED_TEST(RenderSticky, RemovedRootIsChosenAgain) {
  WithPackage<TypeParam> host(twoMessages());
  host.renderer.getPackageAsJSView(false);
  host.renderer.RemoveOnePrefix();
  EXPECT_EQ(host.renderer.getPackageInJS(false),
            std::string("\n amf = ") + kTwoLiteral + "\n\n" + twoStatements("amf."));
}

TYPED_TEST(RenderSticky, NamesThatAHostLeftStandInFront) {
  WithPackage<TypeParam> host(twoMessages());
  host.renderer.CreatePrefix();
  host.renderer.AddOnePrefix("own");
  EXPECT_EQ(host.renderer.getPackageInJS(false),
            std::string("\n amf = ") + kTwoLiteral + "\n\n" + twoStatements("amf.own."));
  EXPECT_EQ(host.renderer.getPackageAsJSView(false), twoStatements("amf.own"));
}

// ---- childDepth is not reset

TYPED_TEST(RenderSticky, ChildDepthIsKept) {
  WithPackage<TypeParam> host(twoMessages());
  host.renderer.childDepth = 5;
  // The first name is bare by the view's own flag, the others are not at the first level.
  std::string expected = twoStatements("");
  expected.replace(expected.find("content[1]"), expected.size(),
                   ".content[1].targetUri = \"b\";\n.content[1].responseUri = \"\";\n"
                   ".content[1].value = null;\n");
  EXPECT_EQ(host.renderer.getPackageAsJSView(false), expected);
  EXPECT_EQ(host.renderer.childDepth, 5);
  EXPECT_FALSE(host.renderer.nextPrefixBare);
}

TYPED_TEST(RenderSticky, BareNameLeftByAViewMeetsTheHostsNextName) {
  WithPackage<TypeParam> host(package(k0, {}));
  host.renderer.getPackageAsJSView(false);
  EXPECT_TRUE(host.renderer.nextPrefixBare);
  host.renderer.AddOnePrefix("x");
  host.renderer.AddOnePrefix("y");
  host.renderer.appendJSAttr("z", "1", false);
  EXPECT_EQ(host.renderer.scriptText, "x.y.z = 1;\n");
}

// ---- Temporaries

AMFPackage* longMessage() {
  return package(k0, {message("", "", string(k0, std::string(400, 'x')))});
}

struct TemporaryCase {
  const char* views;
  bool asTemporary;  // the last view's long string
  int counterAfter;
  bool preambleAfter;
  bool useAfter;
};

const TemporaryCase kTemporaries[] = {
    {"s", true, 1, true, true},      {"ss", true, 1, true, true},
    {"js", true, 1, true, true},     {"bs", true, 1, true, true},
    {"sj", false, 1, true, true},    {"sb", false, 0, false, true},
    {"sv", false, 0, false, false},  {"vs", false, 0, false, false},
    {"vss", false, 0, false, false}, {"vjs", false, 0, false, false},
    {"vb", false, 0, false, false},  {"svj", false, 0, false, false},
    {"sjj", false, 1, true, true},   {"j", false, 0, false, true},
};

TYPED_TEST(RenderSticky, TemporariesCounterPreamble) {
  for (const TemporaryCase& row : kTemporaries) {
    SCOPED_TRACE(row.views);
    WithPackage<TypeParam> host(longMessage());
    std::string last;
    for (const char* which = row.views; *which; ++which) last = view(host.renderer, *which);
    TypeParam& r = host.renderer;
    EXPECT_EQ(last.find("qxAmfTemporary1") != std::string::npos, row.asTemporary);
    EXPECT_EQ(last.find("qxAmfTemporary2"), std::string::npos);
    EXPECT_EQ(r.temporaryCounter, row.counterAfter);
    EXPECT_EQ(!r.scriptPreamble.empty(), row.preambleAfter);
    EXPECT_EQ(r.useTemporaries, row.useAfter);
  }
}

TYPED_TEST(RenderSticky, JsonLeavesThePreambleOfTheScriptBefore) {
  WithPackage<TypeParam> host(longMessage());
  const std::string script = host.renderer.getPackageInJS(true);
  host.renderer.getPackageInJSON(false);
  EXPECT_EQ(host.renderer.scriptPreamble, script);
  host.show(package(k0, {}));
  host.renderer.getPackageInJSON(false);
  EXPECT_EQ(host.renderer.scriptPreamble, script);
  EXPECT_EQ(host.renderer.getPackageInJS(false),
            "\n amf = {\"type\" : \"package\",\"content\" : []}\n\n");
  EXPECT_EQ(host.renderer.scriptPreamble, "");
}

// ---- Closing brackets that remain

AMFPackage* switchedReference() {
  return package(k0, {message("t", "r", reference(string(k3, "s"), 2))});
}

constexpr char kSwitchedReferencePretty[] =
    "{\n"
    "\t\"type\" : \"package\",\n"
    "\t\"content\" : \n"
    "\t[\n"
    "\t\t{\n"
    "\t\t\t\"type\" : \"message\",\n"
    "\t\t\t\"targetUri\" : \"t\",\n"
    "\t\t\t\"responseUri\" : \"r\",\n"
    "\t\t\t\"value\" : \n"
    "\t\t\t{\n"
    "\t\t\t\t\"type\" : \"string\",\n"
    "\t\t\t\t\"reference\" : 2,\n"
    "\t\t\t\t{\n"
    "\t\t\t\t\t\"version\" : \"AMF3\",\n"
    "\t\t\t\t\t\"type\" : \"string\",\n"
    "\t\t\t\t\t\"value\" : \"s\"\n"
    "\t\t\t\t}\n"
    "\t\t\t}\n"
    "\t\t}\n"
    "\t],\n";

constexpr char kSwitchedReferenceCompact[] =
    R"({"type" : "package","content" : [{"type" : "message","targetUri" : "t","responseUri" : "r",)"
    R"("value" : {"type" : "string","reference" : 2,{"version" : "AMF3","type" : "string",)"
    R"("value" : "s"}}}],)";

TYPED_TEST(RenderSticky, ClosersLeftByOneRenderingCloseTheNext) {
  WithPackage<TypeParam> host(switchedReference());
  TypeParam& r = host.renderer;
  EXPECT_EQ(r.getPackageInJSON(true), kSwitchedReferencePretty);
  EXPECT_EQ(r.closerStack, "}");
  EXPECT_EQ(r.indent, "\t");
  EXPECT_EQ(r.getPackageInJSON(true), kSwitchedReferencePretty);
  EXPECT_EQ(r.closerStack, "}}");
  EXPECT_EQ(r.getPackageInJSON(false), kSwitchedReferenceCompact);
  EXPECT_EQ(r.closerStack, "}}}");
  // A sound package: its outermost bracket is an inner one now.
  host.show(package(k0, {}));
  EXPECT_EQ(r.getPackageInJSON(true),
            "{\n\t\"type\" : \"package\",\n\t\"content\" : \n\t[\n\t]\n},\n");
  EXPECT_EQ(r.closerStack, "}}}");
  EXPECT_EQ(r.getPackageInJS(false), "\n amf = {\"type\" : \"package\",\"content\" : []},\n\n");
  EXPECT_EQ(r.closerStack, "}}}");
}

TYPED_TEST(RenderSticky, ClosersOfTheScriptViews) {
  WithPackage<TypeParam> host(switchedReference());
  TypeParam& r = host.renderer;
  const std::string statements =
      "content[0].targetUri = \"t\";\ncontent[0].responseUri = \"r\";\n"
      "content[0].value = content[0].value.value = \"s\";\n";
  EXPECT_EQ(r.getPackageAsJSView(true), statements);
  EXPECT_EQ(r.jsonText, kSwitchedReferencePretty);
  EXPECT_EQ(r.closerStack, "}");
  EXPECT_EQ(r.getPackageInJSON_and_JS(false),
            kSwitchedReferenceCompact + ("\n\nJS representaion\n\n" + statements));
  EXPECT_EQ(r.closerStack, "}}");
}

TYPED_TEST(RenderSticky, BothPreludesOfAPackage) {
  WithPackage<TypeParam> host(reference(package(k3, {}), 7));
  TypeParam& r = host.renderer;
  EXPECT_EQ(
      r.getPackageInJSON(false),
      R"({"type" : "package","reference" : 7,{"version" : "AMF3","type" : "package","content" : []},)");
  EXPECT_EQ(r.closerStack, "}");
}

TYPED_TEST(RenderSticky, ClosersOfTheHostCloseABlockOfTheView) {
  WithPackage<TypeParam> host(package(k0, {}));
  TypeParam& r = host.renderer;
  r.closerStack = "ab";
  EXPECT_EQ(r.getPackageInJSON(false), R"({"type" : "package","content" : []},)");
  EXPECT_EQ(r.closerStack, "ab");
}

// ---- Statement mark and inline mark

TYPED_TEST(RenderSticky, FlagsThatNoViewResets) {
  WithPackage<TypeParam> host(twoMessages());
  TypeParam& r = host.renderer;
  r.scriptStatementStart = false;
  EXPECT_EQ(r.getPackageInJS(false),
            std::string("\n amf = ") + kTwoLiteral + "\n\n" + twoStatements("amf."));
  r.valueInline = true;
  EXPECT_EQ(r.getPackageInJS(false),
            std::string("\n amf = ") + kTwoLiteral +
                "\n\namf.content[0].targetUri = \"a\"amf.content[0].responseUri = \"\""
                "amf.content[0].value = nullamf.content[1].targetUri = \"b\""
                "amf.content[1].responseUri = \"\"amf.content[1].value = null");
  EXPECT_TRUE(r.valueInline);
}

TYPED_TEST(RenderSticky, StatementEndIsTheHosts) {
  WithPackage<TypeParam> host(package(k0, {message("t", "", object(k0, "", {}))}));
  host.renderer.scriptNewLine = "\r\n";
  EXPECT_EQ(host.renderer.getPackageAsJSView(false),
            "content[0].targetUri = \"t\";\r\ncontent[0].responseUri = \"\";\r\n");
}

// ---- Output limit

constexpr char kScriptFraming[] = "\n amf = \n\n";
constexpr char kBothFraming[] = "\n\nJS representaion\n\n";

template <class Renderer>
void expectOnlyFraming(WithPackage<Renderer>& host) {
  host.show(twoMessages());
  EXPECT_TRUE(host.renderer.outputLimitReached);
  EXPECT_EQ(host.renderer.getPackageInJS(true), kScriptFraming);
  EXPECT_EQ(host.renderer.getPackageInJSON_and_JS(true), kBothFraming);
  EXPECT_EQ(host.renderer.getPackageAsJSView(true), "");
  EXPECT_EQ(host.renderer.getPackageInJSON(false), kTwoLiteral);
  EXPECT_EQ(host.renderer.getPackageInJS(false), kScriptFraming);
  EXPECT_TRUE(host.renderer.outputLimitReached);
}

TYPED_TEST(RenderSticky, LimitReachedByAScriptView) {
  const std::string x(500000, 'x');
  WithPackage<TypeParam> host(package(k0, {message(x, "r", null(k0)), message("b", "", null(k0))}));
  // The members after it keep their names and have no values; the second message is left out.
  EXPECT_TRUE(host.renderer.getPackageAsJSView(false) ==
              "content[0].targetUri = \"" + x +
                  "\";\ncontent[0].responseUri = content[0].value = ");
  EXPECT_TRUE(host.renderer.jsonText ==
              R"({"type" : "package","content" : [{"type" : "message","targetUri" : ")" + x +
                  "\",\n\"responseUri\" : \n\"value\" : }]}");
  EXPECT_EQ(host.renderer.closerStack, "");
  EXPECT_EQ(host.renderer.childDepth, 0);
  expectOnlyFraming(host);
}

TYPED_TEST(RenderSticky, LimitReachedByJsonAlone) {
  const std::string x(500000, 'x');
  WithPackage<TypeParam> host(package(k0, {message(x, "r", null(k0))}));
  EXPECT_TRUE(host.renderer.getPackageInJSON(false) ==
              R"({"type" : "package","content" : [{"type" : "message","targetUri" : ")" + x +
                  "\",\n\"responseUri\" : \"r\",\n\"value\" : null}]}");
  expectOnlyFraming(host);
}

TYPED_TEST(RenderSticky, LimitReachedByTheScriptViewWithALiteral) {
  const std::string x(250000, 'x');  // stands twice
  WithPackage<TypeParam> host(package(k0, {message("t", x, null(k0)), message("b", "", null(k0))}));
  host.renderer.useTemporaries = false;
  const std::string found = host.renderer.getPackageInJS(false);
  EXPECT_TRUE(found ==
              R"(
 amf = {"type" : "package","content" : [{"type" : "message","targetUri" : "t","responseUri" : ")" +
                  x + "\",\n\"value\" : }]}\n\namf.content[0].targetUri = \"t\";\n" +
                  "amf.content[0].responseUri = \"" + x + "\";\namf.content[0].value = ");
  expectOnlyFraming(host);
}

TYPED_TEST(RenderSticky, LimitIsNotReachedByTheLastNode) {
  const std::string x(600000, 'x');
  WithPackage<TypeParam> host(package(k0, {message("", "", string(k0, x))}));
  EXPECT_TRUE(host.renderer.getPackageAsJSView(false) ==
              "content[0].targetUri = \"\";\ncontent[0].responseUri = \"\";\n"
              "content[0].value = \"" +
                  x + "\";\n");
  EXPECT_FALSE(host.renderer.outputLimitReached);
}

// The value's node is the one that is tested at 499999 and at 500000 bytes. The response URI stands
// in both texts, the length of the message in one, so that every sum can be met.
TYPED_TEST(RenderSticky, LimitIsMetToTheByteInEveryScriptView) {
  for (const char which : {'s', 'b', 'v', 'j'}) {
    for (const std::size_t sum : {499999u, 500000u}) {
      SCOPED_TRACE(std::string(1, which) + " " + std::to_string(sum));
      const bool json = which == 'j';
      const std::string root = which == 's' ? "amf." : "";
      const std::string front = R"({"type" : "package","content" : [{"type" : "message",)";
      const std::string uris = R"("targetUri" : "t","responseUri" : ")";
      const std::string back = "\",\n\"value\" : ";
      const std::string script =
          json ? ""
               : root + "content[0].targetUri = \"t\";\n" + root + "content[0].responseUri = \"";
      const std::string scriptBack = json ? "" : "\";\n" + root + "content[0].value = ";
      std::string length;
      std::size_t fixed =
          front.size() + uris.size() + back.size() + script.size() + scriptBack.size();
      if (!json && (sum - fixed) % 2 != 0) length = R"("length" : 9,)";
      ASSERT_EQ(std::string(R"("length" : 9,)").size() % 2, 1u);
      fixed += length.size();
      const std::string x((sum - fixed) / (json ? 1 : 2), 'x');
      WithPackage<TypeParam> host(
          package(k0, {message("t", x, null(k0), length.empty() ? 0xFFFFFFFFu : 9)}));
      host.renderer.useTemporaries = false;
      view(host.renderer, which);
      const bool reached = sum > 499999;
      EXPECT_EQ(host.renderer.outputLimitReached, reached);
      const bool written = json || !reached;
      const std::string literal = front + length + uris + x + back + (written ? "null}]}" : "}]}");
      const std::string statements =
          json ? std::string() : script + x + scriptBack + (written ? "null;\n" : "");
      EXPECT_TRUE(host.renderer.scriptText == statements);
      if (which == 's') {
        EXPECT_TRUE(host.renderer.jsonText == "\n amf = " + literal + "\n\n" + statements);
      } else if (which == 'b') {
        EXPECT_TRUE(host.renderer.jsonText == literal + kBothFraming + statements);
      } else {
        EXPECT_TRUE(host.renderer.jsonText == literal);
      }
    }
  }
}

TYPED_TEST(RenderSticky, TheReturnedTextsOfAViewDoNotCountInTheNext) {
  WithPackage<TypeParam> host(package(k0, {message("", "", string(k0, std::string(600000, 'x')))}));
  host.renderer.getPackageAsJSView(false);
  host.show(twoMessages());
  EXPECT_EQ(host.renderer.getPackageAsJSView(false), twoStatements(""));
  EXPECT_FALSE(host.renderer.outputLimitReached);
}

// ---- Texts around parse

constexpr std::size_t kJsonSize = 716800;
constexpr std::size_t kScriptSize = 358400;

const char kEchoPacket[] = "0000 0000 0001 0004 'echo' 0000 0000000E 02 0002 'hi'";
constexpr char kEchoJson[] =
    R"({"type" : "package","content" : [{"type" : "message","length" : 14,"targetUri" : "echo",)"
    R"("responseUri" : "","value" : "hi"}]})";
constexpr char kEchoStatements[] =
    "content[0].targetUri = \"echo\";\ncontent[0].responseUri = \"\";\n"
    "content[0].value = \"hi\";\n";

void expectBlank(const AMFProtocol& r) {
  EXPECT_TRUE(r.jsonText == std::string(kJsonSize, '\0'));
  EXPECT_TRUE(r.scriptText == std::string(kScriptSize, '\0'));
}

TEST(RenderTexts, BlankAfterEveryParse) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  EXPECT_EQ(r.jsonText, "");
  r.parse(packetBytes.data());
  expectBlank(r);
  r.parse(packetBytes.data());
  expectBlank(r);
  EXPECT_EQ(r.getPackageInJSON(false), kEchoJson);
  EXPECT_EQ(r.scriptText, "");
  r.parse(packetBytes.data());
  expectBlank(r);
  r.getPackageInJSON(false);
  r.getPackageInJSON(true);
  EXPECT_EQ(r.getPackageInJS(false),
            std::string("\n amf = ") + kEchoJson +
                "\n\namf.content[0].targetUri = \"echo\";\namf.content[0].responseUri = \"\";\n"
                "amf.content[0].value = \"hi\";\n");
  r.parse(packetBytes.data());
  expectBlank(r);
  r.getPackageAsJSView(false);
  r.parse(packetBytes.data());
  expectBlank(r);
}

TEST(RenderTexts, BlankWhateverWasLeftThere) {
  const std::string packetBytes = hex(kEchoPacket);
  using Change = void (*)(AMFProtocol&);
  const Change changes[] = {
      [](AMFProtocol& r) { r.appendAttr("a", "1", false); },
      [](AMFProtocol& r) { r.appendJSAttr("a", "1", false); },
      [](AMFProtocol& r) { r.appendValue("1", false, true); },
      [](AMFProtocol& r) { r.appendValue(std::string(1000, 'x'), true, false); },
      [](AMFProtocol& r) {
        r.openBrackets('{', '}');
        r.closeBrackets();
      },
      [](AMFProtocol& r) { r.appendChild("n", nullptr, k0, false); },
      [](AMFProtocol& r) {
        AMFArray list(k0);
        r.CreatePrefix();
        r.appendChildren("n", &list);
      },
      [](AMFProtocol& r) { r.AddPrefixes(r.jsonText); },
      [](AMFProtocol& r) {
        r.CreatePrefix();
        r.AddPrefixes(r.scriptText);
      },
      [](AMFProtocol& r) {
        r.jsonText.clear();
        r.scriptText.clear();
      },
      [](AMFProtocol& r) { r.jsonText.assign(1000000, 'x'); },
      [](AMFProtocol& r) { r.scriptText.assign(1000000, 'x'); },
      [](AMFProtocol& r) { r.jsonText = "short"; },
      [](AMFProtocol& r) {
        r.getPackageInJSON(true);
        r.jsonText.resize(kJsonSize);
        r.scriptText.resize(kScriptSize);
      },
      [](AMFProtocol& r) {
        r.getPackageInJS(true);
        r.jsonText.assign(kJsonSize, 'x');
        r.scriptText.assign(kScriptSize, 'y');
      },
      [](AMFProtocol& r) {
        // The same sizes again, by way of the primitives alone.
        r.getPackageInJSON(false);
        r.appendAttr("a", std::string(kJsonSize - r.jsonText.size() - 7, 'x'), false);
      },
      [](AMFProtocol& r) { r.jsonText.swap(r.scriptText); },
      [](AMFProtocol& r) {
        // The text of a view in the middle of the right number of bytes.
        r.getPackageInJSON(true);
        r.jsonText.insert(0, 1, '\0');
        r.jsonText.resize(kJsonSize);
        r.scriptText.resize(kScriptSize);
      },
      [](AMFProtocol& r) {
        // A primitive that brings the size back.
        r.jsonText.resize(kJsonSize - 3);
        r.CreatePrefix();
        r.AddPrefixes(r.jsonText);
      },
      [](AMFProtocol& r) {
        r.scriptText.resize(kScriptSize - 3);
        r.RemoveOnePrefix();
        r.CreatePrefix();
        r.AddPrefixes(r.scriptText);
      },
      [](AMFProtocol& r) {
        r.scriptText.clear();
        r.scriptText.resize(kScriptSize, 'x');
      },
      [](AMFProtocol& r) {
        AMFNull node(k0);
        r.jsonOnly = false;
        r.useTemporaries = false;
        r.outputLimitReached = false;
        r.appendNode(&node, k0);
      },
  };
  AMFProtocol r;
  for (std::size_t i = 0; i < sizeof changes / sizeof *changes; ++i) {
    SCOPED_TRACE(i);
    AMFProtocol fresh;
    fresh.parse(packetBytes.data());
    changes[i](fresh);
    fresh.parse(packetBytes.data());
    expectBlank(fresh);
    fresh.closerStack.clear();
    EXPECT_EQ(fresh.getPackageInJSON(false), kEchoJson);
    r.parse(packetBytes.data());  // all of them on one object too
    expectBlank(r);
    changes[i](r);
    r.parse(packetBytes.data());
    expectBlank(r);
  }
}

TEST(RenderTexts, PrimitivesAfterParseAppendToTheBlanks) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  r.parse(packetBytes.data());
  r.openBrackets('{', '}');
  EXPECT_TRUE(r.jsonText == std::string(kJsonSize, '\0') + "\n{");
  EXPECT_EQ(r.lineBreakCount, 2);
  r.appendJSAttr("a", "1", false);
  EXPECT_TRUE(r.scriptText == std::string(kScriptSize, '\0') + ".a = 1;\n");
}

TEST(RenderTexts, BlanksCountForTheLimit) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  r.parse(packetBytes.data());
  AMFNull node(k0);
  r.appendNode(&node, k0);
  EXPECT_TRUE(r.outputLimitReached);
  expectBlank(r);
}

TEST(RenderTexts, ParseTouchesNothingElseOfTheRenderer) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  r.package = longMessage();
  r.getPackageInJS(true);
  const std::string preamble = r.scriptPreamble;
  r.closerStack = "]";
  r.outputLimitReached = true;
  r.lineBreakCount = 77;
  r.childDepth = 2;
  r.indent = "\t\t";
  PlainRenderer same;
  same.getPackageInJS(true);
  same.closerStack = "]";
  same.outputLimitReached = true;
  same.lineBreakCount = 77;
  same.childDepth = 2;
  same.indent = "\t\t";
  same.scriptPreamble = preamble;
  same.temporaryCounter = 1;
  same.jsonText.assign(kJsonSize, '\0');
  same.scriptText.assign(kScriptSize, '\0');
  r.parse(packetBytes.data());
  EXPECT_EQ(stateDifference(same, r), "");
}

TEST(RenderTexts, NullPacketLeavesTheTexts) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  r.parse(packetBytes.data());
  const std::string& found = r.getPackageInJSON(false);
  EXPECT_EQ(r.parse(nullptr), nullptr);
  EXPECT_EQ(found, kEchoJson);
  EXPECT_EQ(
      r.getPackageAsJSView(false), std::string("amf") + [] {
        std::string text = kEchoStatements;
        for (std::size_t at = text.find('\n'); at + 1 < text.size(); at = text.find('\n', at + 1))
          text.insert(at + 1, "amf");
        return text;
      }());
}

TEST(RenderTexts, CapacityIsKept) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  r.parse(packetBytes.data());
  for (const char which : {'j', 's', 'b', 'v', 'J'}) {
    view(r, which);
    EXPECT_GE(r.jsonText.capacity(), kJsonSize) << which;
    EXPECT_GE(r.scriptText.capacity(), kScriptSize) << which;
    r.parse(packetBytes.data());
    EXPECT_GE(r.jsonText.capacity(), kJsonSize) << which;
  }
}

TEST(RenderTexts, BlankAfterARefusedPacket) {
  const std::string good = hex(kEchoPacket);
  const std::string bad = hex("0000 0000 0001 0000 0000 00000000 04");
  AMFProtocol r;
  r.parse(good.data());
  r.getPackageInJS(true);
  EXPECT_THROW(r.parse(bad.data()), AMFException);
  expectBlank(r);
  EXPECT_EQ(r.getPackageInJSON(false), R"({"type" : "package","content" : []})");
}

TEST(RenderTexts, ReturnedTextIsTheMember) {
  const std::string packetBytes = hex(kEchoPacket);
  AMFProtocol r;
  for (int i = 0; i < 3; ++i) {
    r.parse(packetBytes.data());
    EXPECT_EQ(&r.getPackageInJSON(false), &r.jsonText);
    EXPECT_EQ(r.jsonText, kEchoJson);
    EXPECT_EQ(&r.getPackageInJS(false), &r.jsonText);
    EXPECT_EQ(&r.getPackageInJSON_and_JS(false), &r.jsonText);
    EXPECT_EQ(&r.getPackageAsJSView(false), &r.scriptText);
    r.useTemporaries = true;
  }
}

}  // namespace
