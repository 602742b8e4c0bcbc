// SPDX-License-Identifier: Apache-2.0
//
// The AMF3 writers: tree -> pieces, and back if the reader accepts them; the U29, which does not
// keep all integers.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/dump.h"
#include "support/hex.h"
#include "support/pieces.h"
#include "support/refusal.h"
#include "support/trees.h"
#include "support/value_rows.h"

namespace {

using namespace trees;
using namespace support;

const char kTooLarge[] = "setAMF3Integer(): integer value is to large";

// ---------------------------------------------------------------------------------------------------
// U29

// The bytes written for a number, and the number that the reader reads from them, followed by
// 2A 2A 2A. For some numbers it reads another number ("drift"), for some more bytes than were
// written.
struct U29Row {
  std::uint32_t value;
  const char* written;
  std::uint32_t readBack;
  unsigned consumed;
};

const U29Row kU29[] = {
    {0, "00", 0, 1},
    {1, "01", 1, 1},
    {0x7F, "7F", 0x7F, 1},
    {0x80, "81|00", 0x80, 2},
    {0xFF, "81|7F", 0xFF, 2},
    {0x3FFF, "FF|7F", 0x3FFF, 2},
    {0x4000, "81|80|00", 0x4000, 3},
    {0x12345, "84|C6|45", 0x12345, 3},
    {0x1FFFFF, "FF|FF|7F", 0x1FFFFF, 3},
    {0x200000, "C0|80|00", 0x100000, 3},
    {0x20007F, "C0|80|7F", 0x10007F, 3},
    {0x200080, "C0|80|80", 0x1000002A, 4},
    {0x3FFF7F, "FF|FF|7F", 0x1FFFFF, 3},
    {0x3FFFFF, "FF|FF|FF", 0x1FFFFF2A, 4},
    {0x400000, "81|80|80|00", 0x400000, 4},
    {0x40007F, "81|80|80|7F", 0x40007F, 4},
    {0x400080, "81|80|80|80", 0x3FFF80, 4},
    {0x4000FF, "81|80|80|FF", 0x3FFFFF, 4},
    {0x400100, "81|80|81|00", 0x400100, 4},
    {0xFFFFFFF, "BF|FF|FF|FF", 0xFFFFEFF, 4},
    {0x10000000, "C0|80|80|00", 0x10000000, 4},
    {0x1FFFFF7F, "FF|FF|FF|7F", 0x1FFFFF7F, 4},
    {0x1FFFFFFF, "FF|FF|FF|FF", 0x1FFFFEFF, 4},
    {0x20000000, "80|80|80|00", 0, 4},
    {0x20000080, "80|80|80|80", 0xFFFFFF80u, 4},
    {0x3FFFFF00, "FF|FF|FF|00", 0x1FFFFF00, 4},
    {0x3FFFFFFF, "FF|FF|FF|FF", 0x1FFFFEFF, 4},
};

TEST(U29, EachByteIsAPiece) {
  for (const U29Row& row : kU29) {
    SCOPED_TRACE(testing::Message() << std::hex << row.value);
    AMFProtocol protocol;
    protocol.setVLInteger(row.value);
    EXPECT_EQ(pieces(protocol), row.written);
  }
}

TEST(U29, ReadsBackWithItsDrift) {
  for (const U29Row& row : kU29) {
    SCOPED_TRACE(testing::Message() << std::hex << row.value);
    const std::string bytes = hex(toHex(joined(row.written)) + " 2A*3");
    AMFProtocol protocol;
    protocol.readCursor = bytes.data();
    EXPECT_EQ(protocol.getVLUnsignedInt(), row.readBack);
    EXPECT_EQ(protocol.readCursor - bytes.data(), static_cast<std::ptrdiff_t>(row.consumed));
  }
}

TEST(U29, RefusesMoreThan30Bits) {
  const std::uint32_t kRefused[] = {0x40000000, 0x7FFFFFFF, 0x80000000u, 0xFFFFFFFFu};
  for (const std::uint32_t value : kRefused) {
    AMFProtocol protocol;
    EXPECT_EQ(refusal([&] { protocol.setVLInteger(value); }), kTooLarge);
    EXPECT_TRUE(protocol.outputChunks.empty());
  }
}

// The whole range in steps: which numbers are read back as they were written.
TEST(U29, WhatSurvives) {
  const std::string trailing(3, '\x2A');
  AMFProtocol protocol;
  for (std::uint32_t value = 0; value <= 0x3FFFFFFF; value += 1 + value / 509) {
    protocol.clean();
    protocol.setVLInteger(value);
    const std::string bytes = written(protocol) + trailing;
    protocol.readCursor = bytes.data();
    const bool survives =
        value <= 0x1FFFFF || (value >= 0x400000 && value <= 0x1FFFFFFF && (value & 0x80) == 0);
    ASSERT_EQ(protocol.getVLUnsignedInt() == value, survives) << std::hex << value;
  }
}

// ---------------------------------------------------------------------------------------------------
// Values

const ValueRow kValues[] = {
    {"undefined", TREE(undefined(k3)), "00"},
    {"null", TREE(null(k3)), "01"},
    {"false", TREE(boolean(k3, false)), "02"},
    {"true", TREE(boolean(k3, true)), "03"},
    {"a stored byte of 2 is true", TREE(booleanByte(k3, 2)), "03", "bool3 true"},
    {"references of these play no part",
     TREE(array(
         k3, {reference(undefined(k3), 1), reference(null(k3), 2), reference(boolean(k3, true), 3),
              reference(integer(k3, 4), 4), reference(number(k3, 0), 5)})),
     "09|0B|01|00|01|03|04|04|05|0000000000000000",
     "arr3{dense=5 undef3, null3, bool3 true, int3 4, double3 0}"},

    {"integer 0", TREE(integer(k3, 0)), "04|00"},
    {"integer 80", TREE(integer(k3, 0x80)), "04|81|00"},
    {"integer 1FFFFF", TREE(integer(k3, 0x1FFFFF)), "04|FF|FF|7F"},
    {"integer 200000 drifts", TREE(integer(k3, 0x200000)), "04|C0|80|00", "int3 1048576"},
    {"integer 1FFFFFFF drifts", TREE(integer(k3, 0x1FFFFFFF)), "04|FF|FF|FF|FF", "int3 536870655"},
    {"integer 3FFFFFFF", TREE(integer(k3, 0x3FFFFFFF)), "04|FF|FF|FF|FF", "int3 536870655"},
    {"double", TREE(number(k3, 1)), "05|3FF0000000000000"},
    {"double of odd bytes", TREE(number(k3, -0.1)), "05|BFB999999999999A"},

    {"empty string", TREE(string(k3, "")), "06|01"},
    {"string", TREE(string(k3, "ab")), "06|05|'ab'"},
    {"string of 63 bytes", TREE(string(k3, std::string(63, 'a'))), "06|7F|61*63"},
    {"string of 64 bytes", TREE(string(k3, std::string(64, 'a'))), "06|81|01|61*64"},
    {"string of 8191 bytes", TREE(string(k3, std::string(8191, 'a'))), "06|FF|7F|61*8191"},
    {"string of 8192 bytes", TREE(string(k3, std::string(8192, 'a'))), "06|81|80|01|61*8192"},
    {"string of 65536 bytes", TREE(string(k3, std::string(65536, 'a'))), "06|88|80|01|61*65536"},
    {"string of FFFFF bytes", TREE(string(k3, std::string(0xFFFFF, 'a'))),
     "06|FF|FF|7F|61*1048575"},
    {"string of 100000 bytes: the length drifts", TREE(string(k3, std::string(0x100000, 'a'))),
     "06|C0|80|01|61*1048576", kUnread},
    {"string of 200000 bytes", TREE(string(k3, std::string(0x200000, 'a'))),
     "06|81|80|80|01|61*2097152"},
    {"string reference 3", TREE(reference(string(k3, "ab"), 3)), "06|06", kUnread},
    {"string reference 64", TREE(reference(string(k3, ""), 64)), "06|81|00", kUnread},
    {"string reference read back",
     TREE(array(k3, {string(k3, "a"), reference(string(k3, "a"), 0)})), "09|05|01|06|03|61|06|00",
     "arr3{dense=2 str3 'a', str3 'a'#ref0}"},
    {"a reference wins over bytes that are missing",
     TREE(reference(withoutBytes(string(k3, ""), 5), 0)), "06|00", kUnread},

    {"date", TREE(date(k3, 1)), "08|01|3FF0000000000000"},
    {"date reference", TREE(reference(date(k3, 1), 2)), "08|04", kUnread},
    {"date reference read back", TREE(array(k3, {date(k3, 1), reference(date(k3, 1), 1)})),
     "09|05|01|08|01|3FF0000000000000|08|02", "arr3{dense=2 date3 1, date3 1#ref1}"},

    {"XML document", TREE(xml(k3, "a", 1)), "07|03|61"},
    {"XML", TREE(xml(k3, "a", 0)), "0B|03|61"},
    {"any other number is no document", TREE(xml(k3, "a", 2)), "0B|03|61", "xml3{doc=0 'a'}"},
    {"empty XML", TREE(xml(k3, "", 1)), "07|01"},
    {"XML document reference", TREE(reference(xml(k3, "a", 1), 1)), "07|02", kUnread},
    {"XML reference", TREE(reference(xml(k3, "a", 0), 1)), "0B|02", kUnread},

    {"empty byte array", TREE(raw(k3, "")), "0C|01"},
    {"byte array", TREE(raw(k3, std::string("\x00\xFF", 2))), "0C|05|00FF"},
    {"byte array reference", TREE(reference(raw(k3, "a"), 5)), "0C|0A", kUnread},

    {"empty array", TREE(array(k3, {})), "09|01|01"},
    {"dense array", TREE(array(k3, {boolean(k3, true), null(k3)})), "09|05|01|03|01"},
    {"pair, then value", TREE(array(k3, {member(k3, "a", null(k3)), boolean(k3, true)})),
     "09|03|03|61|01|01|03"},
    {"pairs go first, values after, each in order",
     TREE(array(k3, {integer(k3, 1), member(k3, "a", null(k3)), integer(k3, 2),
                     member(k3, "b", undefined(k3)), integer(k3, 3)})),
     "09|07|03|61|01|03|62|00|01|04|01|04|02|04|03",
     "arr3{dense=3 'a':null3, 'b':undef3, int3 1, int3 2, int3 3}"},
    {"strict plays no part", TREE(array(k3, {null(k3)}, 1)), "09|03|01|01", "arr3{dense=1 null3}"},
    {"pairs only", TREE(array(k3, {member(k3, "a", null(k3))})), "09|01|03|61|01|01"},
    {"name by reference",
     TREE(array(k3,
                {member(k3, "a", null(k3)), member(k3, reference(string(k3, "a"), 0), null(k3))})),
     "09|01|03|61|01|00|01|01"},
    {"an AMF0 name is written as AMF3", TREE(array(k3, {member(k3, string(k0, "a"), null(k3))})),
     "09|01|03|61|01|01", "arr3{'a':null3}"},
    {"an empty name ends the list for the reader", TREE(array(k3, {member(k3, "", null(k3))})),
     "09|01|01|01|01", kUnread},
    {"AMF3 value in an AMF0 pair gets a switch", TREE(array(k3, {member(k0, "a", null(k3))})),
     "09|01|03|61|11|01|01", kUnread},
    {"AMF0 value in an AMF0 pair goes out as AMF0", TREE(array(k3, {member(k0, "a", null(k0))})),
     "09|01|03|61|05|01", kUnread},
    {"array reference", TREE(reference(array(k3, {null(k3)}), 7)), "09|0E", kUnread},
    {"a reference wins over a wrong count", TREE(reference(counted(array(k3, {}), 7), 0)), "09|00",
     kUnread},
    {"array in an array, and a reference to it",
     TREE(array(k3, {array(k3, {}), reference(complete(array(k3, {})), 1)})),
     "09|05|01|09|01|01|09|02", "arr3{dense=2 arr3{}, arr3{}#ref1}"},

    {"empty object", TREE(object(k3, "", {})), "0A|03|01"},
    {"anonymous dynamic object", TREE(object(k3, "", {member(k3, "x", undefined(k3))}, dynamic())),
     "0A|0B|01|03|78|00|01"},
    {"sealed object", TREE(object(k3, "C", {member(k3, "v", boolean(k3, false))}, sealed(1))),
     "0A|13|03|43|03|76|02"},
    {"a member beyond the sealed ones is left out",
     TREE(object(k3, "C", {member(k3, "v", boolean(k3, false)), member(k3, "w", null(k3))},
                 sealed(1))),
     "0A|13|03|43|03|76|02", "obj3{sealed=1 class='C' 'v':bool3 false}"},
    {"not even a null or a value beyond them is seen",
     TREE(withChild(object(k3, "C", {nullptr}, sealed(0)), null(k3))), "0A|03|03|43",
     "obj3{class='C'}"},
    {"sealed and dynamic members",
     TREE(object(k3, "C", {member(k3, "v", null(k3)), member(k3, "w", boolean(k3, true))},
                 dynamic(1))),
     "0A|1B|03|43|03|76|01|03|77|03|01"},
    {"names of the sealed members come before all values",
     TREE(object(k3, "", {member(k3, "a", integer(k3, 1)), member(k3, "b", integer(k3, 2))},
                 sealed(2))),
     "0A|23|01|03|61|03|62|04|01|04|02"},
    {"eight sealed members: two bytes of traits",
     TREE(object(k3, "",
                 {member(k3, "a", null(k3)), member(k3, "b", null(k3)), member(k3, "c", null(k3)),
                  member(k3, "d", null(k3)), member(k3, "e", null(k3)), member(k3, "f", null(k3)),
                  member(k3, "g", null(k3)), member(k3, "h", null(k3))},
                 sealed(8))),
     "0A|81|03|01|03|61|03|62|03|63|03|64|03|65|03|66|03|67|03|68|01|01|01|01|01|01|01|01"},
    {"an empty sealed name", TREE(object(k3, "", {member(k3, "", null(k3))}, sealed(1))),
     "0A|13|01|01|01"},
    {"dynamic without members", TREE(object(k3, "C", {}, dynamic())), "0A|0B|03|43|01"},
    {"class name and names by reference",
     TREE(array(k3, {string(k3, "C"), string(k3, "n"),
                     object(k3, reference(string(k3, "C"), 0),
                            {member(k3, reference(string(k3, "n"), 1), null(k3))}, sealed(1))})),
     "09|07|01|06|03|43|06|03|6E|0A|13|00|02|01"},
    {"traits reference: the values only",
     TREE(object(k3, "ignored", {member(k3, "ignored", boolean(k3, true))},
                 Traits{1, false, 2, false})),
     "0A|09|03", kUnread},
    {"traits reference 0", TREE(object(k3, "", {}, Traits{0, false, 0, false})), "0A|01", kUnread},
    {"traits reference 32", TREE(object(k3, "", {}, Traits{0, false, 32, false})), "0A|81|01",
     kUnread},
    {"traits reference, dynamic: names of the dynamic members",
     TREE(object(k3, "", {member(k3, "s", boolean(k3, true)), member(k3, "d", null(k3))},
                 Traits{1, true, 0, false})),
     "0A|01|03|03|64|01|01", kUnread},
    {"traits reference without names or class name",
     TREE(classless(
         object(k3, "", {nameless(member(k3, "", null(k3)))}, Traits{1, false, 0, false}))),
     "0A|01|01", kUnread},
    {"traits reference read back",
     TREE(array(k3,
                {object(k3, "C", {member(k3, "v", null(k3))}, sealed(1)),
                 object(k3, "C", {member(k3, "v", integer(k3, 1))}, Traits{1, false, 0, false})})),
     "09|05|01|0A|13|03|43|03|76|01|0A|01|04|01"},
    {"object reference", TREE(reference(object(k3, "C", {}, dynamic()), 3)), "0A|06", kUnread},
    {"an object reference wins over a traits reference",
     TREE(reference(object(k3, "", {}, Traits{9, true, 1, true}), 3)), "0A|06", kUnread},
    {"object reference read back",
     TREE(array(k3, {object(k3, "C", {}, dynamic()),
                     reference(complete(object(k3, "C", {}, dynamic())), 1)})),
     "09|05|01|0A|0B|03|43|01|0A|02"},
    {"pairs of a dynamic object decide by their own version",
     TREE(object(k3, "", {member(k0, "a", null(k3))}, dynamic())), "0A|0B|01|03|61|11|01|01",
     kUnread},
    {"sealed members go by the object's version",
     TREE(object(k3, "", {member(k0, "a", null(k3))}, sealed(1))), "0A|13|01|03|61|01",
     "obj3{sealed=1 'a':null3}"},

    {"externalizable: class name and one value",
     TREE(object(k3, "flex.messaging.io.ArrayCollection", {member(k3, "", array(k3, {}))},
                 externalizable())),
     "0A|07|43|'flex.messaging.io.ArrayCollection'|09|01|01"},
    {"externalizable: sealed count, dynamic and traits reference play no part",
     TREE(object(k3, "mx.utils.ObjectProxy", {member(k3, "", null(k3)), member(k3, "x", null(k3))},
                 Traits{5, true, 2, true})),
     "0A|07|29|'mx.utils.ObjectProxy'|01", "obj3{ext class='mx.utils.ObjectProxy' '':null3}"},
    {"externalizable: the name of the pair is not written",
     TREE(object(k3, "mx.utils.ObjectProxy", {nameless(member(k3, "n", null(k3)))},
                 externalizable())),
     "0A|07|29|'mx.utils.ObjectProxy'|01", "obj3{ext class='mx.utils.ObjectProxy' '':null3}"},
    {"externalizable of another class is written and not read",
     TREE(object(k3, "C", {member(k3, "", null(k3))}, externalizable())), "0A|07|03|43|01",
     kUnread},
    {"externalizable: the pair's version plays no part",
     TREE(object(k3, "C", {member(k0, "", null(k3))}, externalizable())), "0A|07|03|43|01",
     kUnread},

    {"any version but 0 is AMF3 and reads back as 3",
     TREE(array(versionOf(7), {string(versionOf(1), "a")})), "09|03|01|06|03|61",
     "arr3{dense=1 str3 'a'}"},
    {"AMF0 value in an array of an odd version goes out as AMF0",
     TREE(array(versionOf(7), {null(k0)})), "09|03|01|05", kUnread},
};

TEST(Amf3Writer, EveryValueIsWrittenPieceByPiece) {
  expectWritten(kValues, k3);
}

TEST(Amf3Writer, AnAmf0PlaceGetsTheSwitchFirst) {
  expectWritten(kValues, k0, "11|");
}

// The reader marks arrays and objects as complete; a tree built by hand is not.
void markComplete(AMFNode* node) {
  if (node == nullptr) return;
  auto* const pair = dynamic_cast<AMFPair*>(node);
  if (pair != nullptr) markComplete(pair->value);
  if (node->type == AMFNode::AMF_ARRAY || node->type == AMFNode::AMF_OBJECT) node->complete = true;
  for (AMFNode* const child : node->children) markComplete(child);
}

TEST(Amf3Writer, WhatIsWrittenReadsBack) {
  expectReadBack(kValues, &AMFProtocol::getAMF3Value, markComplete);
}

// Lengths of 1 MiB and more meet the drift of the U29: this string comes back half as long, with
// the other half left in the input.
TEST(Amf3Writer, LongLengthsDrift) {
  const Owner tree(string(k3, std::string(0x100000, 'a')));
  AMFProtocol protocol;
  protocol.setNodeValue(tree.get(), k3);
  const std::string bytes = written(protocol);
  protocol.readCursor = bytes.data();
  const Owner node(protocol.getAMF3Value());
  EXPECT_EQ(dump(node.get()), "str3 '\\{61*524288}'");
  EXPECT_EQ(protocol.readCursor, bytes.data() + 4 + 524288);
}

// ---------------------------------------------------------------------------------------------------
// The writers that a host may call alone

const CallRow kCalls[] = {
    {"integer of version 0", WRITE(integer(k0, 5), setAMF3Integer(node)), "04|05"},
    {"double of version 0", WRITE(number(k0, 1), setAMF3Double(node)), "05|3FF0000000000000"},
    {"string with its marker", WRITE(string(k0, "a"), setAMF3String(node, false)), "06|03|61"},
    {"string without its marker", WRITE(string(k3, "a"), setAMF3String(node, true)), "03|61"},
    {"empty string without its marker", WRITE(string(k3, ""), setAMF3String(node, true)), "01"},
    {"string reference without its marker",
     WRITE(reference(string(k3, "a"), 4), setAMF3String(node, true)), "08"},
    {"XML written as a string", WRITE(xml(k3, "a", 1), setAMF3String(node, false)), "06|03|61"},
    {"date of version 0 with a reference", WRITE(reference(date(k0, 1), 0), setAMF3Date(node)),
     "08|00"},
    {"a string has no byte array marker", WRITE(string(k3, "a"), setAMF3Raw(node)), "03|61"},
    {"XML has no byte array marker", WRITE(xml(k3, "a", 1), setAMF3Raw(node)), "03|61"},
    {"byte array of version 0", WRITE(raw(k0, "a"), setAMF3Raw(node)), "0C|03|61"},
    {"array of version 0: its version is the place's",
     WRITE(array(k0, {null(k0), null(k3)}), setAMF3Array(node)), "09|05|01|05|11|01"},
    {"object of version 0: sealed values go to an AMF0 place",
     WRITE(object(k0, "", {member(k3, "a", null(k3))}, sealed(1)), setAMF3Object(node)),
     "0A|13|01|03|61|11|01"},
};

TEST(Amf3Writer, WritersCalledAlone) {
  expectCalls(kCalls);
}

// ---------------------------------------------------------------------------------------------------
// Refusals, with the pieces that remain

const char kNoString[] = "setAMF3String: lack of string type node";
const char kArraySize[] = "setAMF3Array : invalid array size";
const char kProperties[] = "setAMF3Object: invalid object's properties number";
const char kSealed[] = "setAMF3Object: invalid sealed properties number";
const char kDynamic[] = "setAMF3Object: invalid dynamic properties number";

const RefusalRow kRefusals[] = {
    {"no integer", [](AMFProtocol& p) { p.setAMF3Integer(nullptr); },
     "setAMF3Integer: lack of integer type node", ""},
    {"integer -1", VALUE(integer(k3, 0xFFFFFFFFu), k3), kTooLarge, "04"},
    {"integer 40000000", VALUE(integer(k3, 0x40000000), k3), kTooLarge, "04"},
    {"no double", [](AMFProtocol& p) { p.setAMF3Double(nullptr); },
     "setAMF3Double: lack of double type node", ""},

    {"no string", [](AMFProtocol& p) { p.setAMF3String(nullptr, false); }, kNoString, ""},
    {"no string, no marker", [](AMFProtocol& p) { p.setAMF3String(nullptr, true); }, kNoString, ""},
    {"length 20000000", VALUE(withoutBytes(string(k3, ""), 0x20000000), k3), kTooLarge, "06"},
    {"length 7FFFFFFF", VALUE(withoutBytes(string(k3, ""), 0x7FFFFFFF), k3), kTooLarge, "06"},
    {"length 1FFFFFFF fits the U29", VALUE(withoutBytes(string(k3, ""), 0x1FFFFFFF), k3), kNoBytes,
     "06|FF|FF|FF|FF"},
    {"length 80000000 wraps to 0", VALUE(withoutBytes(string(k3, ""), 0x80000000u), k3), kNoBytes,
     "06|01"},
    {"string without its bytes", VALUE(withoutBytes(string(k3, ""), 5), k3), kNoBytes, "06|0B"},
    {"string reference 20000000", VALUE(reference(string(k3, ""), 0x20000000), k3), kTooLarge,
     "06"},
    {"date reference 7FFFFFFF", VALUE(reference(date(k3, 0), 0x7FFFFFFF), k3), kTooLarge, "08"},
    {"no date", [](AMFProtocol& p) { p.setAMF3Date(nullptr); },
     "setAMF3Date: lack of date type node", ""},
    {"no byte array", [](AMFProtocol& p) { p.setAMF3Raw(nullptr); },
     "setAMF3Raw: lack of binary array type node", ""},
    {"byte array without its bytes", VALUE(withoutBytes(raw(k3, ""), 1), k3), kNoBytes, "0C|03"},
    {"byte array of length 20000000", VALUE(withoutBytes(raw(k3, ""), 0x20000000), k3), kTooLarge,
     "0C"},
    {"no XML", [](AMFProtocol& p) { p.setAMF3XML(nullptr); }, "setAMF3XML: lack of xml type node",
     ""},
    {"XML without its bytes", VALUE(withoutBytes(xml(k3, "", 0), 1), k3), kNoBytes, "0B|03"},

    {"no array", [](AMFProtocol& p) { p.setAMF3Array(nullptr); },
     "setAMF3Array: lack of array type node", ""},
    {"a count without children", VALUE(counted(array(k3, {}), 1), k3), kArraySize, "09|03"},
    {"null child", VALUE(array(k3, {member(k3, "a", null(k3)), nullptr}), k3), kArraySize,
     "09|01|03|61|01"},
    {"count too large, after the pairs",
     VALUE(counted(array(k3, {member(k3, "a", null(k3)), null(k3)}), 2), k3), kArraySize,
     "09|05|03|61|01"},
    {"count too small", VALUE(counted(array(k3, {null(k3)}), 0), k3), kArraySize, "09|01"},
    {"count 20000000", VALUE(counted(array(k3, {}), 0x20000000), k3), kTooLarge, "09"},
    {"count FFFFFFFF", VALUE(counted(array(k3, {}), 0xFFFFFFFFu), k3), kTooLarge, "09"},
    {"count 80000000 wraps to 0", VALUE(counted(array(k3, {}), 0x80000000u), k3), kArraySize,
     "09|01"},
    {"array reference 20000000", VALUE(reference(array(k3, {}), 0x20000000), k3), kTooLarge, "09"},
    {"pair without a name",
     VALUE(array(k3, {member(k3, "a", null(k3)), nameless(member(k3, "b", null(k3)))}), k3),
     "setAMF3Array : missing the property name in associative array", "09|01|03|61|01"},
    {"pair without a value, after its name",
     VALUE(array(k3, {valueless(member(k3, "b", null(k3)))}), k3),
     "setAMF3Array : missing the property value in associative array", "09|01|03|62"},
    {"AMF0 value among the dense ones", VALUE(array(k3, {null(k3), null(k0)}), k3), kSwitch,
     "09|05|01|01"},
    {"AMF0 value in a pair", VALUE(array(k3, {member(k3, "a", null(k0))}), k3), kSwitch,
     "09|01|03|61"},
    {"header among the dense values",
     VALUE(counted(withChild(array(k3, {}), new AMFHeader()), 1), k3), kSwitch, "09|03|01"},
    {"package among the dense values",
     VALUE(counted(withChild(array(k3, {}), new AMFPackage(k3)), 1), k3), kPlaced, "09|03|01"},

    {"no object", [](AMFProtocol& p) { p.setAMF3Object(nullptr); },
     "setAMF3Object: lack of object type node", ""},
    {"no class name", VALUE(classless(object(k3, "C", {})), k3), kNoString, "0A|03"},
    {"more sealed than children, at the names",
     VALUE(object(k3, "C", {member(k3, "a", null(k3))}, sealed(2)), k3), kProperties,
     "0A|23|03|43|03|61"},
    {"null among the sealed names", VALUE(object(k3, "", {nullptr}, sealed(1)), k3), kProperties,
     "0A|13|01"},
    {"a sealed member that is no pair",
     VALUE(withChild(object(k3, "", {}, sealed(1)), null(k3)), k3), kProperties, "0A|13|01"},
    {"a sealed member without a name",
     VALUE(object(k3, "", {nameless(member(k3, "", null(k3)))}, sealed(1)), k3), kNoString,
     "0A|13|01"},
    {"a sealed member without a value",
     VALUE(object(k3, "", {valueless(member(k3, "a", null(k3)))}, sealed(1)), k3), kNoValue,
     "0A|13|01|03|61"},
    {"AMF0 value in a sealed member",
     VALUE(object(k3, "", {member(k3, "a", null(k0))}, sealed(1)), k3), kSwitch, "0A|13|01|03|61"},
    {"more sealed than children, at the values",
     VALUE(object(k3, "", {member(k3, "a", null(k3))}, Traits{2, false, 0, false}), k3), kSealed,
     "0A|01|01"},
    {"null among the sealed values",
     VALUE(object(k3, "", {nullptr}, Traits{1, false, 0, false}), k3), kSealed, "0A|01"},
    {"a sealed value that is no pair",
     VALUE(withChild(object(k3, "", {}, Traits{1, false, 0, false}), null(k3)), k3), kSealed,
     "0A|01"},
    {"null among the dynamic members",
     VALUE(object(k3, "", {member(k3, "a", null(k3)), nullptr}, dynamic()), k3), kDynamic,
     "0A|0B|01|03|61|01"},
    {"a dynamic member that is no pair",
     VALUE(withChild(object(k3, "", {}, dynamic()), null(k3)), k3), kDynamic, "0A|0B|01"},
    {"a dynamic member without a name",
     VALUE(object(k3, "", {nameless(member(k3, "a", null(k3)))}, dynamic()), k3), kNoString,
     "0A|0B|01"},
    {"a dynamic member without a value",
     VALUE(object(k3, "", {valueless(member(k3, "a", null(k3)))}, dynamic()), k3), kNoValue,
     "0A|0B|01|03|61"},
    {"AMF0 value in a dynamic member",
     VALUE(object(k3, "", {member(k3, "a", null(k0))}, dynamic()), k3), kSwitch, "0A|0B|01|03|61"},
    {"sealed count 4000000 is too large for the U29",
     VALUE(object(k3, "", {}, sealed(0x4000000)), k3), kTooLarge, "0A"},
    {"sealed count 10000000 wraps to 0", VALUE(object(k3, "", {}, sealed(0x10000000)), k3),
     kProperties, "0A|03|01"},
    {"traits reference 10000000",
     VALUE(object(k3, "", {}, Traits{0, false, 0x10000000, false}), k3), kTooLarge, "0A"},
    {"object reference 20000000", VALUE(reference(object(k3, "", {}), 0x20000000), k3), kTooLarge,
     "0A"},
    {"externalizable without a child", VALUE(object(k3, "C", {}, externalizable()), k3), kNoValue,
     "0A|07|03|43"},
    {"externalizable with a null child", VALUE(object(k3, "C", {nullptr}, externalizable()), k3),
     kNoValue, "0A|07|03|43"},
    {"externalizable with a child that is no pair",
     VALUE(withChild(object(k3, "C", {}, externalizable()), null(k3)), k3), kNoValue,
     "0A|07|03|43"},
    {"externalizable without a class name",
     VALUE(classless(object(k3, "C", {member(k3, "", null(k3))}, externalizable())), k3), kNoString,
     "0A|07"},
    {"externalizable with an AMF0 value",
     VALUE(object(k3, "C", {member(k0, "", null(k0))}, externalizable()), k3), kSwitch,
     "0A|07|03|43"},
};

TEST(Amf3Writer, RefusalsKeepWhatWasWritten) {
  expectRefusals(kRefusals);
}

// References that fit the U29 only with loss: bit 29 is dropped, and the index drifts with the
// integer.
struct IndexRow {
  std::uint32_t index;
  const char* written;
};

TEST(Amf3Writer, ReferenceIndexesDriftWithTheInteger) {
  const IndexRow kIndexes[] = {
      {0, "06|00"},
      {63, "06|7E"},
      {64, "06|81|00"},
      {0xFFFFF, "06|FF|FF|7E"},
      {0x100000, "06|C0|80|00"},
      {0x1FFFFF, "06|FF|FF|FE"},
      {0x200000, "06|81|80|80|00"},
      {0x10000000, "06|80|80|80|00"},
      {0x1FFFFFFF, "06|FF|FF|FF|FE"},
      {0x80000000u, "06|00"},
  };
  for (const IndexRow& row : kIndexes) {
    SCOPED_TRACE(testing::Message() << std::hex << row.index);
    AMFProtocol protocol;
    const Owner node(reference(string(k3, ""), row.index));
    protocol.setNodeValue(node.get(), k3);
    EXPECT_EQ(pieces(protocol), row.written);
  }
}

}  // namespace
