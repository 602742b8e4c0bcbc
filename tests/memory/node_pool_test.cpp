// SPDX-License-Identifier: Apache-2.0
//
// Where nodes come from: pieces of chunks, or blocks of their own; hosts' classes; bytes that stand
// after their node; how much memory is kept. Threads are in pool_threads_test.cpp.
#include "memory/node_pool.h"
#include "support/pooled_nodes.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/pages.h"
#include "support/kinds.h"
#include "support/process.h"
#include "support/trees.h"

#if defined(TESTS_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#endif

using namespace amf2json;

namespace {

constexpr std::size_t kChunkBytes = 65536;
constexpr std::size_t kKeptChunks = 256;
constexpr std::size_t kShrunkChunks = 64;

using Nodes = std::vector<std::unique_ptr<AMFNode>>;

// What the build asked for; AUTO: single blocks for the sanitizers that look at blocks.
bool expectsPool() {
  const std::string option = AMF2JSON_NODE_POOL_OPTION;
  if (option != "AUTO") return option == "ON";
  return !support::kAddressSanitizer;
}

TEST(NodePool, IsOnAsTheBuildSays) {
  EXPECT_EQ(isPoolOn(), expectsPool()) << "option " << AMF2JSON_NODE_POOL_OPTION;
}

// ---- Classes of hosts --------------------------------------------------------------------------

template <std::size_t kExtra>
struct Host : AMFNull {
  Host() : AMFNull(AMF_VERSION_0) {}
  Host* clone() const override { return new Host(*this); }
  unsigned char own[kExtra] = {};
};
template <class Held>
struct Holding : AMFDouble {
  Holding() : AMFDouble(AMF_VERSION_3) {}
  Holding* clone() const override { return new Holding(*this); }
  Held own = {};
};
struct alignas(16) Wide {
  unsigned char bytes[16];
};
struct alignas(64) CacheLine {
  unsigned char bytes[64];
};
struct alignas(4096) Page {
  unsigned char bytes[2048];
};
// Exactly so large: the base takes its part.
template <std::size_t kSize>
struct Sized : Host<kSize - sizeof(AMFNull)> {
  static_assert(sizeof(Host<kSize - sizeof(AMFNull)>) == kSize, "no padding");
  Sized* clone() const override { return new Sized(*this); }
};

struct ClassRow {
  const char* name;
  AMFNode* (*make)();
  AMFNode* (*makeNothrow)();
  std::size_t size;
  std::size_t alignment;
};
template <class Node>
AMFNode* make() {
  return new Node();
}
template <class Node>
AMFNode* makeNothrow() {
  return new (std::nothrow) Node();
}
template <class Node>
constexpr ClassRow classRow(const char* name) {
  return {name, make<Node>, makeNothrow<Node>, sizeof(Node), alignof(Node)};
}
const ClassRow kClasses[] = {
    classRow<Host<1>>("one byte more"),
    classRow<Host<8>>("eight bytes more"),
    classRow<Host<200>>("200 bytes more"),
    classRow<Sized<1024>>("the largest piece"),
    classRow<Sized<1032>>("a block of its own"),
    classRow<Host<5000>>("a large one"),
    classRow<Host<100000>>("larger than a chunk"),
    classRow<Holding<double>>("double"),
    classRow<Holding<long double>>("long double"),
    classRow<Holding<Wide>>("alignment 16"),
    classRow<Holding<std::max_align_t>>("the greatest usual alignment"),
    classRow<Holding<CacheLine>>("alignment 64"),
    classRow<Holding<Page>>("alignment 4096"),
};

// Fills what a class has after its AMFNode part, and looks at it later.
void fill(AMFNode* node, std::size_t size, unsigned char value) {
  std::memset(reinterpret_cast<unsigned char*>(node) + sizeof(AMFDouble), value,
              size - sizeof(AMFDouble));
}
bool isFilled(const AMFNode* node, std::size_t size, unsigned char value) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(node);
  for (std::size_t i = sizeof(AMFDouble); i < size; ++i) {
    if (bytes[i] != value) return false;
  }
  return true;
}

