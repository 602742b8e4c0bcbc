// SPDX-License-Identifier: Apache-2.0
//
// What hosts can add and query: external classes, sinks, statistics, the names of statuses.
#include <gtest/gtest.h>

#include "support/hex.h"
#include "wire/calls.h"

namespace {

using support::hex;
using support::toHex;
using wire_tests::exported;
using wire_tests::imported;

TEST(WireHosts, ExternalClassesOfTheirOwn) {
  const struct {
    std::uint32_t values;
    const char* bytes;
    const char* json;
  } rows[] = {
      {0, "0A 07 03 'X'", R"({"amf3":[{"$external":"X","$values":[]}]})"},
      {1, "0A 07 03 'X' 04 05", R"({"amf3":[{"$external":"X","$value":5}]})"},
      {2, "0A 0F 03 'X' 04 05 01",
       R"({"amf3":[{"$external":"X","$dynamic":true,"$values":[5,null]}]})"},
  };
  for (const auto& row : rows) {
    AMFWireExportOptions options;
    options.form = AMFWireForm::amf3;
    options.externalClasses = {{"X", row.values}};
    EXPECT_EQ(exported(hex(row.bytes), options), row.json);
    AMFWireImportOptions import;
    import.externalClasses = options.externalClasses;
    EXPECT_EQ(toHex(imported(row.json, import)), toHex(hex(row.bytes)));
    EXPECT_EQ(imported(row.json).substr(0, 29), "unknown externalizable class ");
  }
}

TEST(WireHosts, AClassOfTheHostReplacesABuiltInOne) {
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf3;
  options.externalClasses = {{"DSA", 1}};
  EXPECT_EQ(exported(hex("0A 07 07 'DSA' 01"), options),
            R"({"amf3":[{"$external":"DSA","$value":null}]})");
}

TEST(WireHosts, BuiltInClasses) {
  const char* const one[] = {"flex.messaging.io.ArrayCollection",
                             "flex.messaging.io.ArrayList",
                             "flex.messaging.io.ObjectProxy",
                             "flex.messaging.io.SerializationProxy",
                             "mx.collections.ArrayCollection",
                             "mx.collections.ArrayList",
                             "mx.utils.ObjectProxy"};
  for (const std::string name : one) {
    const std::string json = R"({"amf3":[{"$external":")" + name + R"(","$value":null}]})";
    EXPECT_EQ(exported(imported(json), AMFWireForm::amf3), json);
  }
  const struct {
    const char* name;
    const char* field;
  } small[] = {
      {"DSA", "correlationId"}, {"flex.messaging.messages.AsyncMessageExt", "correlationIdBytes"},
      {"DSC", "operation"},     {"flex.messaging.messages.CommandMessageExt", "operation"},
      {"DSK", "$2.0.0"},        {"flex.messaging.messages.AcknowledgeMessageExt", "timeToLive"}};
  for (const auto& row : small) {
    const std::string json = std::string(R"({"amf3":[{"$external":")") + row.name + R"(",")" +
                             row.field + R"(":null}]})";
    EXPECT_EQ(exported(imported(json), AMFWireForm::amf3), json);
  }
}

// Notes the events of what it sees.
class Notes : public AMFWireSink {
 public:
  std::string text;

  void beginDocument(const AMFWireDocument& document) override {
    text += std::string(describe(document.form)) + " ";
  }
  void beginSection(const AMFWireSection& section) override {
    text += "<" + of(section.name) + " ";
  }
  void endSection() override { text += "> "; }
  void rawSection(const AMFWireString& bytes, const AMFWireString&) override {
    text += "raw" + std::to_string(bytes.length) + " ";
  }
  void endDocument(const AMFWireString& trailing, const AMFWireString&) override {
    text += "+" + std::to_string(trailing.length);
  }
  void integer(std::int32_t value) override { text += std::to_string(value) + " "; }
  void string(const AMFWireString& value) override { text += "'" + of(value) + "' "; }
  void beginAmf3() override { text += "3( "; }
  void endAmf3() override { text += ") "; }
  void beginObject(const AMFWireObject& object) override {
    text += of(object.className) + "(" + std::to_string(object.sealedCount);
    for (std::uint32_t i = 0; i < object.sealedCount; ++i) text += " " + of(object.names->next());
    text += "){ ";
  }
  void beginArray(const AMFWireArray& array) override {
    text += std::to_string(array.count) + "[ ";
  }
  void denseItems() override { text += "; "; }
  void member(const AMFWireString& name) override { text += of(name) + "= "; }
  void end() override { text += "end "; }

