// SPDX-License-Identifier: Apache-2.0
//
// The script path: CreatePrefix, AddOnePrefix, RemoveOnePrefix, AddPrefixes, and what appendChild
// and appendChildren push. Every row is run on the library and on the plain renderer.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/render_suite.h"
#include "support/trees.h"

namespace {

using namespace std::string_literals;

RENDERER_SUITE(ScriptPath);

template <class Renderer>
std::string path(Renderer& r) {
  std::string out;
  r.AddPrefixes(out);
  return out;
}

struct PathCase {
  const char* name;
  std::vector<std::string> steps;  // "create", "remove", "bare", "empty root", "amf root", "+name"
  std::string path;
  bool bareAfter;
};

template <class Renderer>
void run(Renderer& r, const std::vector<std::string>& steps) {
  for (const std::string& step : steps) {
    if (step == "create")
      r.CreatePrefix();
    else if (step == "remove")
      r.RemoveOnePrefix();
    else if (step == "bare")
      r.nextPrefixBare = true;
    else if (step == "empty root")
      r.noRootPrefix = true;
    else if (step == "amf root")
      r.noRootPrefix = false;
    else
      r.AddOnePrefix(step.substr(1));
  }
}

const PathCase kPaths[] = {
    {"nothing made", {}, "", false},
    {"root", {"create"}, "amf", false},
    {"empty root adds nothing", {"empty root", "create"}, "", false},
    {"names", {"create", "+message", "+value"}, "amf.message.value", false},
    {"empty root and a bare first name",
     {"empty root", "bare", "create", "+message", "+value"},
     "message.value",
     false},
    {"empty root, first name not bare", {"empty root", "create", "+message"}, ".message", false},
    {"bare after the root", {"bare", "create", "+message"}, "amfmessage", false},
    {"bare is good for one name", {"create", "bare", "+a", "+b"}, "amfa.b", false},
    {"bare in the middle", {"create", "+a", "bare", "+b", "+c"}, "amf.ab.c", false},
    {"bare waits", {"create", "bare"}, "amf", true},
    {"removing leaves bare alone", {"create", "+a", "bare", "remove"}, "amf", true},
    {"second create keeps the root", {"create", "create"}, "amf", false},
    {"second create made no second node", {"create", "create", "remove"}, "", false},
    {"second create keeps the first kind of root",
     {"create", "empty root", "create"},
     "amf",
     false},
    {"empty root stays too", {"empty root", "create", "amf root", "create", "+a"}, ".a", false},
    {"create with names pushed", {"create", "+a", "create"}, "amf.a", false},
    {"removing the innermost", {"create", "+a", "+bc", "remove"}, "amf.a", false},
    {"pushing again", {"create", "+a", "remove", "+b"}, "amf.b", false},
    {"removing from an empty list", {"remove", "remove", "create"}, "amf", false},
    {"removing the root", {"create", "remove"}, "", false},
    {"root again after removal", {"create", "+a", "remove", "remove", "create"}, "amf", false},
    {"root again, now empty", {"create", "remove", "empty root", "create", "+x"}, ".x", false},
    {"root again, now amf", {"empty root", "create", "remove", "amf root", "create"}, "amf", false},
    {"empty name", {"create", "+", "+a"}, "amf..a", false},
    {"empty bare name", {"create", "bare", "+", "+a"}, "amf.a", false},
    {"empty names can be removed", {"create", "bare", "+", "bare", "+", "remove"}, "amf", false},
    {"a name with dots is one name", {"create", "+a.b", "remove"}, "amf", false},
    {"NUL in a name", {"create", "+a\0b"s, "+c"}, "amf.a\0b.c"s, false},
    {"NUL in a bare name", {"create", "bare", "+\0"s}, "amf\0"s, false},
    {"removing a name with NUL", {"create", "+a\0b"s, "remove", "+c"}, "amf.c", false},
};

TYPED_TEST(ScriptPath, Operations) {
  for (const PathCase& row : kPaths) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    run(r, row.steps);
    EXPECT_EQ(path(r), row.path);
    EXPECT_EQ(r.nextPrefixBare, row.bareAfter);
  }
}