void checkClass(const ClassRow& row, AMFNode* (*makeOne)()) {
  constexpr unsigned kCount = 150;
  Nodes nodes;
  Nodes between;  // so that pieces begin at all distances
  for (unsigned i = 0; i < kCount; ++i) {
    nodes.emplace_back(makeOne());
    ASSERT_NE(nodes.back(), nullptr);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(nodes.back().get()) % row.alignment, 0u) << i;
    if (row.size > sizeof(AMFDouble)) {
      fill(nodes.back().get(), row.size, static_cast<unsigned char>(i));
    }
    if (i % 3 == 0) between.emplace_back(new AMFNull(AMF_VERSION_0));
    if (i % 7 == 0)
      between.push_back(support::pooledWithBytes<AMFString>(AMF_VERSION_0, "abcdefgh", i % 8 + 1));
  }
  for (unsigned i = 0; i < kCount; ++i) {
    if (row.size > sizeof(AMFDouble)) {
      ASSERT_TRUE(isFilled(nodes[i].get(), row.size, static_cast<unsigned char>(i))) << i;
    }
    nodes[i].reset();  // through the base class
  }
}

TEST(NodePool, HoldsHostsClasses) {
  for (const ClassRow& row : kClasses) {
    SCOPED_TRACE(row.name);
    checkClass(row, row.make);
    checkClass(row, row.makeNothrow);
  }
}

// A packet with every kind of node but packages.
std::unique_ptr<AMFNode> everyKind() {
  std::unique_ptr<AMFNode> all(new AMFArray(AMF_VERSION_3));
  for (unsigned kind = 0; kind <= AMFNode::AMF_PACKAGE; ++kind) {
    all->children.push_back(support::makeKind(kind).release());
  }
  return all;
}

TEST(NodePool, ClonesArePooledAndWhatAHostMakesIsNot) {
  const std::unique_ptr<AMFNode> made = everyKind();
  const std::unique_ptr<AMFNode> cloned(made->clone());
  ASSERT_EQ(cloned->children.size(), made->children.size());
  for (std::size_t i = 0; i < made->children.size(); ++i) {
    EXPECT_FALSE(NodeMemory::isPooled(*made->children[i])) << i;
    EXPECT_EQ(NodeMemory::isPooled(*cloned->children[i]), isPoolOn()) << i;
  }
}

TEST(NodePool, AChangedKindDoesNotMatterToTheEnd) {
  const std::unique_ptr<AMFNode> made = everyKind();
  for (AMFNode* const child : made->children) child->type = static_cast<AMFNode::AMFType>(77);
  std::unique_ptr<AMFNode> cloned(made->clone());
  for (AMFNode* const child : cloned->children) EXPECT_EQ(child->type, 77u);
  const std::unique_ptr<AMFNode> again(cloned->clone());
  cloned.reset();
  EXPECT_EQ(again->children.size(), made->children.size());
}

TEST(NodePool, DeletesOnePooledNodeAfterAnother) {
  const std::size_t chunks = chunksOfThisThread();
  const std::unique_ptr<AMFNode> made = everyKind();
  for (unsigned i = 0; i < 5000; ++i) {
    for (const AMFNode* const child : made->children) delete child->clone();
  }
  EXPECT_LE(chunksOfThisThread(), chunks + 1);
}

TEST(NodePool, MixedTreesGoWhole) {
  for (unsigned i = 0; i < 3; ++i) {
    const std::unique_ptr<AMFNode> made = everyKind();
    std::unique_ptr<AMFNode> cloned(made->clone());
    cloned->children.push_back(new Host<8>());
    auto* const pair = new AMFPair(AMF_VERSION_3);
    pair->setValue(new Host<5000>(), false);
    pair->setName(support::pooledWithBytes<AMFString>(AMF_VERSION_3, "n", 1).release(), false);
    cloned->children.push_back(pair);
  }
}

TEST(NodePool, LeavesPlacementToTheHost) {
  alignas(AMFString) char place[sizeof(AMFString)];
  auto* const text = new (place) AMFString(AMF_VERSION_0);
  EXPECT_EQ(static_cast<void*>(text), place);
  text->setValue("abc", 3);
  EXPECT_EQ(std::string(text->data, text->length), "abc");
  text->~AMFString();

  AMFString onStack(AMF_VERSION_3);
  onStack.setValue("defg", 4);
  onStack.appendChild(new AMFNull(AMF_VERSION_3), false);
  const std::vector<AMFString> copies(3, onStack);
  EXPECT_EQ(std::string(copies[2].data, copies[2].length), "defg");
  EXPECT_EQ(copies[2].children.size(), 1u);
  EXPECT_EQ(*std::make_shared<AMFString>(onStack)->data, 'd');
}

