// SPDX-License-Identifier: Apache-2.0
//
// The AMF0 writers and the dispatch of setNodeValue: tree -> pieces, and back where the reader
// takes them.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
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

const ValueRow kValues[] = {
    {"null", TREE(null(k0)), "05"},
    {"undefined", TREE(undefined(k0)), "06"},
    {"false", TREE(boolean(k0, false)), "01|00"},
    {"true", TREE(boolean(k0, true)), "01|01"},
    {"a stored byte of 2 goes out as it is", TREE(booleanByte(k0, 2)), "01|02", "bool0 true"},
    {"a stored byte of FF goes out as it is", TREE(booleanByte(k0, 0xFF)), "01|FF", "bool0 true"},
    {"double 0", TREE(number(k0, 0)), "00|0000000000000000"},
    {"double 1", TREE(number(k0, 1)), "00|3FF0000000000000"},
    {"double -0", TREE(number(k0, -0.0)), "00|8000000000000000"},
    {"double infinity", TREE(number(k0, std::numeric_limits<double>::infinity())),
     "00|7FF0000000000000"},
    {"empty string", TREE(string(k0, "")), "02|0000"},
    {"string", TREE(string(k0, "abc")), "02|0003|'abc'"},
    {"string with a NUL", TREE(string(k0, std::string("a\0b", 3))), "02|0003|610062"},
    {"string of 65535 bytes", TREE(string(k0, std::string(65535, 'a'))), "02|FFFF|61*65535"},
    {"string of 65536 bytes", TREE(string(k0, std::string(65536, 'a'))), "0C|00010000|61*65536"},
    {"date of 0", TREE(date(k0, 0)), "0B|0000000000000000|0000"},
    {"date", TREE(date(k0, 1)), "0B|3FF0000000000000|0000"},
    {"empty XML", TREE(xml(k0, "", 1)), "0F|00000000"},
    {"XML", TREE(xml(k0, "<a/>", 1)), "0F|00000004|'<a/>'"},
    {"XML that is not a document comes back as one", TREE(xml(k0, "x", 0)), "0F|00000001|'x'",
     "xml0{doc=1 'x'}"},
    {"long XML", TREE(xml(k0, std::string(65536, 'a'), 1)), "0F|00010000|61*65536"},

    {"empty object", TREE(object(k0, "", {})), "03|0000|09"},
    {"object with one member", TREE(object(k0, "", {member(k0, "a", boolean(k0, true))})),
     "03|0001|61|01|01|0000|09"},
    {"typed object", TREE(object(k0, "C", {member(k0, "a", null(k0))})),
     "10|0001|43|0001|61|05|0000|09"},
    {"object without a class name", TREE(classless(object(k0, "x", {}))), "03|0000|09", "obj0{}"},
    {"member with an empty name", TREE(object(k0, "", {member(k0, "", null(k0))})),
     "03|0000|05|0000|09"},
    {"member with a name of 65535 bytes",
     TREE(object(k0, "", {member(k0, std::string(65535, 'n'), null(k0))})),
     "03|FFFF|6E*65535|05|0000|09"},
    {"class name of 65535 bytes", TREE(object(k0, std::string(65535, 'C'), {})),
     "10|FFFF|43*65535|0000|09"},
    {"nested objects",
     TREE(object(k0, "",
                 {member(k0, "a", object(k0, "", {member(k0, "b", null(k0))})),
                  member(k0, "c", undefined(k0))})),
     "03|0001|61|03|0001|62|05|0000|09|0001|63|06|0000|09"},
    {"dynamic, sealed and traits play no part",
     TREE(object(k0, "", {member(k0, "a", null(k0))}, Traits{7, true, 3, true})),
     "03|0001|61|05|0000|09", "obj0{'a':null0}"},

    {"empty strict array", TREE(array(k0, {}, 1)), "0A|00000000"},
    {"strict array", TREE(array(k0, {null(k0), boolean(k0, true)}, 1)), "0A|00000002|05|01|01"},
    {"any other number than 0 is strict", TREE(array(k0, {null(k0)}, 0x80000000u)),
     "0A|00000001|05", "arr0{dense=1 strict null0}"},
    {"the count is that of the children", TREE(counted(array(k0, {null(k0)}, 1), 9)),
     "0A|00000001|05", "arr0{dense=1 strict null0}"},
    {"empty associative array", TREE(array(k0, {})), "08|00000000"},
    {"associative array, no end mark", TREE(array(k0, {member(k0, "a", null(k0))})),
     "08|00000001|0001|61|05"},
    {"associative array in a strict one",
     TREE(array(k0, {array(k0, {member(k0, "a", null(k0))}), undefined(k0)}, 1)),
     "0A|00000002|08|00000001|0001|61|05|06"},

    {"a name's reference plays no part",
     TREE(object(k0, reference(string(k0, "C"), 1),
                 {member(k0, reference(string(k0, "a"), 2), null(k0))})),
     "10|0001|43|0001|61|05|0000|09", "obj0{class='C' 'a':null0}"},
    {"AMF3 name of an AMF0 member", TREE(object(k0, "", {member(k0, string(k3, "a"), null(k0))})),
     "03|0001|61|05|0000|09", "obj0{'a':null0}"},
    {"AMF3 null in an AMF0 object", TREE(object(k0, "", {member(k0, "a", null(k3))})),
     "03|0001|61|11|01|0000|09"},
    {"AMF3 string in a strict array", TREE(array(k0, {string(k3, "a"), null(k3)}, 1)),
     "0A|00000002|11|06|03|61|11|01"},
    {"AMF3 value in an AMF3 member of an AMF0 object has no switch",
     TREE(object(k0, "", {member(k3, "a", null(k3))})), "03|0001|61|01|0000|09", kUnread},
    {"AMF0 value in a member of an odd version is written",
     TREE(object(k0, "", {member(versionOf(2), "a", null(k0))})), "03|0001|61|05|0000|09",
     "obj0{'a':null0}"},

    {"a reference goes out instead of the value",
     TREE(reference(object(k0, "", {member(k0, "new", string(k0, "edited"))}), 2)), "07|0002",
     kUnread},
    {"a reference of any type", TREE(reference(null(k0), 1)), "07|0001", kUnread},
    {"a reference of a type AMF0 has not", TREE(reference(integer(k0, 5), 1)), "07|0001", kUnread},
    {"a reference of a type that cannot be placed", TREE(reference(new AMFPair(k0), 3)), "07|0003",
     kUnread},
    {"only the low 16 bits of a reference", TREE(reference(string(k0, "s"), 0xABCD1234u)),
     "07|1234", kUnread},
    {"reference read back",
     TREE(array(k0, {object(k0, "", {}), reference(object(k0, "", {}), 0)}, 1)),
     "0A|00000002|03|0000|09|07|0000"},
};