 private:
  static std::string of(const AMFWireString& string) { return {string.data, string.length}; }
};

TEST(WireHosts, ASinkSeesTheEvents) {
  const std::string bytes =
      hex("0000 0000 0002 0001 't' 0000 FFFFFFFF 11 09 03 03 'm' 06 03 'v' 01"
          "0A 2B 03 'C' 03 'a' 03 'b' 04 01 04 02 03 'd' 04 03 01"
          "0001 'u' 0000 00000001 04 FF");
  AMFWireReadOptions options;
  options.form = AMFWireForm::packet;
  Notes notes;
  const AMFWireResult result = amfWireRead(bytes.data(), bytes.size(), notes, options);
  EXPECT_EQ(wire_tests::textOfResult(result), "malformed at 50: movie clip (04) is reserved");
  EXPECT_EQ(notes.text, "packet <t 3( 1[ m= 'v' ; C(2 a b){ a= 1 b= 2 d= 3 end end ) > <u ");
  options.salvage = true;
  Notes salvaged;
  EXPECT_TRUE(amfWireRead(bytes.data(), bytes.size(), salvaged, options).ok());
  EXPECT_EQ(salvaged.text,
            "packet <t 3( 1[ m= 'v' ; C(2 a b){ a= 1 b= 2 d= 3 end end ) > <u raw1 > +1");
}

TEST(WireHosts, Statistics) {
  AMFWireExportOptions options;
  options.salvage = true;
  options.originals = false;
  AMFWireStatistics figures;
  exported(hex("0000 0001 0001 'h' 00 FFFFFFFF 05 0003 0000 0000 00000009 05 0000 0000 00000001 04"
               "0000 0000 00000002 0102 FFFF"),
           options, &figures);
  EXPECT_EQ(figures.form, AMFWireForm::packet);
  EXPECT_EQ(figures.sections, 4u);
  EXPECT_EQ(figures.unknownLengths, 1u);
  EXPECT_EQ(figures.wrongLengths, 1u);
  EXPECT_EQ(figures.salvaged, 1u);
  EXPECT_EQ(figures.originals, 1u);
  EXPECT_EQ(figures.changed, 1u);
  EXPECT_EQ(figures.trailingBytes, 2u);
  options.form = AMFWireForm::packet;
  exported(hex("0000"), options, &figures);
  EXPECT_EQ(figures.sections, 0u) << "a failure leaves zeros";
  exported(hex("0000 0000 0001 0000"), options, &figures);
  EXPECT_EQ(figures.trailingError,
            "byte 8: the bytes end in the length of a response: expected 2 bytes, found 0");
}

TEST(WireHosts, FormsOfDocuments) {
  AMFWireForm form = AMFWireForm::automatic;
  std::string bytes;
  const std::string json = R"({"sol":"a","amf":3,"entries":{}})";
  EXPECT_TRUE(amfWireImport(json.data(), json.size(), bytes, {}, &form).ok());
  EXPECT_STREQ(describe(form), "sol");
  EXPECT_TRUE(amfWireExport(nullptr, 0, bytes,
                            [] {
                              AMFWireExportOptions options;
                              options.form = AMFWireForm::amf0;
                              return options;
                            }())
                  .ok());
  EXPECT_EQ(bytes, R"({"amf0":[]})");
}

TEST(WireHosts, NamesOfStates) {
  const AMFWireStatus all[] = {AMFWireStatus::ok,          AMFWireStatus::truncated,
                               AMFWireStatus::malformed,   AMFWireStatus::unknownExternal,
                               AMFWireStatus::packetLimit, AMFWireStatus::depthLimit,
                               AMFWireStatus::textLimit,   AMFWireStatus::flagLimit,
                               AMFWireStatus::syntax,      AMFWireStatus::content,
                               AMFWireStatus::misuse};
  for (const AMFWireStatus status : all) EXPECT_STRNE(describe(status), "unknown");
  EXPECT_STREQ(describe(static_cast<AMFWireStatus>(99)), "unknown");
  EXPECT_STREQ(describe(static_cast<AMFWireForm>(99)), "unknown");
}

}  // namespace
