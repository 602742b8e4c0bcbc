// SPDX-License-Identifier: Apache-2.0
//
// Protocol objects on several threads at once produce the same texts as on one thread. Meant
// for the thread sanitizer too.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/guard_generator.h"
#include "support/guard_packets.h"
#include "support/hex.h"
#include "support/packet_generator.h"
#include "support/same_result.h"
#include "support/same_tree.h"
#include "support/views.h"

namespace {

constexpr unsigned kPackets = 60;

// Both formats' dates, on both sides of the changes of summer time, from year 1 to year 20000.
std::string datePacket() {
  return support::hex(
      "0000 0000 0001 0001 't' 0000 FFFFFFFF  0A 00000009"
      "  0B 0000000000000000 0000"
      "  0B 4270000000000000 0000"  // 2004
      "  0B C2CC3F0000000000 0000"  // before 1970
      "  0B 4320000000000000 0000"  // far ahead
      "  0B 7FF8000000000000 0000"  // NaN
      "  11 08 01 4273B00000000000"
      "  11 08 01 4274000000000000"
      "  11 08 01 4274600000000000"
      "  11 08 01 FFF0000000000000");
}

std::vector<std::string> packetsToRender() {
  std::vector<std::string> list;
  packets::PacketGenerator generator(20240229);
  for (unsigned i = 0; i < kPackets; ++i) {
    if (i % 4 == 0) list.push_back(datePacket());
    list.push_back(generator.next().bytes);
  }
  return list;
}

// The eight texts of one packet, from one object.
std::string texts(const std::string& packet) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  std::string all;
  for (const bool pretty : {true, false}) {
    for (const auto& view : support::kPackageViews<>) all += view.text(protocol, pretty);
  }
  // Copies and encoding take part.
  const std::unique_ptr<AMFPackage> copy(protocol.package->clone());
  try {
    all.append(protocol.compile(copy.get()), protocol.getResultLength());
  } catch (const AMFException& e) {
    all += e.message;
  }
  return all;
}

struct ThreadsRow {
  const char* name;
  unsigned threads;
  const char* zone;
};
const ThreadsRow kRows[] = {
    {"two threads", 2, "UTC"},
    {"eight threads", 8, "UTC"},
    {"eight threads, summer time", 8, "EST5EDT,M3.2.0,M11.1.0"},
};

void setZone(const char* zone) {
  setenv("TZ", zone, 1);
  tzset();
}

class ThreadsWithZones : public testing::TestWithParam<ThreadsRow> {
 protected:
  void SetUp() override {
    const char* const zone = std::getenv("TZ");
    if (zone != nullptr) zoneBefore = zone;
    setZone(GetParam().zone);
  }
  void TearDown() override { setZone(zoneBefore.c_str()); }

 private:
  std::string zoneBefore = "UTC";
};

TEST_P(ThreadsWithZones, TextsAreThoseOfOneThread) {
  const std::vector<std::string> list = packetsToRender();
  std::vector<std::string> expected;
  for (const std::string& packet : list) expected.push_back(texts(packet));

  std::atomic<unsigned> waiting{GetParam().threads};
  std::atomic<unsigned> compared{0};
  std::atomic<unsigned> different{0};
  const auto work = [&](std::size_t first) {
    --waiting;
    while (waiting > 0) std::this_thread::yield();
    for (std::size_t i = 0; i < list.size(); ++i) {
      const std::size_t which = (first + i) % list.size();
      if (texts(list[which]) != expected[which]) ++different;
      ++compared;
    }
  };
  std::vector<std::thread> threads;
  // All begin with the same packet: the first use of anything shared happens at once.
  for (unsigned i = 0; i < GetParam().threads; ++i) threads.emplace_back(work, i / 2 * 7);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(compared, GetParam().threads * list.size());
  EXPECT_EQ(different, 0u);
}

// Trees may change hands: made on one thread, read, copied and deleted on another.
TEST(Threads, TreesChangeHands) {
  const std::vector<std::string> list = packetsToRender();
  std::mutex mutex;
  std::vector<std::unique_ptr<AMFPackage>> offered;
  std::atomic<unsigned> making{2};
  std::atomic<unsigned> taken{0};
  std::atomic<unsigned> different{0};
  const auto make = [&] {
    for (const std::string& packet : list) {
      AMFProtocol protocol;
      protocol.parse(packet.data());
      std::unique_ptr<AMFPackage> tree(protocol.package->clone());
      const std::lock_guard<std::mutex> lock(mutex);
      offered.push_back(std::move(tree));
    }
    --making;
  };
  const auto take = [&] {
    while (true) {
      const bool last = making == 0;
      std::vector<std::unique_ptr<AMFPackage>> mine;
      {
        const std::lock_guard<std::mutex> lock(mutex);
        mine.swap(offered);
      }
      for (const std::unique_ptr<AMFPackage>& tree : mine) {
        const std::unique_ptr<AMFPackage> copy(tree->clone());
        if (!support::sameTree(tree.get(), copy.get())) ++different;
        ++taken;
      }
      if (last && mine.empty()) return;
      std::this_thread::yield();
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 2; ++i) threads.emplace_back(make);
  for (unsigned i = 0; i < 2; ++i) threads.emplace_back(take);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(taken, 2 * list.size());
  EXPECT_EQ(different, 0u);
}

// The guard keeps no state: two threads find what one does, also in bytes both look at.
TEST(Threads, ChecksAgree) {
  std::vector<std::string> packets;
  support::GuardGenerator generator(77);
  for (int i = 0; i < 3000; ++i) packets.push_back(generator.next());
  packets.push_back(support::doubling0(200));
  packets.push_back(support::packetWith(support::repeat(support::hex("0A 00000001"), 900)));
  const auto check = [&packets](std::vector<AMFVerifyResult>& results) {
    for (const std::string& packet : packets) {
      results.push_back(support::verify(packet, AMFVerifyLimits::unlimited()));
    }
  };
  std::vector<AMFVerifyResult> alone, first, second;
  check(alone);
  std::thread other(check, std::ref(first));
  check(second);
  other.join();
  EXPECT_TRUE(std::equal(alone.begin(), alone.end(), first.begin(), first.end(), support::same));
  EXPECT_TRUE(std::equal(alone.begin(), alone.end(), second.begin(), second.end(), support::same));
}

INSTANTIATE_TEST_SUITE_P(All, ThreadsWithZones, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<ThreadsRow>& row) {
                           std::string name;
                           for (const char* c = row.param.name; *c != '\0'; ++c)
                             if (*c != ' ' && *c != ',') name += *c;
                           return name;
                         });

}  // namespace