TEST(Amf0Writer, EveryValueIsWrittenPieceByPiece) {
  expectWritten(kValues, k0);
}

TEST(Amf0Writer, WhatIsWrittenReadsBack) {
  expectReadBack(kValues, &AMFProtocol::getAMF0Value);
}

TEST(Amf0Writer, DoublesKeepEveryBit) {
  const std::uint64_t kBits[] = {0x0123456789ABCDEFu, 0x7FF8000000000001u, 0xFFF0000000000001u, 1};
  for (const std::uint64_t bits : kBits) {
    AMFDouble node(k0);
    AMFDate day(k0);
    std::memcpy(&node.value, &bits, sizeof bits);
    std::memcpy(&day.value, &bits, sizeof bits);
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(bits >> shift & 0xFF);
    AMFProtocol protocol;
    protocol.setAMF0Double(&node);
    EXPECT_EQ(written(protocol), std::string(1, '\0') + bytes);
    protocol.clean();
    protocol.setAMF0Date(&day);
    EXPECT_EQ(written(protocol), "\x0B" + bytes + std::string(2, '\0'));
  }
}

// ---------------------------------------------------------------------------------------------------
// The writers that a host may call alone

constexpr auto k02 = AMFProtocol::AMF0_STRING;
constexpr auto k06 = AMFProtocol::AMF0_UNDEFINED;
constexpr auto k0C = AMFProtocol::AMF0_LONG_STRING;

