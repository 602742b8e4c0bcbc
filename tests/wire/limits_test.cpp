// SPDX-License-Identifier: Apache-2.0
//
// Every bound at its value and one above; memory that ends at the last byte; memory that fails.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <new>

#include "support/counted_heap.h"
#include "support/fenced_pages.h"
#include "support/hex.h"
#include "wire/calls.h"
#include "wire/document_reader.h"
#include "wire/facts.h"
#include "wire/rows.h"

namespace {

using namespace amf2json::wire;
using support::hex;
using support::toHex;
using wire_tests::exported;
using wire_tests::imported;

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  for (; count > 0; --count) all += text;
  return all;
}

TEST(WireLimits, PacketBytes) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf0;
  options.limits.maxPacketBytes = 3;
  EXPECT_EQ(exported(hex("05 05 05"), options), R"({"amf0":[null,null,null]})");
  EXPECT_EQ(exported(hex("05 05 05 05"), options), "packet limit at 0: more than 3 bytes");
  AMFWireImportOptions import;
  import.limits = options.limits;
  EXPECT_EQ(toHex(imported(R"({"amf0":[null,null,null]})", import)), "05 05 05");
  EXPECT_EQ(imported(R"({"amf0":[null,null,[1]]})", import),
            "packet limit at 1:20 in 'amf0[2]': more than 3 bytes");
}

TEST(WireLimits, TextBytes) {
  const std::string text = R"({"amf0":[null,"a"]})";
  const std::string bytes = hex("05 02 0001 'a'");
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf0;
  options.limits.maxTextBytes = text.size();
  EXPECT_EQ(exported(bytes, options), text);
  --options.limits.maxTextBytes;
  EXPECT_EQ(exported(bytes, options), "text limit at 1: the text is longer than 18 bytes");
  AMFWireImportOptions import;
  import.limits.maxTextBytes = text.size();
  EXPECT_EQ(imported(text, import), bytes);
  --import.limits.maxTextBytes;
  EXPECT_EQ(imported(text, import), "text limit at 1:1 in '': the text is longer than 18 bytes");
}

TEST(WireLimits, TextBytesCountWhatIsWritten) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf0;
  options.pretty = true;
  const std::string pretty = exported(hex("05"), options);
  EXPECT_EQ(pretty, "{\n  \"amf0\": [\n    null\n  ]\n}");
  options.limits.maxTextBytes = pretty.size();
  EXPECT_EQ(exported(hex("05"), options), pretty);
  --options.limits.maxTextBytes;
  EXPECT_EQ(exported(hex("05"), options).substr(0, 10), "text limit");
}

// The first pass of an export estimates the length of its text.
void expectCloseBound(const std::string& bytes, AMFWireForm form, const std::string& text) {
  const std::vector<AMFWireExternalClass> none;
  const ExternalClasses classes(none);
  Facts facts(bytes.data(), bytes.size(), false, std::numeric_limits<std::uint64_t>::max());
  DocumentReader<Facts> reader({bytes.data(), &classes, 1000}, facts, bytes.size(), false);
  facts.attach(reader.section());
  reader.read(form);
  EXPECT_GE(facts.bound.most(), text.size());
  EXPECT_LE(facts.bound.least(), text.size() + bytes.size());
}

// The estimate is compared with the limit at the string after the values.
void expectExactLimit(const std::string& values, AMFWireForm form) {
  const std::string bytes = values + hex(form == AMFWireForm::amf0 ? "02 0001 'x'" : "06 03 'x'");
  AMFWireExportOptions options;
  options.form = form;
  options.originals = false;
  std::string text;
  if (!amfWireExport(bytes.data(), bytes.size(), text, options).ok()) return;  // no such reference
  options.limits.maxTextBytes = text.size();
  EXPECT_EQ(exported(bytes, options), text);
  --options.limits.maxTextBytes;
  EXPECT_EQ(exported(bytes, options).substr(0, 10), "text limit");
  expectCloseBound(bytes, form, text);
}