template <std::size_t kExtra>
struct Throwing : Host<kExtra> {
  Throwing() { throw std::runtime_error("refused"); }
};
struct alignas(64) ThrowingCacheLine : Throwing<64> {};
// Made in a constructor that refuses, after other nodes of both kinds.
struct ThrowingOuter : Host<8> {
  ThrowingOuter() {
    delete makeNothrow<Host<8>>();
    delete makeNothrow<Host<5000>>();
    try {
      makeNothrow<Throwing<2000>>();
    } catch (const std::runtime_error&) {
      makeNothrow<Throwing<16>>();
    }
  }
};
struct ThrowingRow {
  const char* name;
  AMFNode* (*make)();
};
const ThrowingRow kThrowing[] = {
    {"small", make<Throwing<8>>},
    {"large", make<Throwing<5000>>},
    {"over-aligned", make<ThrowingCacheLine>},
    {"small, nothrow", makeNothrow<Throwing<8>>},
    {"large, nothrow", makeNothrow<Throwing<5000>>},
    {"over-aligned, nothrow", makeNothrow<ThrowingCacheLine>},
    {"nested", make<ThrowingOuter>},
    {"nested, nothrow", makeNothrow<ThrowingOuter>},
};

TEST(NodePool, GetsBackWhatAConstructorRefused) {
  for (const ThrowingRow& row : kThrowing) {
    const std::size_t chunks = chunksOfThisThread();
    for (unsigned i = 0; i < 5000; ++i) {
      EXPECT_THROW(row.make(), std::runtime_error) << row.name;
    }
    EXPECT_LE(chunksOfThisThread(), chunks + 1) << row.name;
  }
}