const std::string kMax(65535, 'a');
const std::string kLong(65536, 'a');

const CallRow kCalls[] = {
    {"bytes", WRITE(raw(k0, "xyz"), setByteArray(node)), "'xyz'"},
    {"no bytes, no piece", WRITE(raw(k0, ""), setByteArray(node)), ""},
    {"bytes of a string with a reference", WRITE(reference(string(k3, "s"), 4), setByteArray(node)),
     "'s'"},
    {"no bytes under a kept block", WRITE(withoutBytes(raw(k0, "xyz"), 0), setByteArray(node)), ""},

    {"short, 02, marker", WRITE(string(k0, "ab"), setAMF0String(node, true, k02)), "02|0002|'ab'"},
    {"short, 02", WRITE(string(k0, "ab"), setAMF0String(node, false, k02)), "0002|'ab'"},
    {"short, 0C, marker", WRITE(string(k0, "ab"), setAMF0String(node, true, k0C)),
     "0C|00000002|'ab'"},
    {"short, 0C", WRITE(string(k0, "ab"), setAMF0String(node, false, k0C)), "00000002|'ab'"},
    {"short, 06, marker", WRITE(string(k0, "ab"), setAMF0String(node, true, k06)), "02|0002|'ab'"},
    {"short, 06", WRITE(string(k0, "ab"), setAMF0String(node, false, k06)), "0002|'ab'"},
    {"short, 00 counts as 02",
     WRITE(string(k0, "ab"), setAMF0String(node, true, AMFProtocol::AMF0_NUMBER)), "02|0002|'ab'"},
    {"short, 11 counts as 02",
     WRITE(string(k0, "ab"), setAMF0String(node, true, AMFProtocol::AMF0_SWITCH_TO_AMF3)),
     "02|0002|'ab'"},
    {"short, a code of no marker counts as 02",
     WRITE(string(k0, "ab"), setAMF0String(node, true, static_cast<AMFProtocol::AMF0Markers>(999))),
     "02|0002|'ab'"},
    {"empty, 02, marker", WRITE(string(k0, ""), setAMF0String(node, true, k02)), "02|0000"},
    {"empty, 02", WRITE(string(k0, ""), setAMF0String(node, false, k02)), "0000"},
    {"empty, 0C, marker", WRITE(string(k0, ""), setAMF0String(node, true, k0C)), "0C|00000000"},
    {"empty, 0C", WRITE(string(k0, ""), setAMF0String(node, false, k0C)), "00000000"},
    {"65535, 02, marker", WRITE(string(k0, kMax), setAMF0String(node, true, k02)),
     "02|FFFF|61*65535"},
    {"65535, 02", WRITE(string(k0, kMax), setAMF0String(node, false, k02)), "FFFF|61*65535"},
    {"65535, 0C, marker", WRITE(string(k0, kMax), setAMF0String(node, true, k0C)),
     "0C|0000FFFF|61*65535"},
    {"65535, 06, marker", WRITE(string(k0, kMax), setAMF0String(node, true, k06)),
     "02|FFFF|61*65535"},
    {"65536, 0C, marker", WRITE(string(k0, kLong), setAMF0String(node, true, k0C)),
     "0C|00010000|61*65536"},
    {"65536, 0C", WRITE(string(k0, kLong), setAMF0String(node, false, k0C)), "00010000|61*65536"},
    {"65536, 06, marker", WRITE(string(k0, kLong), setAMF0String(node, true, k06)),
     "0C|00010000|61*65536"},
    {"65536, 06", WRITE(string(k0, kLong), setAMF0String(node, false, k06)), "00010000|61*65536"},
    {"65536, 00 counts as 0C",
     WRITE(string(k0, kLong), setAMF0String(node, true, AMFProtocol::AMF0_NUMBER)),
     "0C|00010000|61*65536"},
    {"the reference of a string is ignored",
     WRITE(reference(string(k3, "ab"), 1), setAMF0String(node, true, k06)), "02|0002|'ab'"},

    {"bool byte 7", WRITE(booleanByte(k0, 7), setAMF0Bool(node)), "01|07"},
    {"AMF3 bool", WRITE(boolean(k3, true), setAMF0Bool(node)), "01|01"},
    {"integer 0", WRITE(integer(k0, 0), setAMF0Int(node)), "00|0000000000000000"},
    {"integer 1", WRITE(integer(k0, 1), setAMF0Int(node)), "00|3FF0000000000000"},
    {"integer 7FFFFFFF", WRITE(integer(k0, 0x7FFFFFFF), setAMF0Int(node)), "00|41DFFFFFFFC00000"},
    {"integer 80000000 is unsigned", WRITE(integer(k3, 0x80000000u), setAMF0Int(node)),
     "00|41E0000000000000"},
    {"integer -1 is 4294967295", WRITE(integer(k0, 0xFFFFFFFFu), setAMF0Int(node)),
     "00|41EFFFFFFFE00000"},
    {"AMF3 double", WRITE(number(k3, 1), setAMF0Double(node)), "00|3FF0000000000000"},
    {"AMF3 date with a reference", WRITE(reference(date(k3, 1), 1), setAMF0Date(node)),
     "0B|3FF0000000000000|0000"},
    {"short XML has a 32-bit length", WRITE(xml(k3, "x", 0), setAMF0XML(node)), "0F|00000001|'x'"},

    {"pair", WRITE(member(k0, "a", null(k0)), setAMF0Pair(node)), "0001|61|05"},
    {"default pair", WRITE(new AMFPair(k0), setAMF0Pair(node)), "0000|06"},
    {"pair of another kind",
     WRITE(new AMFPair(k0, nullptr, AMFNode::AMF_HEADER), setAMF0Pair(node)), "0000|06"},
    {"the pair's version is the place's", WRITE(member(k3, "a", null(k3)), setAMF0Pair(node)),
     "0001|61|01"},
    {"AMF3 value in an AMF0 pair", WRITE(member(k0, "a", null(k3)), setAMF0Pair(node)),
     "0001|61|11|01"},
    {"object with a reference, called alone",
     WRITE(reference(object(k0, "", {}), 1), setAMF0Object(node)), "03|0000|09"},
    {"AMF3 object",
     WRITE(object(k3, "C", {member(k0, "a", null(k3))}, sealed(1)), setAMF0Object(node)),
     "10|0001|43|0001|61|11|01|0000|09"},
    {"array with a reference, called alone",
     WRITE(reference(array(k0, {}, 1), 1), setAMF0Array(node)), "0A|00000000"},
    {"AMF3 array: its version is the place's", WRITE(array(k3, {null(k3)}, 1), setAMF0Array(node)),
     "0A|00000001|01"},

    {"reference 0", [](AMFProtocol& p) { p.setAMF0Reference(0); }, "07|0000"},
    {"reference FFFF", [](AMFProtocol& p) { p.setAMF0Reference(0xFFFF); }, "07|FFFF"},
    {"reference 10000", [](AMFProtocol& p) { p.setAMF0Reference(0x10000); }, "07|0000"},
    {"reference FFFFFFFF", [](AMFProtocol& p) { p.setAMF0Reference(0xFFFFFFFFu); }, "07|FFFF"},
};

