// SPDX-License-Identifier: Apache-2.0
//
// appendNode: what each kind of node becomes, the two preludes, and the output limit.
// Every row is run on the library and on the plain renderer.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <random>
#include <string>

#include "support/hex.h"
#include "support/render_suite.h"
#include "support/trees.h"

namespace {

using namespace std::string_literals;
using namespace support;
using namespace trees;

RENDERER_SUITE(RenderNode);

// The node as the member "v" of an AMF0 place: {"v" : ...}. Takes the node over.
template <class Renderer>
void renderMember(Renderer& r, AMFNode* node, bool jsonOnly, bool pretty = false,
                  AMFVersion place = k0) {
  const std::unique_ptr<AMFNode> owner(node);
  r.jsonOnly = jsonOnly;
  r.newLine = pretty ? "\n" : "";
  r.indentUnit = pretty ? "\t" : "";
  r.CreatePrefix();
  r.openBrackets('{', '}');
  r.appendChild("v", node, place, false);
  r.closeBrackets();
}

template <class Renderer>
std::string jsonOf(AMFNode* node, AMFVersion place = k0) {
  Renderer r;
  renderMember(r, node, true, false, place);
  EXPECT_EQ(r.scriptText, "");
  return r.jsonText;
}

struct NodeCase {
  const char* name;
  AMFNode* (*make)();
  AMFVersion place;  // version of the node around it
  std::string json;  // of the value; in the script rendering too, unless `literal` says otherwise
  std::string script = "";
  std::string literal = "";
};

template <class Renderer>
void check(const NodeCase& row) {
  SCOPED_TRACE(row.name);
  Renderer json;
  renderMember(json, row.make(), true, false, row.place);
  EXPECT_EQ(json.jsonText, "{\"v\" : " + row.json + "}");
  EXPECT_EQ(json.scriptText, "");
  EXPECT_EQ(json.closerStack, "");
  Renderer script;
  renderMember(script, row.make(), false, false, row.place);
  EXPECT_EQ(script.jsonText, "{\"v\" : " + (row.literal.empty() ? row.json : row.literal) + "}");
  EXPECT_EQ(script.scriptText, row.script);
  EXPECT_EQ(script.closerStack, "");
  EXPECT_FALSE(script.valueInline);
  EXPECT_TRUE(script.scriptStatementStart);
  std::string path;
  script.AddPrefixes(path);
  EXPECT_EQ(path, "amf");
}

const NodeCase kScalars[] = {
    {"null", TREE(null(k0)), k0, "null", "amf.v = null;\n"},
    {"true", TREE(boolean(k0, true)), k0, "true", "amf.v = true;\n"},
    {"false", TREE(boolean(k0, false)), k0, "false", "amf.v = false;\n"},
    {"integer in AMF3", TREE(integer(k3, 5)), k3, "5", "amf.v = 5;\n"},
    {"integer with all bits", TREE(integer(k3, 0xFFFFFFFFu)), k3, "4294967295",
     "amf.v = 4294967295;\n"},
    {"integer with the top bit", TREE(integer(k3, 0x80000000u)), k3, "2147483648",
     "amf.v = 2147483648;\n"},
    {"integer 0", TREE(integer(k3, 0)), k3, "0", "amf.v = 0;\n"},
    {"double", TREE(number(k0, 3.5)), k0, "3.500000", "amf.v = 3.500000;\n"},
    {"string", TREE(string(k0, "hi")), k0, "\"hi\"", "amf.v = \"hi\";\n"},
    {"empty string", TREE(string(k0, "")), k0, "\"\"", "amf.v = \"\";\n"},
    {"string with NUL, tab, quote, slash", TREE(string(k0, "a\0\t\"/\\"s)), k0, "\"a\0\\\"/\\\""s,
     "amf.v = \"a\0\\\"/\\\";\n"s},
    {"undefined is a quoted text", TREE(undefined(k0)), k0, "\"undefined\"",
     "amf.v = \"undefined\";\n"},
    {"kind code 15", TREE(unknown(k0, 15)), k0, "\"undefined\"", "amf.v = \"undefined\";\n"},
    {"kind code 4294967295", TREE(unknown(k0, 0xFFFFFFFFu)), k0, "\"undefined\"",
     "amf.v = \"undefined\";\n"},
    {"AMF0 in AMF3", TREE(string(k0, "hi")), k3, "\"hi\"", "amf.v = \"hi\";\n"},
    {"AMF3 in AMF3", TREE(string(k3, "hi")), k3, "\"hi\"", "amf.v = \"hi\";\n"},
    {"null pointer", TREE(nullptr), k0, "null"},
};

TYPED_TEST(RenderNode, Scalars) {
  for (const NodeCase& row : kScalars) check<TypeParam>(row);
}

// Wrapped: the statement that the member has begun stands in front of the one that the value makes.
const NodeCase kWrapped[] = {
    {"switched null", TREE(null(k3)), k0, R"({"version" : "AMF3","type" : "null","value" : null})",
     "amf.v = amf.v.value = null;\n"},
    {"switched boolean", TREE(boolean(k3, true)), k0,
     R"({"version" : "AMF3","type" : "boolen","value" : true})", "amf.v = amf.v.value = true;\n"},
    {"switched integer", TREE(integer(k3, 7)), k0,
     R"({"version" : "AMF3","type" : "integer","value" : 7})", "amf.v = amf.v.value = 7;\n"},
    {"switched double", TREE(number(k3, -0.25)), k0,
     R"({"version" : "AMF3","type" : "double","value" : -0.250000})",
     "amf.v = amf.v.value = -0.250000;\n"},
    {"switched string", TREE(string(k3, "hi")), k0,
     R"({"version" : "AMF3","type" : "string","value" : "hi"})", "amf.v = amf.v.value = \"hi\";\n"},
    {"switched undefined has no type", TREE(undefined(k3)), k0,
     R"({"version" : "AMF3","value" : "undefined"})", "amf.v = amf.v.value = \"undefined\";\n"},
    {"switched kind code 99", TREE(unknown(k3, 99)), k0,
     R"({"version" : "AMF3","value" : "undefined"})", "amf.v = amf.v.value = \"undefined\";\n"},
    {"referenced string", TREE(reference(string(k0, "s"), 2)), k0,
     R"({"type" : "string","reference" : 2,"type" : "string","value" : "s"})",
     "amf.v = amf.v.value = \"s\";\n"},
    {"referenced AMF3 string in AMF3", TREE(reference(string(k3, "s"), 0)), k3,
     R"({"type" : "string","reference" : 0,"type" : "string","value" : "s"})",
     "amf.v = amf.v.value = \"s\";\n"},
    {"largest reference", TREE(reference(boolean(k0, false), 0xFFFFFFFEu)), k0,
     R"({"type" : "boolen","reference" : 4294967294,"type" : "boolen","value" : false})",
     "amf.v = amf.v.value = false;\n"},
    {"referenced undefined: the value twice", TREE(reference(undefined(k0), 3)), k0,
     R"({"value" : "undefined","reference" : 3,"value" : "undefined"})",
     "amf.v = amf.v.value = \"undefined\";\namf.v.value = \"undefined\";\n"},
    {"referenced kind code 15", TREE(reference(unknown(k0, 15), 3)), k0,
     R"({"value" : "undefined","reference" : 3,"value" : "undefined"})",
     "amf.v = amf.v.value = \"undefined\";\namf.v.value = \"undefined\";\n"},
    {"referenced null", TREE(reference(null(k0), 1)), k0,
     R"({"type" : "null","reference" : 1,"type" : "null","value" : null})",
     "amf.v = amf.v.value = null;\n"},
};

TYPED_TEST(RenderNode, WrappedScalars) {
  for (const NodeCase& row : kWrapped) check<TypeParam>(row);
}

const NodeCase kBlobs[] = {
    {"date", TREE(date(k0, 0)), k0, R"({"type" : "date","value" : "Thu Jan  1 00:00:00 1970"})",
     "amf.v = amf.v.value = \"Thu Jan  1 00:00:00 1970\";\n"},
    {"switched date", TREE(date(k3, 0)), k0,
     R"({"version" : "AMF3","type" : "date","value" : "Thu Jan  1 00:00:00 1970"})",
     "amf.v = amf.v.value = \"Thu Jan  1 00:00:00 1970\";\n"},
    {"referenced date", TREE(reference(date(k3, 0), 4)), k3,
     R"({"type" : "date","reference" : 4,"type" : "date","value" : "Thu Jan  1 00:00:00 1970"})",
     "amf.v = amf.v.value = \"Thu Jan  1 00:00:00 1970\";\n"},
    {"XML document", TREE(xml(k0, "<a b=\"c\"/>", 1)), k0,
     R"({"type" : "xml","value" : "<a b=\"c\"/>"})",
     "amf.v = amf.v.value = \"<a b=\\\"c\\\"/>\";\n"},
    {"E4X XML", TREE(xml(k3, "<a/>", 0)), k3,
     R"({"type" : "xml","xml_type" : "XML","value" : "<a/>"})",
     "amf.v = amf.v.value = \"<a/>\";\n"},
    {"any other document number", TREE(xml(k3, "", 2)), k3, R"({"type" : "xml","value" : ""})",
     "amf.v = amf.v.value = \"\";\n"},
    {"XML with line ends", TREE(xml(k0, "<a>\r\n\t</a>", 1)), k0,
     R"({"type" : "xml","value" : "<a></a>"})", "amf.v = amf.v.value = \"<a></a>\";\n"},
    {"referenced E4X XML", TREE(reference(xml(k3, "", 0), 9)), k3,
     R"({"type" : "xml","reference" : 9,"type" : "xml","xml_type" : "XML","value" : ""})",
     "amf.v = amf.v.value = \"\";\n"},
    {"byte array", TREE(raw(k3, "\x00\x7F\x80\xFF"s)), k3,
     R"({"type" : "bytearray","value" : "007FFFFFFF80FFFFFFFF"})",
     "amf.v = amf.v.value = \"007FFFFFFF80FFFFFFFF\";\n"},
    {"empty byte array", TREE(raw(k3, "")), k3, R"({"type" : "bytearray","value" : ""})",
     "amf.v = amf.v.value = \"\";\n"},
    {"switched byte array", TREE(raw(k3, "\n")), k0,
     R"({"version" : "AMF3","type" : "bytearray","value" : "0A"})",
     "amf.v = amf.v.value = \"0A\";\n"},
};

