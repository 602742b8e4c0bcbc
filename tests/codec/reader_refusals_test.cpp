// SPDX-License-Identifier: Apache-2.0
//
// Everything the readers refuse: the text, where the cursor stands, what the tables keep, and that
// the object parses on afterwards. Nodes under construction are freed: the leak checker watches.
// The refusals of the envelope: tests/codec/packet_reader_test.cpp; of the setters: tests/model/model_test.cpp.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/dump.h"
#include "support/hex.h"
#include "support/kinds.h"
#include "support/read_rows.h"
#include "support/reader_run.h"
#include "support/refusal.h"
#include "support/refused_values.h"
#include "support/trees.h"

namespace {

using namespace support;
using namespace support::refusals;
using Read = AMFNode* (*)(AMFProtocol&);

struct MarkerRow {
  const char* name;
  Read read;
  const char* bytes;
  const char* text;
  std::size_t consumed;
};

void expectParsesOn(AMFProtocol& protocol) {
  const ExactBytes good(
      hex("0003 0000 0001 0000 0000 00000000 0A 00000002 11 0A0B010361 01 01 11 0A00"));
  EXPECT_EQ(dump(protocol.parse(good.data())),
            "package3{headers=0 message{'' '' len=0 "
            "arr0{dense=2 strict obj3{dyn 'a':null3}, obj3{dyn 'a':null3}#ref0}}}");
  EXPECT_EQ(tables(protocol), "1/1/1/1");
}

void expectRefused(ReaderRun& run, Read read, const char* text, std::size_t consumed,
                   const char* kept) {
  EXPECT_EQ(readerRefusal([&] { return read(run.protocol); }), text);
  EXPECT_EQ(run.consumed(), consumed);
  EXPECT_EQ(tables(run.protocol), kept);
  expectParsesOn(run.protocol);
}

TEST(ReaderRefusals, Values) {
  for (const Value& row : kValues) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.value);
    expectRefused(run, READ(getAMF0Value()), row.text, row.consumed, row.tables);
    const std::string_view value = row.value;
    if (value.substr(0, 3) != "11 ") continue;
    ReaderRun amf3(value.substr(3));
    expectRefused(amf3, READ(getAMF3Value()), row.text, row.consumed - 1, row.tables);
  }
}

// ---- Markers that a host gives, and those that only a reader called by a host refuses

const char kNoLength[] = "getAMF0String(): unable to determine the string length";
const char kNoArray[] = "getAMF0Array: unknown array type";
const char kNoBool[] = "getAMF3Bool(): not a boolen type marker passed";
const char kNoString[] = "getAMF3String(): an string type expected";
const char kNoXml[] = "getAMF3XML(): not a XML type marker passed";

const MarkerRow kMarkers[] = {
    {"string reader: another marker read", READ(getAMF0String(marker0(6))), "03 0001 61", kNoLength,
     1},
    {"string reader: marker 06 read", READ(getAMF0String(marker0(6))), "06 0001 61", kNoLength, 1},
    {"string reader: marker 8C read", READ(getAMF0String(marker0(6))), "8C 00000001 61", kNoLength,
     1},
    {"string reader: another marker given", READ(getAMF0String(marker0(3))), "0001 61", kNoLength,
     0},
    {"string reader: marker 00 given", READ(getAMF0String(marker0(0))), "0001 61", kNoLength, 0},
    {"string reader: marker 0F given", READ(getAMF0String(marker0(0x0F))), "00000001 61", kNoLength,
     0},
    {"array reader: another marker read, the count is consumed", READ(getAMF0Array(marker0(6))),
     "03 00000000", kNoArray, 5},
    {"array reader: marker 06 read", READ(getAMF0Array(marker0(6))), "06 00000000", kNoArray, 5},
    {"array reader: another marker given, the count is consumed", READ(getAMF0Array(marker0(9))),
     "00000000", kNoArray, 4},
    {"boolean reader: marker 01 given", READ(getAMF3Bool(marker3(1))), "", kNoBool, 0},
    {"boolean reader: marker 04 given", READ(getAMF3Bool(marker3(4))), "", kNoBool, 0},
    {"boolean reader: marker -1 given", READ(getAMF3Bool(marker3(-1))), "", kNoBool, 0},
    {"boolean reader: marker 01 read", READ(getAMF3Bool(marker3(0))), "01", kNoBool, 1},
    {"boolean reader: marker 00 read", READ(getAMF3Bool(marker3(0))), "00", kNoBool, 1},
    {"XML reader: marker 06 given", READ(getAMF3XML(marker3(6))), "03 61", kNoXml, 0},
    {"XML reader: marker 0C given", READ(getAMF3XML(marker3(12))), "03 61", kNoXml, 0},
    {"XML reader: marker 06 read", READ(getAMF3XML(marker3(0))), "06 03 61", kNoXml, 1},
    {"XML reader: marker 00 read", READ(getAMF3XML(marker3(0))), "00 03 61", kNoXml, 1},
    {"string reader: another marker", READ(getAMF3String(true)), "07 03 61", kNoString, 1},
    {"string reader: marker 86", READ(getAMF3String(true)), "86 03 61", kNoString, 1},
};

TEST(ReaderRefusals, Markers) {
  for (const MarkerRow& row : kMarkers) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.bytes);
    expectRefused(run, row.read, row.text, row.consumed, "0/0/0/0");
  }
}

// ---- Entries that only a host can make

TEST(ReaderRefusals, Amf0NullEntry) {
  ReaderRun run("07 0001");
  AMFObject entry(AMF_VERSION_0);
  run.protocol.amf0References = {&entry, nullptr};
  EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF0Value(); }),
            "getAMF0ByReference(): lack of referenced data");
  EXPECT_EQ(run.consumed(), 3u);
  EXPECT_EQ(tables(run.protocol), "2/0/0/0");
  expectParsesOn(run.protocol);
}

// Entries of kinds that no reader registers reach the setters' own checks.
TEST(ReaderRefusals, Amf0StructuralEntries) {
  for (const std::uint32_t code : {10u, 12u, 13u, 14u}) {
    SCOPED_TRACE(code);
    const auto entry = makeKind(code);
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

const char kStringKind[] =
    "getAMF3String(): not a string type node found in string reference table";
const char kNoName[] = "getAMF3Object(): lack of string type property name data";

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
      const auto entry = makeKind(code);
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
  const std::string text = refusal([&] { node.reset(run.protocol.getAMF3Value()); });
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
      << "only the sealed members are tested";
  entry.sealedCount = 0xFFFFFFFFu;
  EXPECT_EQ(throughTraits(entry), kNoName) << "and in order: the name first, then the count";
  entry.sealedCount = 1;
  entry.AMFNode::setChild(0, new AMFNull(AMF_VERSION_3), false);
  EXPECT_EQ(throughTraits(entry), kSealed) << "a child that is no pair counts as missing";
}

}  // namespace