struct Arena {
  alignas(16) char bytes[4096];
  std::size_t used;
};
}  // namespace
void* operator new(std::size_t size, Arena& arena);
void* operator new(std::size_t size, Arena& arena) {
  char* const place = arena.bytes + arena.used;
  arena.used += (size + 15) & ~std::size_t{15};
  return place;
}
namespace {

TEST(NodePool, ReachesTheFormsOfNewThatAHostDeclares) {
  Arena arena = {};
  auto* const text = new (arena) AMFString(AMF_VERSION_3);
  EXPECT_EQ(static_cast<void*>(text), arena.bytes);
  EXPECT_GE(arena.used, sizeof(AMFString));
  text->setValue("abc", 3);
  const std::unique_ptr<AMFString> copy(text->clone());
  EXPECT_EQ(std::string(copy->data, copy->length), "abc");
  text->~AMFString();
}

TEST(NodePool, DeletesWhatTheGlobalNewMade) {
  std::unique_ptr<AMFNode> array(::new AMFArray(AMF_VERSION_3));
  array->appendChild(::new AMFString(AMF_VERSION_3), false);
  array->appendChild(::new Host<200>(), false);
  EXPECT_EQ(array->children.size(), 2u);
}

TEST(NodePool, DeletesNothing) {
  const std::size_t chunks = chunksOfThisThread();
  AMFNode::operator delete(nullptr, sizeof(AMFNull));
  EXPECT_EQ(chunksOfThisThread(), chunks);
}

// ---- Bytes after their node -------------------------------------------------------------------

struct BytesRow {
  std::uint32_t count;
  bool follow;  // where there is a pool
};
const BytesRow kBytes[] = {{0, false},   {1, true},    {7, true},     {8, true},
                           {2047, true}, {2048, true}, {2049, false}, {70000, false}};

template <class Node>
bool bytesFollow(const Node& node) {
  return node.data == reinterpret_cast<const char*>(&node) + sizeof(Node);
}

std::string someBytes(std::uint32_t count) {
  std::string bytes;
  for (std::uint32_t i = 0; i < count; ++i) bytes += static_cast<char>(i * 7 + count);
  return bytes;
}

template <class Node>
std::string bytesOf(const Node& node) {
  return node.length == 0 ? std::string() : std::string(node.data, node.length);
}

// After the node or not: the node, its copies and its new values are the same.
template <class Node>
void checkBytes(std::unique_ptr<Node> (*makeNode)(AMFVersion, const char*, std::uint32_t),
                AMFNode::AMFType type) {
  for (const BytesRow& row : kBytes) {
    SCOPED_TRACE(row.count);
    const std::string bytes = someBytes(row.count);
    std::unique_ptr<Node> node = makeNode(AMF_VERSION_3, bytes.data(), row.count);
    EXPECT_EQ(bytesFollow(*node), row.follow && isPoolOn());
    EXPECT_EQ(bytesOf(*node), bytes);
    EXPECT_EQ(node->data == nullptr, row.count == 0);
    EXPECT_EQ(node->type, type);
    EXPECT_EQ(node->version, AMF_VERSION_3);

    node->referenceIndex = 17;
    node->complete = true;
    AMFNull parent(AMF_VERSION_0);
    node->parent = &parent;
    const std::unique_ptr<Node> clone(node->clone());
    const Node copy(*node);
    for (const Node* const other : {static_cast<const Node*>(clone.get()), &copy}) {
      EXPECT_EQ(bytesOf(*other), bytes);
      EXPECT_TRUE(row.count == 0 || other->data != node->data);
      EXPECT_EQ(other->type, type);
      EXPECT_EQ(other->version, AMF_VERSION_3);
      EXPECT_EQ(other->referenceIndex, 17u);
      EXPECT_TRUE(other->complete);
      EXPECT_EQ(other->parent, nullptr);
    }
    EXPECT_EQ(bytesFollow(*clone), row.follow && isPoolOn());
    EXPECT_FALSE(bytesFollow(copy));

    node->AMFRaw::setValue(bytes.data(), row.count / 2);
    EXPECT_EQ(bytesOf(*node), bytes.substr(0, row.count / 2));
    EXPECT_FALSE(bytesFollow(*node));
    node->AMFRaw::setValue("longer than before", 18);
    EXPECT_EQ(bytesOf(*node), "longer than before");
    node->AMFRaw::setValue(nullptr, 5);
    EXPECT_EQ(node->data, nullptr);
    EXPECT_EQ(node->length, 0u);
    EXPECT_EQ(bytesOf(*clone), bytes);
  }
}

TEST(BytesAfterNodes, Strings) {
  checkBytes<AMFString>(support::pooledWithBytes<AMFString>, AMFNode::AMF_STRING);
}
TEST(BytesAfterNodes, ByteArrays) {
  checkBytes<AMFRaw>(support::pooledWithBytes<AMFRaw>, AMFNode::AMF_RAW);
}
TEST(BytesAfterNodes, XML) {
  checkBytes<AMFXML>(support::pooledWithBytes<AMFXML>, AMFNode::AMF_XML);
}

TEST(BytesAfterNodes, AnotherBlockRightAfterANodeIsNotItsBytes) {
  alignas(AMFString) char place[sizeof(AMFString) + 8] = {};
  auto* const onItsOwn = new (place) AMFString(AMF_VERSION_3);
  const std::unique_ptr<AMFString> pooled(allocatorOfThisThread().make<AMFString>(AMF_VERSION_3));
  for (AMFString* const node : {onItsOwn, pooled.get()}) {
    node->data = reinterpret_cast<char*>(node) + sizeof(AMFString);
    EXPECT_FALSE(NodeMemory::hasBytesInSlot(*node, sizeof(AMFString)));
    node->data = nullptr;
  }
  onItsOwn->~AMFString();
}

TEST(BytesAfterNodes, CopiesKeepWhatClassesAdd) {
  const auto xml = support::pooledWithBytes<AMFXML>(AMF_VERSION_3, "<a/>", 4);
  xml->document = 1;
  const std::unique_ptr<AMFXML> copy(xml->clone());
  EXPECT_EQ(copy->document, 1u);
  EXPECT_EQ(bytesOf(*copy), "<a/>");

  const auto text = support::pooledWithBytes<AMFString>(AMF_VERSION_3, "abc", 3);
  text->type = AMFNode::AMF_DATE;
  text->appendChild(support::pooledWithBytes<AMFString>(AMF_VERSION_0, "child", 5).release(),
                    false);
  text->children.push_back(nullptr);
  const std::unique_ptr<AMFString> family(text->clone());
  EXPECT_EQ(bytesOf(*family), "abc");
  EXPECT_EQ(family->type, AMFNode::AMF_DATE);
  EXPECT_EQ(std::unique_ptr<AMFString>(text->clone())->children.size(), 2u);
  AMFString withoutBytes(AMF_VERSION_3);
  withoutBytes.length = 7;
  EXPECT_EQ(std::unique_ptr<AMFString>(withoutBytes.clone())->length, 7u);
  ASSERT_EQ(family->children.size(), 2u);
  EXPECT_EQ(bytesOf(static_cast<AMFString&>(*family->children[0])), "child");
  EXPECT_EQ(family->children[0]->parent, family.get());
  EXPECT_EQ(family->children[1], nullptr);
}

TEST(BytesAfterNodes, ANodeMayBeGivenItsOwnBytes) {
  const auto text = support::pooledWithBytes<AMFString>(AMF_VERSION_0, "abc", 3);
  text->setValue(text->data + 1, 2);
  EXPECT_EQ(bytesOf(*text), "bc");
  text->setValue(text->data, 1);
  EXPECT_EQ(bytesOf(*text), "b");
}

TEST(BytesAfterNodes, AHostSetsBytesOfItsOwn) {
  for (const std::uint32_t count : {0u, 3u, 3000u}) {
    const std::string before = someBytes(count);
    const auto text = support::pooledWithBytes<AMFString>(AMF_VERSION_0, before.data(), count);
    if (count > kBytesMax || !isPoolOn()) delete[] text->data;
    text->data = new char[5];
    std::memcpy(text->data, "12345", 5);
    text->length = 5;
    const std::unique_ptr<AMFString> copy(text->clone());
    EXPECT_EQ(bytesOf(*copy), "12345");
    text->setValue("6", 1);
    EXPECT_EQ(bytesOf(*text), "6");
    copy->setValue("", 0);
    copy->data = new char[1];  // goes with the node
    copy->length = 1;
  }
}

#if defined(TESTS_ADDRESS_SANITIZER)
TEST(NodePool, PoisonsWhatIsNotInUse) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  auto text = support::pooledWithBytes<AMFString>(AMF_VERSION_0, "0123456789", 10);
  const AMFNode* const other = support::pooled<AMFNull>(AMF_VERSION_0);  // keeps the chunk in use
  const char* const piece = reinterpret_cast<const char*>(text.get());
  EXPECT_EQ(__asan_region_is_poisoned(const_cast<char*>(piece), sizeof(AMFString) + 10), nullptr);
  EXPECT_TRUE(__asan_address_is_poisoned(piece + sizeof(AMFString) + 10));
  text->setValue("abc", 3);
  EXPECT_TRUE(__asan_address_is_poisoned(piece + sizeof(AMFString)));
  EXPECT_TRUE(__asan_address_is_poisoned(piece + sizeof(AMFString) + 9));
  EXPECT_FALSE(__asan_address_is_poisoned(piece));
  text.reset();
  EXPECT_TRUE(__asan_address_is_poisoned(piece));
  EXPECT_TRUE(__asan_address_is_poisoned(piece + sizeof(AMFString) - 1));
  EXPECT_TRUE(__asan_address_is_poisoned(reinterpret_cast<const char*>(other) + sizeof(AMFNull)));
  delete other;
  EXPECT_TRUE(__asan_address_is_poisoned(other));
}
#endif