TYPED_TEST(RenderNode, DatesXmlAndByteArrays) {
  for (const NodeCase& row : kBlobs) check<TypeParam>(row);
}

TYPED_TEST(RenderNode, EveryByteOfAByteArray) {
  std::string bytes;
  std::string expected;
  for (int i = 0; i < 256; ++i) {
    bytes += static_cast<char>(i);
    if (i >= 0x80) expected += "FFFFFF";
    expected += support::toHex(bytes.substr(bytes.size() - 1));
  }
  EXPECT_EQ(jsonOf<TypeParam>(raw(k3, bytes), k3),
            R"({"v" : {"type" : "bytearray","value" : ")" + expected + "\"}}");
}

AMFObject* fullObject() {
  AMFObject* node = object(k3, "Cls", {member(k3, "a", null(k3))});
  node->sealedCount = 1;
  node->traitsIndex = 0;
  node->dynamic = true;
  node->externalizable = true;
  return node;
}

const NodeCase kObjects[] = {
    {"empty AMF0 object", TREE(object(k0, "", {})), k0, R"({"type" : "object","properties" : []})"},
    {"AMF0 object has none of the AMF3 keys",
     [] {
       AMFObject* node = object(k0, "", {});
       node->sealedCount = 3;
       node->traitsIndex = 1;
       node->dynamic = node->externalizable = true;
       return static_cast<AMFNode*>(node);
     },
     k0, R"({"type" : "object","properties" : []})"},
    {"empty AMF3 object: the size alone", TREE(object(k3, "", {})), k3,
     R"({"type" : "object","sealed_size" : 0,"properties" : []})"},
    {"switched object", TREE(object(k3, "", {})), k0,
     R"({"version" : "AMF3","type" : "object","sealed_size" : 0,"properties" : []})"},
    {"all AMF3 keys", TREE(fullObject()), k3,
     R"({"type" : "object","sealed_size" : 1,"traits_reference" : 0,"have_dynamic" : true,)"
     R"("externalizable" : true,"classname" : "Cls","properties" : [)"
     R"({"type" : "property","name" : "a","value" : null}]})",
     "amf.v.classname = \"Cls\";\namf.v.properties[0].value = null; // \"a\"\n",
     R"({"type" : "object","sealed_size" : 1,"traits_reference" : 0,"have_dynamic" : true,)"
     R"("externalizable" : true,"classname" : "Cls","properties" : [)"
     R"({"type" : "property","value" : null,"name" : "a"}]})"},
    {"dynamic alone",
     [] {
       AMFObject* node = object(k3, "", {});
       node->dynamic = true;
       return static_cast<AMFNode*>(node);
     },
     k3, R"({"type" : "object","sealed_size" : 0,"have_dynamic" : true,"properties" : []})"},
    {"largest counts",
     [] {
       AMFObject* node = object(k3, "", {});
       node->sealedCount = 0xFFFFFFFFu;
       node->traitsIndex = 0xFFFFFFFEu;
       return static_cast<AMFNode*>(node);
     },
     k3,
     R"({"type" : "object","sealed_size" : 4294967295,"traits_reference" : 4294967294,)"
     R"("properties" : []})"},
    {"class name", TREE(object(k0, "a.B", {})), k0,
     R"({"type" : "object","classname" : "a.B","properties" : []})",
     "amf.v.classname = \"a.B\";\n"},
    {"no class name at all",
     [] {
       AMFObject* node = object(k0, "", {});
       delete node->className;
       node->className = nullptr;
       return static_cast<AMFNode*>(node);
     },
     k0, R"({"type" : "object","properties" : []})"},
    {"class name by reference",
     [] {
       AMFObject* node = object(k3, "C", {});
       node->className->referenceIndex = 6;
       return static_cast<AMFNode*>(node);
     },
     k3,
     R"({"type" : "object","sealed_size" : 0,"classname" : )"
     R"({"type" : "string","reference" : 6,"type" : "string","value" : "C"},"properties" : []})",
     "amf.v.classname = amf.v.classname.value = \"C\";\n"},
    {"AMF3 class name in an AMF0 object",
     [] {
       AMFObject* node = object(k0, "", {});
       node->setClassName(string(k3, "C"), false);
       return static_cast<AMFNode*>(node);
     },
     k0,
     R"({"type" : "object","classname" : {"version" : "AMF3","type" : "string","value" : "C"},)"
     R"("properties" : []})",
     "amf.v.classname = amf.v.classname.value = \"C\";\n"},
    {"referenced object", TREE(reference(object(k0, "", {}), 1)), k0,
     R"({"type" : "object","reference" : 1,"type" : "object","properties" : []})"},
    {"members in turn",
     TREE(object(k0, "", {member(k0, "a", number(k0, 1)), member(k0, "b", string(k0, "x"))})), k0,
     R"({"type" : "object","properties" : [{"type" : "property","name" : "a","value" : 1.000000},)"
     R"({"type" : "property","name" : "b","value" : "x"}]})",
     "amf.v.properties[0].value = 1.000000; // \"a\"\n"
     "amf.v.properties[1].value = \"x\"; // \"b\"\n",
     R"({"type" : "object","properties" : [{"type" : "property","value" : 1.000000,"name" : "a"},)"
     R"({"type" : "property","value" : "x","name" : "b"}]})"},
    {"null child is skipped, its index too",
     TREE(object(k0, "", {member(k0, "a", null(k0)), nullptr, member(k0, "b", null(k0))})), k0,
     R"({"type" : "object","properties" : [{"type" : "property","name" : "a","value" : null},)"
     R"({"type" : "property","name" : "b","value" : null}]})",
     "amf.v.properties[0].value = null; // \"a\"\namf.v.properties[2].value = null; // \"b\"\n",
     R"({"type" : "object","properties" : [{"type" : "property","value" : null,"name" : "a"},)"
     R"({"type" : "property","value" : null,"name" : "b"}]})"},
};

