// SPDX-License-Identifier: Apache-2.0
//
// Documents: packets, shared objects, FLV files, and how the form of bytes is detected.
#include <gtest/gtest.h>

#include "support/hex.h"
#include "wire/calls.h"

namespace {

using support::hex;
using support::toHex;
using wire_tests::exported;
using wire_tests::imported;

struct Document {
  const char* name;
  const char* bytes;
  const char* json;
};

const Document kPackets[] = {
    {"nothing in it", "0000 0000 0000", R"({"amf":0,"headers":[],"messages":[]})"},
    {"any version", "1234 0000 0000", R"({"amf":4660,"headers":[],"messages":[]})"},
    {"trailing bytes", "0003 0000 0000 FF00",
     R"({"amf":3,"headers":[],"messages":[],"trailing":"/wA="})"},
    {"headers",
     "0003 0003 0001 'a' 00 00000001 05 0001 'b' 01 00000002 0101 0001 'c' 80 00000001 06 0000",
     R"({"amf":3,"headers":[{"name":"a","mustUnderstand":false,"value":null},{"name":"b","mustUnderstand":true,"value":true},{"name":"c","mustUnderstand":128,"value":{"$undefined":true}}],"messages":[]})"},
    {"a message", "0003 0000 0001 0004 'null' 0002 '/1' 00000006 0A 00000001 05",
     R"({"amf":3,"headers":[],"messages":[{"target":"null","response":"/1","value":[null]}]})"},
    {"an unknown length", "0000 0000 0001 0000 0000 FFFFFFFF 05",
     R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","length":"unknown","value":null}]})"},
    {"lengths that lie", "0000 0001 0000 00 00000000 05 0001 0000 0000 00000002 05",
     R"({"amf":0,"headers":[{"name":"","mustUnderstand":false,"length":0,"value":null}],"messages":[{"target":"","response":"","length":2,"value":null}]})"},
    {"names not UTF-8", "0000 0001 0001 FF 00 00000001 05 0001 0001 FE 0001 FD 00000001 05",
     R"({"amf":0,"headers":[{"name":{"$string64":"/w=="},"mustUnderstand":false,"value":null}],"messages":[{"target":{"$string64":"/g=="},"response":{"$string64":"/Q=="},"value":null}]})"},
    {"each section has its own tables",
     "0000 0000 0002 0000 0000 00000004 11 06 03 'a' 0000 0000 00000004 11 06 03 'a'",
     R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":{"$amf3":"a"}},{"target":"","response":"","value":{"$amf3":"a"}}]})"},
    {"each section has its own table of traits",
     "0000 0000 0002 0000 0000 00000007 11 0A 13 01 03 'a' 01 0000 0000 00000007 11 0A 13 01 03 'a' 01",
     R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":{"$amf3":{"$sealed":true,"a":null}}},{"target":"","response":"","value":{"$amf3":{"$sealed":true,"a":null}}}]})"},
    {"the same bytes of traits mean other names in another section",
     "0000 0000 0002 0000 0000 0000000C 11 09 05 01 06 03 'a' 0A 13 01 00 01"
     " 0000 0000 0000000C 11 09 05 01 06 03 FF 0A 13 01 00 01",
     R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":{"$amf3":["a",{"$sealed":true,"a":null}]}},{"target":"","response":"","value":{"$amf3":[{"$string64":"/w=="},{"$sealed":true,"$members":[[{"$string64":"/w=="},null]]}]}}]})"},
    {"marks follow the value", "0000 0000 0001 0000 0000 0000000A 11 09 05 01 06 03 'a' 06 03 'a'",
     R"({"amf":0,"headers":[],"messages":[{"target":"","response":"","value":{"$amf3":["a","a"]},"stringReferences":false}]})"},
};

const Document kSharedObjects[] = {
    {"no entries", "00BF 00000011 'TCSO' 000400000000 0001 'n' 00000000",
     R"({"sol":"n","amf":0,"entries":{}})"},
    {"entries of AMF0",
     "00BF 0000001B 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 05 00 0001 'b' 06 00",
     R"({"sol":"n","amf":0,"entries":{"a":null,"b":{"$undefined":true}}})"},
    {"entries of AMF3",
     "00BF 00000019 'TCSO' 000400000000 0001 'n' 00000003 03 'a' 06 00 00 01 01 00",
     R"({"sol":"n","amf":3,"entries":{"a":"a","":null}})"},
    {"reference 0 is the shared object",
     "00BF 00000026 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 03 0001 'b' 07 0001 0000 09 00 "
     "0001 'c' 07 0000 00",
     R"({"sol":"n","amf":0,"entries":{"$id":1,"a":{"$id":2,"b":{"$ref":2}},"c":{"$ref":1}}})"},
    {"a name twice",
     "00BF 0000001B 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 05 00 0001 'a' 06 00",
     R"({"sol":"n","amf":0,"entries":{"$members":[["a",null],["a",{"$undefined":true}]]}})"},
    {"a size that lies", "00BF 00000000 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 05 00",
     R"({"sol":"n","amf":0,"size":0,"entries":{"a":null}})"},
    {"trailing bytes where the size says",
     "00BF 00000016 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 05 00 0001 'b' 05 00",
     R"({"sol":"n","amf":0,"entries":{"a":null},"trailing":"AAFiBQA="})"},
    {"trailing bytes without an entry", "00BF 00000011 'TCSO' 000400000000 0001 'n' 00000000 FF",
     R"({"sol":"n","amf":0,"entries":{},"trailing":"/w=="})"},
    {"no 00 at the end", "00BF 00000015 'TCSO' 000400000000 0001 'n' 00000000 0001 'a' 05",
     R"({"sol":"n","amf":0,"entries":{"a":null},"original":"AAFhBQ=="})"},
    {"marks follow the entries",
     "00BF 0000001B 'TCSO' 000400000000 0001 'n' 00000003 03 'a' 06 03 'a' 00 01 01 00",
     R"({"sol":"n","amf":3,"size":27,"entries":{"a":"a","":null},"stringReferences":false})"},
};

template <std::size_t N>
void check(const Document (&rows)[N], AMFWireForm form) {
  for (const Document& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string bytes = hex(row.bytes);
    EXPECT_EQ(exported(bytes, form), row.json);
    EXPECT_EQ(toHex(imported(row.json)), toHex(bytes));
  }
}

TEST(WireDocuments, Packets) {
  check(kPackets, AMFWireForm::packet);
}

TEST(WireDocuments, SharedObjects) {
  check(kSharedObjects, AMFWireForm::sharedObject);
}

TEST(WireDocuments, FlvFilesAreReadOnly) {
  const Document rows[] = {
      {"no tags", "'FLV' 01 05 00000009", R"({"flv":[]})"},
      {"a longer head", "'FLV' 01 05 0000000A FF 00000000", R"({"flv":[]})"},
      {"script tags",
       "'FLV' 01 05 00000009 00000000 12 000002 000001 00 000000 0101 0000000D"
       " 12 000001 FFFFFF FF 000000 05",
       R"({"flv":[{"time":1,"values":[true]},{"time":-1,"values":[null]}]})"},
      {"type 15 and other tags",
       "'FLV' 01 05 00000009 00000000 08 000001 000000 00 000000 FF 0000000C"
       " 0F 000002 000000 01 000000 0005 0000000D",
       R"({"flv":[{"time":16777216,"values":[null]}]})"},
      {"encrypted tags", "'FLV' 01 05 00000009 00000000 32 000001 000000 00 000000 FF 0000000C",
       R"({"flv":[]})"},
      {"not as the writer would",
       "'FLV' 01 05 00000009 00000000 12 00000F 000000 00 000000"
       " 11 05 4014000000000000 0C 00000000",
       R"({"flv":[{"time":0,"values":[{"$amf3":{"$double":5}},""]}]})"},
  };
  for (const Document& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(exported(hex(row.bytes), AMFWireForm::flv), row.json);
    EXPECT_EQ(
        imported(row.json),
        std::string("not a document of this format at 1:2 in 'flv': an FLV file is not written"));
  }
}

TEST(WireDocuments, SourceIsIgnored) {
  EXPECT_EQ(toHex(imported(R"({"source":{"$any":[1,{}]},"amf3":[null]})")), "01");
  EXPECT_EQ(toHex(imported(R"({"source":[1e400,{"a":-1.5E+999}],"amf3":[12,"1e400"]})")),
            "04 0C 06 0B 31 65 34 30 30");
}

TEST(WireDocuments, LengthsAreTrueWhereTheyAreNotGiven) {
  EXPECT_EQ(
      toHex(imported(
          R"({"messages":[{"value":"abc","response":"","target":"t"}],"headers":[],"amf":0})")),
      toHex(hex("0000 0000 0001 0001 't' 0000 00000006 02 0003 'abc'")));
}

TEST(WireDocuments, FormsAreRecognised) {
  const struct {
    const char* name;
    const char* bytes;
    const char* form;
  } rows[] = {
      {"nothing", "", "packet"},
      {"a packet", "0000 0000 0000", "packet"},
      {"FLV", "'FLV'", "flv"},
      {"shared object", "00BF 00000011 'TCSO'", "sol"},
      {"a number of AMF0", "00 0000000000000000", "amf0"},
      {"an object of AMF0", "03 0000 09", "amf0"},
      {"an object of AMF3", "0A 0B 01 01", "amf3"},
      {"a packet with trailing bytes", "0000 0000 0000 FF", "packet"},
      {"a damaged packet", "0003 0000 0001 0000 0000 FFFFFFFF 0A", "packet"},
      {"a packet whose bytes read as values too", "0003 0000 0001 0001 02", "packet"},
      {"short AMF3", "00 03", "amf3"},
      {"whatever", "FF", "packet"},
  };
  for (const auto& row : rows) {
    const std::string bytes = hex(row.bytes);
    EXPECT_STREQ(describe(amfWireIdentify(bytes.data(), bytes.size())), row.form) << row.name;
  }
}

}  // namespace
