// SPDX-License-Identifier: Apache-2.0
//
// The fields that visitPacket reports: every byte once and in order, what each of them is, and the
// index each value gets in its table. Exercises guard/visit.cpp.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support/guard_generator.h"
#include "support/guard_packets.h"
#include "support/same_result.h"

using namespace support;
using Kind = AMFFieldKind;
using Status = AMFVerifyStatus;

namespace {

class Recorder : public AMFVerifyVisitor {
 public:
  void field(const AMFVerifyField& field) override { fields.push_back(field); }

  // "marker0@16=3", with "/2" at depth 2, "+5" for 5 bytes of text and ":xml" for what it belongs
  // to.
  std::string line(std::size_t from) const {
    std::string text;
    for (const AMFVerifyField& field : fields) {
      if (field.offset < from) continue;
      if (!text.empty()) text += ' ';
      text += describe(field.kind) + ('@' + std::to_string(field.offset - from));
      const bool isBytes = (field.kind >= Kind::headerName && field.kind <= Kind::byteArray) ||
                           field.kind == Kind::number || field.kind == Kind::timeMs ||
                           field.kind == Kind::timeZone;
      if (isBytes) {
        text += '+' + std::to_string(field.length);
      } else if (field.kind != Kind::end) {
        text += '=' + std::to_string(field.value);
      }
      if (field.depth > 0) text += '/' + std::to_string(field.depth);
      if (field.of != field.kind) text += std::string(":") + describe(field.of);
    }
    return text;
  }