TYPED_TEST(RenderNode, Objects) {
  for (const NodeCase& row : kObjects) check<TypeParam>(row);
}

const NodeCase kArrays[] = {
    {"empty ECMA array", TREE(array(k0, {})), k0,
     R"({"type" : "array","array_type" : "ECMA","value" : []})"},
    {"empty strict array", TREE(array(k0, {}, 1)), k0,
     R"({"type" : "array","array_type" : "strict","value" : []})"},
    {"strict is any number but 0", TREE(array(k0, {}, 2)), k0,
     R"({"type" : "array","array_type" : "strict","value" : []})"},
    {"AMF3 array", TREE(array(k3, {})), k3, R"({"type" : "array","dense_size" : 0,"value" : []})"},
    {"AMF3 array marked strict", TREE(array(k3, {}, 1)), k0,
     R"({"version" : "AMF3","type" : "array","dense_size" : 0,"value" : []})"},
    {"elements",
     TREE(array(k3, {integer(k3, 1), string(k3, "a"), null(k3), undefined(k3), boolean(k3, true)})),
     k3, R"({"type" : "array","dense_size" : 5,"value" : [1,"a",null,"undefined",true]})",
     "amf.v.value[0] = 1;\namf.v.value[1] = \"a\";\namf.v.value[2] = null;\n"
     "amf.v.value[3] = \"undefined\";\namf.v.value[4] = true;\n"},
    {"dense count is what the node says",
     [] {
       AMFArray* node = array(k3, {integer(k3, 1)});
       node->denseCount = 0xFFFFFFFFu;
       return static_cast<AMFNode*>(node);
     },
     k3, R"({"type" : "array","dense_size" : 4294967295,"value" : [1]})", "amf.v.value[0] = 1;\n"},
    {"null entry leaves no trace but its index", TREE(array(k0, {null(k0), nullptr, null(k0)})), k0,
     R"({"type" : "array","array_type" : "ECMA","value" : [null,null]})",
     "amf.v.value[0] = null;\namf.v.value[2] = null;\n"},
    {"only a null entry", TREE(array(k0, {nullptr})), k0,
     R"({"type" : "array","array_type" : "ECMA","value" : []})"},
    {"arrays in arrays", TREE(array(k3, {array(k3, {integer(k3, 1)}), array(k3, {})})), k3,
     R"({"type" : "array","dense_size" : 2,"value" : [)"
     R"({"type" : "array","dense_size" : 1,"value" : [1]},{"type" : "array","dense_size" : 0,"value" : []}]})",
     "amf.v.value[0].value[0] = 1;\n"},
    {"pair in an array, then an element",
     TREE(array(k3, {member(k3, "k", integer(k3, 1)), integer(k3, 2)})), k3,
     R"({"type" : "array","dense_size" : 1,"value" : [{"type" : "property","name" : "k","value" : 1},2]})",
     "amf.v.value[0].value = 1; // \"k\"\namf.v.value[1] = 2;\n",
     R"({"type" : "array","dense_size" : 1,"value" : [{"type" : "property","value" : 1,"name" : "k"},2]})"},
    {"switched elements in an AMF0 array", TREE(array(k0, {integer(k3, 1), string(k0, "a")}, 1)),
     k0,
     R"({"type" : "array","array_type" : "strict","value" : [)"
     R"({"version" : "AMF3","type" : "integer","value" : 1},"a"]})",
     "amf.v.value[0].value = 1;\namf.v.value[1] = \"a\";\n"},
    {"AMF0 element in an AMF3 array has no version", TREE(array(k3, {string(k0, "a")})), k3,
     R"({"type" : "array","dense_size" : 1,"value" : ["a"]})", "amf.v.value[0] = \"a\";\n"},
    {"AMF3 below AMF0 below AMF3 is marked again",
     TREE(array(k3, {array(k0, {integer(k3, 1)}, 1)})), k3,
     R"({"type" : "array","dense_size" : 1,"value" : [{"type" : "array","array_type" : "strict",)"
     R"("value" : [{"version" : "AMF3","type" : "integer","value" : 1}]}]})",
     "amf.v.value[0].value[0].value = 1;\n"},
    {"dates in arrays", TREE(array(k0, {date(k0, 0)})), k0,
     R"({"type" : "array","array_type" : "ECMA","value" : [)"
     R"({"type" : "date","value" : "Thu Jan  1 00:00:00 1970"}]})",
     "amf.v.value[0].value = \"Thu Jan  1 00:00:00 1970\";\n"},
};

