// SPDX-License-Identifier: Apache-2.0
//
// Everything the readers refuse: the text, where the cursor stands, what the tables keep, and that
// the object parses on afterwards. Nodes under construction are freed: the leak checker watches.
// The refusals of the envelope: tests/codec/packet_reader_test.cpp; of the setters: tests/model/model_test.cpp.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/dump.h"
#include "support/hex.h"
#include "support/kinds.h"
#include "support/reader_run.h"
#include "support/refusal.h"
#include "support/trees.h"

namespace {

using support::dump;
using support::readerRefusal;
using support::ReaderRun;
using support::tables;
using Read = AMFNode* (*)(AMFProtocol&);

AMFProtocol::AMF0Markers marker0(std::uint32_t code) {
  return static_cast<AMFProtocol::AMF0Markers>(code);
}
AMFProtocol::AMF3Markers marker3(std::int32_t code) {
  return static_cast<AMFProtocol::AMF3Markers>(code);
}
AMFNode* value0(AMFProtocol& p) {
  return p.getAMF0Value();
}
AMFNode* value3(AMFProtocol& p) {
  return p.getAMF3Value();
}
template <std::uint32_t code>
AMFNode* string0(AMFProtocol& p) {
  return p.getAMF0String(marker0(code));
}
template <std::uint32_t code>
AMFNode* array0(AMFProtocol& p) {
  return p.getAMF0Array(marker0(code));
}
template <std::int32_t code>
AMFNode* bool3(AMFProtocol& p) {
  return p.getAMF3Bool(marker3(code));
}
template <std::int32_t code>
AMFNode* xml3(AMFProtocol& p) {
  return p.getAMF3XML(marker3(code));
}

struct Row {
  const char* name;
  Read read;
  const char* bytes;
  const char* text;
  std::size_t consumed;
  const char* tables = "0/0/0/0";  // AMF0 / strings / objects / traits
};

void expectParsesOn(AMFProtocol& protocol) {
  const support::ExactBytes good(
      support::hex("0003 0000 0001 0000 0000 00000000 0A 00000002 11 0A0B010361 01 01 11 0A00"));
  EXPECT_EQ(dump(protocol.parse(good.data())),
            "package3{headers=0 message{'' '' len=0 "
            "arr0{dense=2 strict obj3{dyn 'a':null3}, obj3{dyn 'a':null3}#ref0}}}");
  EXPECT_EQ(tables(protocol), "1/1/1/1");
}

template <std::size_t count>
void expectRefused(const Row (&rows)[count]) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.bytes);
    EXPECT_EQ(readerRefusal([&] { return row.read(run.protocol); }), row.text);
    EXPECT_EQ(run.consumed(), row.consumed);
    EXPECT_EQ(tables(run.protocol), row.tables);
    expectParsesOn(run.protocol);
  }
}

// ---- AMF0

const char kUnknown0[] = "getAMF0Value: unknown value type";
const char kNoLength[] = "getAMF0String(): unable to determine the string length";
const char kBadIndex0[] = "getAMF0ByReference(): invalid reference index";
const char kNoEntry0[] = "getAMF0ByReference(): lack of referenced data";
const char kStrictEnd[] = "getAMF0Array(): lack of strict array data or bad array size";
const char kEcmaEnd[] = "getAMF0Array(): lack of associative array property or bad array size";
const char kNoArray[] = "getAMF0Array: unknown array type";