TYPED_TEST(ScriptPath, OutIsAppendedTo) {
  TypeParam r;
  std::string out = "x";
  r.AddPrefixes(out);
  EXPECT_EQ(out, "x");
  r.CreatePrefix();
  r.AddPrefixes(out);
  r.AddOnePrefix("a");
  r.AddPrefixes(out);
  EXPECT_EQ(out, "xamfamf.a");
}

TYPED_TEST(ScriptPath, LongNamesStayWhole) {
  TypeParam r;
  r.CreatePrefix();
  r.AddOnePrefix(std::string(2000, 'n'));
  EXPECT_EQ(path(r), "amf." + std::string(2000, 'n'));
}

TYPED_TEST(ScriptPath, ManyLevels) {
  TypeParam r;
  r.CreatePrefix();
  std::string expected = "amf";
  for (int i = 0; i < 3000; ++i) {
    r.AddOnePrefix(std::to_string(i));
    expected += "." + std::to_string(i);
  }
  EXPECT_EQ(path(r), expected);
  for (int i = 0; i < 2999; ++i) r.RemoveOnePrefix();
  EXPECT_EQ(path(r), "amf.0");
}

TYPED_TEST(ScriptPath, ListStaysWhenTheRendererGoes) {
  TypeParam r;  // leak checking sees the rest
  r.CreatePrefix();
  r.AddOnePrefix("a");
  EXPECT_EQ(path(r), "amf.a");
}

struct NameCase {
  const char* name;
  std::string given;
  std::string pushed;
};

// What stands in the path is a C string copied into 1000 bytes; the line and the statement's own
// left side show the whole name.
TYPED_TEST(ScriptPath, MemberNamesArePushedAsCutCStrings) {
  const NameCase rows[] = {
      {"plain", "key", "key"},
      {"empty", "", ""},
      {"NUL inside", "a\0b"s, "a"},
      {"NUL first", "\0b"s, ""},
      {"quote is not escaped", "a\"b", "a\"b"},
      {"998 bytes", std::string(998, 'n'), std::string(998, 'n')},
      {"999 bytes", std::string(999, 'n'), std::string(999, 'n')},
      {"1000 bytes", std::string(1000, 'n'), std::string(999, 'n')},
      {"2500 bytes", std::string(2500, 'n'), std::string(999, 'n')},
      {"NUL after the cut", std::string(1100, 'n') + "\0x"s, std::string(999, 'n')},
  };
  for (const NameCase& row : rows) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.CreatePrefix();
    r.closerStack = "}";
    r.lineBreakCount = -1;  // no soft breaks
    AMFNull node(AMF_VERSION_3);
    r.appendChild(row.given, &node, AMF_VERSION_0, false);
    EXPECT_EQ(r.scriptText, "amf." + row.given + " = amf." + row.pushed + ".value = null;\n");
    EXPECT_EQ(
        r.jsonText,
        "\"" + row.given + "\" : {\"version\" : \"AMF3\",\"type\" : \"null\",\"value\" : null},");
    EXPECT_EQ(path(r), "amf");
  }
}

TYPED_TEST(ScriptPath, ListElementsArePushedWithTheirIndexAndCut) {
  const std::string long996(996, 'n');
  const NameCase rows[] = {
      {"plain", "list", "list[0]"},
      {"empty", "", "[0]"},
      {"NUL inside", "a\0b"s, "a[0]"},
      {"NUL first", "\0"s, "[0]"},
      {"percent signs", "%s%d", "%s%d[0]"},
      {"999 bytes with the index", long996, long996 + "[0]"},
      {"1000 bytes with the index", long996 + "n", long996 + "n[0"},
      {"1001", long996 + "nn", long996 + "nn["},
      {"999 bytes of name", long996 + "nnn", long996 + "nnn"},
      {"more", long996 + "nnnn", long996 + "nnn"},
  };
  for (const NameCase& row : rows) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.CreatePrefix();
    r.closerStack = "}";
    r.lineBreakCount = -1;  // no soft breaks
    AMFArray list(AMF_VERSION_0);
    list.appendChild(trees::null(trees::k0), false);
    r.appendChildren(row.given, &list);
    EXPECT_EQ(r.scriptText, "amf." + row.pushed + " = null;\n");
    EXPECT_EQ(r.jsonText, "\"" + row.given + "\" : [null],");
    EXPECT_EQ(path(r), "amf");
  }
}