// Many equal values, so that what is estimated for each of them adds up.
void expectExactLimit(const wire_tests::Row& row, AMFWireForm form) {
  SCOPED_TRACE(row.name);
  expectExactLimit(repeated(hex(row.bytes), 600), form);
}

TEST(WireLimits, TextBytesOfManyValues) {
  for (const wire_tests::Row& row : wire_tests::kAmf0) expectExactLimit(row, AMFWireForm::amf0);
  for (const wire_tests::Row& row : wire_tests::kAmf3) expectExactLimit(row, AMFWireForm::amf3);
  expectExactLimit({"ECMA arrays with a wrong count", "08 00000005 0000 09", ""},
                   AMFWireForm::amf0);
  const wire_tests::Row rows3[] = {
      {"dates that are numbers", "08 01 3FE0000000000000", ""},
      {"empty XML", "0B 01", ""},
      {"empty vectors", "0D 01 00", ""},
      {"empty small messages", "0A 07 07 'DSA' 00 00", ""},
      {"unnamed fields", "0A 07 07 'DSA' 00 7F 01 01 01 01 01 01 01", ""},
  };
  for (const wire_tests::Row& row : rows3) expectExactLimit(row, AMFWireForm::amf3);
}

TEST(WireLimits, TextBytesOfManyClasses) {
  std::string values;
  for (unsigned i = 0; i < 2000; ++i) {
    const std::string name = std::to_string(1000 + i);
    values += hex("0A 8103 09") + name +
              hex("03 'a' 03 'b' 03 'c' 03 'd' 03 'e' 03 'f' 03 'g' 03 'h'") +
              hex("01 01 01 01 01 01 01 01");
  }
  expectExactLimit(values, AMFWireForm::amf3);
}

TEST(WireLimits, TextBytesMayEndBeforeTheFirstValue) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  for (const std::size_t most : {0u, 1u, 8u, 40u}) {
    options.limits.maxTextBytes = most;
    EXPECT_EQ(exported(hex("0003 0000 0001 0001 't' 0001 'r' FFFFFFFF 05"), options),
              "text limit at 0: the text is longer than " + std::to_string(most) + " bytes");
  }
}

// Values inside one another: what opens each, and what ends it.
struct Nest {
  const char* name;
  AMFWireForm form;
  const char* open;
  const char* close;
  std::size_t markerAt;  // the marker within `open`
  const char* text;      // opens it in JSON
};

const Nest kNests[] = {
    {"objects", AMFWireForm::amf0, "03 0001 'a'", "0000 09", 0, R"({"a":)"},
    {"ECMA arrays", AMFWireForm::amf0, "08 00000001 0001 'a'", "0000 09", 0,
     R"({"$ecma":true,"a":)"},
    {"strict arrays", AMFWireForm::amf0, "0A 00000001", "", 0, "["},
    {"AMF3 arrays", AMFWireForm::amf3, "09 03 01", "", 0, "["},
    {"vectors of objects", AMFWireForm::amf3, "10 03 00 01", "", 0,
     R"({"$vector":"object","$type":"","$items":[)"},
    {"dictionaries", AMFWireForm::amf3, "11 03 00 01", "", 0, R"({"$dictionary":[[null,)"},
};

TEST(WireLimits, Depth) {
  for (const Nest& nest : kNests) {
    SCOPED_TRACE(nest.name);
    const std::string open = hex(nest.open);
    const bool amf3 = nest.form == AMFWireForm::amf3;
    const std::string null(1, amf3 ? '\x01' : '\x05');
    const auto bytes = [&](std::size_t depth) {
      return repeated(open, depth) + null + repeated(hex(nest.close), depth);
    };
    const std::string json = exported(bytes(512), nest.form);
    EXPECT_EQ(json.substr(0, 8), amf3 ? "{\"amf3\":" : "{\"amf0\":");
    EXPECT_EQ(imported(json), bytes(512));
    EXPECT_EQ(exported(bytes(513), nest.form),
              "depth limit at " + std::to_string(512 * open.size() + nest.markerAt) +
                  ": values inside one another are more than 512 levels deep");
    AMFWireExportOptions deeper;
    deeper.form = nest.form;
    deeper.limits.maxDepth = 513;
    const std::string tooDeep = exported(bytes(513), deeper);
    EXPECT_EQ(imported(tooDeep).substr(0, 11), "depth limit");
    AMFWireImportOptions import;
    import.limits.maxDepth = 513;
    EXPECT_EQ(imported(tooDeep, import), bytes(513));
  }
}

