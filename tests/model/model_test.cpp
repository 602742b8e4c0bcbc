// SPDX-License-Identifier: Apache-2.0
//
// The node classes: kind codes, fields and their defaults, children, checks. Who owns what after
// which call is tests/model/ownership_test.cpp.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <type_traits>

#include "support/dump.h"
#include "support/kinds.h"
#include "support/refusal.h"
#include "support/trees.h"

namespace {

using support::dump;
using support::makeKind;
using support::refusal;

TEST(Kinds, CodesAndWidths) {
  struct Row {
    AMFNode::AMFType kind;
    std::uint32_t code;
  };
  const Row rows[] = {
      {AMFNode::AMF_NULL, 0},    {AMFNode::AMF_BOOL, 1},     {AMFNode::AMF_INT, 2},
      {AMFNode::AMF_DOUBLE, 3},  {AMFNode::AMF_STRING, 4},   {AMFNode::AMF_OBJECT, 5},
      {AMFNode::AMF_DATE, 6},    {AMFNode::AMF_XML, 7},      {AMFNode::AMF_ARRAY, 8},
      {AMFNode::AMF_RAW, 9},     {AMFNode::AMF_PAIR, 10},    {AMFNode::AMF_UNDEFINED, 11},
      {AMFNode::AMF_HEADER, 12}, {AMFNode::AMF_MESSAGE, 13}, {AMFNode::AMF_PACKAGE, 14}};
  for (const Row& row : rows) EXPECT_EQ(static_cast<std::uint32_t>(row.kind), row.code);
  EXPECT_EQ(static_cast<std::uint32_t>(AMF_VERSION_0), 0u);
  EXPECT_EQ(static_cast<std::uint32_t>(AMF_VERSION_3), 3u);
  EXPECT_EQ(sizeof(AMFNode::AMFType), 4u);
  EXPECT_EQ(sizeof(AMFVersion), 4u);
  EXPECT_EQ(sizeof(AMFProtocol::AMF0Markers), 4u);
  EXPECT_EQ(sizeof(AMFProtocol::AMF3Markers), 4u);
}

TEST(Kinds, EveryClassCarriesItsCode) {
  for (std::uint32_t code = 0; code <= support::kLastKind; ++code) {
    const auto node = makeKind(code);
    EXPECT_EQ(static_cast<std::uint32_t>(node->type), code);
    EXPECT_EQ(dump(node.get()), support::kKindDumps[code]);
  }
}

TEST(Kinds, ClassesAreDerivedAsTheFormatSays) {
  EXPECT_TRUE((std::is_base_of_v<AMFRaw, AMFString>));
  EXPECT_TRUE((std::is_base_of_v<AMFString, AMFXML>));
  EXPECT_TRUE((std::is_base_of_v<AMFPair, AMFHeader>));
  EXPECT_FALSE((std::is_base_of_v<AMFPair, AMFMessage>));
  EXPECT_FALSE((std::is_base_of_v<AMFRaw, AMFDate>));
  EXPECT_TRUE(std::is_abstract_v<AMFNode>);
  EXPECT_FALSE(std::is_polymorphic_v<AMFException>);
}

struct DefaultRow {
  const char* name;
  AMFNode* (*make)();
  const char* tree;
};
template <class Node, AMFVersion version>
AMFNode* fresh() {
  return new Node(version);
}
const DefaultRow kDefaults[] = {
    {"null", fresh<AMFNull, AMF_VERSION_0>, "null0"},
    {"null of AMF3", fresh<AMFNull, AMF_VERSION_3>, "null3"},
    {"undefined", fresh<AMFUndefined, AMF_VERSION_0>, "undef0"},
    {"boolean starts false", fresh<AMFBool, AMF_VERSION_3>, "bool3 false"},
    {"integer starts at 0", fresh<AMFInt, AMF_VERSION_3>, "int3 0"},
    {"double starts at 0", fresh<AMFDouble, AMF_VERSION_0>, "double0 0"},
    {"date starts at 0", fresh<AMFDate, AMF_VERSION_0>, "date0 0"},
    {"byte array without bytes", fresh<AMFRaw, AMF_VERSION_3>, "raw3 []"},
    {"string without bytes", fresh<AMFString, AMF_VERSION_0>, "str0 ''"},
    {"XML is no document", fresh<AMFXML, AMF_VERSION_3>, "xml3{doc=0 ''}"},
    {"array is associative and empty", fresh<AMFArray, AMF_VERSION_0>, "arr0{}"},
    {"array of AMF3 is not complete", fresh<AMFArray, AMF_VERSION_3>, "arr3{}!open"},
    {"object has an empty class name", fresh<AMFObject, AMF_VERSION_0>, "obj0{}"},
    {"object's class name has its version", fresh<AMFObject, AMF_VERSION_3>, "obj3{}!open"},
    {"pair: empty name, undefined", fresh<AMFPair, AMF_VERSION_0>, "pair0{'':undef0}"},
    {"pair's members have its version", fresh<AMFPair, AMF_VERSION_3>, "pair3{'':undef3}"},
    {"header: length unknown", [] { return static_cast<AMFNode*>(new AMFHeader()); },
     "header{'' len=? undef0}"},
    {"message: length unknown, undefined", [] { return static_cast<AMFNode*>(new AMFMessage()); },
     "message{'' '' len=? undef0}"},
    {"package", fresh<AMFPackage, AMF_VERSION_3>, "package3{headers=0}"},
};

TEST(Defaults, EveryClass) {
  for (const DefaultRow& row : kDefaults) {
    const std::unique_ptr<AMFNode> node(row.make());
    EXPECT_EQ(dump(node.get()), row.tree) << row.name;
    EXPECT_EQ(node->parent, nullptr) << row.name;
    EXPECT_EQ(node->referenceIndex, 0xFFFFFFFFu) << row.name;
    EXPECT_FALSE(node->complete) << row.name;
    EXPECT_TRUE(node->children.empty()) << row.name;
  }
}

TEST(Defaults, FieldsThatTheLineHides) {
  const AMFObject object(AMF_VERSION_3);
  EXPECT_EQ(object.traitsIndex, 0xFFFFFFFFu);
  ASSERT_NE(object.className, nullptr);
  EXPECT_EQ(object.className->version, AMF_VERSION_3);
  EXPECT_EQ(object.className->parent, nullptr);
  const AMFMessage message;
  EXPECT_EQ(message.version, AMF_VERSION_0);
  EXPECT_EQ(message.length, 0xFFFFFFFFu);
  EXPECT_EQ(message.value->parent, nullptr);
  EXPECT_EQ(message.value->version, AMF_VERSION_0);
  const AMFRaw raw(AMF_VERSION_3);
  EXPECT_EQ(raw.data, nullptr);
}

TEST(Defaults, TheParentIsTheConstructorsArgument) {
  AMFNull owner(AMF_VERSION_0);
  EXPECT_EQ(AMFInt(AMF_VERSION_3, &owner).parent, &owner);
  EXPECT_EQ(AMFArray(AMF_VERSION_3, &owner).parent, &owner);
  EXPECT_EQ(AMFObject(AMF_VERSION_3, &owner).parent, &owner);
  EXPECT_EQ(AMFHeader(&owner).parent, &owner);
  EXPECT_EQ(AMFMessage(&owner).parent, &owner);
  const AMFPair pair(AMF_VERSION_3, &owner);
  EXPECT_EQ(pair.parent, &owner);
  EXPECT_EQ(pair.name->parent, nullptr);
  EXPECT_EQ(pair.value->parent, nullptr);
  EXPECT_TRUE(owner.children.empty()) << "a parent given is not an attachment";
}

TEST(Defaults, APairTakesItsKind) {
  const AMFPair pair(AMF_VERSION_0, nullptr, AMFNode::AMF_HEADER);
  EXPECT_EQ(pair.type, AMFNode::AMF_HEADER);
}

TEST(Dump, ShowsWhatIsOdd) {
  AMFArray array(AMF_VERSION_3);
  array.children.push_back(nullptr);
  array.appendChild(trees::integer(trees::k3, 1), false);
  array.children[1]->parent = nullptr;
  array.strict = 2;
  array.referenceIndex = 7;
  EXPECT_EQ(dump(&array), "arr3{dense=1 strict=2 (nil), int3 1!parent}#ref7!open");

  AMFString text(AMF_VERSION_0);
  text.setValue(
      "a'\\\n\xC3\xA9"
      "bbbbbbbb"
      "ccccccccc",
      23);
  EXPECT_EQ(dump(&text), R"(str0 'a\'\\\x0A\xC3\xA9bbbbbbbb\{63*9}')");
  delete[] text.data;
  text.data = nullptr;
  EXPECT_EQ(dump(&text), "str0 ''!nodata23");
  text.length = 0;

  AMFNull null(AMF_VERSION_0);
  null.complete = true;
  null.type = static_cast<AMFNode::AMFType>(40);
  null.appendChild(trees::integer(trees::k3, 1), false);
  EXPECT_EQ(dump(&null), "null0!complete!kind40+[int3 1]");

  AMFDouble number(AMF_VERSION_0);
  number.value = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(dump(&number), "double0 nan:7FF8000000000000");
  number.value = -0.0;
  EXPECT_EQ(dump(&number), "double0 -0");
  number.value = 0.1;
  EXPECT_EQ(dump(&number), "double0 0.1");
}

// ---- children

TEST(Children, OutOfRangeGetChildIsNull) {
  AMFArray array(AMF_VERSION_3);
  EXPECT_EQ(array.getChild(0), nullptr);
  array.appendChild(trees::integer(trees::k3, 1), false);
  EXPECT_EQ(dump(array.getChild(0)), "int3 1");
  EXPECT_EQ(array.getChild(1), nullptr);
  EXPECT_EQ(array.getChild(0xFFFFFFFFu), nullptr);
  const AMFObject object(AMF_VERSION_3);
  EXPECT_EQ(object.getChild(0), nullptr);
}

TEST(Children, AnyNodeTakesChildren) {
  AMFNull null(AMF_VERSION_0);
  null.appendChild(trees::integer(trees::k3, 1), false);
  null.appendChild(nullptr, false);
  null.appendChild(nullptr, true);
  EXPECT_EQ(dump(&null), "null0+[int3 1]");
}

TEST(Children, SetChildReplacesOneOnly) {
  AMFArray array(AMF_VERSION_3);
  for (std::uint32_t i = 0; i < 3; ++i) array.appendChild(trees::integer(trees::k3, i), false);
  array.setChild(1, trees::integer(trees::k3, 8), false);
  array.setChild(2, nullptr, false);
  EXPECT_EQ(dump(&array), "arr3{dense=3 int3 0, int3 8, int3 2}!open");
}

TEST(Children, SetChildFillsANullEntry) {
  AMFArray array(AMF_VERSION_3);
  array.children.push_back(nullptr);
  array.setChild(0, trees::integer(trees::k3, 8), false);
  EXPECT_EQ(dump(&array), "arr3{int3 8}!open");
}

TEST(Children, ObjectsForwardWithoutChecks) {
  AMFObject object(AMF_VERSION_3);
  object.appendChild(static_cast<AMFPair*>(nullptr), false);
  object.appendChild(trees::member(trees::k3, "a", trees::integer(trees::k3, 1)), false);
  object.appendChild(new AMFHeader(), false);
  object.setChild(0, trees::member(trees::k3, "b", trees::integer(trees::k3, 2)), false);
  object.setChild(1, nullptr, false);
  EXPECT_EQ(dump(&object), "obj3{'b':int3 2, header{'' len=? undef0}}!open");
  EXPECT_EQ(dump(object.getChild(0)), "pair3{'b':int3 2}");
  EXPECT_EQ(object.sealedCount, 0u);
}

// ---- bytes

TEST(Bytes, SetValueReplacesAndKeepsNuls) {
  AMFString text(AMF_VERSION_0);
  text.setValue("a\0b", 3);
  EXPECT_EQ(dump(&text), R"(str0 'a\x00b')");
  text.setValue("xyzxyz", 6);
  EXPECT_EQ(dump(&text), "str0 'xyzxyz'");
  text.setValue("q", 1);
  EXPECT_EQ(dump(&text), "str0 'q'");
}

TEST(Bytes, LengthZeroLeavesDataNull) {
  AMFRaw raw(AMF_VERSION_3);
  raw.setValue("abc", 0);
  EXPECT_EQ(raw.data, nullptr);
  EXPECT_EQ(raw.length, 0u);
  raw.setValue("abc", 3);
  raw.setValue(nullptr, 0);
  EXPECT_EQ(raw.data, nullptr);
  EXPECT_EQ(raw.length, 0u);
}

TEST(Bytes, TheBlockIsTheNodesOwnAndExact) {
  std::string source(1000, 'a');
  AMFRaw raw(AMF_VERSION_3);
  raw.setValue(source.data(), 1000);
  source.assign(1000, 'b');
  EXPECT_EQ(dump(&raw), "raw3 [61*1000]");
  delete[] raw.data;  // an array allocation
  raw.data = nullptr;
  raw.length = 0;
}

TEST(Bytes, XmlCopiesTheStringsBytes) {
  AMFXML xml(AMF_VERSION_3);
  xml.document = 1;
  xml.setValue("old", 3);
  AMFString text(AMF_VERSION_0);
  text.setValue("<new/>", 6);
  text.referenceIndex = 4;
  xml.setValue(&text);
  EXPECT_EQ(dump(&xml), "xml3{doc=1 '<new/>'}") << "bytes only: neither version nor reference";
  EXPECT_NE(xml.data, text.data);
  EXPECT_EQ(dump(&text), "str0 '<new/>'#ref4");
  xml.setValue(static_cast<AMFString*>(nullptr));
  EXPECT_EQ(dump(&xml), "xml3{doc=1 '<new/>'}");
  const AMFString empty(AMF_VERSION_0);
  xml.setValue(const_cast<AMFString*>(&empty));
  EXPECT_EQ(dump(&xml), "xml3{doc=1 ''}");
}

// ---- kind checks

const char kNotInArray[] = "AMFArray::appendChild(): not a value type node";
const char kNotInPair[] = "AMFPair::setValue(): not a value type node";
const char kNotInMessage[] = "AMFMessage::setValue(): invalid value type node";

// Codes 0 to 14, the first above, and ones whose low bits look like structural kinds.
const std::uint32_t kCodes[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,  11,
                                12, 13, 14, 15, 16, 31, 32, 42, 44, 46, 255, 0xFFFFFFFFu};

bool structural(std::uint32_t code) {
  return code == 10 || (code >= 12 && code <= 14);
}

TEST(KindChecks, ArrayCountsValuesTakesPairsRefusesTheRest) {
  for (const std::uint32_t code : kCodes) {
    for (const bool copy : {false, true}) {
      AMFArray array(AMF_VERSION_3);
      array.denseCount = 5;
      auto node = makeKind(code);
      const std::string before = dump(node.get());
      const std::string answer = refusal([&] { array.appendChild(node.get(), copy); });
      const bool refused = code >= 12;
      EXPECT_EQ(answer, refused ? kNotInArray : support::kNoRefusal) << code;
      EXPECT_EQ(array.denseCount, refused || code == 10 ? 5u : 6u) << code;
      ASSERT_EQ(array.children.size(), refused ? 0u : 1u) << code;
      if (refused || copy) {
        EXPECT_EQ(node->parent, nullptr) << code;
      }
      if (!refused) {
        EXPECT_EQ(array.children[0]->parent, &array) << code;
      }
      EXPECT_EQ(dump(refused || copy ? node.get() : array.children[0]), before) << code;
      if (!refused && !copy) (void)node.release();
    }
  }
}

TEST(KindChecks, ArrayIgnoresNullUncounted) {
  AMFArray array(AMF_VERSION_3);
  array.appendChild(nullptr, false);
  array.appendChild(nullptr, true);
  EXPECT_EQ(dump(&array), "arr3{}!open");
}

TEST(KindChecks, ArraySetChildIsThePlainOne) {
  AMFArray array(AMF_VERSION_3);
  array.appendChild(trees::integer(trees::k3, 1), false);
  array.setChild(0, new AMFHeader(), false);
  EXPECT_EQ(dump(&array), "arr3{dense=1 header{'' len=? undef0}}!open");
  array.setChild(0, new AMFPair(AMF_VERSION_3), false);
  EXPECT_EQ(dump(&array), "arr3{dense=1 '':undef3}!open");
}

TEST(KindChecks, ThroughTheBaseNothingIsChecked) {
  AMFArray array(AMF_VERSION_3);
  AMFNode& base = array;
  base.appendChild(new AMFMessage(), false);
  EXPECT_EQ(dump(&array), "arr3{message{'' '' len=? undef0}}!open");
}

// Codes above 14 pass: the test is a mask over 0 to 14.
template <class Owner>
void expectValueCheck(Owner& owner, const char* text) {
  for (const std::uint32_t code : kCodes) {
    for (const bool copy : {false, true}) {
      auto node = makeKind(code);
      const std::string before = dump(&owner);
      const AMFNode* valueBefore = owner.value;
      const std::string answer = refusal([&] { owner.setValue(node.get(), copy); });
      EXPECT_EQ(answer, structural(code) ? text : support::kNoRefusal) << code;
      if (structural(code)) {
        EXPECT_EQ(dump(&owner), before) << code;
        EXPECT_EQ(owner.value, valueBefore) << code;
        continue;
      }
      EXPECT_EQ(static_cast<std::uint32_t>(owner.value->type), code);
      EXPECT_EQ(owner.value == node.get(), !copy) << code;
      if (copy) {
        EXPECT_EQ(dump(owner.value), dump(node.get())) << code;
      } else {
        (void)node.release();
      }
    }
  }
}

TEST(KindChecks, PairValue) {
  AMFPair pair(AMF_VERSION_3);
  expectValueCheck(pair, kNotInPair);
}

TEST(KindChecks, HeaderValueIsAPairsValue) {
  AMFHeader header;
  expectValueCheck(header, kNotInPair);
}

TEST(KindChecks, MessageValue) {
  AMFMessage message;
  expectValueCheck(message, kNotInMessage);
}

TEST(KindChecks, TheNamedEdges) {
  AMFArray array(AMF_VERSION_0);
  array.appendChild(new AMFPair(AMF_VERSION_0), false);
  EXPECT_EQ(array.denseCount, 0u);
  array.appendChild(new AMFUndefined(AMF_VERSION_0), false);
  EXPECT_EQ(array.denseCount, 1u);
  AMFHeader header;
  EXPECT_EQ(refusal([&] { array.appendChild(&header, false); }), kNotInArray);
  EXPECT_EQ(dump(&array), "arr0{dense=1 '':undef0, undef0}");
}

// ---- package

std::unique_ptr<AMFHeader> namedHeader(const char* name) {
  auto header = std::make_unique<AMFHeader>();
  header->setName(trees::string(trees::k0, name), false);
  return header;
}

std::unique_ptr<AMFMessage> namedMessage(const char* target) {
  auto message = std::make_unique<AMFMessage>();
  message->setTargetUri(trees::string(trees::k0, target), false);
  return message;
}

TEST(Package, HeadersStandBeforeMessages) {
  AMFPackage package(AMF_VERSION_0);
  EXPECT_EQ(package.getHeader(0), nullptr);
  EXPECT_EQ(package.getMessage(0), nullptr);
  package.appendHeader(namedHeader("h0").release(), false);
  package.appendHeader(namedHeader("h1").release(), false);
  package.appendMessage(namedMessage("m0").release(), false);
  EXPECT_EQ(package.headerCount, 2u);
  EXPECT_EQ(dump(package.getHeader(0)), "header{'h0' len=? undef0}");
  EXPECT_EQ(dump(package.getHeader(1)), "header{'h1' len=? undef0}");
  EXPECT_EQ(package.getHeader(2), nullptr);
  EXPECT_EQ(dump(package.getMessage(0)), "message{'m0' '' len=? undef0}");
  EXPECT_EQ(package.getMessage(1), nullptr);
  EXPECT_EQ(package.getMessage(0xFFFFFFFFu), nullptr);
}

TEST(Package, ANullHeaderIsCountedAllTheSame) {
  AMFPackage package(AMF_VERSION_0);
  package.appendHeader(nullptr, false);
  package.appendHeader(nullptr, true);
  EXPECT_EQ(dump(&package), "package0{headers=2}");
  EXPECT_EQ(package.getHeader(0), nullptr);
  EXPECT_EQ(package.getHeader(1), nullptr);
  package.appendMessage(nullptr, false);
  package.appendMessage(nullptr, true);
  EXPECT_EQ(dump(&package), "package0{headers=2}");
}

TEST(Package, AHeaderAfterAMessageBreaksTheLayout) {
  AMFPackage package(AMF_VERSION_0);
  package.appendMessage(namedMessage("m").release(), false);
  package.appendHeader(namedHeader("h").release(), false);
  EXPECT_EQ(dump(&package),
            "package0{headers=1 message{'m' '' len=? undef0}, header{'h' len=? undef0}}");
}

TEST(Exception, CarriesTheTextItWasGiven) {
  static const char text[] = "some text";
  const AMFException exception(text);
  EXPECT_EQ(exception.message, text);
}

}  // namespace