// ---- Memory ------------------------------------------------------------------------------------

std::string u16(std::size_t value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value)};
}
std::string u32(std::size_t value) {
  return u16(value >> 16 & 0xFFFF) + u16(value & 0xFFFF);
}

// One message: `rows` arrays of `columns` strings of 100 bytes each.
std::string packetOfStrings(std::size_t rows, std::size_t columns) {
  const std::string text = '\x02' + u16(100) + std::string(100, 'x');
  std::string row = '\x0A' + u32(columns);
  for (std::size_t i = 0; i < columns; ++i) row += text;
  std::string packet = u16(0) + u16(0) + u16(1) + u16(1) + 't' + u16(0) + u32(0xFFFFFFFF);
  packet.reserve(packet.size() + 5 + rows * row.size());
  packet += '\x0A' + u32(rows);
  for (std::size_t i = 0; i < rows; ++i) packet += row;
  return packet;
}

// Runs `work` with a heap of its own, so that no other test's chunks count; returns what it
// returns.
template <class Work>
int inThread(const Work& work) {
  int status = -1;
  std::thread thread([&] { status = work(); });
  thread.join();
  return status;
}

struct SteadyRow {
  const char* name;
  std::size_t rows;
  std::size_t mostChunks;
};
const SteadyRow kSteady[] = {
    {"one row", 1, 2},
    {"some chunks", 20, 8},
    {"nearly all that is kept", 800, kKeptChunks},
};

