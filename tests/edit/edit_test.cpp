// SPDX-License-Identifier: Apache-2.0
//
// The helpers for hosts that change trees: member(), clearReferences(), setTrueLengths().
#include <AMF2JSON.h>
#include <AMFEdit.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/dump.h"
#include "support/hex.h"
#include "support/pieces.h"
#include "support/refusal.h"
#include "support/trees.h"

namespace {

using namespace trees;
using support::dump;
using support::hex;
using support::toHex;

std::string compiled(AMFProtocol& protocol, const AMFPackage* package) {
  protocol.compile(package);
  return std::string(protocol.resultBuffer, protocol.getResultLength());
}

std::string inMessage(const std::string& value) {
  return hex("0003 0000 0001 0000 0000 FFFFFFFF") + value;
}

// ---------------------------------------------------------------------------------------------------
// member

struct MemberRow {
  const char* name;
  AMFNode* (*tree)();
  std::string_view memberName;
  const char* found;  // as dump() shows it
};

constexpr const char* kNone = "(nil)";

const MemberRow kMembers[] = {
    {"of an AMF0 object", TREE(object(k0, "", {member(k0, "a", number(k0, 1))})), "a", "double0 1"},
    {"of a class", TREE(object(k0, "C", {member(k0, "a", string(k0, "x"))})), "a", "str0 \'x\'"},
    {"sealed",
     TREE(object(k3, "C", {member(k3, "a", string(k3, "s")), member(k3, "b", string(k3, "d"))},
                 Traits{1, true})),
     "a", "str3 \'s\'"},
    {"dynamic",
     TREE(object(k3, "C", {member(k3, "a", string(k3, "s")), member(k3, "b", string(k3, "d"))},
                 Traits{1, true})),
     "b", "str3 \'d\'"},
    {"of an associative array", TREE(array(k0, {member(k0, "a", string(k0, "x"))})), "a",
     "str0 \'x\'"},
    {"of an AMF3 array, among values",
     TREE(array(k3, {member(k3, "a", string(k3, "x")), string(k3, "a")})), "a", "str3 \'x\'"},
    {"a value is no member", TREE(array(k3, {string(k3, "a")})), "a", kNone},
    {"the last of several",
     TREE(object(k0, "", {member(k0, "a", string(k0, "1")), member(k0, "a", string(k0, "2"))})),
     "a", "str0 \'2\'"},
    {"null as a value is found", TREE(object(k0, "", {member(k0, "a", null(k0))})), "a", "null0"},
    {"no such member", TREE(object(k0, "", {member(k0, "a", null(k0))})), "b", kNone},
    {"the beginning of a name", TREE(object(k0, "", {member(k0, "ab", null(k0))})), "a", kNone},
    {"more than a name", TREE(object(k0, "", {member(k0, "a", null(k0))})), "ab", kNone},
    {"no members", TREE(object(k0, "", {})), "a", kNone},
    {"the empty name", TREE(object(k0, "", {member(k0, "", string(k0, "x"))})), "", "str0 \'x\'"},
    {"a name with NUL bytes",
     TREE(object(k0, "",
                 {member(k0, std::string_view("a\0b", 3), string(k0, "x")),
                  member(k0, std::string_view("a\0c", 3), string(k0, "y"))})),
     std::string_view("a\0b", 3), "str0 \'x\'"},
    {"not of the values",
     TREE(object(k0, "", {member(k0, "o", object(k0, "", {member(k0, "a", null(k0))}))})), "a",
     kNone},
    {"missing parts are passed over",
     TREE(object(k0, "",
                 {member(k0, "a", string(k0, "x")), nullptr, nameless(member(k0, "a", null(k0)))})),
     "a", "str0 \'x\'"},
    {"a name without its bytes",
     TREE(object(k0, "", {member(k0, withoutBytes(new AMFString(k0), 1), null(k0))})), "a", kNone},
    {"a member without a value", TREE(object(k0, "", {valueless(member(k0, "a", null(k0)))})), "a",
     kNone},
    {"a pair of any kind code", TREE([] {
       auto* const odd = new AMFPair(k0, nullptr, static_cast<AMFNode::AMFType>(99));
       odd->setName(string(k0, "a"), false);
       odd->setValue(string(k0, "x"), false);
       return withChild(object(k0, "", {}), odd);
     }()),
     "a", "str0 \'x\'"},
    {"not of a pair", TREE(member(k0, "a", object(k0, "", {member(k0, "a", null(k0))}))), "a",
     kNone},
    {"not of a message", TREE(message("a", "a", object(k0, "", {member(k0, "a", null(k0))}))), "a",
     kNone},
    {"not of a package", TREE(package(k0, {header("a", null(k0))})), "a", kNone},
    {"not of a string", TREE(string(k0, "a")), "a", kNone},
};

TEST(Member, IsFoundByItsName) {
  for (const MemberRow& row : kMembers) {
    SCOPED_TRACE(row.name);
    const Owner tree(row.tree());
    AMFNode* const found = member(tree.get(), row.memberName);
    const AMFNode* const constant = tree.get();
    EXPECT_EQ(member(constant, row.memberName), found);
    EXPECT_EQ(found ? dump(found) : kNone, row.found);
  }
}

TEST(Member, OfNullIsNull) {
  AMFNode* const none = nullptr;
  EXPECT_EQ(member(none, "a"), nullptr);
  EXPECT_EQ(member(static_cast<const AMFNode*>(nullptr), "a"), nullptr);
}

TEST(Member, StaysInTheTree) {
  const Owner tree(object(k0, "", {member(k0, "a", object(k0, "", {member(k0, "b", null(k0))}))}));
  AMFNode* const inner = member(member(tree.get(), "a"), "b");
  EXPECT_EQ(
      inner,
      static_cast<AMFPair*>(static_cast<AMFPair*>(tree->children[0])->value->children[0])->value);
}

// ---------------------------------------------------------------------------------------------------
// clearReferences

// A value as read, the same value written without references, and its tree read from that.
struct ClearRow {
  const char* name;
  const char* bytes;
  const char* inlined;
};

const ClearRow kCleared[] = {
    {"nothing to clear", "0A 00000002 05 06", "0A 00000002 05 06"},
    {"AMF0 object", "0A 00000002 03 0001 'a' 05 0000 09 07 0000",
     "0A 00000002 03 0001 'a' 05 0000 09 03 0001 'a' 05 0000 09"},
    {"AMF0 array in a member", "03 0001 'a' 0A 00000000 0001 'b' 07 0000 0000 09",
     "03 0001 'a' 0A 00000000 0001 'b' 0A 00000000 0000 09"},
    {"a reference inside what a reference copied",
     "0A 00000003 03 0000 09 03 0001 'a' 07 0000 0000 09 07 0001",
     "0A 00000003 03 0000 09 03 0001 'a' 03 0000 09 0000 09 03 0001 'a' 03 0000 09 0000 09"},
    {"AMF3 string", "11 09 05 01 06 03 'a' 06 00", "11 09 05 01 06 03 'a' 06 03 'a'"},
    {"AMF3 date", "11 09 05 01 08 01 0000000000000000 08 02",
     "11 09 05 01 08 01 0000000000000000 08 01 0000000000000000"},
    {"AMF3 XML", "11 09 05 01 07 03 'a' 0B 02", "11 09 05 01 07 03 'a' 07 03 'a'"},
    {"AMF3 byte array", "11 09 05 01 0C 03 FF 0C 02", "11 09 05 01 0C 03 FF 0C 03 FF"},
    {"AMF3 array", "11 09 05 01 09 03 01 01 09 02", "11 09 05 01 09 03 01 01 09 03 01 01"},
    {"name of a pair", "11 09 03 03 'a' 01 00 02 01 03", "11 09 03 03 'a' 01 03 'a' 02 01 03"},
    {"class name and sealed names", "11 09 05 01 06 03 'a' 0A 13 00 00 01",
     "11 09 05 01 06 03 'a' 0A 13 03 'a' 03 'a' 01"},
    {"name of a dynamic member", "11 09 05 01 06 03 'a' 0A 0B 01 00 01 01",
     "11 09 05 01 06 03 'a' 0A 0B 01 03 'a' 01 01"},
    {"AMF3 object", "11 09 05 01 0A 1B 03 'C' 03 's' 01 03 'd' 02 01 0A 02",
     "11 09 05 01 0A 1B 03 'C' 03 's' 01 03 'd' 02 01 0A 1B 03 'C' 03 's' 01 03 'd' 02 01"},
    {"traits: the sealed count and the names stay",
     "11 09 05 01 0A 23 03 'C' 03 'a' 03 'b' 01 02 0A 01 03 00",
     "11 09 05 01 0A 23 03 'C' 03 'a' 03 'b' 01 02 0A 23 03 'C' 03 'a' 03 'b' 03 00"},
    {"traits with names that were references", "11 09 07 01 06 03 'n' 0A 13 00 00 01 0A 01 02",
     "11 09 07 01 06 03 'n' 0A 13 03 'n' 03 'n' 01 0A 13 03 'n' 03 'n' 02"},
    {"traits of a dynamic object", "11 09 05 01 0A 1B 01 03 's' 01 01 0A 01 02 03 'd' 03 01",
     "11 09 05 01 0A 1B 01 03 's' 01 01 0A 1B 01 03 's' 02 03 'd' 03 01"},
    {"value inside an externalizable object",
     "11 09 05 01 06 03 'a' 0A 07 29 'mx.utils.ObjectProxy' 06 00",
     "11 09 05 01 06 03 'a' 0A 07 29 'mx.utils.ObjectProxy' 06 03 'a'"},
    {"traits of an externalizable object: an ordinary one comes out",
     "11 09 05 01 0A 07 29 'mx.utils.ObjectProxy' 01 0A 01",
     "11 09 05 01 0A 07 29 'mx.utils.ObjectProxy' 01 0A 03 29 'mx.utils.ObjectProxy'"},
    {"AMF3 values below AMF0 ones",
     "03 0001 'a' 11 06 03 'x' 0001 'b' 0A 00000001 11 06 00 0000 09",
     "03 0001 'a' 11 06 03 'x' 0001 'b' 0A 00000001 11 06 03 'x' 0000 09"},
};

TEST(ClearReferences, EverythingIsWrittenInFull) {
  for (const ClearRow& row : kCleared) {
    SCOPED_TRACE(row.name);
    const std::string bytes = inMessage(hex(row.bytes));
    AMFProtocol protocol;
    AMFPackage* const package = protocol.parse(bytes.data());
    clearReferences(package);
    const std::string cleared = compiled(protocol, package);
    EXPECT_EQ(toHex(cleared), toHex(inMessage(hex(row.inlined))));

    // The written packet says what the cleared tree says, and clearing it changes nothing.
    AMFProtocol second;
    AMFPackage* const again = second.parse(cleared.data());
    EXPECT_EQ(second.readCursor, cleared.data() + cleared.size());
    const std::string tree = dump(again);
    EXPECT_EQ(tree, dump(package));
    EXPECT_EQ(tree.find("#ref"), std::string::npos);
    EXPECT_EQ(tree.find("traits="), std::string::npos);
    clearReferences(again);
    EXPECT_EQ(dump(again), tree);
  }
}

TEST(ClearReferences, EveryPlaceANodeCanStand) {
  const std::unique_ptr<AMFHeader> head(header("h", reference(null(k0), 1)));
  const std::unique_ptr<AMFMessage> call(message("t", "r", reference(null(k0), 2)));
  reference(head.get(), 3);
  reference(head->name, 4);
  reference(call.get(), 5);
  reference(call->targetUri, 6);
  reference(call->responseUri, 7);
  withChild(call.get(), reference(null(k0), 8));
  withChild(head.get(), reference(null(k0), 9));
  clearReferences(head.get());
  clearReferences(call.get());
  EXPECT_EQ(dump(head.get()), "header{'h' len=? null0}+[null0]");
  EXPECT_EQ(dump(call.get()), "message{'t' 'r' len=? null0}+[null0]");

  const Owner object3(reference(
      object(k3, reference(string(k3, "C"), 1),
             {reference(member(k3, reference(string(k3, "n"), 2), reference(null(k3), 3)), 4)},
             Traits{1, true, 0, false}),
      5));
  clearReferences(object3.get());
  EXPECT_EQ(dump(object3.get()), "obj3{sealed=1 dyn class='C' 'n':null3}!open");
}

TEST(ClearReferences, OtherFieldsStay) {
  const Owner node(complete(object(k3, "C", {member(k3, "a", complete(array(k3, {null(k3)})))},
                                   Traits{1, true, 7, true})));
  clearReferences(node.get());
  EXPECT_EQ(dump(node.get()), "obj3{sealed=1 dyn ext class='C' 'a':arr3{dense=1 null3}}");
}

TEST(ClearReferences, NullNodesAreSkipped) {
  clearReferences(nullptr);
  const Owner node(
      array(k3, {nullptr, reference(null(k3), 1), nameless(valueless(member(k3, "a", null(k3)))),
                 classless(object(k3, "C", {nullptr}, Traits{0, false, 3, false}))}));
  clearReferences(node.get());
  EXPECT_EQ(dump(node.get()),
            "arr3{dense=2 (nil), null3, (nil):(nil), obj3{class=(nil) (nil)}!open}!open");
}

TEST(ClearReferences, PairsOfAnyKindAndStrangersAreEntered) {
  auto* const odd = new AMFPair(k3, nullptr, static_cast<AMFNode::AMFType>(99));
  odd->setValue(reference(string(k3, "v"), 1), false);
  const Owner node(withChild(reference(new Stranger(77, k3), 1), odd));
  clearReferences(node.get());
  EXPECT_EQ(node->referenceIndex, AMFNode::kNoReference);
  EXPECT_EQ(odd->value->referenceIndex, AMFNode::kNoReference);
}

// ---------------------------------------------------------------------------------------------------
// setTrueLengths

struct LengthRow {
  const char* name;
  AMFNode* (*value)();
  std::uint32_t length;
};

const LengthRow kLengths[] = {
    {"null", TREE(null(k0)), 1},
    {"bool", TREE(boolean(k0, true)), 2},
    {"number", TREE(number(k0, 1)), 9},
    {"empty string", TREE(string(k0, "")), 3},
    {"string", TREE(string(k0, "abc")), 6},
    {"string of 65535 bytes", TREE(string(k0, std::string(65535, 'a'))), 3 + 65535},
    {"string of 65536 bytes", TREE(string(k0, std::string(65536, 'a'))), 5 + 65536},
    {"empty object", TREE(object(k0, "", {})), 4},
    {"object", TREE(object(k0, "C", {member(k0, "a", null(k0))})), 11},
    {"date", TREE(date(k0, 0)), 11},
    {"reference", TREE(reference(object(k0, "", {}), 0)), 3},
    {"the switch marker counts", TREE(null(k3)), 2},
    {"AMF3 string", TREE(string(k3, "abc")), 6},
    {"AMF3 string reference", TREE(reference(string(k3, "abc"), 0)), 3},
    {"AMF3 byte array of 64 bytes", TREE(raw(k3, std::string(64, 'a'))), 4 + 64},
    {"a stranger writes nothing", TREE(new Stranger(15, k0)), 0},
    {"a stranger of AMF3 writes the switch", TREE(new Stranger(15, k3)), 1},
};

TEST(SetTrueLengths, HeadersAndMessages) {
  for (const LengthRow& row : kLengths) {
    SCOPED_TRACE(row.name);
    const std::unique_ptr<AMFPackage> tree(
        package(k3, {header("", row.value()), header("name", row.value(), true, 1),
                     message("", "", row.value(), 2), message("target", "/1", row.value())}));
    setTrueLengths(tree.get());
    EXPECT_EQ(tree->getHeader(0)->length, row.length);
    EXPECT_EQ(tree->getHeader(1)->length, row.length);
    EXPECT_EQ(tree->getMessage(0)->length, row.length);
    EXPECT_EQ(tree->getMessage(1)->length, row.length);
  }
}

// What setTrueLengths stores is the distance between the length field and the next section.
TEST(SetTrueLengths, AreTheBytesInThePacket) {
  const std::unique_ptr<AMFPackage> tree(
      package(k3, {header("h", array(k3, {string(k3, "a"), reference(string(k3, "a"), 0)})),
                   message("t", "/1", object(k0, "", {member(k0, "n", number(k0, 1))}))}));
  setTrueLengths(tree.get());
  AMFProtocol protocol;
  EXPECT_EQ(toHex(compiled(protocol, tree.get())),
            toHex(hex("0003 0001 0001 'h' 00 00000009 11 09 05 01 06 03 'a' 06 00"
                      "0001 0001 't' 0002 '/1' 00000010 03 0001 'n' 00 3FF0000000000000 0000 09")));
}

TEST(SetTrueLengths, FollowAnEdit) {
  const std::string bytes =
      hex("0000 0000 0001 0000 0000 00000012"
          "0A 00000002 03 0001 'a' 05 0000 09 07 0000");
  AMFProtocol protocol;
  AMFPackage* const tree = protocol.parse(bytes.data());
  setTrueLengths(tree);
  EXPECT_EQ(tree->getMessage(0)->length, 0x10u);
  clearReferences(tree);
  EXPECT_EQ(tree->getMessage(0)->length, 0x10u);
  setTrueLengths(tree);
  EXPECT_EQ(tree->getMessage(0)->length, 0x15u);
}

TEST(SetTrueLengths, NullAndEmptyPackages) {
  setTrueLengths(nullptr);
  AMFPackage empty(k3);
  setTrueLengths(&empty);
  EXPECT_EQ(dump(&empty), "package3{headers=0}");
}

struct RefusalRow {
  const char* name;
  AMFNode* (*tree)();
  const char* text;
};

AMFPackage* countingHeaders(AMFPackage* node, std::uint32_t count) {
  node->headerCount = count;
  return node;
}

const RefusalRow kRefusals[] = {
    {"a value that cannot be written, in front",
     TREE(package(k3, {header("h", integer(k0, 1), false, 7), message("t", "r", null(k0), 8),
                       message("t", "r", null(k0), 9)})),
     "setNodeValue(): integer type is not supported in AMF0 use double instead"},
    {"a value that cannot be written, at the end",
     TREE(package(k3, {header("h", null(k0), false, 7), message("t", "r", null(k0), 8),
                       message("t", "r", raw(k0, "x"), 9)})),
     "setNodeValue(): byte array type is not supported in AMF0 version of protocol"},
    {"a name that cannot be written",
     TREE(package(k3, {header("h", null(k0), false, 7),
                       message(std::string(65536, 't'), "r", null(k0), 8)})),
     "setAMF0String(): string is too large"},
    {"a missing value",
     TREE(withChild(package(k3, {header("h", null(k0), false, 7)}),
                    [] {
                      AMFMessage* const one = new AMFMessage();
                      delete one->value;
                      one->value = nullptr;
                      return one;
                    }())),
     "setNodeValue(): lack of value type node"},
    {"more headers counted than there are",
     TREE(countingHeaders(package(k3, {header("h", null(k0), false, 7)}), 3)),
     "setHeader(): lack of header type node"},
    {"a null message", TREE([] {
       AMFPackage* const tree = package(k3, {header("h", null(k0), false, 7)});
       tree->children.push_back(nullptr);
       return tree;
     }()),
     "setMessage(): lack of message type node"},
};

TEST(SetTrueLengths, ARefusalChangesNothing) {
  for (const RefusalRow& row : kRefusals) {
    SCOPED_TRACE(row.name);
    const Owner tree(row.tree());
    const std::string before = dump(tree.get());
    EXPECT_EQ(support::refusal([&] { setTrueLengths(dynamic_cast<AMFPackage*>(tree.get())); }),
              row.text);
    EXPECT_EQ(dump(tree.get()), before);
  }
}

// ---------------------------------------------------------------------------------------------------
// The bytes of docs/building-trees.md

struct DocumentedRow {
  const char* line;
  AMFNode* (*value)();
  const char* written;
};

const DocumentedRow kDocumented[] = {
    {"message value: AMFNull, version 0", TREE(null(k0)), "05"},
    {"message value: AMFNull, version 3", TREE(null(k3)), "11 01"},
    {"AMF0 object { a: AMFString \"x\" of version 3 }",
     TREE(object(k0, "", {member(k0, "a", string(k3, "x"))})), "03 0001 'a' 11 06 03 'x' 0000 09"},
    {"AMF3 object, dynamic, { x: undefined }",
     TREE(object(k3, "", {member(k3, "x", undefined(k3))}, dynamic())), "11 0A 0B 01 03 'x' 00 01"},
    {"AMF3 object \"C\", sealedCount 1, { v: false }",
     TREE(object(k3, "C", {member(k3, "v", boolean(k3, false))}, sealed(1))),
     "11 0A 13 03 'C' 03 'v' 02"},
    {"the same with sealedCount 0", TREE(object(k3, "C", {member(k3, "v", boolean(k3, false))})),
     "11 0A 03 03 'C'"},
    {"AMF3 array [ true ] with a: null",
     TREE(array(k3, {boolean(k3, true), member(k3, "a", null(k3))})), "11 09 03 03 'a' 01 01 03"},
    {"{ a: {}, b: reference 0 }",
     TREE(object(
         k0, "",
         {member(k0, "a", object(k0, "", {})), member(k0, "b", reference(object(k0, "", {}), 0))})),
     "03 0001 'a' 03 0000 09 0001 'b' 07 0000 0000 09"},
    {"object \"C\", sealed { v: reference 0 }",
     TREE(object(k3, "C", {member(k3, "v", reference(string(k3, "C"), 0))}, sealed(1))),
     "11 0A 13 03 'C' 03 'v' 06 00"},
    {"[ date, [], reference 1, reference 2 ]",
     TREE(array(
         k3, {date(k3, 1), array(k3, {}), reference(date(k3, 1), 1), reference(array(k3, {}), 2)})),
     "11 09 09 01 08 01 3FF0000000000000 09 01 01 08 02 09 04"},
    {"[ object \"P\" sealed {x: 1}, object with traitsIndex 0, sealedCount 1, {x: 2} ]",
     TREE(array(k3,
                {object(k3, "P", {member(k3, "x", integer(k3, 1))}, sealed(1)),
                 object(k3, "P", {member(k3, "x", integer(k3, 2))}, Traits{1, false, 0, false})})),
     "11 09 05 01 0A 13 03 'P' 03 'x' 04 01 0A 01 04 02"},
};

TEST(Documented, BytesAreAsDocumented) {
  for (const DocumentedRow& row : kDocumented) {
    SCOPED_TRACE(row.line);
    AMFProtocol protocol;
    const Owner value(row.value());
    protocol.setNodeValue(value.get(), k0);
    const std::string bytes = support::written(protocol);
    EXPECT_EQ(toHex(bytes), toHex(hex(row.written)));
    protocol.readCursor = bytes.data();
    const Owner read(protocol.getAMF0Value());
    EXPECT_EQ(protocol.readCursor, bytes.data() + bytes.size());
    protocol.clean();
    protocol.setNodeValue(read.get(), k0);
    EXPECT_EQ(toHex(support::written(protocol)), toHex(bytes));
  }
}

}  // namespace