TYPED_TEST(RenderNode, Arrays) {
  for (const NodeCase& row : kArrays) check<TypeParam>(row);
}

const NodeCase kPairs[] = {
    {"two scalars: value first in the script rendering", TREE(member(k0, "k", string(k0, "x"))), k0,
     R"({"type" : "property","name" : "k","value" : "x"})",
     "amf.v = amf.v.value = \"x\"; // \"k\"\n",
     R"({"type" : "property","value" : "x","name" : "k"})"},
    {"default pair", TREE(new AMFPair(k0)), k0,
     R"({"type" : "property","name" : "","value" : "undefined"})",
     "amf.v = amf.v.value = \"undefined\"; // \"\"\n",
     R"({"type" : "property","value" : "undefined","name" : ""})"},
    {"object value: name first, no line", TREE(member(k0, "k", object(k0, "", {}))), k0,
     R"({"type" : "property","name" : "k","value" : {"type" : "object","properties" : []}})",
     "amf.v = amf.v.name = \"k\";\n"},
    {"array value", TREE(member(k0, "k", array(k0, {null(k0)}))), k0,
     R"({"type" : "property","name" : "k","value" : )"
     R"({"type" : "array","array_type" : "ECMA","value" : [null]}})",
     "amf.v = amf.v.name = \"k\";\namf.v.value.value[0] = null;\n"},
    {"no name", TREE(member(k0, static_cast<AMFString*>(nullptr), null(k0))), k0,
     R"({"type" : "property","name" : null,"value" : null})", "amf.v = amf.v.value = null;\n"},
    {"no value", TREE(member(k0, "k", nullptr)), k0,
     R"({"type" : "property","name" : "k","value" : null})", "amf.v = amf.v.name = \"k\";\n"},
    {"neither", TREE(member(k0, static_cast<AMFString*>(nullptr), nullptr)), k0,
     R"({"type" : "property","name" : null,"value" : null})", "amf.v = "},
    {"date value stays on the line", TREE(member(k0, "k", date(k0, 0))), k0,
     R"({"type" : "property","name" : "k","value" : {"type" : "date","value" : "Thu Jan  1 00:00:00 1970"}})",
     "amf.v = amf.v.value = \"Thu Jan  1 00:00:00 1970\"; // \"k\"\n",
     R"({"type" : "property","value" : {"type" : "date","value" : "Thu Jan  1 00:00:00 1970"},"name" : "k"})"},
    {"switched value in an AMF0 pair", TREE(member(k0, "k", integer(k3, 5))), k0,
     R"({"type" : "property","name" : "k","value" : {"version" : "AMF3","type" : "integer","value" : 5}})",
     "amf.v = amf.v.value = 5; // \"k\"\n",
     R"({"type" : "property","value" : {"version" : "AMF3","type" : "integer","value" : 5},"name" : "k"})"},
    {"switched pair", TREE(member(k3, "k", integer(k3, 5))), k0,
     R"({"version" : "AMF3","type" : "property","name" : "k","value" : 5})",
     "amf.v = amf.v.value = 5; // \"k\"\n",
     R"({"version" : "AMF3","type" : "property","value" : 5,"name" : "k"})"},
    {"name by reference", TREE(member(k3, reference(string(k3, "k"), 2), integer(k3, 5))), k3,
     R"({"type" : "property","name" : {"type" : "string","reference" : 2,"type" : "string","value" : "k"},"value" : 5})",
     "amf.v = amf.v.value = 5; // \"k\"\n",
     R"({"type" : "property","value" : 5,"name" : {"type" : "string","reference" : 2,"type" : "string","value" : "k"}})"},
    {"referenced undefined value: twice on the line",
     TREE(member(k0, "k", reference(undefined(k0), 1))), k0,
     R"({"type" : "property","name" : "k","value" : {"value" : "undefined","reference" : 1,"value" : "undefined"}})",
     "amf.v = amf.v.value = \"undefined\"\"undefined\"; // \"k\"\n",
     R"({"type" : "property","value" : {"value" : "undefined","reference" : 1,"value" : "undefined"},"name" : "k"})"},
    {"referenced pair", TREE(reference(member(k0, "k", null(k0)), 8)), k0,
     R"({"type" : "property","reference" : 8,"type" : "property","name" : "k","value" : null})",
     "amf.v = amf.v.value = null; // \"k\"\n",
     R"({"type" : "property","reference" : 8,"type" : "property","value" : null,"name" : "k"})"},
    {"pair in a pair: the inner one ends the line's mark",
     TREE(member(k0, "k", member(k0, "i", null(k0)))), k0,
     R"({"type" : "property","name" : "k","value" : {"type" : "property","name" : "i","value" : null}})",
     "amf.v = amf.v.value = amf.v.value = null; // \"i\"\n; // amf.v = \"k\";\n\n",
     R"({"type" : "property","value" : {"type" : "property","value" : null,"name" : "i"},"name" : "k"})"},
    {"kind code 15 as value", TREE(member(k0, "k", unknown(k0, 15))), k0,
     R"({"type" : "property","name" : "k","value" : "undefined"})",
     "amf.v = amf.v.value = \"undefined\"; // \"k\"\n",
     R"({"type" : "property","value" : "undefined","name" : "k"})"},
    {"name with a quote and a line end", TREE(member(k0, "a\"\nb", null(k0))), k0,
     R"({"type" : "property","name" : "a\"b","value" : null})",
     "amf.v = amf.v.value = null; // \"a\\\"b\"\n",
     R"({"type" : "property","value" : null,"name" : "a\"b"})"},
};