TYPED_TEST(ScriptPath, ListIndexesAreDecimal) {
  TypeParam r;
  r.CreatePrefix();
  AMFArray list(AMF_VERSION_0);
  std::string expected;
  for (int i = 0; i < 112; ++i) {
    list.appendChild(trees::null(trees::k0), false);
    expected += "amf.l[" + std::to_string(i) + "] = null;\n";
  }
  r.appendChildren("l", &list);
  EXPECT_EQ(r.scriptText, expected);
}

TYPED_TEST(ScriptPath, NothingIsPushedForJsonAloneAndInlineMembers) {
  TypeParam r;  // no root: pushing a name would be a misuse
  AMFNull node(AMF_VERSION_0);
  r.valueInline = true;
  r.appendChild("n", &node, AMF_VERSION_0, true);
  EXPECT_EQ(r.jsonText, "\"n\" : null,");
  EXPECT_EQ(r.scriptText, "null");
  r.valueInline = false;
  r.jsonOnly = true;
  AMFArray list(AMF_VERSION_0);
  list.appendChild(trees::null(trees::k0), false);
  r.closerStack = "}";
  r.appendChildren("l", &list);
  r.appendChild("m", &node, AMF_VERSION_0, false);
  EXPECT_EQ(r.jsonText, "\"n\" : null,\"l\" : [null],\"m\" : null,");
  EXPECT_EQ(r.scriptText, "null");
}

struct DepthCase {
  const char* name;
  bool trackDepth;
  bool bare;
  std::int32_t depth;
  std::string script;  // of the member n, a bare null
  bool bareAfter;
};

TYPED_TEST(ScriptPath, FirstLevelNamesAreBare) {
  const DepthCase rows[] = {
      {"depth not tracked", false, false, 0, "amf.n = null;\n", false},
      {"not tracked, bare asked for", false, true, 0, "amfn = null;\n", false},
      {"first level", true, false, 0, "amfn = null;\n", false},
      {"second level", true, false, 1, "amf.n = null;\n", false},
      {"second level, bare asked for", true, true, 1, "amfn = null;\n", false},
      {"level 1 reached from below", true, false, -1, "amf.n = null;\n", false},
  };
  for (const DepthCase& row : rows) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.CreatePrefix();
    r.trackDepth = row.trackDepth;
    r.nextPrefixBare = row.bare;
    r.childDepth = row.depth;
    AMFNull node(AMF_VERSION_0);
    r.appendChild("n", &node, AMF_VERSION_0, false);
    EXPECT_EQ(r.scriptText, row.script);
    EXPECT_EQ(r.childDepth, row.depth);
    EXPECT_EQ(r.nextPrefixBare, row.bareAfter);
  }
}

TYPED_TEST(ScriptPath, EveryElementOfAFirstLevelListIsBare) {
  for (const bool firstLevel : {true, false}) {
    TypeParam r;
    r.noRootPrefix = true;
    r.CreatePrefix();
    r.trackDepth = true;
    r.childDepth = firstLevel ? 0 : 1;
    AMFArray list(AMF_VERSION_0);
    list.appendChild(trees::null(trees::k0), false);
    list.children.push_back(nullptr);
    list.appendChild(trees::null(trees::k0), false);
    r.appendChildren("l", &list);
    EXPECT_EQ(r.scriptText,
              firstLevel ? "l[0] = null;\nl[2] = null;\n" : ".l[0] = null;\n.l[2] = null;\n");
    EXPECT_EQ(r.nextPrefixBare, firstLevel);  // left for the next name
  }
}

TYPED_TEST(ScriptPath, MissingMemberLeavesTheBareNameWaiting) {
  TypeParam r;
  r.CreatePrefix();
  r.trackDepth = true;
  r.appendChild("n", nullptr, AMF_VERSION_0, false);
  EXPECT_TRUE(r.nextPrefixBare);
  EXPECT_EQ(r.childDepth, 0);
  EXPECT_EQ(r.scriptText, "");
}

}  // namespace