TEST(NodePoolMemory, TheSamePacketAgainTakesNothing) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  for (const SteadyRow& row : kSteady) {
    const std::string packet = packetOfStrings(row.rows, 100);
    EXPECT_EQ(inThread([&] {
                AMFProtocol protocol;
                protocol.parse(packet.data());
                const std::size_t chunks = chunksOfThisThread();
                if (chunks == 0 || chunks > row.mostChunks) return 1;
                for (unsigned i = 0; i < 30; ++i) {
                  protocol.parse(packet.data());
                  if (chunksOfThisThread() > chunks + 1) return 2;
                }
                return 0;
              }),
              0)
        << row.name;
  }
}

// How many nodes fill that many chunks.
Nodes nodesOfChunks(std::size_t chunks) {
  Nodes nodes;
  const std::size_t before = chunksOfThisThread();
  while (chunksOfThisThread() < before + chunks) {
    nodes.emplace_back(support::pooled<AMFDouble>(AMF_VERSION_0));
  }
  return nodes;
}

struct KeptRow {
  std::size_t taken;
  std::size_t kept;  // at most, all given back
};
const KeptRow kKept[] = {
    {10, 10},
    {kKeptChunks, kKeptChunks},
    {kKeptChunks + 1, kKeptChunks + 1},  // one is the current one
    {kKeptChunks + 2, kShrunkChunks + 1},
    {1000, kShrunkChunks + 1},
    {3000, kShrunkChunks + 1},
};

TEST(NodePoolMemory, OnlySoMuchIsKept) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  for (const KeptRow& row : kKept) {
    for (const bool isForward : {true, false}) {
      SCOPED_TRACE(row.taken);
      const auto run = [&] {
        Nodes nodes = nodesOfChunks(row.taken);
        if (chunksOfThisThread() != row.taken) return 1;
        if (isForward) {
          for (auto& node : nodes) node.reset();
        } else {
          while (!nodes.empty()) nodes.pop_back();
        }
        if (chunksOfThisThread() != row.kept) return 2;
        // What is kept serves again.
        nodes = nodesOfChunks(0);
        for (std::size_t i = 0; i < 1000 * row.kept / 2; ++i) {
          nodes.emplace_back(support::pooled<AMFDouble>(AMF_VERSION_0));
        }
        if (chunksOfThisThread() != row.kept) return 3;
        return 0;
      };
      EXPECT_EQ(inThread(run), 0) << isForward;
    }
  }
}

TEST(NodePoolMemory, FallsBackAfterALargePacket) {
  if (support::kAddressSanitizer || support::kThreadSanitizer) {
    GTEST_SKIP() << "the sanitizer's own memory is counted too";
  }
  constexpr std::size_t kSlack = std::size_t{8} << 20;
  for (const bool goesOn : {false, true}) {
    AMFProtocol lasting;
    const std::string small = packetOfStrings(1, 10);
    lasting.parse(small.data());
    malloc_trim(0);
    const std::size_t before = support::residentBytes();
    std::size_t peak = 0;
    {
      const std::string packet = packetOfStrings(1000, 1000);  // 103 MB
      AMFProtocol once;
      AMFProtocol& protocol = goesOn ? lasting : once;
      protocol.parse(packet.data());
      peak = support::residentBytes();
      if (goesOn) protocol.parse(small.data());
    }
    EXPECT_GT(peak, before + (std::size_t{200} << 20));
    malloc_trim(0);  // what malloc keeps of the children's lists is another matter
    EXPECT_LT(support::residentBytes(), before + kSlack) << goesOn;
  }
}

long pageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