TEST(Amf0Writer, WritersCalledAlone) {
  expectCalls(kCalls);
}

TEST(Amf0Writer, WritersAppendAfterEarlierPieces) {
  AMFProtocol protocol;
  protocol.setAMF0Reference(1);
  protocol.setAMF0Reference(2);
  EXPECT_EQ(pieces(protocol), "07|00 01|07|00 02");
}

// ---------------------------------------------------------------------------------------------------
// Refusals, with the pieces that remain

const char kTooLarge[] = "setAMF0String(): string is too large";
const char kNoString[] = "setAMF0String(): lack of string type node";

const RefusalRow kRefusals[] = {
    {"no node", [](AMFProtocol& p) { p.setNodeValue(nullptr, k0); }, kNoValue, ""},
    {"no node, AMF3 place", [](AMFProtocol& p) { p.setNodeValue(nullptr, k3); }, kNoValue, ""},
    {"AMF0 node, AMF3 place", VALUE(null(k0), k3), kSwitch, ""},
    {"tested before the reference", VALUE(reference(null(k0), 1), k3), kSwitch, ""},
    {"tested before the type", VALUE(new AMFPair(k0), k3), kSwitch, ""},
    {"tested before the code", VALUE(new Stranger(15, k0), k3), kSwitch, ""},
    {"AMF0 integer in an AMF3 array", VALUE(array(k3, {integer(k0, 1)}), k3), kSwitch, "09|03|01"},
    {"AMF0 integer", VALUE(integer(k0, 1), k0),
     "setNodeValue(): integer type is not supported in AMF0 use double instead", ""},
    {"AMF0 byte array", VALUE(raw(k0, "x"), k0),
     "setNodeValue(): byte array type is not supported in AMF0 version of protocol", ""},

    {"no bytes", [](AMFProtocol& p) { p.setByteArray(nullptr); },
     "setByteArray(): lack of byte array", ""},
    {"a length without bytes", WRITE(withoutBytes(raw(k0, ""), 3), setByteArray(node)), kNoBytes,
     ""},
    {"no string", [](AMFProtocol& p) { p.setAMF0String(nullptr, true, k02); }, kNoString, ""},
    {"65536, 02, marker", WRITE(string(k0, kLong), setAMF0String(node, true, k02)), kTooLarge, ""},
    {"65536, 02", WRITE(string(k0, kLong), setAMF0String(node, false, k02)), kTooLarge, ""},
    {"string without its bytes", VALUE(withoutBytes(string(k0, ""), 3), k0), kNoBytes, "02|0003"},
    {"long string without its bytes", VALUE(withoutBytes(string(k0, ""), 0xFFFFFFFFu), k0),
     kNoBytes, "0C|FFFFFFFF"},
    {"no bool", [](AMFProtocol& p) { p.setAMF0Bool(nullptr); },
     "setAMF0Bool(): lack of boolen type node", ""},
    {"no integer", [](AMFProtocol& p) { p.setAMF0Int(nullptr); },
     "setAMF0Int(): lack of integer type node", ""},
    {"no double", [](AMFProtocol& p) { p.setAMF0Double(nullptr); },
     "setAMF0Double(): lack of double type node", ""},
    {"no date", [](AMFProtocol& p) { p.setAMF0Date(nullptr); },
     "setAMF0Date(): lack of date type node", ""},
    {"no XML", [](AMFProtocol& p) { p.setAMF0XML(nullptr); }, "setAMF0XML(): lack of XML type node",
     ""},
    {"XML without its bytes", VALUE(withoutBytes(xml(k0, "", 1), 9), k0), kNoBytes, "0F|00000009"},

    {"no pair", [](AMFProtocol& p) { p.setAMF0Pair(nullptr); },
     "setAMF0Pair(): lack of pair type node", ""},
    {"pair without name", WRITE(nameless(member(k0, "a", null(k0))), setAMF0Pair(node)),
     "setAMF0Pair(): lack of pair type node name", ""},
    {"pair without value", WRITE(valueless(member(k0, "a", null(k0))), setAMF0Pair(node)),
     "setAMF0Pair(): lack of pair type node value", ""},
    {"pair without both", WRITE(nameless(valueless(new AMFPair(k0))), setAMF0Pair(node)),
     "setAMF0Pair(): lack of pair type node name", ""},
    {"name of 65536 bytes", WRITE(member(k0, kLong, null(k0)), setAMF0Pair(node)), kTooLarge, ""},
    {"the name stays when the value is refused",
     WRITE(member(k0, "a", integer(k0, 1)), setAMF0Pair(node)),
     "setNodeValue(): integer type is not supported in AMF0 use double instead", "0001|61"},
    {"AMF0 value in an AMF3 pair", WRITE(member(k3, "a", null(k0)), setAMF0Pair(node)), kSwitch,
     "0001|61"},

    {"no object", [](AMFProtocol& p) { p.setAMF0Object(nullptr); },
     "setAMF0Object(): lack of object type node", ""},
    {"null member", VALUE(object(k0, "C", {member(k0, "a", null(k0)), nullptr}), k0),
     "setAMF0Object(): lack of object property", "10|0001|43|0001|61|05"},
    {"member that is no pair", VALUE(withChild(object(k0, "", {}), null(k0)), k0),
     "setAMF0Object(): not a pair type node passed as object property", "03"},
    {"member that is a header", VALUE(withChild(object(k0, "", {}), new AMFHeader()), k0),
     "setAMF0Object(): not a pair type node passed as object property", "03"},
    {"member without a name", VALUE(object(k0, "", {nameless(new AMFPair(k0))}), k0),
     "setAMF0Pair(): lack of pair type node name", "03"},
    {"member without a value", VALUE(object(k0, "", {valueless(new AMFPair(k0))}), k0),
     "setAMF0Pair(): lack of pair type node value", "03"},
    {"member name of 65536 bytes",
     VALUE(object(k0, "", {member(k0, "a", null(k0)), member(k0, kLong, null(k0))}), k0), kTooLarge,
     "03|0001|61|05"},
    {"class name of 65536 bytes", VALUE(object(k0, kLong, {}), k0), kTooLarge, "10"},

    {"no array", [](AMFProtocol& p) { p.setAMF0Array(nullptr); },
     "setAMF0Array(): lack of array type node", ""},
    {"pair in a strict array",
     VALUE(array(k0, {null(k0), member(k0, "a", null(k0)), null(k0)}, 1), k0), kPlaced,
     "0A|00000003|05"},
    {"null in a strict array", VALUE(array(k0, {null(k0), nullptr}, 1), k0), kNoValue,
     "0A|00000002|05"},
    {"null in an associative array", VALUE(array(k0, {member(k0, "a", null(k0)), nullptr}), k0),
     "setAMF0Object(): lack of array property", "08|00000002|0001|61|05"},
    {"value in an associative array", VALUE(array(k0, {member(k0, "a", null(k0)), null(k0)}), k0),
     "setAMF0Array(): not a pair type node passed as associative array property",
     "08|00000002|0001|61|05"},
};

