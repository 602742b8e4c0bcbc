// SPDX-License-Identifier: Apache-2.0
//
// What verifyPacket reports for given bytes: status, text and offset of every refusal, the figures
// of valid packets, and trailing bytes. Exercises guard/verify.cpp and the walk.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/guard_packets.h"
#include "support/refused_values.h"

using namespace support;
using Status = AMFVerifyStatus;

namespace {

// ---- What the readers refuse -------------------------------------------------------------------

TEST(GuardVerdict, GivesTheReadersTextAndCursor) {
  for (const refusals::Value& row : refusals::kValues) {
    SCOPED_TRACE(row.name);
    const AMFVerifyResult result = verify(packetOf(row.value), AMFVerifyLimits::unlimited());
    EXPECT_EQ(Status::malformed, result.status);
    EXPECT_STREQ(row.text, result.message);
    EXPECT_EQ(kEnvelopeLength + row.consumed, result.offset);
    EXPECT_EQ(result.offset, result.consumed);
    EXPECT_EQ(0u, result.needed);
    EXPECT_EQ(0u, result.section);
  }
}

// ---- What is not there -------------------------------------------------------------------------

struct Cut {
  const char* packet;
  std::size_t offset;
  std::uint64_t needed;
  std::uint32_t section;
};

constexpr std::uint32_t kOutside = AMFVerifyResult::kEnvelope;

const Cut kCuts[] = {
    {"", 0, 2, kOutside},
    {"00", 0, 1, kOutside},
    {"0000", 2, 2, kOutside},
    {"0000 00", 2, 1, kOutside},
    {"0000 0000", 4, 2, kOutside},
    {"0000 0000 00", 4, 1, kOutside},
    {"0000 0001", 4, 2, 0},
    {"0000 0001 0003 'ab'", 6, 1, 0},
    {"0000 0001 0000", 6, 1, 0},
    {"0000 0001 0000 00", 7, 4, 0},
    {"0000 0001 0000 00 FFFFFF", 7, 1, 0},
    {"0000 0001 0000 00 FFFFFFFF", 11, 1, 0},
    {"0000 0001 0000 00 FFFFFFFF 05", 12, 2, kOutside},
    {"0000 0001 0000 00 FFFFFFFF 05 0001", 14, 2, 1},
    {"0000 0000 0001", 6, 2, 0},
    {"0000 0000 0001 0001", 8, 1, 0},
    {"0000 0000 0001 0000 00", 8, 1, 0},
    {"0000 0000 0001 0000 0002 00", 10, 1, 0},
    {"0000 0000 0001 0000 0000 0000", 10, 2, 0},
    {"0000 0000 0001 0000 0000 00000000", 14, 1, 0},
    {"0000 0000 0002 0000 0000 00000000 05", 15, 2, 1},
};

TEST(GuardVerdict, FindsTheFirstFieldThatIsNotThere) {
  for (const Cut& row : kCuts) {
    SCOPED_TRACE(row.packet);
    const std::string packet = hex(row.packet);
    const AMFVerifyResult result = verify(packet);
    EXPECT_EQ(Status::truncated, result.status);
    EXPECT_STREQ("truncated", result.message);
    EXPECT_EQ(row.offset, result.offset);
    EXPECT_EQ(row.needed, result.needed);
    EXPECT_EQ(row.section, result.section);
    EXPECT_EQ(result.offset, result.consumed);
  }
}

struct CutValue {
  const char* value;
  std::size_t offset;
  std::uint64_t needed;
};

const CutValue kCutValues[] = {
    {"", 0, 1},
    {"00", 1, 8},
    {"00 00000000000000", 1, 1},
    {"01", 1, 1},
    {"02 00", 1, 1},
    {"02 FFFF 'A'", 3, 65534},  // a whole heap would be shown
    {"0C FFFFFFFF 'A'", 5, 0xFFFFFFFEu},
    {"0C 000000", 1, 1},
    {"0F 00000002 '<'", 5, 1},
    {"03", 1, 2},
    {"03 0000", 3, 1},
    {"03 0001 'a'", 4, 1},
    {"03 0005 'a'", 3, 4},
    {"10 0002 'C'", 3, 1},
    {"10 0001 'C'", 4, 2},
    {"07 00", 1, 1},
    {"08 0000", 1, 2},
    {"08 00000001", 5, 2},
    {"08 00000001 0001 'k'", 8, 1},
    {"0A FFFFFFFF 05 05", 7, 1},  // would read on as if the neighbour were values
    {"0B 00000000000000", 1, 1},
    {"0B 0000000000000000", 9, 2},  // the zone is never read, but skipped
    {"0B 0000000000000000 00", 9, 1},
    {"11", 1, 1},
    {"11 04", 2, 1},
    {"11 04 80", 3, 1},
    {"11 04 FF FF FF", 5, 1},
    {"11 05 00", 2, 7},
    {"11 06", 2, 1},
    {"11 06 80 80 80 FF", 6, 0x7FFFFFFF},  // the signed fourth byte
    {"11 06 FF FF FF FF", 6, 0x0FFFFF7F},
    {"11 07 05 'x'", 3, 1},
    {"11 08", 2, 1},
    {"11 08 01 0000", 3, 6},
    {"11 09", 2, 1},
    {"11 09 05", 3, 1},
    {"11 09 05 01 01", 5, 1},
    {"11 0C 09 00", 3, 3},
    {"11 0A", 2, 1},
    {"11 0A 13", 3, 1},
    {"11 0A 13 01", 4, 1},
    {"11 0A 13 01 05 'a'", 5, 1},
    {"11 0A 13 01 03 'a'", 6, 1},
    {"11 0A 0B 01 03 'a'", 6, 1},
    {"11 0A 07 43 'flex.messaging.io.ArrayCollection'", 37, 1},
    {"11 0A FF FF FF F3 01", 7, 1},
};

TEST(GuardVerdict, FindsTheFirstFieldOfAValueThatIsNotThere) {
  for (const CutValue& row : kCutValues) {
    SCOPED_TRACE(row.value);
    const AMFVerifyResult result = verify(packetOf(row.value), AMFVerifyLimits::unlimited());
    EXPECT_EQ(Status::truncated, result.status);
    EXPECT_EQ(kEnvelopeLength + row.offset, result.offset);
    EXPECT_EQ(row.needed, result.needed);
    EXPECT_EQ(0u, result.section);
  }
}

// ---- Packets in order --------------------------------------------------------------------------

struct Figures {
  const char* value;
  std::uint64_t nodes;  // without package, message and the two URIs
  std::uint32_t depth;
  std::uint64_t stringBytes;  // without the URIs
  std::uint64_t rawBytes;
  std::uint32_t references;
  std::uint64_t copiedNodes;
};

const char kArrayCollection[] = "43 'flex.messaging.io.ArrayCollection'";

const Figures kOrderly[] = {
    {"00 0000000000000000", 1, 0, 0, 0, 0, 0},
    {"01 02", 1, 0, 0, 0, 0, 0},
    {"02 0000", 1, 0, 0, 0, 0, 0},
    {"02 0003 'abc'", 1, 0, 3, 0, 0, 0},
    {"0C 00000003 'abc'", 1, 0, 3, 0, 0, 0},
    {"0F 00000003 'abc'", 1, 0, 3, 0, 0, 0},
    {"05", 1, 0, 0, 0, 0, 0},
    {"06", 1, 0, 0, 0, 0, 0},
    {"09", 1, 0, 0, 0, 0, 0},  // the message keeps its undefined value
    {"0B 0000000000000000 FFFF", 1, 0, 0, 0, 0, 0},
    {"03 000009", 2, 1, 0, 0, 0, 0},               // object, class name
    {"03 0002 'xx' 09", 2, 1, 0, 0, 0, 0},         // the end mark's name does not count
    {"03 0001 'a' 05 0000 09", 5, 1, 1, 0, 0, 0},  // and member, name, value
    {"10 0001 'C' 0001 'a' 05 000009", 5, 1, 2, 0, 0, 0},
    {"10 0000 000009", 2, 1, 0, 0, 0, 0},
    {"0A 00000000", 1, 1, 0, 0, 0, 0},
    {"0A 00000002 05 06", 3, 1, 0, 0, 0, 0},
    {"08 00000000", 1, 1, 0, 0, 0, 0},
    {"08 00000001 0001 'k' 05", 4, 1, 1, 0, 0, 0},
    {"0A 00000002 0A 00000000 07 0000", 3, 2, 0, 0, 1, 1},
    {"0A 00000003 0A 00000000 0A 00000001 07 0000 07 0001", 6, 3, 0, 0, 2, 3},
    {"0A 00000002 03 000009 07 0000", 5, 2, 0, 0, 1, 2},
    {"0A 00000002 10 0001 'C' 000009 07 0000", 5, 2, 2, 0, 1, 2},
    {"11 00", 1, 0, 0, 0, 0, 0},
    {"11 01", 1, 0, 0, 0, 0, 0},
    {"11 02", 1, 0, 0, 0, 0, 0},
    {"11 03", 1, 0, 0, 0, 0, 0},
    {"11 04 FF FF FF FF", 1, 0, 0, 0, 0, 0},
    {"11 05 0000000000000000", 1, 0, 0, 0, 0, 0},
    {"11 06 01", 1, 0, 0, 0, 0, 0},
    {"11 06 07 'abc'", 1, 0, 3, 0, 0, 0},
    {"11 07 01", 1, 0, 0, 0, 0, 0},
    {"11 0B 07 '<a>'", 1, 0, 3, 0, 0, 0},
    {"11 08 01 0000000000000000", 1, 0, 0, 0, 0, 0},
    {"11 08 FF FF FF FF 0000000000000000", 1, 0, 0, 0, 0, 0},
    {"11 0C 07 010203", 1, 0, 0, 3, 0, 0},
    {"11 09 01 01", 1, 1, 0, 0, 0, 0},
    {"11 09 05 01 01 01", 3, 1, 0, 0, 0, 0},
    {"11 09 03 03 'a' 01 01 01", 5, 1, 1, 0, 0, 0},
    {"11 0A 03 01", 2, 1, 0, 0, 0, 0},
    {"11 0A 0B 01 01", 2, 1, 0, 0, 0, 0},
    {"11 0A 23 03 'C' 03 'a' 03 'b' 01 01", 8, 1, 3, 0, 0, 0},
    {"11 0A 2B 03 'C' 03 'a' 01 01 01 03 'd' 01 01", 11, 1, 3, 0, 0, 0},
    // The name "a" by reference: a copy.
    {"11 09 05 01 06 03 'a' 0A 0B 01 00 01 01", 7, 2, 2, 0, 1, 1},
    {"11 09 05 01 06 03 'a' 06 00", 3, 1, 2, 0, 1, 1},
    {"11 09 05 01 07 03 'a' 0B 02", 3, 1, 2, 0, 1, 1},
    {"11 09 05 01 08 01 0000000000000000 08 02", 3, 1, 0, 0, 1, 1},
    {"11 09 05 01 0C 03 00 0C 02", 3, 1, 0, 2, 1, 1},
    {"11 09 05 01 09 01 01 09 02", 3, 2, 0, 0, 1, 1},
    {"11 09 05 01 0A 03 01 0A 02", 5, 2, 0, 0, 1, 2},
    // Traits by reference: class name, members and their names are copies.
    {"11 09 05 01 0A 13 03 'C' 03 'a' 01 0A 01 01", 11, 2, 4, 0, 1, 3},
    // While the object that brought them is still being read.
    {"11 0A 13 01 03 'a' 0A 01 01", 9, 2, 2, 0, 1, 3},
};

TEST(GuardVerdict, CountsWhatTheTreeWillHold) {
  for (const Figures& row : kOrderly) {
    SCOPED_TRACE(row.value);
    const std::string packet = packetOf(row.value);
    const AMFVerifyResult result = verify(packet);
    EXPECT_EQ(Status::ok, result.status) << result.message << " at " << result.offset;
    EXPECT_STREQ("ok", result.message);
    EXPECT_EQ(0u, result.offset);
    EXPECT_EQ(0u, result.needed);
    EXPECT_EQ(packet.size(), result.consumed);
    EXPECT_EQ(AMFVerifyResult::kEnvelope, result.section);
    EXPECT_EQ(4 + row.nodes, result.nodes);
    EXPECT_EQ(row.depth, result.depth);
    EXPECT_EQ(2 + row.stringBytes, result.stringBytes);
    EXPECT_EQ(row.rawBytes, result.rawBytes);
    EXPECT_EQ(row.references, result.references);
    EXPECT_EQ(row.copiedNodes, result.copiedNodes);
    EXPECT_EQ(1u, result.messages);
    EXPECT_EQ(0u, result.headers);
    EXPECT_EQ(0u, result.lengthMismatches);
    EXPECT_LE(result.copiedBytes, result.treeBytes);
  }
}

TEST(GuardVerdict, ExternalizableObjectsHoldOneNamelessMember) {
  const std::string begin = std::string("11 09 05 01 0A 17 ") + kArrayCollection + " 01 ";
  // Array, object, class name, member, name, value; then the same by reference.
  const AMFVerifyResult whole = verify(packetOf(begin + "0A 02"));
  EXPECT_EQ(Status::ok, whole.status);
  EXPECT_EQ(4 + 11u, whole.nodes);
  EXPECT_EQ(5u, whole.copiedNodes);
  // By reference to its traits: an ordinary object of one sealed member.
  const AMFVerifyResult ordinary = verify(packetOf(begin + "0A 01 01"));
  EXPECT_EQ(Status::ok, ordinary.status);
  EXPECT_EQ(4 + 11u, ordinary.nodes);
  EXPECT_EQ(3u, ordinary.copiedNodes);
  EXPECT_EQ(2 + 2 * 33u, ordinary.stringBytes);
  // Traits that say "none" can be referred to from inside the body.
  const AMFVerifyResult inside =
      verify(packetOf(std::string("11 0A 07 ") + kArrayCollection + " 0A 01"));
  EXPECT_EQ(Status::ok, inside.status);
  EXPECT_EQ(4 + 6u, inside.nodes);
  // Its dynamic flag is copied too: members follow.
  const AMFVerifyResult dynamic = verify(
      packetOf(std::string("11 09 05 01 0A 0F ") + kArrayCollection + " 01 0A 01 03 'd' 01 01"));
  EXPECT_EQ(Status::ok, dynamic.status);
  EXPECT_EQ(4 + 11u, dynamic.nodes);
}

TEST(GuardVerdict, AcceptsTheEightClassesAndFollowsTheVariables) {
  const char** const variables[] = {&cArrayClass, &cObjProxyClass,   &cSerialProxy,
                                    &cAsyncMsg,   &cCommandMsg,      &cDataMsg,
                                    &cPagedMsg,   &cUpdateCollectMsg};
  for (const char** const variable : variables) {
    const std::string name = *variable;
    const auto packetFor = [](const std::string& className) {
      const auto head = static_cast<std::uint32_t>(className.size()) << 1 | 1;
      return packetWith(hex("11 0A 07") + u29(head) + className + hex("01"));
    };
    SCOPED_TRACE(name);
    EXPECT_EQ(Status::ok, verify(packetFor(name)).status);
    EXPECT_EQ(Status::malformed, verify(packetFor("own.Class")).status);
    const char* const kept = *variable;
    *variable = "own.Class";
    EXPECT_EQ(Status::ok, verify(packetFor("own.Class")).status);
    EXPECT_EQ(Status::malformed, verify(packetFor(name)).status);
    *variable = nullptr;
    EXPECT_EQ(Status::malformed, verify(packetFor(name)).status);
    *variable = "";
    EXPECT_EQ(Status::ok, verify(packetFor("")).status);
    *variable = kept;
    EXPECT_EQ(Status::malformed, verify(packetFor("")).status);
  }
}

// ---- Envelope ----------------------------------------------------------------------------------

TEST(GuardVerdict, NullAndTooLarge) {
  const AMFVerifyResult none = verifyPacket(nullptr, 6);
  EXPECT_EQ(Status::nullPacket, none.status);
  EXPECT_STREQ("no packet", none.message);
  EXPECT_EQ(Status::nullPacket, verifyPacket(nullptr, 0).status);

  const std::string packet = hex("0003 0000 0000");
  AMFVerifyLimits limits;
  limits.maxPacketBytes = packet.size();
  EXPECT_EQ(Status::ok, verify(packet, limits).status);
  limits.maxPacketBytes = packet.size() - 1;
  const AMFVerifyResult large = verify(packet, limits);
  EXPECT_EQ(Status::packetTooLarge, large.status);
  EXPECT_STREQ("packet too large", large.message);
  EXPECT_EQ(0u, large.offset);
  EXPECT_EQ(0u, large.consumed);
  EXPECT_EQ(0u, large.nodes);
}

TEST(GuardVerdict, EmptyPacket) {
  const AMFVerifyResult result = verify(hex("0003 0000 0000"));
  EXPECT_EQ(Status::ok, result.status);
  EXPECT_EQ(6u, result.consumed);
  EXPECT_EQ(1u, result.nodes);
  EXPECT_EQ(0u, result.depth);
  EXPECT_EQ(0u, result.headers + result.messages);
}

TEST(GuardVerdict, HeadersComeFirstInTheSectionNumbers) {
  const std::string twoOfEach =
      "0000 0002 0001 'h' 01 00000001 05 0000 FF FFFFFFFF 09 0002 0000 0000 00000001 05 0000 0000 "
      "FFFFFFFF ";
  const AMFVerifyResult whole = verify(hex(twoOfEach + "05"));
  EXPECT_EQ(Status::ok, whole.status);
  EXPECT_EQ(2u, whole.headers);
  EXPECT_EQ(2u, whole.messages);
  EXPECT_EQ(1 + 2 * 3 + 2 * 4u, whole.nodes);
  const AMFVerifyResult bad = verify(hex(twoOfEach + "04"));
  EXPECT_EQ(Status::malformed, bad.status);
  EXPECT_EQ(3u, bad.section);
  EXPECT_EQ(2u, bad.headers);
  EXPECT_EQ(1u, bad.messages);
}

TEST(GuardVerdict, TablesDoNotReachAcrossSections) {
  const std::string first = "0000 0001 0000 00 FFFFFFFF 0A 00000000 0001 0000 0000 FFFFFFFF ";
  const AMFVerifyResult reference0 = verify(hex(first + "07 0000"));
  EXPECT_STREQ(refusals::kBadIndex0, reference0.message);
  EXPECT_EQ(1u, reference0.section);
  const std::string second =
      "0000 0000 0002 0000 0000 FFFFFFFF 11 0A 03 03 'a' 0000 0000 FFFFFFFF ";
  EXPECT_STREQ(refusals::kStringIndex, verify(hex(second + "11 06 00")).message);
  EXPECT_STREQ(refusals::kObjectIndex, verify(hex(second + "11 0A 00")).message);
  EXPECT_STREQ(refusals::kTraitsIndex, verify(hex(second + "11 0A 01")).message);
}

TEST(GuardVerdict, TablesLiveForOneSectionNotForOneSwitch) {
  EXPECT_EQ(Status::ok, verify(packetOf("0A 00000002 11 06 03 'a' 11 06 00")).status);
  EXPECT_EQ(Status::ok, verify(packetOf("0A 00000002 11 0A 03 01 11 0A 00")).status);
  EXPECT_EQ(Status::ok, verify(packetOf("0A 00000002 11 0A 03 01 11 0A 01")).status);
}

TEST(GuardVerdict, BytesAfterTheLastMessageAreNoError) {
  const std::string packet = packetOf("05");
  for (const std::size_t more : {0u, 1u, 7u, 1000u}) {
    const AMFVerifyResult result = verify(packet + std::string(more, '\xFF'));
    EXPECT_EQ(Status::ok, result.status);
    EXPECT_EQ(packet.size(), result.consumed);
  }
  // Members after an associative array that says it has none.
  const AMFVerifyResult remainder = verify(packetOf("08 00000000 0001 'a' 05 000009"));
  EXPECT_EQ(Status::ok, remainder.status);
  EXPECT_EQ(21u, remainder.consumed);
}

TEST(GuardVerdict, CountsDeclaredLengthsThatAreWrong) {
  const char kForm[] = "0000 0001 0000 00 ";
  EXPECT_EQ(0u, verify(hex(std::string(kForm) + "FFFFFFFF 05 0000")).lengthMismatches);
  EXPECT_EQ(0u, verify(hex(std::string(kForm) + "00000001 05 0000")).lengthMismatches);
  EXPECT_EQ(1u, verify(hex(std::string(kForm) + "00000000 05 0000")).lengthMismatches);
  EXPECT_EQ(1u, verify(hex(std::string(kForm) + "00000002 05 0000")).lengthMismatches);
  EXPECT_EQ(0u,
            verify(hex(std::string(kForm) + "00000009 00 0000000000000000 0000")).lengthMismatches);
  EXPECT_EQ(
      2u,
      verify(hex("0000 0000 0002 0000 0000 00000003 05 0000 0000 FFFFFFFE 05")).lengthMismatches);
}

// ---- The rest of the interface -----------------------------------------------------------------

TEST(GuardVerdict, DescribesEveryStatus) {
  const char* const kTexts[] = {"ok",
                                "no packet",
                                "packet too large",
                                "truncated",
                                "malformed",
                                "depth limit",
                                "node limit",
                                "tree size limit",
                                "copy limit",
                                "string limit",
                                "switched reference limit",
                                "out of memory"};
  for (std::uint32_t code = 0; code < 12; ++code) {
    EXPECT_STREQ(kTexts[code], describe(static_cast<Status>(code)));
  }
  EXPECT_STREQ("unknown status", describe(static_cast<Status>(12)));
  EXPECT_STREQ("unknown status", describe(static_cast<Status>(0xFFFFFFFF)));
}

TEST(GuardVerdict, DefaultsOfTheLimits) {
  const AMFVerifyLimits limits;
  EXPECT_EQ(67108864u, limits.maxPacketBytes);
  EXPECT_EQ(64u, limits.maxDepth);
  EXPECT_EQ(1000000u, limits.maxNodes);
  EXPECT_EQ(134217728u, limits.maxTreeBytes);
  EXPECT_EQ(67108864u, limits.maxCopiedBytes);
  EXPECT_EQ(8388608u, limits.maxStringBytes);
  EXPECT_EQ(64u, limits.maxSwitchedReferences);
}

TEST(GuardVerdict, ParseVerifiedParsesWhatIsInOrder) {
  AMFProtocol protocol;
  const std::string packet = packetOf("02 0002 'hi'");
  AMFVerifyResult result;
  AMFPackage* const package =
      parseVerified(protocol, packet.data(), packet.size(), AMFVerifyLimits(), &result);
  ASSERT_NE(nullptr, package);
  EXPECT_EQ(package, protocol.package);
  EXPECT_EQ(Status::ok, result.status);
  EXPECT_EQ(packet.data() + result.consumed, protocol.readCursor);
  EXPECT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
}

TEST(GuardVerdict, ParseVerifiedLeavesTheProtocolAloneWhenItRefuses) {
  AMFProtocol protocol;
  const std::string good = packetOf("02 0002 'hi'");
  AMFPackage* const package = parseVerified(protocol, good.data(), good.size());
  const char* const cursor = protocol.readCursor;
  const std::string bad = packetOf("04");
  AMFVerifyResult result;
  EXPECT_EQ(nullptr, parseVerified(protocol, bad.data(), bad.size(), AMFVerifyLimits(), &result));
  EXPECT_EQ(Status::malformed, result.status);
  EXPECT_EQ(17u, result.offset);
  EXPECT_EQ(nullptr, parseVerified(protocol, bad.data(), bad.size()));
  EXPECT_EQ(nullptr, parseVerified(protocol, nullptr, 0, AMFVerifyLimits(), &result));
  EXPECT_EQ(Status::nullPacket, result.status);
  EXPECT_EQ(package, protocol.package);
  EXPECT_EQ(cursor, protocol.readCursor);
}

}  // namespace
