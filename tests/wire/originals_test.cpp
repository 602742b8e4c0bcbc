// SPDX-License-Identifier: Apache-2.0
//
// Bytes that the writer would write in another way: `original` keeps them until the value is
// changed. And salvaged sections, which cannot be read.
#include <gtest/gtest.h>

#include "support/hex.h"
#include "wire/calls.h"

namespace {

using support::hex;
using support::toHex;
using wire_tests::exported;
using wire_tests::imported;

struct Row {
  const char* name;
  const char* bytes;
  const char* json;  // what stands in {"amf3":...,"original":...}
};

const Row kOdd[] = {
    {"long U29", "04 8005", "[5]"},
    {"long length", "06 8003 'a'", R"(["a"])"},
    {"repeated and referred to", "06 03 'a' 06 03 'a' 06 00", R"(["a","a","a"])"},
    {"traits repeated and referred to", "0A 03 01 0A 03 01 0A 01",
     R"([{"$dynamic":false},{"$dynamic":false},{"$dynamic":false}])"},
    {"another flag of a vector", "0D 01 02", R"([{"$vector":"int","$fixed":true,"$items":[]}])"},
    {"another flag of a dictionary", "11 01 80", R"([{"$dictionary":[],"$weak":true}])"},
    {"bits of a date", "08 03 0000000000000000", R"([{"$date":"1970-01-01T00:00:00.000Z"}])"},
    {"a flag byte too many", "0A 07 07 'DSA' 8000 00", R"([{"$external":"DSA"}])"},
    {"sealed names of an externalizable", "0A 17 29 'mx.utils.ObjectProxy' 03 'x' 01",
     R"([{"$external":"mx.utils.ObjectProxy","$value":null}])"},
    {"an empty name in two bytes", "0A 0B 01 8001", R"([{}])"},
};

TEST(WireOriginals, ComeBack) {
  for (const Row& row : kOdd) {
    SCOPED_TRACE(row.name);
    const std::string bytes = hex(row.bytes);
    const std::string json = exported(bytes, AMFWireForm::amf3);
    const std::string beginning = std::string("{\"amf3\":") + row.json + ",\"original\":";
    EXPECT_EQ(json.substr(0, beginning.size()), beginning);
    EXPECT_EQ(toHex(imported(json)), toHex(bytes));
    const std::string without = std::string("{\"amf3\":") + row.json + "}";
    EXPECT_NE(toHex(imported(without)), toHex(bytes)) << "an original that is not needed";
  }
}

TEST(WireOriginals, OfAmf0) {
  const Row rows[] = {{"boolean", "01 02", "[true]"},
                      {"long string", "0C 00000001 'a'", R"(["a"])"}};
  for (const Row& row : rows) {
    const std::string bytes = hex(row.bytes);
    const std::string json = exported(bytes, AMFWireForm::amf0);
    EXPECT_NE(json.find(std::string("{\"amf0\":") + row.json + ",\"original\":"),
              std::string::npos);
    EXPECT_EQ(toHex(imported(json)), toHex(bytes)) << row.name;
  }
}

TEST(WireOriginals, AreLeftOutOnDemand) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf3;
  options.originals = false;
  AMFWireStatistics statistics;
  EXPECT_EQ(exported(hex("04 8005"), options, &statistics), R"({"amf3":[5]})");
  EXPECT_EQ(statistics.originals, 1u);
  EXPECT_EQ(statistics.changed, 1u);
  options.originals = true;
  exported(hex("04 8005"), options, &statistics);
  EXPECT_EQ(statistics.originals, 1u);
  EXPECT_EQ(statistics.changed, 0u);
}

TEST(WireOriginals, AChangedValueIsWritten) {
  EXPECT_EQ(toHex(imported(R"({"amf3":[5],"original":"BIAF"})")), "04 80 05");
  EXPECT_EQ(toHex(imported(R"({"amf3":[6],"original":"BIAF"})")), "04 06");
  EXPECT_EQ(toHex(imported(R"({"amf3":[5],"original":"BIA="})")), "04 05") << "does not read";
  EXPECT_EQ(toHex(imported(R"({"amf3":[5],"original":""})")), "04 05");
  EXPECT_EQ(toHex(imported(R"({"amf3":[5],"original":"BIAF","integers":false})")), "04 80 05")
      << "both are written with the marks";
  EXPECT_EQ(imported(R"({"amf3":[5],"original":"BIAF="})").substr(0, 13), "not a documen");
  EXPECT_EQ(
      toHex(imported(
          R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":true,"original":"AQIA"}]})")),
      toHex(hex("0000 0000 0001 0000 0000 00000002 0101")))
      << "bytes after the value";
}