const Row kAmf0[] = {
    {"movie clip", value0, "04", kUnknown0, 1},
    {"unsupported", value0, "0D", kUnknown0, 1},
    {"record set", value0, "0E", kUnknown0, 1},
    {"the first code above", value0, "12", kUnknown0, 1},
    {"byte 80", value0, "80", kUnknown0, 1},
    {"byte FF", value0, "FF", kUnknown0, 1},
    {"in a member", value0, "03 0001'a' 05 0001'b' 04", kUnknown0, 9},
    {"in a typed object", value0, "10 0001'C' 0001'b' 0D", kUnknown0, 8},
    {"in a strict array, behind a finished object", value0, "0A 00000003 03 000009 0E", kUnknown0,
     10, "1/0/0/0"},
    {"in an ECMA array, three levels down", value0,
     "03 0001'a' 08 00000002 0001'k' 03 000009 0001'l' 12", kUnknown0, 20, "1/0/0/0"},
    {"string reader: another marker read", string0<6>, "03 0001 61", kNoLength, 1},
    {"string reader: marker 06 read", string0<6>, "06 0001 61", kNoLength, 1},
    {"string reader: marker 8C read", string0<6>, "8C 00000001 61", kNoLength, 1},
    {"string reader: another marker given", string0<3>, "0001 61", kNoLength, 0},
    {"string reader: marker 00 given", string0<0>, "0001 61", kNoLength, 0},
    {"string reader: marker 0F given", string0<0x0F>, "00000001 61", kNoLength, 0},
    {"reference into the empty table", value0, "07 0000", kBadIndex0, 3},
    {"reference FFFF", value0, "07 FFFF", kBadIndex0, 3},
    {"reference one past the end", value0, "0A 00000002 03 000009 07 0001", kBadIndex0, 12,
     "1/0/0/0"},
    {"reference to the object still being read: it has no index yet", value0,
     "03 0001'a' 07 0000 000009", kBadIndex0, 7},
    {"reference to the array still being read", value0, "0A 00000001 07 0000", kBadIndex0, 8},
    {"AMF3 objects are in the other table", value0, "0A 00000002 11 0A0B0101 07 0000", kBadIndex0,
     13, "0/0/1/1"},
    {"end mark in a strict array", value0, "0A 00000002 05 09", kStrictEnd, 7},
    {"end mark in front of a strict array's first value", value0, "0A 00000001 09", kStrictEnd, 6},
    {"a count of FFFFFFFF reserves nothing", value0, "0A FFFFFFFF 05 09", kStrictEnd, 7},
    {"end mark in an ECMA array", value0, "08 00000002 0001'k' 05 0000 09", kEcmaEnd, 12},
    {"end mark in an ECMA array under a name", value0, "08 00000001 0001'k' 09", kEcmaEnd, 9},
    {"an ECMA count of FFFFFFFF reserves nothing", value0, "08 FFFFFFFF 0000 09", kEcmaEnd, 8},
    {"array reader: another marker read, the count is consumed", array0<6>, "03 00000000", kNoArray,
     5},
    {"array reader: marker 06 read", array0<6>, "06 00000000", kNoArray, 5},
    {"array reader: another marker given, the count is consumed", array0<9>, "00000000", kNoArray,
     4},
    {"behind a switch", value0, "11 0D", "getAMF3Value(): unknown value type marker", 2},
    {"a switch inside a switch", value0, "11 11 01", "getAMF3Value(): unknown value type marker",
     2},
};

TEST(ReaderRefusals, Amf0) {
  expectRefused(kAmf0);
}

TEST(ReaderRefusals, Amf0NullEntry) {
  ReaderRun run("07 0001");
  AMFObject entry(AMF_VERSION_0);
  run.protocol.amf0References = {&entry, nullptr};
  EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF0Value(); }), kNoEntry0);
  EXPECT_EQ(run.consumed(), 3u);
  EXPECT_EQ(tables(run.protocol), "2/0/0/0");
  expectParsesOn(run.protocol);
}

