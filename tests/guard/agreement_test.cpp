// SPDX-License-Identifier: Apache-2.0
//
// The quick form of guard_diff.cpp, as a test among others: script/mutate links it with the tests
// of the guard and the readers.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <string>

#include "codec/big_endian.h"
#include "support/counted_heap.h"
#include "support/guard_agreement.h"
#include "support/guard_generator.h"
#include "support/hex.h"

using namespace amf2json;

namespace {

// Resets the end of the input, which the other tests do not set.
class Agreement : public testing::Test {
 protected:
  ~Agreement() override { big_endian::inputEnd = nullptr; }
};

void agreeOnAll(AMFProtocol& protocol, support::Counts& counts) {
  support::GuardGenerator generator(8);
  for (int i = 0; i < 6000; ++i) {
    const std::string& packet = generator.next();
    ASSERT_TRUE(support::agree(protocol, packet, counts)) << support::toHex(packet);
  }
}

TEST_F(Agreement, OfGuardAndReaders) {
  AMFProtocol protocol;
  support::Counts counts;
  agreeOnAll(protocol, counts);  // tables and counts have their capacity now
  const std::uint64_t blocks = support::liveBlocks;
  agreeOnAll(protocol, counts);
  EXPECT_EQ(blocks, support::liveBlocks) << "a leak";
}

TEST_F(Agreement, OfLimitsAndSums) {
  support::GuardGenerator generator(9);
  support::Counts counts;
  for (int i = 0; i < 3000; ++i) {
    const std::string& packet = generator.next();
    const AMFVerifyLimits unlimited = AMFVerifyLimits::unlimited();
    const AMFVerifyResult all = verifyPacket(packet.data(), packet.size(), unlimited);
    for (const support::Measure& measure : support::kMeasures) {
      const std::uint64_t sum = measure.measured(all);
      if (sum == 0) continue;
      ASSERT_TRUE(support::strikesInPlace(packet, measure, sum - 1, counts))
          << support::toHex(packet);
    }
  }
}

}  // namespace
