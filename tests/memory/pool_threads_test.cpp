// SPDX-License-Identifier: Apache-2.0
//
// Nodes that one thread makes and another deletes, threads that end before their nodes do, and
// processes that fork. Meant for the thread sanitizer too.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "memory/node_pool.h"
#include "support/pooled_nodes.h"
#include "support/process.h"

using namespace amf2json;

namespace {

using Nodes = std::vector<std::unique_ptr<AMFNode>>;

// Nodes of several sizes: some chunks full.
Nodes someNodes(unsigned count) {
  Nodes nodes;
  const std::string bytes(2048, 'b');
  for (unsigned i = 0; i < count; ++i) {
    if (i % 2 == 0) {
      nodes.emplace_back(support::pooled<AMFDouble>(AMF_VERSION_0));
      static_cast<AMFDouble&>(*nodes.back()).value = i;
    } else {
      nodes.push_back(support::pooledWithBytes<AMFString>(AMF_VERSION_3, bytes.data(), i % 2048));
    }
  }
  return nodes;
}

// Whether they still are as someNodes() made them.
bool areIntact(const Nodes& nodes) {
  for (unsigned i = 0; i < nodes.size(); ++i) {
    const AMFNode& node = *nodes[i];
    if (i % 2 == 0) {
      if (static_cast<const AMFDouble&>(node).value != i) return false;
    } else {
      const auto& text = static_cast<const AMFString&>(node);
      if (text.length != i % 2048 ||
          std::string(text.data, text.length).find_first_not_of('b') != std::string::npos) {
        return false;
      }
    }
  }
  return true;
}

std::vector<const void*> addressesOf(const Nodes& nodes) {
  std::vector<const void*> addresses;
  for (const auto& node : nodes) addresses.push_back(node.get());
  return addresses;
}

unsigned countMapped(const std::vector<const void*>& addresses) {
  unsigned mapped = 0;
  for (const void* const address : addresses) mapped += support::isMapped(address) ? 1 : 0;
  return mapped;
}

template <class Work>
void inThread(const Work& work) {
  std::thread thread(work);
  thread.join();
}

#if defined(TESTS_THREAD_SANITIZER)
TEST(PoolThreads, IsOnUnderTheThreadSanitizer) {
  EXPECT_TRUE(isPoolOn());
}
#endif

TEST(PoolThreads, NodesOutliveTheirThread) {
  Nodes nodes;
  inThread([&] { nodes = someNodes(2000); });
  const std::vector<const void*> addresses = addressesOf(nodes);
  EXPECT_TRUE(areIntact(nodes));
  EXPECT_EQ(countMapped(addresses), addresses.size());
  // The last piece of each chunk takes it back to the system.
  const std::unique_ptr<AMFNode> last = std::move(nodes[1000]);
  nodes.clear();
  EXPECT_TRUE(support::isMapped(last.get()));
  EXPECT_EQ(static_cast<const AMFDouble&>(*last).value, 1000);
  if (!isPoolOn()) return;
  const unsigned mapped = countMapped(addresses);
  EXPECT_GT(mapped, 0u);
  EXPECT_LT(mapped, 200u);  // those of one chunk
}

TEST(PoolThreads, AThreadTakesItsEmptyChunksAlong) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  std::vector<const void*> addresses;
  std::size_t kept = 0;
  inThread([&] {
    Nodes nodes = someNodes(2000);
    addresses = addressesOf(nodes);
    nodes.clear();
    kept = chunksOfThisThread();
  });
  EXPECT_GT(kept, 10u);
  EXPECT_EQ(countMapped(addresses), 0u);
}

TEST(PoolThreads, LastNodesGoInAnotherThread) {
  Nodes nodes;
  std::vector<const void*> addresses;
  inThread([&] { nodes = someNodes(2000); });
  addresses = addressesOf(nodes);
  inThread([&] {
    EXPECT_TRUE(areIntact(nodes));
    nodes.clear();
  });
  if (!isPoolOn()) return;
  EXPECT_EQ(countMapped(addresses), 0u);
}

// Half of the nodes go while their thread lives, half of them afterwards; both sides at once.
TEST(PoolThreads, AThreadEndsWhileItsNodesAreGivenBack) {
  for (unsigned round = 0; round < 40; ++round) {
    Nodes mine;
    Nodes kept;
    std::atomic<bool> isMade{false};
    std::thread maker([&] {
      kept = someNodes(300);
      mine = someNodes(300);
      isMade = true;
      for (unsigned i = 0; i < round * 50; ++i) delete support::pooled<AMFNull>(AMF_VERSION_0);
    });
    while (!isMade) std::this_thread::yield();
    mine.clear();  // while the maker ends
    maker.join();
    ASSERT_TRUE(areIntact(kept));
  }
}

