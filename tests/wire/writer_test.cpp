// SPDX-License-Identifier: Apache-2.0
//
// AMFWireWriter: packets from a host's own data, and events that may not come.
#include <gtest/gtest.h>

#include <functional>

#include "support/hex.h"
#include "wire/calls.h"

namespace {

using support::hex;
using support::toHex;
using wire_tests::exported;

std::string finished(AMFWireWriter& writer) {
  std::string bytes;
  const AMFWireResult result = writer.finish(bytes);
  return result.ok() ? bytes : std::string(describe(result.status)) + ": " + result.message;
}

AMFWireSection message(const char* target) {
  AMFWireSection section;
  section.name = target;
  section.response = "/1";
  return section;
}

TEST(WireWriter, WritesAPacket) {
  AMFWireWriter writer;
  writer.beginDocument({});
  writer.beginSection(message("a.b"));
  writer.beginArray({2});
  writer.string("hello");
  writer.beginAmf3();
  const std::vector<std::string> sealed = {"x", "y"};
  AMFWireNameList names(sealed);
  AMFWireObject object;
  object.typed = true;
  object.className = "C";
  object.sealedCount = 2;
  object.names = &names;
  object.dynamic = false;
  writer.beginObject(object);
  const std::uint32_t self = writer.lastIndex();
  writer.member("x");
  writer.integer(5);
  writer.member("y");
  writer.reference(self);
  writer.end();
  writer.endAmf3();
  writer.end();
  writer.endSection();
  writer.endDocument({}, {});
  EXPECT_EQ(
      exported(finished(writer), AMFWireForm::packet),
      R"({"amf":0,"headers":[],"messages":[{"target":"a.b","response":"/1","value":["hello",{"$amf3":{"$id":1,"$class":"C","x":5,"y":{"$ref":1}}}]}]})");
}

TEST(WireWriter, IsReadyForAnotherDocument) {
  AMFWireWriter writer;
  EXPECT_EQ(finished(writer), "misuse: endDocument() is missing");
  for (int i = 0; i < 2; ++i) {
    AMFWireDocument document;
    document.form = AMFWireForm::amf3;
    writer.beginDocument(document);
    AMFWireSection values;
    values.kind = AMFWireSectionKind::values;
    writer.beginSection(values);
    writer.string("a");
    writer.string("a");
    writer.endSection();
    writer.endDocument({}, {});
    EXPECT_EQ(toHex(finished(writer)), "06 03 61 06 00");
  }
}

struct Misuse {
  const char* error;
  std::function<void(AMFWireWriter&)> events;
};

// After beginDocument and beginSection of the form.
std::string misused(AMFWireForm form, const Misuse& row) {
  AMFWireWriter writer;
  AMFWireDocument document;
  document.form = form;
  writer.beginDocument(document);
  AMFWireSection section = message("t");
  if (form != AMFWireForm::packet) section.kind = AMFWireSectionKind::values;
  if (form == AMFWireForm::sharedObject) section.kind = AMFWireSectionKind::entries;
  writer.beginSection(section);
  row.events(writer);
  writer.endSection();
  writer.endDocument({}, {});
  return finished(writer);
}

TEST(WireWriter, EventsThatMayNotCome) {
  using W = AMFWireWriter;
  const Misuse packets[] = {
      {"misuse: a header or message without a value", [](W&) {}},
      {"misuse: more values than were announced", [](W& w) { w.null(), w.null(); }},
      {"misuse: a value that the format does not have", [](W& w) { w.integer(1); }},
      {"misuse: a value that the format does not have", [](W& w) { w.beginDictionary(0, false); }},
      {"misuse: end() without a value that has begun", [](W& w) { w.null(), w.end(); }},
      {"misuse: a member where none may come", [](W& w) { w.member("a"); }},
      {"misuse: end() before all of the value has come", [](W& w) { w.beginArray({1}), w.end(); }},
      {"misuse: endSection() inside a value or outside of a section",
       [](W& w) { w.beginArray({0}); }},
      {"misuse: a value without its name", [](W& w) { w.beginObject({}), w.null(); }},
      {"misuse: a member where none may come",
       [](W& w) { w.beginObject({}), w.member("a"), w.member("b"); }},
      {"misuse: a reference to no value that has begun", [](W& w) { w.reference(0); }},
      {"misuse: an AMF0 array has no members",
       [](W& w) {
         w.beginArray({0, true});
       }},
      {"misuse: endAmf3() without beginAmf3() and a value",
       [](W& w) { w.beginAmf3(), w.endAmf3(); }},
      {"misuse: script tags are not written",
       [](W& w) {
         w.null(), w.endSection();
         AMFWireSection tag;
         tag.kind = AMFWireSectionKind::scriptTag;
         w.beginSection(tag);
       }},
  };
  for (const Misuse& row : packets) EXPECT_EQ(misused(AMFWireForm::packet, row), row.error);
  AMFWireObject sealed;
  sealed.sealedCount = 1;
  AMFWireObject fixed;
  fixed.dynamic = false;
  const Misuse values[] = {
      {"misuse: an integer beyond 29 bits", [](W& w) { w.integer(268435456); }},
      {"misuse: AMF3 has no time zones", [](W& w) { w.date(0, 1); }},
      {"misuse: sealed members without names", [&](W& w) { w.beginObject(sealed); }},
      {"misuse: a member beyond the sealed ones",
       [&](W& w) { w.beginObject(fixed), w.member("a"); }},
      {"misuse: a member without a name", [](W& w) { w.beginObject({}), w.member(""); }},
      {"misuse: end() before all of the value has come",
       [](W& w) {
         w.beginArray({0, true}), w.end();
       }},
      {"misuse: denseItems() outside of an array with members", [](W& w) { w.denseItems(); }},
      {"misuse: vectorItems() outside of a vector, or more than were announced",
       [](W& w) { w.beginVector({}), w.vectorItems("\0\0\0\0", 1); }},
      {"misuse: the class is no small message",
       [](W& w) {
         AMFWireExternal external;
         external.className = "a.B";
         external.smallMessage = true;
         w.beginExternal(external);
       }},
      {"misuse: field() where none may come",
       [](W& w) {
         AMFWireExternal external;
         external.className = "DSA";
         external.smallMessage = true;
         w.beginExternal(external);
         w.field({0, 0, 0, "body"});
       }},
      {"misuse: beginSection() outside of a document or inside a section",
       [](W& w) { w.beginSection({}); }},
  };
  for (const Misuse& row : values) EXPECT_EQ(misused(AMFWireForm::amf3, row), row.error);
}

TEST(WireWriter, Limits) {
  AMFWireImportOptions options;
  options.limits.maxDepth = 1;
  options.limits.maxPacketBytes = 20;
  AMFWireWriter writer(options);
  AMFWireDocument document;
  document.form = AMFWireForm::amf0;
  AMFWireSection values;
  values.kind = AMFWireSectionKind::values;
  writer.beginDocument(document);
  writer.beginSection(values);
  writer.beginArray({1});
  writer.beginArray({0});
  EXPECT_EQ(finished(writer), "depth limit: values inside one another are too many");
  writer.beginDocument(document);
  writer.beginSection(values);
  writer.string("12345678901234567");
  writer.endSection();
  writer.endDocument({}, {});
  EXPECT_EQ(finished(writer).size(), 20u);
  writer.beginDocument(document);
  writer.beginSection(values);
  writer.string("123456789012345678");
  EXPECT_EQ(finished(writer), "packet limit: more bytes than maxPacketBytes");
}

}  // namespace
