// SPDX-License-Identifier: Apache-2.0
//
// The public header as a host writes against it: which constructions compile, what the list of
// pieces offers, what the calls take.
#include <gtest/gtest.h>
#include <AMF2JSON>

#include <algorithm>
#include <iterator>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>
#if __cplusplus >= 202002L
#include <ranges>
#endif

#include "support/dump.h"
#include "support/refusal.h"
#include "support/trees.h"

namespace {

// ---- Constructors ------------------------------------------------------------------------------

template <class Node>
Node inBraces() {
  return {AMF_VERSION_3, nullptr};
}

// One argument stays explicit, two are not; nothing competes with (version, parent).
template <class Node>
constexpr bool takesVersionAndParent() {
  return std::is_constructible_v<Node, AMFVersion, std::nullptr_t> &&
         std::is_constructible_v<Node, AMFVersion, AMFNode*> &&
         std::is_constructible_v<Node, AMFVersion> && !std::is_convertible_v<AMFVersion, Node>;
}
static_assert(takesVersionAndParent<AMFNull>() && takesVersionAndParent<AMFUndefined>());
static_assert(takesVersionAndParent<AMFBool>() && takesVersionAndParent<AMFInt>());
static_assert(takesVersionAndParent<AMFDouble>() && takesVersionAndParent<AMFDate>());
static_assert(takesVersionAndParent<AMFRaw>() && takesVersionAndParent<AMFString>());
static_assert(takesVersionAndParent<AMFXML>() && takesVersionAndParent<AMFArray>());
static_assert(takesVersionAndParent<AMFPair>() && takesVersionAndParent<AMFObject>());
static_assert(std::is_constructible_v<AMFHeader, std::nullptr_t> &&
              std::is_constructible_v<AMFMessage, std::nullptr_t>);
static_assert(!std::is_convertible_v<AMFNode*, AMFHeader> &&
              !std::is_convertible_v<AMFNode*, AMFMessage>);
static_assert(std::is_convertible_v<const char*, AMFException>);
static_assert(std::is_same_v<decltype(std::declval<AMFObject>().getChild(0)), AMFPair*>);

template <class Node>
void checkForms() {
  AMFNull parent(AMF_VERSION_0);
  const Node withNull(AMF_VERSION_3, nullptr);
  const Node withZero(AMF_VERSION_3, 0);
  const Node inList = {AMF_VERSION_3, nullptr};
  const Node braced{AMF_VERSION_3, {}};
  const Node returned = inBraces<Node>();
  const Node withParent = {AMF_VERSION_3, &parent};
  const std::unique_ptr<Node> made = std::make_unique<Node>(AMF_VERSION_3, nullptr);
  const Node* const all[] = {&withNull, &withZero, &inList, &braced, &returned, made.get()};
  for (const Node* const node : all) {
    EXPECT_EQ(node->parent, nullptr);
    EXPECT_EQ(node->version, AMF_VERSION_3);
  }
  EXPECT_EQ(withParent.parent, &parent);
}

TEST(Interface, NodesAreMadeInEveryFormOfTwoArguments) {
  checkForms<AMFNull>();
  checkForms<AMFUndefined>();
  checkForms<AMFBool>();
  checkForms<AMFInt>();
  checkForms<AMFDouble>();
  checkForms<AMFDate>();
  checkForms<AMFRaw>();
  checkForms<AMFString>();
  checkForms<AMFXML>();
  checkForms<AMFArray>();
  checkForms<AMFPair>();
  checkForms<AMFObject>();
}

struct HostObject : AMFObject {
  explicit HostObject(AMFVersion nodeVersion) : AMFObject(nodeVersion, nullptr) {}
  HostObject* clone() const override { return new HostObject(*this); }
};
struct HostPair : AMFPair {
  explicit HostPair(AMFVersion nodeVersion)
      : AMFPair(nodeVersion, nullptr, static_cast<AMFNode::AMFType>(54)) {}
  HostPair* clone() const override { return new HostPair(*this); }
};

TEST(Interface, ClassesOfAHostAreMadeFromTheLibrarys) {
  EXPECT_EQ(HostObject(AMF_VERSION_3).className->length, 0u);
  EXPECT_EQ(HostPair(AMF_VERSION_0).type, 54u);
  const AMFException e = {"x"};
  EXPECT_STREQ(e.message, "x");
}

TEST(Interface, AnObjectsChildrenArePairs) {
  AMFObject object = {AMF_VERSION_3, nullptr};
  auto named = std::make_unique<AMFPair>(AMF_VERSION_3);
  named->setName(trees::string(trees::k3, "n"), false);
  object.appendChild(named.release(), false);
  const AMFPair* const pair = object.getChild(0);
  EXPECT_EQ(support::dump(pair->name), "str3 'n'");
  EXPECT_EQ(object.getChild(1), nullptr);
}

// ---- The list of pieces ------------------------------------------------------------------------

std::string joined(const AMFOutputChunks& list) {
  std::string bytes;
  for (const AMFOutputChunks::Chunk& chunk : list) bytes.append(chunk.bytes, chunk.length);
  return bytes;
}

class PieceList : public testing::Test {
 protected:
  PieceList() {
    const std::string text(2000, 't');
    string.setValue(text.data(), 2000);
    protocol.setAMF0Reference(1);                                      // 1 and 2 bytes
    protocol.setAMF0String(&string, false, AMFProtocol::AMF0_STRING);  // 2 and 2000
    protocol.setAMF0Double(&number);                                   // 1 and 8
  }
  AMFString string{AMF_VERSION_0};
  AMFDouble number{AMF_VERSION_0};
  AMFProtocol protocol;
  const AMFOutputChunks& list = protocol.outputChunks;
  const std::vector<std::uint32_t> lengths{1, 2, 2, 2000, 1, 8};
};

TEST_F(PieceList, ReferencesStayWhereIteratorsMoveOn) {
  const auto& a = *list.begin();
  const auto& b = *std::next(list.begin());
  const auto& c = *std::next(list.begin(), 3);
  EXPECT_EQ(a.length, 1u);
  EXPECT_EQ(b.length, 2u);
  EXPECT_EQ(c.length, 2000u);
}

TEST_F(PieceList, HasWhatAListHas) {
  EXPECT_EQ(list.size(), 6u);
  EXPECT_FALSE(list.empty());
  EXPECT_EQ(list.front().length, 1u);
  EXPECT_EQ(list.back().length, 8u);
  EXPECT_EQ(std::prev(list.end())->length, 8u);
  EXPECT_EQ(list[3].length, 2000u);
  EXPECT_EQ(list.at(5).length, 8u);
  EXPECT_THROW(static_cast<void>(list.at(6)), std::out_of_range);
  EXPECT_EQ(list.cbegin()->length, 1u);
  EXPECT_EQ(list.rbegin()->length, 8u);
  EXPECT_EQ(list.crbegin()[5].length, 1u);
  EXPECT_EQ(list.rend() - list.rbegin(), 6);
  EXPECT_EQ(list.cend() - list.cbegin(), 6);
  EXPECT_EQ(list.data(), &list[0]);
  std::vector<std::uint32_t> backwards;
  std::transform(list.rbegin(), list.rend(), std::back_inserter(backwards),
                 [](const auto& chunk) { return chunk.length; });
  std::reverse(backwards.begin(), backwards.end());
  EXPECT_EQ(backwards, lengths);
  const std::vector<AMFOutputChunks::Chunk> copied(list.begin(), list.end());
  EXPECT_EQ(copied.size(), 6u);
  EXPECT_EQ(std::accumulate(copied.begin(), copied.end(), 0u,
                            [](unsigned sum, const auto& chunk) { return sum + chunk.length; }),
            2014u);
#if __cplusplus >= 202002L
  static_assert(std::ranges::contiguous_range<const AMFOutputChunks>);
  EXPECT_EQ(std::ranges::size(list), 6u);
#endif
}

TEST_F(PieceList, GrowsWithWhatIsWrittenBetweenLooks) {
  std::vector<std::size_t> sizes;
  for (unsigned i = 0; i < 20000; ++i) {  // linear: one look for each write
    protocol.setAMF0Reference(i);
    sizes.push_back(list.size());
  }
  EXPECT_EQ(sizes.front(), 8u);
  EXPECT_EQ(sizes.back(), 40006u);
  EXPECT_EQ(list[40005].length, 2u);
  protocol.clean();
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0u);
  EXPECT_EQ(list.begin(), list.end());
}