TEST(WireOriginals, MarksStandWhereTheyHold) {
  const struct {
    const char* bytes;
    const char* json;
  } rows[] = {
      {"06 03 'a' 06 00", R"({"amf3":["a","a"]})"},
      {"06 01 06 01", R"({"amf3":["",""]})"},
      {"04 00 05 0000000000000000", R"({"amf3":[0,{"$double":0}]})"},
      {"0F 03 00 0000000000000000", R"({"amf3":[{"$vector":"double","$items":[0]}]})"},
      {"06 03 'a' 06 03 'a' 04 8005",
       R"({"amf3":["a","a",5],"stringReferences":false,"original":"BgNhBgNhBIAF"})"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(exported(hex(row.bytes), AMFWireForm::amf3), row.json);
    EXPECT_EQ(toHex(imported(row.json)), toHex(hex(row.bytes)));
  }
}

struct Salvage {
  const char* name;
  AMFWireForm form;
  const char* bytes;
  const char* json;
};

TEST(WireSalvage, KeepsTheRest) {
  const Salvage rows[] = {
      {"a message with a length", AMFWireForm::packet,
       "0000 0000 0003 0000 0000 00000001 05 0000 0000 00000002 04FF 0000 0000 00000001 06",
       R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":null},{"target":"","response":"","raw":"BP8=","error":"byte 23: movie clip (04) is reserved"},{"target":"","response":"","value":{"$undefined":true}}]})"},
      {"a header with a length", AMFWireForm::packet, "0000 0001 0001 'h' 01 00000001 04 0000",
       R"({"amf":0,"headers":[{"name":"h","mustUnderstand":true,"raw":"BA==","error":"byte 12: movie clip (04) is reserved"}],"messages":[]})"},
      {"a message without a length", AMFWireForm::packet, "0000 0000 0002 0000 0000 FFFFFFFF 04",
       R"({"amf":0,"headers":[],"messages":[],"messageCount":2,"trailing":"AAAAAP////8E","error":"byte 14: movie clip (04) is reserved"})"},
      {"a cut message", AMFWireForm::packet, "0000 0000 0002 0000 0000 00000001 05 0000 00",
       R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":null}],"messageCount":2,"trailing":"AAAA","error":"byte 17: the bytes end in the length of a response: expected 2 bytes, found 1"})"},
      {"messages that are not there", AMFWireForm::packet, "0000 0000 0001",
       R"({"amf":0,"headers":[],"messages":[],"messageCount":1,"error":"byte 6: the bytes end in the length of a target: expected 2 bytes, found 0"})"},
      {"a cut header", AMFWireForm::packet, "0000 0002 0000 00 00000001 05 0001",
       R"({"amf":0,"headers":[{"name":"","mustUnderstand":false,"value":null}],"headerCount":2,"messages":[],"trailing":"AAE=","error":"byte 14: the bytes end in a header's name: expected 1 byte, found 0"})"},
      {"bare values", AMFWireForm::amf3, "01 12",
       R"json({"amf3":[],"trailing":"ARI=","error":"byte 1: unknown AMF3 marker (12)"})json"},
      {"a shared object", AMFWireForm::sharedObject,
       "00BF 00000015 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 04",
       R"({"sol":"n","amf":0,"size":21,"entries":{},"trailing":"AAFhBA==","error":"byte 26: movie clip (04) is reserved"})"},
  };
  for (const Salvage& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string bytes = hex(row.bytes);
    AMFWireExportOptions options;
    options.form = row.form;
    options.salvage = true;
    EXPECT_EQ(exported(bytes, options), row.json);
    EXPECT_EQ(toHex(imported(row.json)), toHex(bytes));
    options.pretty = true;
    EXPECT_EQ(toHex(imported(exported(bytes, options))), toHex(bytes));
    options.pretty = false;
    options.salvage = false;
    EXPECT_NE(exported(bytes, options), row.json);
  }
}

// The broken entry 04 is kept as trailing bytes, which a true size includes.
TEST(WireSalvage, ASharedObjectMayHaveATrueSize) {
  const struct {
    const char* size;
    std::uint64_t wrong;
  } rows[] = {{"00000010", 1}, {"00000011", 0}, {"00000015", 0}, {"00000016", 1}, {"FFFFFFFF", 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.size);
    const std::string bytes =
        hex("00BF " + std::string(row.size) + " 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 04");
    AMFWireExportOptions options;
    options.form = AMFWireForm::sharedObject;
    options.salvage = true;
    std::string json;
    AMFWireStatistics figures;
    ASSERT_TRUE(amfWireExport(bytes.data(), bytes.size(), json, options, &figures).ok());
    EXPECT_EQ(figures.wrongLengths, row.wrong);
    EXPECT_EQ(toHex(imported(json)), toHex(bytes));
  }
}

TEST(WireSalvage, FlvFiles) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::flv;
  options.salvage = true;
  const std::string head = "'FLV' 01 05 00000009 00000000 ";
  EXPECT_EQ(
      exported(hex(head + "12 000001 000005 00 000000 04 0000000C 0F 000002 000000 00 000000 0104"),
               options),
      R"({"flv":[{"time":5,"raw":"BA==","error":"byte 24: movie clip (04) is reserved"},{"time":0,"raw":"AQQ=","error":"byte 40: the first byte of a script tag of type 15 is not 00"}]})");
  EXPECT_EQ(
      exported(hex(head + "12 000002 000000 00 000000 05"), options),
      R"({"flv":[],"trailing":"EgAAAgAAAAAAAAAF","error":"byte 24: the bytes end in the body of a tag: expected 2 bytes, found 1"})");
  EXPECT_EQ(
      exported(hex(head + "12 000001 000000 00 000000 05 0000"), options),
      R"({"flv":[{"time":0,"values":[null]}],"trailing":"AAA=","error":"byte 25: the bytes end in the size of the tag before: expected 4 bytes, found 2"})");
  EXPECT_EQ(exported(hex("'FLV' 01"), options).substr(0, 9), "truncated");
}

TEST(WireSalvage, HeadsAreRefusedAllTheSame) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  options.salvage = true;
  const char* const cut[] = {"", "00", "0000", "0000 00", "0000 0000", "0000 0000 00"};
  for (const char* const bytes : cut)
    EXPECT_EQ(exported(hex(bytes), options).substr(0, 9), "truncated") << bytes;
}

}  // namespace