// Entries of kinds that no reader registers reach the setters' own checks.
TEST(ReaderRefusals, Amf0StructuralEntries) {
  for (const std::uint32_t code : {10u, 12u, 13u, 14u}) {
    SCOPED_TRACE(code);
    const auto entry = support::makeKind(code);
    ReaderRun pair("0001'a' 07 0000");
    pair.protocol.amf0References.push_back(entry.get());
    EXPECT_EQ(readerRefusal([&] { return pair.protocol.getAMF0Pair(); }),
              "AMFPair::setValue(): not a value type node");
    EXPECT_EQ(pair.consumed(), 6u);
    if (code == 10) continue;
    ReaderRun array("0A 00000001 07 0000");
    array.protocol.amf0References.push_back(entry.get());
    EXPECT_EQ(readerRefusal([&] { return array.protocol.getAMF0Value(); }),
              "AMFArray::appendChild(): not a value type node");
    EXPECT_EQ(tables(array.protocol), "1/0/0/0");
  }
}

// ---- AMF3

const char kUnknown3[] = "getAMF3Value(): unknown value type marker";
const char kNoBool[] = "getAMF3Bool(): not a boolen type marker passed";
const char kNoString[] = "getAMF3String(): an string type expected";
const char kStringIndex[] = "getAMF3String(): invalid string reference index";
const char kStringKind[] =
    "getAMF3String(): not a string type node found in string reference table";
const char kNoXml[] = "getAMF3XML(): not a XML type marker passed";
const char kXmlIndex[] = "getAMF3XML(): invalid XML reference index";
const char kXmlKind[] = "getAMF3XML(): reference to the non XML type node";
const char kDateIndex[] = "getAMF3Date(): invalid date reference index";
const char kDateKind[] = "getAMF3Date(): reference to the non date type node";
const char kRawIndex[] = "getAMF3ByteArray(): invalid byte array reference index";
const char kRawKind[] = "getAMF3ByteArray(): reference to the non byte array type node";
const char kArrayIndex[] = "getAMF3Array(): invalid array reference index";
const char kArrayKind[] = "getAMF3Array(): reference to the non array type node";
const char kArrayCircular[] = "getAMF3Array(): array circular reference";
const char kObjectIndex[] = "getAMF3Object(): invalid objects reference index";
const char kObjectKind[] = "getAMF3Object(): reference to the non object type node";
const char kObjectCircular[] = "getAMF3Object(): objects circular reference";
const char kTraitsIndex[] = "getAMF3Object(): traits reference index is invalid";
const char kSealed[] = "getAMF3Object(): bad amount of sealed properties";
const char kNoName[] = "getAMF3Object(): lack of string type property name data";
const char kUnsupported[] = "getAMF3Object(): unsupported externalizable class type";

const Row kAmf3Markers[] = {
    {"marker 0D", value3, "0D", kUnknown3, 1},
    {"marker 11", value3, "11", kUnknown3, 1},
    {"marker 7F", value3, "7F", kUnknown3, 1},
    {"marker 80", value3, "80", kUnknown3, 1},
    {"marker FF", value3, "FF", kUnknown3, 1},
    {"in a dense part", value3, "09 05 01 01 0D", kUnknown3, 5, "0/0/1/0"},
    {"in an associative part", value3, "09 05 0361 FF", kUnknown3, 5, "0/1/1/0"},
    {"as a sealed value", value3, "0A 23 01 0361 0362 01 0D", kUnknown3, 9, "0/2/1/1"},
    {"as a dynamic value", value3, "0A 0B 01 0361 0D", kUnknown3, 6, "0/1/1/1"},
    {"as an externalized body", value3, "0A 07 29 'mx.utils.ObjectProxy' 0D", kUnknown3, 24,
     "0/1/1/1"},
    {"a dense count of 7FFFFFFF reserves nothing", value3, "09 808080FF 01 0D", kUnknown3, 7,
     "0/0/1/0"},
    {"boolean reader: marker 01 given", bool3<1>, "", kNoBool, 0},
    {"boolean reader: marker 04 given", bool3<4>, "", kNoBool, 0},
    {"boolean reader: marker -1 given", bool3<-1>, "", kNoBool, 0},
    {"boolean reader: marker 01 read", bool3<0>, "01", kNoBool, 1},
    {"boolean reader: marker 00 read", bool3<0>, "00", kNoBool, 1},
    {"XML reader: marker 06 given", xml3<6>, "03 61", kNoXml, 0},
    {"XML reader: marker 0C given", xml3<12>, "03 61", kNoXml, 0},
    {"XML reader: marker 06 read", xml3<0>, "06 03 61", kNoXml, 1},
    {"XML reader: marker 00 read", xml3<0>, "00 03 61", kNoXml, 1},
    {"string reader: another marker",
     [](AMFProtocol& p) -> AMFNode* { return p.getAMF3String(true); }, "07 03 61", kNoString, 1},
    {"string reader: marker 86", [](AMFProtocol& p) -> AMFNode* { return p.getAMF3String(true); },
     "86 03 61", kNoString, 1},
};

