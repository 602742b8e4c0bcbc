// SPDX-License-Identifier: Apache-2.0
//
// The packet writer: the envelope in pieces, and the lifetime of resultBuffer and outputLength.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "support/dump.h"
#include "support/hex.h"
#include "support/pieces.h"
#include "support/refusal.h"
#include "support/trees.h"
#include "support/value_rows.h"

namespace {

using namespace trees;
using support::dump;
using support::hex;
using support::pieces;
using support::toHex;
using support::ValueRow;

std::string result(const AMFProtocol& protocol) {
  return std::string(protocol.resultBuffer, protocol.getResultLength());
}

std::unique_ptr<AMFPackage> packageOf(AMFNode* tree) {
  return std::unique_ptr<AMFPackage>(dynamic_cast<AMFPackage*>(tree));
}

AMFHeader* withMustUnderstand(AMFHeader* node, std::uint8_t byte) {
  std::memcpy(&node->mustUnderstand, &byte, 1);
  return node;
}

template <class Node>
Node* ofVersion(Node* node, std::uint32_t version) {
  node->version = versionOf(version);
  return node;
}

const ValueRow kPackets[] = {
    {"nothing in it", TREE(package(k3, {})), "0003|0000|0000"},
    {"version 0", TREE(package(k0, {})), "0000|0000|0000"},
    {"any 16-bit version", TREE(package(versionOf(0xABCD), {})), "ABCD|0000|0000"},
    {"the low 16 bits of a larger one", TREE(package(versionOf(0x12345678), {})), "5678|0000|0000",
     "package(22136){headers=0}"},
    {"default message", TREE(package(k3, {new AMFMessage()})),
     "0003|0000|0001|0000|0000|FFFFFFFF|06"},
    {"default header", TREE(package(k3, {new AMFHeader()})), "0003|0001|0000|00|FFFFFFFF|06|0000"},
    {"message", TREE(package(k3, {message("a.b", "/1", string(k0, "hi"), 5)})),
     "0003|0000|0001|0003|'a.b'|0002|'/1'|00000005|02|0002|'hi'"},
    {"header", TREE(package(k3, {header("Cred", null(k0), false, 1)})),
     "0003|0001|0004|'Cred'|00|00000001|05|0000"},
    {"header that must be understood", TREE(package(k3, {header("h", null(k0), true, 1)})),
     "0003|0001|0001|'h'|01|00000001|05|0000"},
    {"must-understand is written as 0 or 1",
     TREE(package(k3, {withMustUnderstand(header("h", null(k0)), 2)})),
     "0003|0001|0001|'h'|01|FFFFFFFF|05|0000", "package3{headers=1 header{'h' must len=? null0}}"},
    {"lengths go out as they stand",
     TREE(package(k3, {header("h", null(k0), false, 0), message("", "", null(k0), 0xFFFFFFFE)})),
     "0003|0001|0001|'h'|00|00000000|05|0001|0000|0000|FFFFFFFE|05"},
    {"two headers, two messages",
     TREE(package(k0, {header("a", null(k0)), header("b", undefined(k0)),
                       message("c", "d", null(k0)), message("e", "f", undefined(k0))})),
     "0000|0002|0001|'a'|00|FFFFFFFF|05|0001|'b'|00|FFFFFFFF|06|0002"
     "|0001|'c'|0001|'d'|FFFFFFFF|05|0001|'e'|0001|'f'|FFFFFFFF|06"},
    {"AMF3 null in a message", TREE(package(k3, {message("", "", null(k3))})),
     "0003|0000|0001|0000|0000|FFFFFFFF|11|01"},
    {"AMF3 value in a header", TREE(package(k3, {header("", string(k3, "a"))})),
     "0003|0001|0000|00|FFFFFFFF|11|06|03|61|0000"},
    {"URI of 65535 bytes", TREE(package(k3, {message(std::string(65535, 'u'), "", null(k0))})),
     "0003|0000|0001|FFFF|75*65535|0000|FFFFFFFF|05"},
    {"references and versions of names play no part", TREE([] {
       AMFMessage* const one = message("t", "r", null(k0));
       one->setTargetUri(reference(string(k3, "t"), 1), false);
       one->setResponseUri(reference(string(k3, "r"), 2), false);
       return package(k3, {one});
     }()),
     "0003|0000|0001|0001|'t'|0001|'r'|FFFFFFFF|05",
     "package3{headers=0 message{'t' 'r' len=? null0}}"},
    {"an AMF0 reference as a message's value",
     TREE(package(
         k3,
         {message("", "", array(k0, {object(k0, "", {}), reference(object(k0, "", {}), 0)}, 1))})),
     "0003|0000|0001|0000|0000|FFFFFFFF|0A|00000002|03|0000|09|07|0000"},
};

TEST(PacketWriter, EnvelopePieceByPiece) {
  for (const ValueRow& row : kPackets) {
    SCOPED_TRACE(row.name);
    AMFProtocol protocol;
    const auto tree = packageOf(row.tree());
    const char* const bytes = protocol.compile(tree.get());
    EXPECT_EQ(bytes, protocol.resultBuffer);
    EXPECT_EQ(pieces(protocol), pieces(row.written));
    EXPECT_EQ(toHex(result(protocol)), toHex(support::joined(row.written)));
  }
}

TEST(PacketWriter, WhatIsWrittenReadsBack) {
  for (const ValueRow& row : kPackets) {
    SCOPED_TRACE(row.name);
    const auto tree = packageOf(row.tree());
    const std::string bytes = support::joined(row.written);
    AMFProtocol protocol;
    const AMFPackage* const read = protocol.parse(bytes.data());
    EXPECT_EQ(protocol.readCursor, bytes.data() + bytes.size());
    EXPECT_EQ(dump(read),
              row.readBack == std::string(support::kSame) ? dump(tree.get()) : row.readBack);
  }
}

// The version of the header or message node is the version of the place. One read from a packet is
// 0.
struct PlaceRow {
  const char* name;
  std::uint32_t place;
  AMFNode* (*value)();
  const char* headerValue;
};

TEST(PacketWriter, TheEnvelopeNodesVersionIsThePlaces) {
  const PlaceRow kPlaces[] = {
      {"AMF3 value, place 3", 3, TREE(null(k3)), "|01"},
      {"AMF3 value, place 2", 2, TREE(null(k3)), "|01"},
      {"AMF3 value, place 0", 0, TREE(null(k3)), "|11|01"},
      {"AMF0 value, place 2", 2, TREE(null(k0)), "|05"},
  };
  for (const PlaceRow& row : kPlaces) {
    SCOPED_TRACE(row.name);
    const std::unique_ptr<AMFHeader> head(ofVersion(header("", row.value()), row.place));
    const std::unique_ptr<AMFMessage> call(ofVersion(message("", "", row.value()), row.place));
    AMFProtocol protocol;
    protocol.setHeader(head.get());
    EXPECT_EQ(pieces(protocol), pieces("0000|00|FFFFFFFF" + std::string(row.headerValue)));
    protocol.clean();
    protocol.setMessage(call.get());
    EXPECT_EQ(pieces(protocol), pieces("0000|0000|FFFFFFFF" + std::string(row.headerValue)));
  }
}

TEST(PacketWriter, CountsKeepTheirLow16Bits) {
  AMFPackage tree(k3);
  for (int i = 0; i < 65537; ++i) tree.appendMessage(new AMFMessage(), false);
  AMFProtocol protocol;
  protocol.compile(&tree);
  EXPECT_EQ(toHex(result(protocol).substr(0, 6)), "00 03 00 00 00 01");
  EXPECT_EQ(protocol.getResultLength(), 6u + 65537u * 9u);
}

// ---------------------------------------------------------------------------------------------------
// Refusals: the pieces stay, outputLength is 0, the buffer is that of the run before

struct RefusalRow {
  const char* name;
  AMFNode* (*tree)();
  const char* text;
  const char* written;
};

AMFPackage* withHeaderCount(AMFPackage* node, std::uint32_t count) {
  node->headerCount = count;
  return node;
}

AMFPackage* withNullHeader(AMFPackage* node) {
  node->appendHeader(nullptr, false);
  return node;
}

AMFMessage* withoutUri(AMFMessage* node, bool target) {
  AMFString*& uri = target ? node->targetUri : node->responseUri;
  delete uri;
  uri = nullptr;
  return node;
}

AMFMessage* withoutValue(AMFMessage* node) {
  delete node->value;
  node->value = nullptr;
  return node;
}

AMFHeader* bare(AMFHeader* node, bool dropName) {
  if (dropName) {
    nameless(node);
  } else {
    valueless(node);
  }
  return node;
}

const std::string kLong(65536, 'n');

const RefusalRow kRefusals[] = {
    {"null header counted", TREE(withNullHeader(package(k3, {}))),
     "setHeader(): lack of header type node", "0003|0001"},
    {"more headers counted than children", TREE(withHeaderCount(package(k3, {}), 70000)),
     "setHeader(): lack of header type node", "0003|1170"},
    {"null after the headers", TREE(withHeaderCount(package(k3, {header("h", null(k0))}), 2)),
     "setHeader(): lack of header type node", "0003|0002|0001|'h'|00|FFFFFFFF|05"},
    {"null child for a message", TREE([] {
       AMFPackage* const tree = package(k3, {message("", "", null(k0))});
       tree->children.push_back(nullptr);
       return tree;
     }()),
     "setMessage(): lack of message type node", "0003|0000|0002|0000|0000|FFFFFFFF|05"},
    {"header name of 65536 bytes", TREE(package(k3, {header(kLong, null(k0))})),
     "setAMF0String(): string is too large", "0003|0001"},
    {"target URI of 65536 bytes", TREE(package(k3, {message(kLong, "", null(k0))})),
     "setAMF0String(): string is too large", "0003|0000|0001"},
    {"response URI of 65536 bytes", TREE(package(k3, {message("t", kLong, null(k0))})),
     "setAMF0String(): string is too large", "0003|0000|0001|0001|'t'"},
    {"header without a name", TREE(package(k3, {bare(header("h", null(k0)), true)})),
     "setAMF0String(): lack of string type node", "0003|0001"},
    {"header without a value", TREE(package(k3, {bare(header("h", null(k0)), false)})),
     "setNodeValue(): lack of value type node", "0003|0001|0001|'h'|00|FFFFFFFF"},
    {"message without a target", TREE(package(k3, {withoutUri(new AMFMessage(), true)})),
     "setAMF0String(): lack of string type node", "0003|0000|0001"},
    {"message without a response", TREE(package(k3, {withoutUri(new AMFMessage(), false)})),
     "setAMF0String(): lack of string type node", "0003|0000|0001|0000"},
    {"message without a value", TREE(package(k3, {withoutValue(new AMFMessage())})),
     "setNodeValue(): lack of value type node", "0003|0000|0001|0000|0000|FFFFFFFF"},
    {"integer of version 0", TREE(package(k3, {message("", "", integer(k0, 1))})),
     "setNodeValue(): integer type is not supported in AMF0 use double instead",
     "0003|0000|0001|0000|0000|FFFFFFFF"},
    {"AMF0 value in a message of version 3",
     TREE(package(k3, {ofVersion(message("", "", null(k0)), 3)})),
     "setNodeValue(): switching AMF3 -> AMF0  is impossible", "0003|0000|0001|0000|0000|FFFFFFFF"},
};

TEST(PacketWriter, RefusalsKeepThePiecesAndTheOldBuffer) {
  for (const RefusalRow& row : kRefusals) {
    SCOPED_TRACE(row.name);
    AMFProtocol protocol;
    const auto good = packageOf(package(k3, {}));
    const auto tree = packageOf(row.tree());
    const char* const before = protocol.compile(good.get());
    EXPECT_EQ(support::refusal([&] { protocol.compile(tree.get()); }), row.text);
    EXPECT_EQ(pieces(protocol), pieces(row.written));
    EXPECT_EQ(protocol.getResultLength(), 0u);
    ASSERT_EQ(protocol.resultBuffer, before);
    EXPECT_EQ(toHex(std::string(before, 6)), "00 03 00 00 00 00");

    protocol.compile(good.get());  // the object is as good as before
    EXPECT_EQ(toHex(result(protocol)), "00 03 00 00 00 00");
    EXPECT_EQ(pieces(protocol), "00 03|00 00|00 00");
  }
}

TEST(PacketWriter, NullHeaderAndMessage) {
  AMFProtocol protocol;
  EXPECT_EQ(support::refusal([&] { protocol.setHeader(nullptr); }),
            "setHeader(): lack of header type node");
  EXPECT_EQ(support::refusal([&] { protocol.setMessage(nullptr); }),
            "setMessage(): lack of message type node");
  EXPECT_TRUE(protocol.outputChunks.empty());
}

// ---------------------------------------------------------------------------------------------------
// The result buffer

TEST(PacketWriter, CompileOfNullChangesNothing) {
  AMFProtocol protocol;
  EXPECT_EQ(protocol.compile(nullptr), nullptr);
  EXPECT_EQ(protocol.resultBuffer, nullptr);

  const auto tree = packageOf(package(k3, {message("a", "b", null(k0))}));
  const char* const bytes = protocol.compile(tree.get());
  const std::string before = result(protocol);
  const std::string piecesBefore = pieces(protocol);
  EXPECT_EQ(protocol.compile(nullptr), nullptr);
  ASSERT_EQ(protocol.resultBuffer, bytes);
  EXPECT_EQ(result(protocol), before);
  EXPECT_EQ(pieces(protocol), piecesBefore);
}

TEST(PacketWriter, CompileTwiceGivesTheSame) {
  AMFProtocol protocol;
  const auto tree = packageOf(
      package(k3, {header("h", string(k3, "a")), message("a", "b", array(k0, {null(k3)}, 1))}));
  protocol.compile(tree.get());
  const std::string first = result(protocol);
  protocol.compile(tree.get());
  EXPECT_EQ(result(protocol), first);
  EXPECT_EQ(support::written(protocol), first);
}

TEST(PacketWriter, CompileLeavesTheTreeAlone) {
  AMFProtocol protocol;
  const auto tree = packageOf(
      package(k3, {header("h", null(k3)), message("a", "b", reference(string(k0, "s"), 1))}));
  const std::string before = dump(tree.get());
  protocol.compile(tree.get());
  EXPECT_EQ(dump(tree.get()), before);
}

TEST(PacketWriter, CleanKeepsTheResult) {
  AMFProtocol protocol;
  const auto tree = packageOf(package(k3, {}));
  protocol.compile(tree.get());
  protocol.clean();
  EXPECT_TRUE(protocol.outputChunks.empty());
  EXPECT_EQ(protocol.outputChunks.size(), 0u);
  EXPECT_EQ(protocol.outputChunks.begin(), protocol.outputChunks.end());
  EXPECT_EQ(toHex(result(protocol)), "00 03 00 00 00 00");
  protocol.clean();
  EXPECT_TRUE(protocol.outputChunks.empty());
}

TEST(PacketWriter, ALostResultIsTheHosts) {
  std::unique_ptr<char[]> kept;
  std::uint32_t length = 0;
  {
    AMFProtocol protocol;
    const auto tree = packageOf(package(k3, {message("a", "b", null(k0))}));
    kept.reset(protocol.compile(tree.get()));
    length = protocol.getResultLength();
    protocol.loseResultBuffer();
    EXPECT_EQ(protocol.resultBuffer, nullptr);

    const auto other = packageOf(package(k0, {}));
    EXPECT_NE(protocol.compile(other.get()), kept.get());
  }
  EXPECT_EQ(toHex(std::string(kept.get(), length)),
            toHex(hex("0003 0000 0001 0001 'a' 0001 'b' FFFFFFFF 05")));
}

TEST(PacketWriter, LosingNothingDoesNothing) {
  AMFProtocol protocol;
  protocol.loseResultBuffer();
  EXPECT_EQ(protocol.resultBuffer, nullptr);
  EXPECT_EQ(protocol.getResultLength(), 0u);
}

TEST(PacketWriter, ItsOwnPackageOrAnyOther) {
  const std::string bytes = hex("0003 0000 0001 0001 'a' 0001 'b' 00000001 05");
  AMFProtocol protocol;
  protocol.parse(bytes.data());
  protocol.compile(protocol.package);
  EXPECT_EQ(toHex(result(protocol)), toHex(bytes));
  const auto other = packageOf(package(k0, {}));
  protocol.compile(other.get());
  EXPECT_EQ(toHex(result(protocol)), "00 00 00 00 00 00");
  EXPECT_EQ(protocol.package->children.size(), 1u);
}

TEST(PacketWriter, ParseLeavesTheResultAlone) {
  AMFProtocol protocol;
  const auto tree = packageOf(package(k3, {}));
  const char* const bytes = protocol.compile(tree.get());
  const std::string packet = hex("0000 0000 0000");
  protocol.parse(packet.data());
  EXPECT_EQ(protocol.resultBuffer, bytes);
  EXPECT_EQ(toHex(result(protocol)), "00 03 00 00 00 00");
  EXPECT_EQ(pieces(protocol), "00 03|00 00|00 00");
}

}  // namespace