TEST(Amf0Writer, RefusalsKeepWhatWasWritten) {
  expectRefusals(kRefusals);
}

// ---------------------------------------------------------------------------------------------------
// setNodeValue: every kind, every version, every place

AMFNode* ofKind(std::uint32_t kind, AMFVersion version) {
  switch (kind) {
    case AMFNode::AMF_NULL: return null(version);
    case AMFNode::AMF_BOOL: return boolean(version, true);
    case AMFNode::AMF_INT: return integer(version, 5);
    case AMFNode::AMF_DOUBLE: return number(version, 1);
    case AMFNode::AMF_STRING: return string(version, "a");
    case AMFNode::AMF_OBJECT: return object(version, "", {});
    case AMFNode::AMF_DATE: return date(version, 1);
    case AMFNode::AMF_XML: return xml(version, "a", 1);
    case AMFNode::AMF_ARRAY: return array(version, {});
    case AMFNode::AMF_RAW: return raw(version, "a");
    case AMFNode::AMF_PAIR: return new AMFPair(version);
    case AMFNode::AMF_UNDEFINED: return undefined(version);
    default: break;
  }
  AMFNode* node = nullptr;
  if (kind == AMFNode::AMF_HEADER) node = new AMFHeader();
  if (kind == AMFNode::AMF_MESSAGE) node = new AMFMessage();
  if (kind == AMFNode::AMF_PACKAGE) node = new AMFPackage(version);
  if (node == nullptr) return new Stranger(kind, version);
  node->version = version;
  return node;
}