const Row kAmf3Strings[] = {
    {"reference into the empty table", value3, "06 00", kStringIndex, 2},
    {"the empty string was not registered", value3, "09 05 01 0601 0600", kStringIndex, 7,
     "0/0/1/0"},
    {"one past the end", value3, "09 05 01 060361 0602", kStringIndex, 8, "0/1/1/0"},
    {"the largest index", value3, "06 808080FE", kStringIndex, 5},
    {"as a class name", value3, "0A 03 00", kStringIndex, 3, "0/0/1/0"},
    {"as a sealed name", value3, "0A 23 0343 0361 04 01 01", kStringIndex, 7, "0/2/1/0"},
    {"as an associative name", value3, "09 01 0361 01 02 01", kStringIndex, 6, "0/1/1/0"},
    {"as a dynamic name", value3, "0A 0B 01 00", kStringIndex, 4, "0/0/1/1"},
    {"as an externalizable's class name", value3, "0A 07 00", kStringIndex, 3, "0/0/1/0"},
    {"a sealed count of 0FFFFFFF reserves nothing", value3, "0A 808080F3 01 00", kStringIndex, 7,
     "0/0/1/0"},
};

const Row kAmf3References[] = {
    {"XML: empty table", value3, "07 00", kXmlIndex, 2},
    {"E4X: empty table", value3, "0B 00", kXmlIndex, 2},
    {"XML: one past the end", value3, "09 05 01 070361 0704", kXmlIndex, 8, "0/0/2/0"},
    {"XML: the largest index", value3, "07 808080FE", kXmlIndex, 5},
    {"XML: an array there", value3, "09 03 01 0700", kXmlKind, 5, "0/0/1/0"},
    {"XML: a byte array there", value3, "09 05 01 0C0361 0B02", kXmlKind, 8, "0/0/2/0"},
    {"date: empty table", value3, "08 00", kDateIndex, 2},
    {"date: one past the end", value3, "09 03 01 0802", kDateIndex, 5, "0/0/1/0"},
    {"date: the largest index", value3, "08 808080FE", kDateIndex, 5},
    {"date: XML there", value3, "09 05 01 0B0361 0802", kDateKind, 8, "0/0/2/0"},
    {"byte array: empty table", value3, "0C 00", kRawIndex, 2},
    {"byte array: one past the end", value3, "09 03 01 0C02", kRawIndex, 5, "0/0/1/0"},
    {"byte array: the largest index", value3, "0C 808080FE", kRawIndex, 5},
    {"byte array: XML there", value3, "09 05 01 070361 0C02", kRawKind, 8, "0/0/2/0"},
    {"array: empty table", value3, "09 00", kArrayIndex, 2},
    {"array: one past the end", value3, "09 03 01 0902", kArrayIndex, 5, "0/0/1/0"},
    {"array: the largest index", value3, "09 808080FE", kArrayIndex, 5},
    {"array: an object there", value3, "09 05 01 0A0301 0902", kArrayKind, 8, "0/0/2/1"},
    {"array: the kind is tested before completeness", value3, "0A 13 01 0361 0900", kArrayKind, 7,
     "0/1/1/1"},
    {"array: itself, as a dense value", value3, "09 03 01 0900", kArrayCircular, 5, "0/0/1/0"},
    {"array: itself, as an associative value", value3, "09 01 0361 0900", kArrayCircular, 6,
     "0/1/1/0"},
    {"array: itself, two levels down", value3, "09 03 01 0A 13 01 0361 0900", kArrayCircular, 10,
     "0/1/2/1"},
    {"object: empty table", value3, "0A 00", kObjectIndex, 2},
    {"object: one past the end", value3, "09 03 01 0A02", kObjectIndex, 5, "0/0/1/0"},
    {"object: the largest index", value3, "0A 808080FE", kObjectIndex, 5},
    {"object: an array there", value3, "09 03 01 0A00", kObjectKind, 5, "0/0/1/0"},
    {"object: a date there", value3, "09 05 01 08013FF0000000000000 0A02", kObjectKind, 15,
     "0/0/2/0"},
    {"object: itself, as a sealed value", value3, "0A 13 01 0361 0A00", kObjectCircular, 7,
     "0/1/1/1"},
    {"object: itself, as a dynamic value", value3, "0A 0B 01 0361 0A00", kObjectCircular, 7,
     "0/1/1/1"},
    {"object: itself, two levels down", value3, "0A 0B 01 0361 09 03 01 0A00", kObjectCircular, 10,
     "0/1/2/1"},
    {"object: itself, as an externalized body", value3, "0A 07 29 'mx.utils.ObjectProxy' 0A00",
     kObjectCircular, 25, "0/1/1/1"},
};