TEST(WireLimits, ExternalizablesAreLevels) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf3;
  options.limits.maxDepth = 2;
  const std::string open = hex("0A 07 29 'mx.utils.ObjectProxy'");
  EXPECT_EQ(exported(open + hex("0A 01 01"), options).substr(0, 8), "{\"amf3\":");
  EXPECT_EQ(exported(open + hex("0A 01 0A 01 01"), options).substr(0, 17), "depth limit at 25");
  AMFWireImportOptions import;
  import.limits = options.limits;
  EXPECT_EQ(imported(R"({"amf3":[[[[]]]]})", import).substr(0, 35),
            "depth limit at 1:12 in 'amf3[0][0][");
  EXPECT_EQ(toHex(imported(R"({"amf0":[{"$amf3":[[]]}]})", import)), "11 09 03 01 09 01 01")
      << "11 is none";
}

TEST(WireLimits, JsonTooDeepForEveryValue) {
  const std::string error = imported("{\"amf0\":" + repeated("[", 100000));
  EXPECT_EQ(error.substr(0, 20), "depth limit at 1:522");
  EXPECT_EQ(imported(repeated("[", 100000)).substr(0, 11), "depth limit");
}

TEST(WireLimits, FlagBytes) {
  const std::string sixteen = hex("0A 07 07 'DSA' 80*15 01 01 00");
  const std::string json = exported(sixteen, AMFWireForm::amf3);
  EXPECT_EQ(json, R"({"amf3":[{"$external":"DSA","$0.15.0":null}]})");
  EXPECT_EQ(imported(json), sixteen);
}

TEST(WireLimits, NamesOfAmf0) {
  const std::string longest = R"({"amf0":[{")" + std::string(65535, 'n') + R"(":1}]})";
  EXPECT_EQ(exported(imported(longest), AMFWireForm::amf0), longest);
  const std::string longer = R"({"amf0":[{")" + std::string(65536, 'n') + R"(":1}]})";
  EXPECT_NE(imported(longer).find("a name of more than 65535 bytes"), std::string::npos);
  const std::string className = R"({"amf0":[{"$class":")" + std::string(65536, 'n') + R"("}]})";
  EXPECT_NE(imported(className).find("in 'amf0[0].$class': a name of more than 65535 bytes"),
            std::string::npos);
  const std::string string = R"({"amf0":[")" + std::string(65536, 'n') + R"("]})";
  EXPECT_EQ(exported(imported(string), AMFWireForm::amf0), string);
}

TEST(WireLimits, HeadersAndMessages) {
  const std::string header = R"({"name":"","mustUnderstand":false,"value":null})";
  const auto packet = [&](std::size_t count) {
    return R"({"amf":0,"headers":[)" + header + repeated("," + header, count - 1) +
           R"(],"messages":[]})";
  };
  EXPECT_EQ(exported(imported(packet(65535)), AMFWireForm::packet), packet(65535));
  EXPECT_NE(imported(packet(65536)).find("in 'headers': more than 65535 headers"),
            std::string::npos);
}

TEST(WireLimits, ReferencesOfAmf0) {
  const auto values = [](std::size_t index) {
    return R"({"amf0":[)" + repeated("[],", index) + R"({"$id":1,"$array":[]},{"$ref":1}]})";
  };
  EXPECT_EQ(exported(imported(values(65535)), AMFWireForm::amf0), values(65535));
  EXPECT_NE(imported(values(65536)).find("AMF0 cannot refer to more than 65536 values"),
            std::string::npos);
}