TYPED_TEST(RenderNode, Pairs) {
  for (const NodeCase& row : kPairs) check<TypeParam>(row);
}

const NodeCase kEnvelope[] = {
    {"header", TREE(header("h", null(k0))), k0,
     R"({"type" : "header","name" : "h","value" : null})", "amf.v = amf.v.value = null; // \"h\"\n",
     R"({"type" : "header","value" : null,"name" : "h"})"},
    {"header with all keys", TREE(header("h", null(k0), true, 14)), k0,
     R"({"type" : "header","must_understand" : true,"length" : 14,"name" : "h","value" : null})",
     "amf.v = amf.v.value = null; // \"h\"\n",
     R"({"type" : "header","must_understand" : true,"length" : 14,"value" : null,"name" : "h"})"},
    {"header, length 0", TREE(header("h", object(k0, "", {}), false, 0)), k0,
     R"({"type" : "header","length" : 0,"name" : "h","value" : {"type" : "object","properties" : []}})",
     "amf.v = amf.v.name = \"h\";\n"},
    {"header, largest known length", TREE(header("h", array(k0, {}), false, 0xFFFFFFFEu)), k0,
     R"({"type" : "header","length" : 4294967294,"name" : "h","value" : )"
     R"({"type" : "array","array_type" : "ECMA","value" : []}})",
     "amf.v = amf.v.name = \"h\";\n"},
    {"default message", TREE(new AMFMessage()), k0,
     R"({"type" : "message","targetUri" : "","responseUri" : "","value" : "undefined"})",
     "amf.v = amf.v.targetUri = \"\";\namf.v.responseUri = \"\";\namf.v.value = \"undefined\";\n"},
    {"message", TREE(message("t", "/1", number(k0, 1), 9)), k0,
     R"({"type" : "message","length" : 9,"targetUri" : "t","responseUri" : "/1","value" : 1.000000})",
     "amf.v = amf.v.targetUri = \"t\";\namf.v.responseUri = \"/1\";\namf.v.value = 1.000000;\n"},
    {"message without its parts",
     [] {
       AMFMessage* node = new AMFMessage();
       delete node->targetUri;
       delete node->responseUri;
       delete node->value;
       node->targetUri = node->responseUri = nullptr;
       node->value = nullptr;
       return static_cast<AMFNode*>(node);
     },
     k0, R"({"type" : "message","targetUri" : null,"responseUri" : null,"value" : null})",
     "amf.v = "},
    {"package", TREE(package(k0, {})), k0, R"({"type" : "package","content" : []})", "amf.v = "},
    {"package of version 3", TREE(package(k3, {})), k0,
     R"({"version" : "AMF3","type" : "package","content" : []})", "amf.v = "},
    {"package of version 7", TREE(package(static_cast<AMFVersion>(7), {})), k0,
     R"({"type" : "package","content" : []})", "amf.v = "},
    {"AMF3 message in a package of version 7 has no version",
     [] {
       AMFMessage* inner = message("", "", null(k0));
       inner->version = k3;
       return static_cast<AMFNode*>(package(static_cast<AMFVersion>(7), {inner}));
     },
     k0,
     R"({"type" : "package","content" : [{"type" : "message","targetUri" : "","responseUri" : "",)"
     R"("value" : null}]})",
     "amf.v = amf.v.content[0].targetUri = \"\";\namf.v.content[0].responseUri = \"\";\n"
     "amf.v.content[0].value = null;\n"},
};