// More than is kept otherwise; the small packet at the end does not need it.
TEST(NodePoolMemory, ALargePacketTakesTheChunksOfTheOneBefore) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  const std::string large = packetOfStrings(4000, 100);
  const std::string small = packetOfStrings(1, 100);
  const auto run = [&] {
    AMFProtocol protocol;
    const long before = pageFaults();
    protocol.parse(large.data());
    const long first = pageFaults() - before;
    if (chunksOfThisThread() <= 2 * kKeptChunks) return 1;
    for (unsigned i = 0; i < 3; ++i) protocol.parse(large.data());
    // What the sanitizer keeps from use takes pages as well.
    if (!support::kAddressSanitizer && pageFaults() - before - first > first / 4) return 2;
    protocol.parse(small.data());
    return chunksOfThisThread() <= kShrunkChunks + 2 ? 0 : 3;
  };
  EXPECT_EQ(inThread(run), 0);
}

TEST(NodePoolMemory, ChunksStayAsLongAsTheLastOneThatAsked) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  const auto run = [] {
    Nodes nodes = nodesOfChunks(2 * kKeptChunks);
    const std::size_t all = chunksOfThisThread();
    {
      const RetainChunks outer;
      { const RetainChunks inner; }
      nodes.clear();
      if (chunksOfThisThread() != all) return 1;
    }
    return chunksOfThisThread() <= kShrunkChunks + 2 ? 0 : 2;
  };
  EXPECT_EQ(inThread(run), 0);
}

// A thread that gets no chunk at all, and then ends.
TEST(NodePoolMemory, AThreadMayEndWithoutAChunk) {
  if (support::kAddressSanitizer || support::kThreadSanitizer || !isPoolOn()) {
    GTEST_SKIP() << "needs chunks, and memory that can be limited";
  }
  EXPECT_EQ(support::inChild([] {
              std::atomic<bool> isLimited{false};
              bool isRefused = false;
              std::thread thread([&] {
                while (!isLimited) std::this_thread::yield();
                try {
                  delete support::pooled<AMFNull>(AMF_VERSION_0);
                } catch (const std::bad_alloc&) {
                  isRefused = true;
                }
              });
              const rlimit noMore = {1, RLIM_INFINITY};
              const rlimit all = {RLIM_INFINITY, RLIM_INFINITY};
              if (setrlimit(RLIMIT_AS, &noMore) != 0) return 1;
              isLimited = true;
              thread.join();
              if (setrlimit(RLIMIT_AS, &all) != 0) return 2;
              return isRefused ? 0 : 3;
            }),
            0);
}

TEST(NodePoolMemory, ARefusedChunkChangesNothing) {
  if (support::kAddressSanitizer || support::kThreadSanitizer || !isPoolOn()) {
    GTEST_SKIP() << "needs chunks, and memory that can be limited";
  }
  EXPECT_EQ(support::inChild([] {
              Nodes nodes = nodesOfChunks(3);
              nodes.reserve(1000000);
              const rlimit noMore = {1, RLIM_INFINITY};
              if (setrlimit(RLIMIT_AS, &noMore) != 0) return 1;
              for (unsigned refusals = 0; refusals < 3;) {
                const std::size_t chunks = chunksOfThisThread();
                try {
                  nodes.emplace_back(support::pooled<AMFDouble>(AMF_VERSION_0));
                } catch (const std::bad_alloc&) {
                  ++refusals;
                }
                if (chunksOfThisThread() != chunks) return 3;
              }
              while (nodes.size() > 10) nodes.pop_back();
              for (unsigned i = 0; i < 1000; ++i) {
                nodes.emplace_back(support::pooled<AMFDouble>(AMF_VERSION_0));
              }
              const rlimit all = {RLIM_INFINITY, RLIM_INFINITY};
              return setrlimit(RLIMIT_AS, &all) == 0 ? 0 : 4;
            }),
            0);
}

// Pages at a multiple of their size, wherever the system puts other things; all of them go back.
TEST(NodePoolMemory, PagesAreAligned) {
  std::vector<void*> taken;
  std::vector<void*> others;
  for (unsigned i = 0; i < 200; ++i) {
    void* const pages = takePages(kChunkBytes);
    ASSERT_NE(pages, nullptr);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(pages) % kChunkBytes, 0u);
    std::memset(pages, 1, kChunkBytes);
    taken.push_back(pages);
    if (i % 3 == 0)
      others.push_back(mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  }
  for (void* const pages : taken) {
    returnPages(pages, kChunkBytes);
    EXPECT_FALSE(support::isMapped(pages));
  }
  for (void* const page : others) munmap(page, 4096);
}

}  // namespace