TEST_F(PieceList, ACopyIsAListOfItsOwn) {
  const std::string before = joined(list);
  const AMFOutputChunks copy = list;
  AMFOutputChunks assigned;
  assigned = list;
  assigned = *&assigned;
  protocol.clean();
  for (const AMFOutputChunks* const other :
       {&copy, static_cast<const AMFOutputChunks*>(&assigned)}) {
    EXPECT_EQ(joined(*other), before);
    EXPECT_EQ(other->size(), 6u);
    EXPECT_EQ((*other)[3].length, 2000u);
  }
  protocol.outputChunks = copy;
  EXPECT_EQ(joined(list), before);
  protocol.setAMF0Reference(2);
  EXPECT_EQ(list.size(), 8u);
  EXPECT_EQ(copy.size(), 6u);
}

// ---- Compiling again and again -----------------------------------------------------------------

TEST(CompileWithoutClean, KeepsTheBytesOfEveryRun) {
  AMFProtocol protocol;
  const auto message = std::make_unique<AMFMessage>();
  std::string text;
  std::vector<AMFOutputChunks::Chunk> kept;
  std::vector<std::string> expected;
  for (unsigned i = 0; i < 300; ++i) {
    text.assign(i * 7 + 1, static_cast<char>('a' + i % 26));
    auto value = std::make_unique<AMFString>(AMF_VERSION_0);
    value->setValue(text.data(), static_cast<unsigned>(text.size()));
    AMFPackage one(AMF_VERSION_0);
    message->setValue(value.get(), true);
    one.appendMessage(message.get(), true);
    protocol.compile(&one);
    kept.push_back(protocol.outputChunks.back());
    expected.push_back(text);
  }
  for (unsigned i = 0; i < kept.size(); ++i) {
    EXPECT_EQ(std::string(kept[i].bytes, kept[i].length), expected[i]) << i;
  }
  protocol.clean();
  EXPECT_EQ(std::string(kept[0].bytes, kept[0].length), expected[0]);
  EXPECT_EQ(std::string(kept[298].bytes, kept[298].length), expected[298]);
}