TYPED_TEST(RenderNode, HeadersMessagesPackages) {
  for (const NodeCase& row : kEnvelope) check<TypeParam>(row);
}

TYPED_TEST(RenderNode, NullNodeWritesNothing) {
  TypeParam r;
  r.jsonText = "x";
  r.appendNode(nullptr, k0);
  r.appendChildren("n", nullptr);
  EXPECT_EQ(r.jsonText, "x");
  EXPECT_EQ(r.scriptText, "");
  EXPECT_EQ(r.childDepth, 0);
}

TYPED_TEST(RenderNode, AMissingListChangesNoState) {
  TypeParam r;
  r.trackDepth = true;
  r.scriptStatementStart = false;
  r.appendChildren("n", nullptr);
  EXPECT_FALSE(r.nextPrefixBare);
  EXPECT_FALSE(r.scriptStatementStart);
}

// ---- Layout

TYPED_TEST(RenderNode, PrettyScalarsOfAListAreGlued) {
  TypeParam r;
  renderMember(r, array(k3, {integer(k3, 1), string(k3, "a"), array(k3, {}), null(k3), null(k3)}),
               true, true, k3);
  EXPECT_EQ(r.jsonText,
            "{\n"
            "\t\"v\" : \n"
            "\t{\n"
            "\t\t\"type\" : \"array\",\n"
            "\t\t\"dense_size\" : 5,\n"
            "\t\t\"value\" : \n"
            "\t\t[1,\"a\",\n"
            "\t\t\t{\n"
            "\t\t\t\t\"type\" : \"array\",\n"
            "\t\t\t\t\"dense_size\" : 0,\n"
            "\t\t\t\t\"value\" : \n"
            "\t\t\t\t[\n"
            "\t\t\t\t]\n"
            "\t\t\t},null,null\n"
            "\t\t]\n"
            "\t}\n"
            "}");
}

TYPED_TEST(RenderNode, PrettyObject) {
  TypeParam r;
  renderMember(r, fullObject(), false, true, k0);
  EXPECT_EQ(r.jsonText,
            "{\n"
            "\t\"v\" : \n"
            "\t{\n"
            "\t\t\"version\" : \"AMF3\",\n"
            "\t\t\"type\" : \"object\",\n"
            "\t\t\"sealed_size\" : 1,\n"
            "\t\t\"traits_reference\" : 0,\n"
            "\t\t\"have_dynamic\" : true,\n"
            "\t\t\"externalizable\" : true,\n"
            "\t\t\"classname\" : \"Cls\",\n"
            "\t\t\"properties\" : \n"
            "\t\t[\n"
            "\t\t\t{\n"
            "\t\t\t\t\"type\" : \"property\",\n"
            "\t\t\t\t\"value\" : null,\n"
            "\t\t\t\t\"name\" : \"a\"\n"
            "\t\t\t}\n"
            "\t\t]\n"
            "\t}\n"
            "}");
  EXPECT_EQ(r.scriptText,
            "amf.v.classname = \"Cls\";\namf.v.properties[0].value = null; // \"a\"\n");
}

// ---- A reference that also switches: two blocks opened, one closed

TYPED_TEST(RenderNode, ReferenceAndSwitchLeaveOneBlockOpen) {
  TypeParam r;
  r.jsonOnly = true;
  const std::unique_ptr<AMFNode> node(reference(string(k3, "s"), 2));
  r.openBrackets('<', '>');
  r.appendChild("v", node.get(), k0, false);
  EXPECT_EQ(
      r.jsonText,
      R"(<"v" : {"type" : "string","reference" : 2,{"version" : "AMF3","type" : "string","value" : "s"},)");
  EXPECT_EQ(r.closerStack, ">}");
  r.closeBrackets();
  EXPECT_EQ(
      r.jsonText,
      R"(<"v" : {"type" : "string","reference" : 2,{"version" : "AMF3","type" : "string","value" : "s"}},)");
  EXPECT_EQ(r.closerStack, ">");
}