struct KindRow {
  std::uint32_t kind;
  const char* amf0;   // pieces of an AMF0 node in any place but an AMF3 one
  const char* text0;  // or its refusal
  const char* amf3;   // pieces of any other node in any place but an AMF0 one
  const char* text3;
};

const KindRow kKinds[] = {
    {AMFNode::AMF_NULL, "05", nullptr, "01", nullptr},
    {AMFNode::AMF_BOOL, "01|01", nullptr, "03", nullptr},
    {AMFNode::AMF_INT, "",
     "setNodeValue(): integer type is not supported in AMF0 use double instead", "04|05", nullptr},
    {AMFNode::AMF_DOUBLE, "00|3FF0000000000000", nullptr, "05|3FF0000000000000", nullptr},
    {AMFNode::AMF_STRING, "02|0001|61", nullptr, "06|03|61", nullptr},
    {AMFNode::AMF_OBJECT, "03|0000|09", nullptr, "0A|03|01", nullptr},
    {AMFNode::AMF_DATE, "0B|3FF0000000000000|0000", nullptr, "08|01|3FF0000000000000", nullptr},
    {AMFNode::AMF_XML, "0F|00000001|61", nullptr, "07|03|61", nullptr},
    {AMFNode::AMF_ARRAY, "08|00000000", nullptr, "09|01|01", nullptr},
    {AMFNode::AMF_RAW, "",
     "setNodeValue(): byte array type is not supported in AMF0 version of protocol", "0C|03|61",
     nullptr},
    {AMFNode::AMF_PAIR, "", kPlaced, "", kPlaced},
    {AMFNode::AMF_UNDEFINED, "06", nullptr, "00", nullptr},
    {AMFNode::AMF_HEADER, "", kPlaced, "", kPlaced},
    {AMFNode::AMF_MESSAGE, "", kPlaced, "", kPlaced},
    {AMFNode::AMF_PACKAGE, "", kPlaced, "", kPlaced},
    {15, "", nullptr, "", nullptr},
    {16, "", nullptr, "", nullptr},
    {31, "", nullptr, "", nullptr},
    {32, "", nullptr, "", nullptr},
    {42, "", nullptr, "", nullptr},
    {43, "", nullptr, "", nullptr},
    {0x80000000u, "", nullptr, "", nullptr},
    {0xFFFFFFFFu, "", nullptr, "", nullptr},
};