// ---- What the calls take -----------------------------------------------------------------------

std::string compiled(AMFProtocol& protocol) {
  return joined(protocol.outputChunks);
}

template <class Pair>
std::string objectWith() {
  AMFObject object(AMF_VERSION_3);
  auto pair = std::make_unique<Pair>(AMF_VERSION_3);
  pair->setName(trees::string(trees::k3, "n"), false);
  pair->setValue(new AMFNull(AMF_VERSION_3), false);
  object.children.push_back(pair.release());
  object.dynamic = true;
  AMFProtocol protocol;
  protocol.setAMF3Object(&object);
  return compiled(protocol);
}
struct HeaderOfVersion3 : AMFHeader {
  explicit HeaderOfVersion3(AMFVersion nodeVersion) { version = nodeVersion; }
};

TEST(Pairs, OfEveryKindAreMembersOfAnAMF3Object) {
  const std::string expected("\x0A\x0B\x01\x03n\x01\x01", 7);
  EXPECT_EQ(objectWith<AMFPair>(), expected);
  EXPECT_EQ(objectWith<HostPair>(), expected);
  EXPECT_EQ(objectWith<HeaderOfVersion3>(), expected);
}

TEST(Pairs, WhatIsNoneIsRefused) {
  AMFObject object(AMF_VERSION_3);
  object.children.push_back(new AMFNull(AMF_VERSION_3));
  object.dynamic = true;
  AMFProtocol protocol;
  EXPECT_EQ(support::refusal([&] { protocol.setAMF3Object(&object); }),
            "setAMF3Object: invalid dynamic properties number");
}

TEST(Pairs, HeadersAndMessagesMayBeOfAnotherKind) {
  AMFProtocol protocol;
  AMFHeader header;
  header.type = static_cast<AMFNode::AMFType>(54);
  protocol.setHeader(&header);
  AMFMessage message;
  message.type = static_cast<AMFNode::AMFType>(55);
  protocol.setMessage(&message);
  EXPECT_EQ(compiled(protocol),
            std::string("\0\0\0\xFF\xFF\xFF\xFF\x06\0\0\0\0\xFF\xFF\xFF\xFF\x06", 17));
}

TEST(Pairs, AMessageInTheHeadersPlaceIsRefusedAndNothingIsCast) {
  AMFPackage package(AMF_VERSION_0);
  package.appendHeader(nullptr, false);
  AMFMessage message;
  package.appendMessage(&message, true);
  AMFProtocol protocol;
  EXPECT_EQ(support::refusal([&] { protocol.compile(&package); }),
            "setHeader(): lack of header type node");
}

TEST(CopiedNames, AreStringsWhateverTheyWereCopiedFrom) {
  AMFXML xml(AMF_VERSION_3);
  xml.AMFRaw::setValue("<a/>", 4);
  AMFPair pair(AMF_VERSION_3);
  pair.setName(&xml, true);
  AMFObject object(AMF_VERSION_3);
  object.setClassName(&xml, true);
  AMFMessage message;
  message.setTargetUri(&xml, true);
  message.setResponseUri(&xml, true);
  for (const AMFString* const name :
       {pair.name, object.className, message.targetUri, message.responseUri}) {
    EXPECT_EQ(support::dump(name), "str3 '<a/>'");
  }
  pair.setName(new AMFXML(xml), false);
  const std::unique_ptr<AMFPair> copy(pair.clone());
  EXPECT_EQ(copy->name->type, AMFNode::AMF_STRING);
}

TEST(Renderer, TakesConstNodes) {
  const AMFNull null(AMF_VERSION_0);
  const AMFArray array(AMF_VERSION_0);
  AMFProtocol protocol;
  protocol.appendNode(&null, AMF_VERSION_0);
  protocol.appendChild("child", &null, AMF_VERSION_0, false);
  protocol.appendChildren("children", &array);
  EXPECT_NE(protocol.jsonText.find("children"), std::string::npos);
}

}  // namespace