  std::vector<AMFVerifyField> fields;
};

struct FieldCase {
  const char* value;
  const char* fields;
};

const FieldCase kFields[] = {
    {"00 3FF0000000000000", "marker0@0=0 number@1+8"},
    {"01 02", "marker0@0=1 boolean@1=2"},
    {"02 0002 'ab'", "marker0@0=2 length@1=2:string string@3+2"},
    {"0C 00000000", "marker0@0=12 length@1=0:string string@5+0"},
    {"0F 00000001 'x'", "marker0@0=15 length@1=1:xml xml@5+1"},
    {"09", "marker0@0=9"},
    {"0B 0000000000000000 0001", "marker0@0=11 timeMs@1+8 timeZone@9+2"},
    {"10 0001 'C' 0001 'a' 05 0000 09",
     "marker0@0=16 length@1=1/1:className className@3+1/1 length@4=1/1:memberName memberName@6+1/1 "
     "marker0@7=5/1 "
     "length@8=0/1:memberName memberName@10+0/1 marker0@10=9/1 end@11 amf0Entry@11=0"},
    {"0A 00000002 08 00000000 07 0000",
     "marker0@0=10 count@1=2 marker0@5=8/1 count@6=0/1 end@10/1 amf0Entry@10=0/1 marker0@10=7/1 "
     "reference0@11=0/1 end@13 amf0Entry@13=1"},
    {"11 04 FF FF FF FF", "marker0@0=17 marker3@1=4 integer@2=536870655"},
    {"11 06 05 'ab'", "marker0@0=17 marker3@1=6 head@2=5:string string@3+2 stringEntry@5=0"},
    {"11 06 01", "marker0@0=17 marker3@1=6 head@2=1:string string@3+0"},
    {"11 0C 03 00", "marker0@0=17 marker3@1=12 head@2=3:byteArray byteArray@3+1 objectEntry@4=0"},
    {"11 08 01 0000000000000000",
     "marker0@0=17 marker3@1=8 head@2=1:timeMs timeMs@3+8 objectEntry@11=0"},
    {"11 09 05 03 'k' 01 01 05 0000000000000000 06 00",
     "marker0@0=17 marker3@1=9 head@2=5 objectEntry@3=0/1 head@3=3/1:memberName memberName@4+1/1 "
     "stringEntry@5=0/1 marker3@5=1/1 head@6=1/1:memberName memberName@7+0/1 marker3@7=5/1 "
     "number@8+8/1 "
     "marker3@16=6/1 reference3@17=0/1:string end@18"},
    {"11 09 05 01 0A 13 03 'C' 00 01 0A 01 01",
     "marker0@0=17 marker3@1=9 head@2=5 objectEntry@3=0/1 head@3=1/1:memberName memberName@4+0/1 "
     "marker3@4=10/1 "
     "head@5=19/1 objectEntry@6=1/2 head@6=3/2:className className@7+1/2 stringEntry@8=0/2 "
     "reference3@8=0/2:memberName "
     "traitsEntry@9=0/2 marker3@9=1/2 end@10/1 marker3@10=10/1 head@11=1/1 objectEntry@12=2/2 "
     "marker3@12=1/2 end@13/1 end@13"},
    // Where a reference leads to, before it is followed.
    {"11 0C 02", "marker0@0=17 marker3@1=12 reference3@2=2:byteArray"},
    {"11 0B 02", "marker0@0=17 marker3@1=11 reference3@2=2:xml"},
    {"11 08 02", "marker0@0=17 marker3@1=8 reference3@2=2:timeMs"},
    {"11 09 02", "marker0@0=17 marker3@1=9 reference3@2=2"},
    {"11 0A 02", "marker0@0=17 marker3@1=10 reference3@2=2"},
    // Damaged: up to the break.
    {"04", "marker0@0=4"},
    {"02 0005 'ab'", "marker0@0=2 length@1=5:string"},
    {"07 0001", "marker0@0=7 reference0@1=1"},
    {"11 06 02", "marker0@0=17 marker3@1=6 reference3@2=2:string"},
    {"11 04 80 80", "marker0@0=17 marker3@1=4"},
    {"11 0A 07 03 'x'",
     "marker0@0=17 marker3@1=10 head@2=7 objectEntry@3=0/1 head@3=3/1:className "
     "className@4+1/1 stringEntry@5=0/1"},
};

TEST(GuardVisit, TellsEveryField) {
  for (const FieldCase& row : kFields) {
    SCOPED_TRACE(row.value);
    const std::string packet = packetOf(row.value);
    Recorder recorder;
    visitPacket(packet.data(), packet.size(), recorder);
    EXPECT_EQ(row.fields, recorder.line(kEnvelopeLength));
  }
}

TEST(GuardVisit, TellsTheEnvelope) {
  const std::string packet =
      hex("0003 0001 0002 'ab' 01 00000001 05 0001 0001 't' 0000 FFFFFFFF 05 FF");
  Recorder recorder;
  const AMFVerifyResult result = visitPacket(packet.data(), packet.size(), recorder);
  EXPECT_EQ(Status::ok, result.status);
  EXPECT_EQ(
      "version@0=3 headerCount@2=1 length@4=2:headerName headerName@6+2 mustUnderstand@8=1 "
      "declaredLength@9=1 "
      "marker0@13=5 messageCount@14=1 length@16=1:targetUri targetUri@18+1 length@19=0:responseUri "
      "responseUri@21+0 "
      "declaredLength@21=4294967295 marker0@25=5",
      recorder.line(0));
}

TEST(GuardVisit, SaysTheSameAndCoversEveryByteOnce) {
  GuardGenerator generator(5);
  std::uint64_t ok = 0, broken = 0;
  for (int i = 0; i < 50000; ++i) {
    const std::string& packet = generator.next();
    Recorder recorder;
    const AMFVerifyResult result = visitPacket(packet.data(), packet.size(), recorder);
    ASSERT_TRUE(same(result, verify(packet))) << toHex(packet);
    std::size_t at = 0;
    for (const AMFVerifyField& field : recorder.fields) {
      ASSERT_EQ(at, field.offset) << toHex(packet);
      ASSERT_TRUE(field.kind < Kind::end || field.length == 0);
      at += field.length;
    }
    // Only the first bytes of an integer that is cut can lie after the last whole field.
    for (; at < result.consumed; ++at) {
      ASSERT_EQ(Status::truncated, result.status);
      ASSERT_NE(0, packet[at] & 0x80);
    }
    ASSERT_EQ(result.consumed, at);
    ++(result.status == Status::ok ? ok : broken);
  }
  EXPECT_GT(ok, 5000u);
  EXPECT_GT(broken, 5000u);
}

TEST(GuardVisit, EntriesAreThoseOfTheReader) {
  GuardGenerator generator(6);
  AMFProtocol protocol;
  std::uint64_t entries = 0;
  for (int i = 0; i < 30000; ++i) {
    const std::string& packet = generator.next();
    Recorder recorder;
    const AMFVerifyResult result = visitPacket(packet.data(), packet.size(), recorder);
    if (result.status != Status::ok || result.headers + result.messages == 0) continue;
    std::map<Kind, std::uint64_t> last;
    for (const AMFVerifyField& field : recorder.fields) {
      if (field.kind == Kind::headerName || field.kind == Kind::targetUri) last.clear();
      if (field.kind <= Kind::end) continue;
      ASSERT_EQ(last[field.kind]++, field.value);  // each the next free index
    }
    protocol.parse(packet.data());
    ASSERT_EQ(protocol.amf0References.size(), last[Kind::amf0Entry]);
    ASSERT_EQ(protocol.amf3ObjectReferences.size(), last[Kind::objectEntry]);
    ASSERT_EQ(protocol.amf3StringReferences.size(), last[Kind::stringEntry]);
    ASSERT_EQ(protocol.amf3TraitReferences.size(), last[Kind::traitsEntry]);
    entries += last[Kind::amf0Entry] + last[Kind::objectEntry];
  }
  EXPECT_GT(entries, 5000u);
}

TEST(GuardVisit, RefusesWithoutAWalk) {
  Recorder recorder;
  EXPECT_EQ(Status::nullPacket, visitPacket(nullptr, 0, recorder).status);
  AMFVerifyLimits limits;
  limits.maxPacketBytes = 0;
  EXPECT_EQ(Status::packetTooLarge, visitPacket("x", 1, recorder, limits).status);
  EXPECT_TRUE(recorder.fields.empty());
}

class Thrower : public AMFVerifyVisitor {
 public:
  void field(const AMFVerifyField& field) override {
    if (field.kind == Kind::string) throw 7;
  }
};

TEST(GuardVisit, LetsTheVisitorsExceptionPass) {
  // After tables that have memory of their own.
  const std::string packet =
      packetWith(hex("0A 000000C8") + repeat(hex("0A 00000000"), 199) + hex("02 0000"));
  Thrower thrower;
  EXPECT_THROW(visitPacket(packet.data(), packet.size(), thrower), int);
}

TEST(GuardVisit, NamesEveryKind) {
  EXPECT_STREQ("version", describe(Kind::version));
  EXPECT_STREQ("headerName", describe(Kind::headerName));
  EXPECT_STREQ("byteArray", describe(Kind::byteArray));
  EXPECT_STREQ("traitsEntry", describe(Kind::traitsEntry));
  EXPECT_STREQ("unknown field", describe(static_cast<Kind>(30)));
}

}  // namespace