// ---- Handing over ------------------------------------------------------------------------------

class Mailbox {
 public:
  void put(std::unique_ptr<AMFNode> node) {
    const std::lock_guard<std::mutex> lock(mutex);
    nodes.push_back(std::move(node));
  }
  Nodes takeAll() {
    Nodes taken;
    const std::lock_guard<std::mutex> lock(mutex);
    taken.swap(nodes);
    return taken;
  }

 private:
  std::mutex mutex;
  Nodes nodes;
};

// Each thread makes trees for both neighbours, copies what it gets, hands copies on, and deletes.
TEST(PoolThreads, EightThreadsHandNodesBothWays) {
  constexpr unsigned kThreads = 8;
  constexpr unsigned kRounds = support::kThreadSanitizer ? 300 : 1000;
  Mailbox boxes[kThreads];
  std::atomic<unsigned> wrong{0};
  std::atomic<unsigned> received{0};
  std::atomic<unsigned> working{kThreads};

  const auto makeTree = [](unsigned number) {
    auto array = std::make_unique<AMFArray>(AMF_VERSION_3);
    const std::string text = std::to_string(number);
    for (unsigned i = 0; i < 20; ++i) {
      array->appendChild(support::pooledWithBytes<AMFString>(
                             AMF_VERSION_3, text.data(), static_cast<std::uint32_t>(text.size()))
                             .release(),
                         false);
      auto value = std::make_unique<AMFDouble>(AMF_VERSION_3);
      value->value = number;
      array->appendChild(value.release(), false);
    }
    return array;
  };
  const auto isTree = [](const AMFNode& node) {
    if (node.children.size() != 40) return false;
    const double number = static_cast<const AMFDouble&>(*node.children[1]).value;
    const auto& text = static_cast<const AMFString&>(*node.children[38]);
    return std::string(text.data, text.length) == std::to_string(static_cast<unsigned>(number));
  };
  const auto work = [&](unsigned me) {
    Mailbox& left = boxes[(me + kThreads - 1) % kThreads];
    Mailbox& right = boxes[(me + 1) % kThreads];
    const auto empty = [&] {
      Nodes got = boxes[me].takeAll();
      for (auto& node : got) {
        if (!isTree(*node)) ++wrong;
        if (++received % 3 == 0)
          (received % 2 == 0 ? left : right).put(std::unique_ptr<AMFNode>(node->clone()));
        // A part of a foreign tree is replaced by one of ours.
        static_cast<AMFArray&>(*node).setChild(5, support::pooled<AMFNull>(AMF_VERSION_0), false);
      }
    };
    for (unsigned i = 0; i < kRounds; ++i) {
      left.put(makeTree(me * kRounds + i));
      right.put(makeTree(me * kRounds + i));
      empty();
    }
    --working;
    while (working > 0) {
      empty();
      std::this_thread::yield();
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
  for (Mailbox& box : boxes) {
    for (const auto& node : box.takeAll()) {
      if (!isTree(*node)) ++wrong;
    }
  }
  EXPECT_EQ(wrong, 0u);
  EXPECT_GT(received, kThreads * kRounds);
}

// One thread only makes, another only deletes: the maker's chunks serve again, or fall back as soon
// as it makes nodes that it deletes itself.
TEST(PoolThreads, MemoryFreedByAnotherThreadIsReused) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  inThread([] {
    std::size_t once = 0;
    for (unsigned round = 0; round < 60; ++round) {
      Nodes nodes = someNodes(2000);
      if (round == 0) once = chunksOfThisThread();
      inThread([&] { nodes.clear(); });
    }
    EXPECT_LE(chunksOfThisThread(), 2 * once);
  });
}

TEST(PoolThreads, WhatWasHandedAwayFallsBack) {
  if (!isPoolOn()) GTEST_SKIP() << "no chunks in this build";
  inThread([] {
    Nodes nodes = someNodes(80000);
    const std::size_t most = chunksOfThisThread();
    EXPECT_GT(most, 600u);
    inThread([&] { nodes.clear(); });
    EXPECT_EQ(chunksOfThisThread(), most);
    for (std::size_t i = 0; i < most; ++i) delete support::pooled<AMFNull>(AMF_VERSION_0);
    EXPECT_LE(chunksOfThisThread(), 65u);
  });
}

// ---- After the end -----------------------------------------------------------------------------

struct LateResults {
  Nodes kept;
  std::vector<const void*> deleted;
  std::size_t chunks = 1;
  unsigned refused = 0;
};

struct Refusing : AMFNull {
  Refusing() : AMFNull(AMF_VERSION_0) { throw std::runtime_error("refused"); }
};
bool isRefused() {
  try {
    return new (std::nothrow) Refusing() == nullptr;
  } catch (const std::runtime_error&) {
    return true;
  }
}

// Made before the thread's first node, it goes after the thread's chunks.
struct MakesNodesLate {
  LateResults* results = nullptr;
  Nodes early;
  ~MakesNodesLate() {
    if (!results) return;
    early.clear();
    Nodes nodes = someNodes(50);
    results->deleted = addressesOf(nodes);
    if (!areIntact(nodes)) results = nullptr;
    nodes.clear();
    results->refused += isRefused() ? 1 : 0;
    results->kept = someNodes(60);
    results->refused += isRefused() ? 1 : 0;
    results->chunks = chunksOfThisThread();
  }
};
thread_local MakesNodesLate makesNodesLate;

TEST(PoolThreads, NodesAreMadeAfterTheChunksWereFreed) {
  LateResults results;
  inThread([&] {
    makesNodesLate.results = &results;
    makesNodesLate.early = someNodes(500);
  });
  EXPECT_EQ(results.refused, 2u);
  ASSERT_EQ(results.kept.size(), 60u);
  EXPECT_TRUE(areIntact(results.kept));
  EXPECT_EQ(results.chunks, 0u);
  const std::vector<const void*> kept = addressesOf(results.kept);
  EXPECT_EQ(countMapped(kept), kept.size());
  for (const auto& node : results.kept) EXPECT_FALSE(NodeMemory::isPooled(*node));
}

TEST(PoolThreads, ManyThreadsLeaveNothing) {
  if (support::kAddressSanitizer || support::kThreadSanitizer) {
    GTEST_SKIP() << "the sanitizer's own memory is counted too";
  }
  Nodes nodes;
  std::size_t before = 0;
  for (unsigned i = 0; i < 300; ++i) {
    inThread([&] {
      EXPECT_TRUE(areIntact(nodes));
      nodes = someNodes(1000);  // the ones before go here
    });
    if (i == 20) before = support::residentBytes();
  }
  nodes.clear();
  EXPECT_LT(support::residentBytes(), before + (std::size_t{4} << 20));
}

// ---- Fork --------------------------------------------------------------------------------------

TEST(PoolFork, BothGoOn) {
  Nodes nodes = someNodes(1000);
  const auto goOn = [&nodes] {
    if (!areIntact(nodes)) return 1;
    for (std::size_t i = 0; i < nodes.size(); i += 2) nodes[i].reset();
    Nodes more = someNodes(1000);
    nodes.clear();
    if (!areIntact(more)) return 2;
    more.clear();
    AMFProtocol protocol;
    protocol.parse("\0\0\0\0\0\1\0\1t\0\0\377\377\377\377\2\0\3abc");
    return protocol.package->children.size() == 1 ? 0 : 3;
  };
  EXPECT_EQ(support::inChild(goOn), 0);
  EXPECT_EQ(goOn(), 0);
}

// What other threads of the parent made is nobody's in the child. None of its new threads may take
// a chunk for its own, though it stands where one of the parent's threads stood.
TEST(PoolFork, ANewThreadOfTheChildDeletesWhatAnOldOneMade) {
  if (support::kThreadSanitizer) GTEST_SKIP() << "starts no threads after a fork";
  static thread_local char place;
  const char* oldPlace = nullptr;
  Nodes nodes;
  std::atomic<bool> isMade{false};
  std::atomic<bool> isOver{false};
  std::thread maker([&] {
    oldPlace = &place;
    nodes = someNodes(1000);
    isMade = true;
    while (!isOver) std::this_thread::yield();
  });
  while (!isMade) std::this_thread::yield();

  const auto useAll = [&](bool isChild) {
    int status = 0;
    Nodes own;
    inThread([&] {
      // The C library gives the place again; another library need not.
      if (isChild && &place != oldPlace) status = 10;
      own = someNodes(1000);
      if (!areIntact(nodes)) status = 1;
      nodes.clear();
    });
    // The thread's own chunks have not been mixed up with those others.
    if (!areIntact(own)) status = 2;
    const std::vector<const void*> addresses = addressesOf(own);
    own.clear();
    if (isPoolOn() && countMapped(addresses) != 0) status = 3;
    return status;
  };
  const int inChild = support::inChild([&] { return useAll(true); });
  EXPECT_EQ(inChild, 0) << (inChild == 10 ? "the place was not given again: nothing shown" : "");
  EXPECT_EQ(useAll(false), 0);
  isOver = true;
  maker.join();
}

}  // namespace