// Every cut of bytes whose end is fenced is read, or refused, without reading past the end.
template <std::size_t N>
void checkCuts(const wire_tests::Row (&rows)[N], AMFWireForm form) {
  for (const wire_tests::Row& row : rows) {
    const std::string bytes = hex(row.bytes);
    if (bytes.size() > 1000) continue;
    support::FencedPages pages(bytes.size());
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
      const char* const held = pages.hold(bytes.substr(0, length), true);
      AMFWireExportOptions options;
      options.form = form;
      options.salvage = length % 2 == 1;
      std::string json;
      const AMFWireResult result = amfWireExport(held, length, json, options);
      EXPECT_LE(result.offset, length) << row.name;
      AMFWireSink sink;
      EXPECT_EQ(amfWireRead(held, length, sink, options).ok(), result.ok()) << row.name;
      amfWireIdentify(held, length);
    }
  }
}

TEST(WireFencedPages, BytesOfAmf0) {
  checkCuts(wire_tests::kAmf0, AMFWireForm::amf0);
}

TEST(WireFencedPages, BytesOfAmf3) {
  checkCuts(wire_tests::kAmf3, AMFWireForm::amf3);
}

TEST(WireFencedPages, Texts) {
  for (const wire_tests::Row& row : wire_tests::kAmf3) {
    const std::string text = std::string("{\"amf3\":") + row.json + "}";
    support::FencedPages pages(text.size());
    for (std::size_t length = 0; length <= text.size(); ++length) {
      const char* const held = pages.hold(text.substr(0, length), true);
      std::string bytes;
      EXPECT_EQ(amfWireImport(held, length, bytes).ok(), length == text.size()) << row.name;
    }
  }
}

// Each allocation of a call fails once: std::bad_alloc, nothing changed, nothing lost.
void failEach(const char* name, const std::function<void()>& call, const std::string& untouched,
              const std::string& result) {
  for (std::uint64_t number = 0;; ++number) {
    const std::uint64_t before = support::liveBlocks;
    support::failAllocation(number, support::Failing::once);
    try {
      call();
      support::failNothing();
      ASSERT_GT(number, 3u) << name;
      return;
    } catch (const std::bad_alloc&) {
      support::failNothing();
    }
    ASSERT_EQ(support::liveBlocks, before) << name << ", allocation " << number;
    ASSERT_EQ(untouched, result) << name << ", allocation " << number;
  }
}

TEST(WireAllocations, EachMayFail) {
  const std::string bytes =
      hex("0003 0001 0001 'h' 00 FFFFFFFF 02 0003 'abc' 0001 0000 0000 FFFFFFFF"
          "11 09 09 01 06 03 'a' 06 03 'a' 0A 13 03 'C' 03 'x' 0A 02"
          "0A 0B 01 03 'p' 04 8001 03 'q' 01 03 'r' 01 03 's' 01 03 't' 01 03 'u' 01 03 'v' 01 03 "
          "'w' 01 03 'y' 01 03 'z' 01 01");
  AMFWireExportOptions options;
  options.form = AMFWireForm::packet;
  std::string json = "untouched";
  failEach(
      "export", [&] { EXPECT_TRUE(amfWireExport(bytes.data(), bytes.size(), json, options).ok()); },
      "untouched", json);
  ASSERT_TRUE(amfWireExport(bytes.data(), bytes.size(), json, options).ok());
  std::string back = "untouched";
  failEach(
      "import", [&] { EXPECT_TRUE(amfWireImport(json.data(), json.size(), back).ok()); },
      "untouched", back);
  std::string refused = "untouched";
  failEach(
      "a refusal", [&] { EXPECT_FALSE(amfWireImport(json.data(), json.size() - 1, refused).ok()); },
      "untouched", refused);
}

}  // namespace
