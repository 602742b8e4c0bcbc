// SPDX-License-Identifier: Apache-2.0
//
// Packets that are decoded and encoded again: the same bytes, or those of the second column, which
// then stay the same. Most rows give one value, which stands in a message and in a header.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <string>

#include "support/dump.h"
#include "support/hex.h"
#include "support/refusal.h"

namespace {

using support::dump;
using support::hex;
using support::toHex;

struct Row {
  const char* name;
  const char* bytes;
  const char* again = nullptr;  // where they come out differently
  bool sameTree = true;         // whether both read as the same tree
};

const Row kAmf0Values[] = {
    {"number", "00 C05EDD2F1A9FBE77"},
    {"signalling NaN with a payload", "00 7FF4000000ABCDEF"},
    {"false", "01 00"},
    {"true", "01 01"},
    {"any other byte is written as 1", "01 02", "01 01"},
    {"empty string", "02 0000"},
    {"string", "02 0003 'abc'"},
    {"string of 65535 bytes", "02 FFFF 61*65535"},
    {"string of 65536 bytes", "0C 00010000 61*65536"},
    {"a long form of a short string is shortened", "0C 00000003 'abc'", "02 0003 'abc'"},
    {"null", "05"},
    {"undefined", "06"},
    {"the end mark as a value leaves undefined", "09", "06"},
    {"empty object", "03 0000 09"},
    {"object", "03 0001 'a' 05 0001 'b' 02 0001 'c' 0000 09"},
    {"member without a name", "03 0000 05 0000 09"},
    {"the same name twice", "03 0001 'a' 05 0001 'a' 06 0000 09"},
    {"the end mark's name is dropped", "03 0002 'no' 09", "03 0000 09"},
    {"typed object", "10 0001 'C' 0001 'a' 05 0000 09"},
    {"typed object without a class name", "10 0000 0001 'a' 05 0000 09", "03 0001 'a' 05 0000 09"},
    {"empty associative array", "08 00000000"},
    {"associative array", "08 00000002 0001 'a' 05 0001 'b' 06"},
    {"empty strict array", "0A 00000000"},
    {"strict array", "0A 00000003 05 06 0101"},
    {"arrays in arrays", "0A 00000002 0A 00000001 05 08 00000001 0001 'k' 0A 00000000"},
    {"date", "0B 42734EE7DB800000 0000"},
    {"the time zone is lost", "0B 42734EE7DB800000 FFC4", "0B 42734EE7DB800000 0000"},
    {"XML document", "0F 00000004 '<a/>'"},
    {"empty XML document", "0F 00000000"},
    {"reference to an object", "0A 00000002 03 0001 'a' 05 0000 09 07 0000"},
    {"reference to an array", "0A 00000002 0A 00000001 05 07 0000"},
    {"objects are counted as they end",
     "03 0001 'a' 03 0001 'b' 05 0000 09 0001 'c' 07 0000 0000 09"},
    {"the second of three", "0A 00000004 03 0000 09 08 00000000 03 0001 'a' 05 0000 09 07 0001"},
    {"AMF3 value, then AMF0 again", "0A 00000002 11 06 03 'a' 05"},
    {"AMF3 strings are counted through a whole section", "0A 00000002 11 06 03 'a' 11 06 00"},
    {"AMF3 objects in an AMF0 object copied by reference",
     "0A 00000003 03 0001 'o' 11 0A 0B 01 01 0000 09 07 0000 11 0A 00"},
};

const Row kAmf3Values[] = {
    {"undefined", "00"},
    {"null", "01"},
    {"false", "02"},
    {"true", "03"},
    {"integer 0", "04 00"},
    {"integer 7F", "04 7F"},
    {"integer 80", "04 81 00"},
    {"integer 3FFF", "04 FF 7F"},
    {"integer 4000", "04 81 80 00"},
    {"integer 1FFFFF", "04 FF FF 7F"},
    {"integer 400000", "04 81 80 80 00"},
    {"integer 1FFFFF7F", "04 FF FF FF 7F"},
    {"a long form of a small integer is shortened", "04 80 80 05", "04 05"},
    {"double", "05 C05EDD2F1A9FBE77"},
    {"NaN with a payload", "05 7FF8000000ABCDEF"},
    {"empty string", "06 01"},
    {"string", "06 07 'abc'"},
    {"string of 64 bytes", "06 81 01 61*64"},
    {"string of 8192 bytes", "06 81 80 01 61*8192"},
    {"XML document", "07 09 '<a/>'"},
    {"XML", "0B 09 '<a/>'"},
    {"empty XML", "0B 01"},
    {"date", "08 01 42734EE7DB800000"},
    {"the other bits of a date are lost", "08 7F 42734EE7DB800000", "08 01 42734EE7DB800000"},
    {"byte array", "0C 07 00FF80"},
    {"empty byte array", "0C 01"},
    {"empty array", "09 01 01"},
    {"dense array", "09 07 01 01 00 03"},
    {"associative array", "09 01 03 'a' 01 03 'b' 02 01"},
    {"mixed array", "09 05 03 'a' 01 01 02 03"},
    {"anonymous object", "0A 0B 01 03 'a' 01 01"},
    {"empty anonymous object", "0A 0B 01 01"},
    {"neither sealed nor dynamic", "0A 03 01"},
    {"sealed object", "0A 23 03 'C' 03 'a' 03 'b' 01 02"},
    {"sealed and dynamic", "0A 1B 03 'C' 03 'a' 01 03 'b' 02 01"},
    {"empty sealed name", "0A 13 03 'C' 01 01"},
    {"externalizable", "0A 07 43 'flex.messaging.io.ArrayCollection' 09 03 01 01"},
    {"externalizable: count and dynamic bit are lost", "0A 2F 29 'mx.utils.ObjectProxy' 01",
     "0A 07 29 'mx.utils.ObjectProxy' 01", false},

    {"string reference", "09 05 01 06 03 'a' 06 00"},
    {"empty strings are not counted", "09 07 01 06 01 06 03 'a' 06 00"},
    {"name by reference", "09 03 03 'a' 01 00 02 01 06 00"},
    {"class name and member names by reference", "09 05 01 06 03 'a' 0A 13 00 00 01"},
    {"XML reference", "09 05 01 0B 03 'a' 0B 02"},
    {"XML reference through the other marker takes the entry's", "09 05 01 07 03 'a' 0B 02",
     "09 05 01 07 03 'a' 07 02"},
    {"date reference", "09 05 01 08 01 42734EE7DB800000 08 02"},
    {"byte array reference", "09 05 01 0C 03 'a' 0C 02"},
    {"array reference", "09 05 01 09 01 01 09 02"},
    {"object reference", "09 05 01 0A 0B 01 03 'a' 01 01 0A 02"},
    {"one index for all complex kinds",
     "09 0D 01 08 01 0000000000000000 0C 01 0B 01 09 01 01 0B 06 09 08"},
    {"traits reference", "09 05 01 0A 13 03 'C' 03 'a' 01 0A 01 02"},
    {"traits reference, dynamic", "09 05 01 0A 1B 03 'C' 03 'a' 01 01 0A 01 02 03 'b' 03 01"},
    {"reference to an object with a traits reference",
     "09 07 01 0A 13 03 'C' 03 'a' 01 0A 01 02 0A 04"},
    {"nested: the copy keeps the references inside",
     "09 07 01 06 03 'a' 09 05 01 06 00 06 00 09 02"},
    {"traits of an externalizable object: no longer externalizable",
     "09 05 01 0A 07 29 'mx.utils.ObjectProxy' 01 0A 01"},
};

std::string inMessage(const std::string& value) {
  return hex("0003 0000 0001 0001 't' 0001 'r' 00000009") + value;
}

std::string inHeader(const std::string& value) {
  return hex("0000 0002 0001 'h' 01 00000009") + value + hex("0001 'i' 00 FFFFFFFF") + value +
         hex("0000");
}

// Decodes and encodes `bytes`, which must be used up.
std::string recoded(const std::string& bytes, std::string* tree = nullptr) {
  AMFProtocol protocol;
  const AMFPackage* const package = protocol.parse(bytes.data());
  EXPECT_EQ(protocol.readCursor, bytes.data() + bytes.size());
  if (tree != nullptr) *tree = dump(package);
  protocol.compile(package);
  return std::string(protocol.resultBuffer, protocol.getResultLength());
}

void expectRoundTrip(const std::string& bytes, const std::string& again, bool sameTree) {
  std::string tree;
  EXPECT_EQ(toHex(recoded(bytes, &tree)), toHex(again));
  std::string secondTree;
  EXPECT_EQ(toHex(recoded(again, &secondTree)), toHex(again)) << "the second time";
  EXPECT_EQ(secondTree == tree, sameTree) << tree << "\n" << secondTree;
}

void expectValueRoundTrip(const Row& row, const std::string& marker) {
  const std::string value = marker + hex(row.bytes);
  const std::string again = row.again != nullptr ? marker + hex(row.again) : value;
  expectRoundTrip(inMessage(value), inMessage(again), row.sameTree);
  expectRoundTrip(inHeader(value), inHeader(again), row.sameTree);
}

TEST(RoundTrip, Amf0Values) {
  for (const Row& row : kAmf0Values) {
    SCOPED_TRACE(row.name);
    expectValueRoundTrip(row, "");
  }
}

TEST(RoundTrip, Amf3Values) {
  for (const Row& row : kAmf3Values) {
    SCOPED_TRACE(row.name);
    expectValueRoundTrip(row, "\x11");
  }
}

const Row kPackets[] = {
    {"empty", "0003 0000 0000"},
    {"any version number", "FFFF 0000 0000"},
    {"headers only", "0000 0001 0001 'h' 00 FFFFFFFF 05 0000"},
    {"must-understand is written as 1", "0000 0001 0000 80 FFFFFFFF 05 0000",
     "0000 0001 0000 01 FFFFFFFF 05 0000"},
    {"wrong lengths stay", "0000 0001 0000 00 00000000 05 0001 0000 0000 12345678 05"},
    {"names with any bytes", "0000 0001 0003 00FF27 00 FFFFFFFF 05 0000"},
    {"references start anew in each section",
     "0003 0002 0001 'a' 00 00000000 11 09 05 01 06 03 'x' 06 00"
     "          0001 'b' 00 00000000 11 09 05 01 06 03 'y' 06 00"
     "     0002 0001 'c' 0000 00000000 0A 00000002 03 0000 09 07 0000"
     "          0001 'd' 0000 00000000 0A 00000002 0A 00000000 07 0000"},
};

TEST(RoundTrip, Packets) {
  for (const Row& row : kPackets) {
    SCOPED_TRACE(row.name);
    expectRoundTrip(hex(row.bytes), hex(row.again != nullptr ? row.again : row.bytes),
                    row.sameTree);
  }
}

// Integers that do not settle: what one way through the codec makes of them, and the next.
struct DriftRow {
  const char* name;
  const char* bytes;
  const char* first;
  const char* second;
};

TEST(RoundTrip, IrregularIntegersDrift) {
  const DriftRow kDrifts[] = {
      {"200000 comes out in three bytes, which read as half of it", "04 80 C0 80 00", "04 C0 80 00",
       "04 C0 80 00"},
      {"1FFFFEFF loses 256 each time", "04 FF FF FF FF", "04 FF FF FE FF", "04 FF FF FD FF"},
      {"a last byte of 80 and more subtracts 256", "04 81 80 82 80", "04 81 80 81 80",
       "04 81 80 80 80"},
  };
  for (const DriftRow& row : kDrifts) {
    SCOPED_TRACE(row.name);
    const std::string first = recoded(inMessage("\x11" + hex(row.bytes)));
    EXPECT_EQ(toHex(first), toHex(inMessage("\x11" + hex(row.first))));
    EXPECT_EQ(toHex(recoded(first)), toHex(inMessage("\x11" + hex(row.second))));
  }
}

// What the reader takes and the writer refuses.
struct RefusalRow {
  const char* name;
  const char* bytes;
  const char* text;
};

TEST(RoundTrip, ReadButNotWritten) {
  const RefusalRow kRefusals[] = {
      {"an integer below zero", "11 04 80 80 80 FF", "setAMF3Integer(): integer value is to large"},
      {"the same among the values of an array", "11 09 03 01 04 80 80 80 80",
       "setAMF3Integer(): integer value is to large"},
  };
  for (const RefusalRow& row : kRefusals) {
    SCOPED_TRACE(row.name);
    const std::string bytes = inMessage(hex(row.bytes));
    AMFProtocol protocol;
    protocol.parse(bytes.data());
    EXPECT_EQ(support::refusal([&] { protocol.compile(protocol.package); }), row.text);
  }
}

// An edit inside a value that goes out as a reference is not seen: the reference wins.
TEST(RoundTrip, EditsBelowAReferenceAreLost) {
  const std::string bytes = inMessage(hex("0A 00000002 03 0001 'a' 05 0000 09 07 0000"));
  AMFProtocol protocol;
  AMFPackage* const package = protocol.parse(bytes.data());
  auto* const array = dynamic_cast<AMFArray*>(package->getMessage(0)->value);
  ASSERT_NE(array, nullptr);
  array->children[1]->appendChild(new AMFPair(AMF_VERSION_0), false);
  protocol.compile(package);
  EXPECT_EQ(toHex(std::string(protocol.resultBuffer, protocol.getResultLength())), toHex(bytes));
}

}  // namespace