const Row kAmf3Traits[] = {
    {"empty table: the object is not registered", value3, "0A 01", kTraitsIndex, 2},
    {"one past the end", value3, "09 05 01 0A0301 0A05", kTraitsIndex, 8, "0/0/2/1"},
    {"the largest index", value3, "0A 808080FD", kTraitsIndex, 5},
    {"unsupported class: object and name stay registered, traits do not", value3, "0A 07 0361 0405",
     kUnsupported, 4, "0/1/1/0"},
    {"unsupported anonymous class", value3, "0A 07 01 0405", kUnsupported, 3, "0/0/1/0"},
    {"unsupported inside an array", value3, "09 05 01 01 0A 07 0361 0405", kUnsupported, 8,
     "0/1/2/0"},
    {"externalizable entry without its pair yet", value3, "0A 17 29 'mx.utils.ObjectProxy' 0A01 02",
     kSealed, 25, "0/1/1/1"},
};

TEST(ReaderRefusals, Amf3Markers) {
  expectRefused(kAmf3Markers);
}
TEST(ReaderRefusals, Amf3Strings) {
  expectRefused(kAmf3Strings);
}
TEST(ReaderRefusals, Amf3References) {
  expectRefused(kAmf3References);
}
TEST(ReaderRefusals, Amf3Traits) {
  expectRefused(kAmf3Traits);
}

// ---- entries that only a host can make