TYPED_TEST(RenderNode, ReferenceAndSwitchOfEveryKind) {
  const struct {
    const char* name;
    AMFNode* node;
    const char* json;
  } rows[] = {
      {"undefined", undefined(k3),
       R"(<"v" : {"value" : "undefined","reference" : 1,{"version" : "AMF3","value" : "undefined"},)"},
      {"object", object(k3, "", {}),
       R"(<"v" : {"type" : "object","reference" : 1,{"version" : "AMF3","type" : "object","sealed_size" : 0,"properties" : []},)"},
      {"date", date(k3, 0),
       R"(<"v" : {"type" : "date","reference" : 1,{"version" : "AMF3","type" : "date","value" : "Thu Jan  1 00:00:00 1970"},)"},
      {"byte array", raw(k3, "A"),
       R"(<"v" : {"type" : "bytearray","reference" : 1,{"version" : "AMF3","type" : "bytearray","value" : "41"},)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::unique_ptr<AMFNode> node(reference(row.node, 1));
    TypeParam r;
    r.jsonOnly = true;
    r.openBrackets('<', '>');
    r.appendChild("v", node.get(), k0, false);
    EXPECT_EQ(r.jsonText, row.json);
    EXPECT_EQ(r.closerStack, ">}");
  }
}

// ---- Output limit

struct LimitCase {
  const char* name;
  std::size_t json;
  std::size_t script;
  bool jsonOnly;
  bool reachedBefore;
  bool written;
  bool reachedAfter;
};

const LimitCase kLimits[] = {
    {"499999 bytes", 499999, 0, false, false, true, false},
    {"500000 bytes", 500000, 0, false, false, false, true},
    {"499999 bytes of script", 0, 499999, false, false, true, false},
    {"500000 bytes of script", 0, 500000, false, false, false, true},
    {"both together, 499999", 250000, 249999, false, false, true, false},
    {"both together, 500000", 250000, 250000, false, false, false, true},
    {"JSON alone, 499999", 499999, 0, true, false, true, false},
    {"JSON alone, 500000: noted and written", 500000, 0, true, false, true, true},
    {"JSON alone counts the script text too", 1, 499999, true, false, true, true},
    {"reached before", 1, 0, false, true, false, true},
    {"reached before, JSON alone", 1, 0, true, true, true, true},
    {"reached before, JSON alone, long", 600000, 0, true, true, true, true},
};

TYPED_TEST(RenderNode, OutputLimit) {
  for (const LimitCase& row : kLimits) {
    SCOPED_TRACE(row.name);
    TypeParam r;
    r.CreatePrefix();
    r.jsonOnly = row.jsonOnly;
    r.outputLimitReached = row.reachedBefore;
    r.jsonText.assign(row.json, 'j');
    r.scriptText.assign(row.script, 's');
    AMFNull node(k0);
    r.appendNode(&node, k0);
    EXPECT_EQ(r.outputLimitReached, row.reachedAfter);
    EXPECT_TRUE(r.jsonText == std::string(row.json, 'j') + (row.written ? "null," : ""));
    EXPECT_TRUE(r.scriptText == std::string(row.script, 's') +
                                    (row.written && !row.jsonOnly ? "amf = null;\n" : ""));
  }
}

TYPED_TEST(RenderNode, LimitIsTestedForEveryNodeBeforeIt) {
  TypeParam r;
  r.useTemporaries = false;
  r.lineBreakCount = -1;
  renderMember(
      r,
      array(k0, {string(k0, std::string(249980, 'x')), string(k0, "second"), string(k0, "third")},
            1),
      false);
  // 249980 bytes twice, the lines around them: past the limit before the second element.
  EXPECT_TRUE(r.jsonText == R"({"v" : {"type" : "array","array_type" : "strict","value" : [")" +
                                std::string(249980, 'x') + "\"]}}");
  EXPECT_TRUE(r.scriptText == "amf.v.value[0] = \"" + std::string(249980, 'x') + "\";\n");
  EXPECT_TRUE(r.outputLimitReached);
}

TYPED_TEST(RenderNode, LimitOfANullNodeIsNotNoted) {
  TypeParam r;
  r.jsonText.assign(500000, 'j');
  r.appendNode(nullptr, k0);
  EXPECT_FALSE(r.outputLimitReached);
}

// ---- Doubles

struct DoubleCase {
  const char* name;
  double value;
  std::string text;
};

TYPED_TEST(RenderNode, Doubles) {
  const DoubleCase rows[] = {
      {"3.5", 3.5, "3.500000"},
      {"1e-7", 1e-7, "0.000000"},
      {"0", 0.0, "0.000000"},
      {"-0", -0.0, "-0.000000"},
      {"-1e-7 keeps its sign", -1e-7, "-0.000000"},
      {"1", 1, "1.000000"},
      {"-1", -1, "-1.000000"},
      {"1e6", 1e6, "1000000.000000"},
      {"2^53", 9007199254740992.0, "9007199254740992.000000"},
      {"2^63", 9223372036854775808.0, "9223372036854775808.000000"},
      {"2^64", 18446744073709551616.0, "18446744073709551616.000000"},
      {"0.1", 0.1, "0.100000"},
      {"0.0000005 is a bit below the half", 0.0000005, "0.000000"},
      {"0.0000015 is a bit above the half", 0.0000015, "0.000002"},
      {"0.0000025 is a bit above the half", 0.0000025, "0.000003"},
      {"half, to even: 1/128 = 0.0078125", 0.0078125, "0.007812"},
      {"half, to even: 3/128 = 0.0234375", 0.0234375, "0.023438"},
      {"half, to even: 5/128 = 0.0390625", 0.0390625, "0.039062"},
      {"half, negative", -0.0390625, "-0.039062"},
      {"just above the half", std::nextafter(0.0390625, 1), "0.039063"},
      {"just below the half", std::nextafter(0.0234375, 0), "0.023437"},
      {"no carry", 0.9999994, "0.999999"},
      {"carry into the integer: 0.9999995 is a bit above the half", 0.9999995, "1.000000"},
      {"carry through nines", 999999.9999999, "1000000.000000"},
      {"half far out: 1000000.0078125", 1000000.0078125, "1000000.007812"},
      {"half far out, up: 1000000.0234375", 1000000.0234375, "1000000.023438"},
      {"smallest denormal", 4.9406564584124654e-324, "0.000000"},
      {"nan", std::numeric_limits<double>::quiet_NaN(), "nan"},
      {"-nan", std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0), "-nan"},
      {"inf", HUGE_VAL, "inf"},
      {"-inf", -HUGE_VAL, "-inf"},
      {"1e22", 1e22, "10000000000000000000000.000000"},
      {"1e23 is not a power of ten", 1e23, "99999999999999991611392.000000"},
      {"2^100", std::ldexp(1, 100), "1267650600228229401496703205376.000000"},
  };
  for (const DoubleCase& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(jsonOf<TypeParam>(number(k0, row.value)), "{\"v\" : " + row.text + "}");
  }
}