const std::uint32_t kVersions[] = {0, 1, 2, 3, 4, 7, 0x10000, 0x80000000u, 0xFFFFFFFFu};

// Any node version but 0 is written as AMF3; the place asks for a switch only when it is 0, and
// refuses an AMF0 node only when it is 3.
TEST(SetNodeValue, EveryKindVersionAndPlace) {
  for (const KindRow& row : kKinds) {
    for (const std::uint32_t version : kVersions) {
      for (const std::uint32_t place : kVersions) {
        SCOPED_TRACE(testing::Message()
                     << "kind " << row.kind << ", version " << version << ", place " << place);
        const bool amf0 = version == 0;
        const char* text = amf0 ? row.text0 : row.text3;
        std::string expected = pieces(amf0 ? row.amf0 : row.amf3);
        if (amf0 && place == 3) {
          text = kSwitch;
          expected.clear();
        }
        if (!amf0 && place == 0) expected = expected.empty() ? "11" : "11|" + expected;

        AMFProtocol protocol;
        const Owner node(ofKind(row.kind, versionOf(version)));
        EXPECT_EQ(refusal([&] { protocol.setNodeValue(node.get(), versionOf(place)); }),
                  text ? text : kNoRefusal);
        EXPECT_EQ(pieces(protocol), expected);
      }
    }
  }
}

TEST(SetNodeValue, Amf0ReferencesGoOutWhateverTheKind) {
  for (const KindRow& row : kKinds) {
    for (const std::uint32_t place : kVersions) {
      if (place == 3) continue;
      SCOPED_TRACE(testing::Message() << "kind " << row.kind << ", place " << place);
      AMFProtocol protocol;
      const Owner node(reference(ofKind(row.kind, k0), 258));
      protocol.setNodeValue(node.get(), versionOf(place));
      EXPECT_EQ(pieces(protocol), "07|01 02");
    }
  }
}

struct BoolRow {
  std::uint8_t byte;
  const char* amf3;
};

TEST(SetNodeValue, AnyStoredByteButZeroIsTrueInAmf3) {
  const BoolRow kBools[] = {{0, "02"}, {1, "03"}, {2, "03"}, {0x80, "03"}, {0xFF, "03"}};
  for (const BoolRow& row : kBools) {
    SCOPED_TRACE(static_cast<int>(row.byte));
    AMFProtocol protocol;
    const Owner node(booleanByte(k3, row.byte));
    protocol.setNodeValue(node.get(), k3);
    EXPECT_EQ(pieces(protocol), row.amf3);
  }
}

}  // namespace