// Every reader against a null entry and against every other kind in its table.
TEST(ReaderRefusals, Amf3HostMadeEntries) {
  struct {
    const char* bytes;  // a reference to entry 1
    std::uint32_t kind;
    const char* indexText;
    const char* kindText;
  } const rows[] = {
      {"06 02", AMFNode::AMF_STRING, kStringIndex, kStringKind},
      {"07 02", AMFNode::AMF_XML, kXmlIndex, kXmlKind},
      {"0B 02", AMFNode::AMF_XML, kXmlIndex, kXmlKind},
      {"08 02", AMFNode::AMF_DATE, kDateIndex, kDateKind},
      {"0C 02", AMFNode::AMF_RAW, kRawIndex, kRawKind},
      {"09 02", AMFNode::AMF_ARRAY, kArrayIndex, kArrayKind},
      {"0A 02", AMFNode::AMF_OBJECT, kObjectIndex, kObjectKind},
      {"0A 05", AMFNode::AMF_OBJECT, kTraitsIndex, kObjectKind},
  };
  for (const auto& row : rows) {
    for (std::uint32_t code = 0; code <= 16; ++code) {
      if (code == row.kind) continue;
      SCOPED_TRACE(std::string(row.bytes) + " to kind " + std::to_string(code));
      const auto entry = support::makeKind(code);
      ReaderRun run(row.bytes);
      AMFProtocol& p = run.protocol;
      p.amf3StringReferences = p.amf3ObjectReferences =
          p.amf3TraitReferences = {nullptr, entry.get()};
      EXPECT_EQ(readerRefusal([&] { return p.getAMF3Value(); }), row.kindText);
      EXPECT_EQ(run.consumed(), 2u);
      EXPECT_EQ(tables(p), "0/2/2/2");
    }
    ReaderRun run(row.bytes);
    AMFProtocol& p = run.protocol;
    p.amf3StringReferences = p.amf3ObjectReferences = p.amf3TraitReferences = {nullptr, nullptr};
    EXPECT_EQ(readerRefusal([&] { return p.getAMF3Value(); }), row.indexText) << row.bytes;
    EXPECT_EQ(run.consumed(), 2u);
    expectParsesOn(p);
  }
}

TEST(ReaderRefusals, Amf3HostMadeEntryNotComplete) {
  AMFArray array(AMF_VERSION_3);
  AMFObject object(AMF_VERSION_3);
  ReaderRun run("09 00 0A 02");
  run.protocol.amf3ObjectReferences = {&array, &object};
  EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF3Value(); }), kArrayCircular);
  EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF3Value(); }), kObjectCircular);
  EXPECT_EQ(run.unread(), 0u);
}

// What a traits reference makes of entry 0.
std::string throughTraits(AMFObject& entry) {
  ReaderRun run("0A 01 01 01 01 01");
  run.protocol.amf3TraitReferences.push_back(&entry);
  std::unique_ptr<AMFNode> node;
  const std::string text = support::refusal([&] { node.reset(run.protocol.getAMF3Value()); });
  EXPECT_EQ(run.protocol.amf3TraitReferences.size(), 1u);
  EXPECT_EQ(run.protocol.amf3ObjectReferences.size(), node == nullptr ? 0u : 1u);
  return node == nullptr ? text : dump(node.get());
}

TEST(ReaderRefusals, Amf3HostMadeTraits) {
  const auto value = trees::own(trees::integer(trees::k3, 1));
  AMFObject entry(AMF_VERSION_3);
  entry.sealedCount = 2;
  EXPECT_EQ(throughTraits(entry), kSealed) << "no members at all";
  entry.appendChild(trees::member(trees::k3, "a", value->clone()), false);
  EXPECT_EQ(throughTraits(entry), kSealed) << "one member fewer than it says";
  entry.children.push_back(nullptr);
  EXPECT_EQ(throughTraits(entry), kSealed) << "a null member";
  entry.setChild(1, new AMFPair(AMF_VERSION_3), false);
  EXPECT_EQ(throughTraits(entry), "obj3{sealed=2 traits=0 'a':null3, '':null3}")
      << "an empty name is a name";
  auto& pair = static_cast<AMFPair&>(*entry.children[1]);
  delete pair.name;
  pair.name = nullptr;
  EXPECT_EQ(throughTraits(entry), kNoName);
  entry.sealedCount = 1;
  EXPECT_EQ(throughTraits(entry), "obj3{sealed=1 traits=0 'a':null3}")
      << "only the sealed members are looked at";
  entry.sealedCount = 0xFFFFFFFFu;
  EXPECT_EQ(throughTraits(entry), kNoName) << "and in order: the name first, then the count";
  entry.sealedCount = 1;
  entry.AMFNode::setChild(0, new AMFNull(AMF_VERSION_3), false);
  EXPECT_EQ(throughTraits(entry), kSealed) << "a child that is no pair counts as missing";
}

}  // namespace