TYPED_TEST(RenderNode, LargestDoubles) {
  char buffer[400];
  for (const double value : {1e300, -1e300, DBL_MAX, -DBL_MAX}) {
    std::snprintf(buffer, sizeof buffer, "%f", value);
    EXPECT_EQ(jsonOf<TypeParam>(number(k0, value)), std::string("{\"v\" : ") + buffer + "}");
  }
  const std::string found = jsonOf<TypeParam>(number(k0, 1e300));
  EXPECT_EQ(found.substr(0, 24), "{\"v\" : 10000000000000000");
  EXPECT_EQ(found.size(), std::string("{\"v\" : .000000}").size() + 301);
  EXPECT_EQ(jsonOf<TypeParam>(number(k0, -DBL_MAX)).size(),
            std::string("{\"v\" : -.000000}").size() + 309);
}

double fromBits(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

// Random bit patterns, numbers near and at halves of the last digit, decimals, integers, denormals.
double someDouble(std::mt19937_64& random) {
  const std::uint64_t bits = random();
  const double sign = (bits & 1) ? -1.0 : 1.0;
  switch ((bits >> 1) % 8) {
    case 0: return fromBits(random());
    case 1:  // exact halves: an odd number of 128ths
      return sign * (static_cast<double>(random() >> 20) + 0.5) / 64.0;
    case 2: {
      const double half = (static_cast<double>(random() >> (20 + random() % 40)) + 0.5) / 64.0;
      return sign * std::nextafter(half, (bits & 16) ? 0.0 : 1e300);
    }
    case 3:  // closest to a decimal half
      return sign * (static_cast<double>(random() % 2000000000u) + 0.5) / 1e6;
    case 4: return sign * static_cast<double>(random() >> (random() % 64));
    case 5: return sign * fromBits(random() >> 12);  // denormal
    case 6: return sign * static_cast<double>(random() % 100000000u) / 1000.0;
    default:
      return sign * std::ldexp(1.0 + static_cast<double>(random() >> 12) * 0x1p-52,
                               static_cast<int>(random() % 120) - 40);
  }
}

template <class Renderer>
int countDoubleMismatches(int count, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  int mismatches = 0;
  AMFDouble node(k0);
  Renderer r;
  r.jsonOnly = true;
  for (int i = 0; i < count; ++i) {
    node.value = someDouble(random);
    char expected[400];
    std::snprintf(expected, sizeof expected, "%f,", node.value);
    r.jsonText.clear();
    r.appendNode(&node, k0);
    if (r.jsonText == expected) continue;
    if (++mismatches <= 5) ADD_FAILURE() << "expected " << expected << " found " << r.jsonText;
  }
  return mismatches;
}

TYPED_TEST(RenderNode, RandomDoubles) {
  EXPECT_EQ(countDoubleMismatches<TypeParam>(100000, 20240611), 0);
}

// ---- Locales

class CommaAndGroups : public std::numpunct<char> {
 protected:
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

// Numbers of every sort: double, integer, counts, a reference, hex digits, list indexes.
AMFNode* allNumbers() {
  AMFObject* counted = object(k3, "", {});
  counted->sealedCount = 1234567;
  counted->traitsIndex = 7654321;
  AMFArray* list =
      array(k3, {number(k3, 1234567.25), integer(k3, 4294967295u), raw(k3, "\xFF"), counted});
  list->denseCount = 1000000;
  return reference(list, 1000000);
}

const char kAllNumbers[] =
    R"({"v" : {"type" : "array","reference" : 1000000,"type" : "array","dense_size" : 1000000,)"
    R"("value" : [1234567.250000,4294967295,{"type" : "bytearray","value" : "FFFFFFFF"},)"
    R"({"type" : "object","sealed_size" : 1234567,"traits_reference" : 7654321,"properties" : []}]}})";

TEST(RenderNodeLocale, GlobalStreamLocaleIsNotFollowed) {
  const std::locale before =
      std::locale::global(std::locale(std::locale::classic(), new CommaAndGroups));
  const std::string found = jsonOf<AMFProtocol>(allNumbers(), k3);
  std::locale::global(before);
  EXPECT_EQ(found, kAllNumbers);
}

// Runs where a locale with a decimal comma is installed.
TEST(RenderNodeLocale, ProcessLocaleIsNotFollowed) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  bool found = false;
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8",
                           "nl_NL.UTF-8", "ru_RU.UTF-8", "es_ES.UTF-8"}) {
    if (!std::setlocale(LC_ALL, name)) continue;
    char sample[16];
    std::snprintf(sample, sizeof sample, "%.1f", 0.5);
    if (std::string(sample) != "0,5") continue;
    found = true;
    const std::string json = jsonOf<AMFProtocol>(allNumbers(), k3);
    const std::string dates = jsonOf<AMFProtocol>(date(k0, 86400000.0 * 70));
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(json, kAllNumbers);
    EXPECT_EQ(dates, R"({"v" : {"type" : "date","value" : "Thu Mar 12 00:00:00 1970"}})");
  }
  std::setlocale(LC_ALL, before.c_str());
  if (!found) GTEST_SKIP() << "no locale with a decimal comma is installed";
}

}  // namespace
