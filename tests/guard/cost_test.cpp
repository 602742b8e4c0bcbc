// SPDX-License-Identifier: Apache-2.0
//
// What a packet that passed the check can still cost: the stack of everything that recurses along
// its tree, and the length of its JSON text. Exercises the guard, the readers, the model, the views
// and the encoder together.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/guard_generator.h"
#include "support/guard_packets.h"
#include "support/guard_shapes.h"
#include "support/process.h"

using namespace support;

namespace {

// ---- Stack -------------------------------------------------------------------------------------

#if defined(__has_feature)
#define AMF2JSON_SANITIZED (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define AMF2JSON_SANITIZED 1
#else
#define AMF2JSON_SANITIZED 0
#endif

#if defined(__OPTIMIZE__) && !AMF2JSON_SANITIZED
constexpr std::size_t kStack = std::size_t{128} << 10;
#else
constexpr std::size_t kStack = std::size_t{512} << 10;
#endif

void everything(const std::string& packet) {
  AMFProtocol protocol;
  const AMFPackage* const package = parseVerified(protocol, packet.data(), packet.size());
  ASSERT_NE(nullptr, package);
  const std::unique_ptr<AMFPackage> copy(package->clone());
  for (const bool pretty : {true, false}) {
    protocol.getPackageInJSON(pretty);
    protocol.getPackageInJS(pretty);
    protocol.getPackageInJSON_and_JS(pretty);
    protocol.getPackageAsJSView(pretty);
  }
  protocol.compile(copy.get());
  EXPECT_EQ(packet.size(), protocol.getResultLength());
  escapeForViews(copy.get());
}

// Runs on a stack of `size` bytes below which lies a page that nobody may touch, and returns how many
// of them were ever written.
std::size_t stackUsed(std::size_t size, const std::string& packet) {
  constexpr std::size_t kFence = 4096;
  constexpr unsigned char kFresh = 0xA5;
  void* const memory =
      mmap(nullptr, kFence + size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return 0;
  auto* const stack = static_cast<unsigned char*>(memory) + kFence;
  std::fill(stack, stack + size, kFresh);
  mprotect(memory, kFence, PROT_NONE);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstack(&attributes, stack, size);
  pthread_t thread;
  const auto work = [](void* given) -> void* {
    everything(*static_cast<const std::string*>(given));
    return nullptr;
  };
  std::string bytes = packet;
  const bool started = pthread_create(&thread, &attributes, work, &bytes) == 0;
  if (started) pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const auto untouched = static_cast<std::size_t>(
      std::find_if(stack, stack + size, [](unsigned char byte) { return byte != kFresh; }) - stack);
  munmap(memory, kFence + size);
  return started ? size - untouched : 0;
}

TEST(GuardCost, TheDeepestTreesFitASmallStack) {
  if (support::kThreadSanitizer) GTEST_SKIP() << "the sanitizer itself needs more";
  for (const Shape& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    const std::size_t used = stackUsed(kStack, shape.packet(AMFVerifyLimits().maxDepth));
    EXPECT_GT(used, 0u);
    std::printf("%-28s %7zu of %zu bytes of stack\n", shape.name, used, kStack);
  }
}

// ---- What the output limit does not count ------------------------------------------------------

// 35 KB become half a gigabyte in this way (SECURITY.md); here a tenth of it.
TEST(GuardCost, TemporariesStandInFrontOfWhatTheOutputLimitCounts) {
  const std::string packet =
      packetWith(hex("11 09") + u29(201 << 1 | 1) + hex("01 0C") + u29(31000 << 1 | 1) +
                 std::string(31000, '\xFF') + repeat(hex("0C 02"), 200));
  AMFProtocol protocol;
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  EXPECT_GT(protocol.getPackageInJS(true).size(), 201u * 31000 * 8);
  EXPECT_FALSE(protocol.outputLimitReached);
  protocol.useTemporaries = false;
  EXPECT_LT(protocol.getPackageInJS(true).size(), 1000000u);
  EXPECT_TRUE(protocol.outputLimitReached);
}

// ---- The length of the JSON text ---------------------------------------------------------------

// At most ten lines for a node, of at most 34 bytes that are not its text; a tab for each level
// around it in the pretty layout: three for an object, two for an array, one for each reference
// after a switch so far, and those of package and message. Texts grow by backslashes, bytes become
// up to eight characters.
std::uint64_t mostJson(const AMFVerifyResult& checked, bool pretty) {
  constexpr std::uint64_t kLines = 10, kLine = 34, kEnvelopeTabs = 5;
  const std::uint64_t tabs =
      pretty ? 3 * std::uint64_t{checked.depth} + checked.switchedReferences + kEnvelopeTabs : 0;
  return checked.nodes * kLines * (kLine + tabs) + 2 * checked.stringBytes + 8 * checked.rawBytes;
}

struct Tightest {
  double pretty = 0, compact = 0;
};

void holdJson(const std::string& packet, Tightest& tightest) {
  AMFProtocol protocol;
  AMFVerifyResult checked;
  if (!parseVerified(protocol, packet.data(), packet.size(), AMFVerifyLimits(), &checked)) return;
  for (const bool pretty : {true, false}) {
    const std::size_t length = protocol.getPackageInJSON(pretty).size();
    const std::uint64_t most = mostJson(checked, pretty);
    ASSERT_LE(length, most) << toHex(packet.substr(0, 2000)) << (pretty ? " pretty" : " compact");
    double& share = pretty ? tightest.pretty : tightest.compact;
    share = std::max(share, static_cast<double>(length) / static_cast<double>(most));
  }
}

std::string quotes(std::uint32_t count) {
  return packetWith(hex("0C") + u32(count) + std::string(count, '"'));
}

TEST(GuardCost, JsonTextStaysBelowItsBound) {
  std::vector<std::string> packets = {
      doubling3(10),
      doubling0(10),
      referenceChain(62),
      stringBomb(60000, 20),
      traitsBomb(50, 100),
      packetWith(hex("0A 00002710") + std::string(10000, '\x05')),
      packetWith(hex("11 0C 82 8D 01") + std::string(16512, '\xFF')),
      quotes(20000),
      packetWith(hex("0A 00000041 11 0A 03 01") + repeat(hex("11 0A 00"), 64)),
      packetWith(hex("0A 00000064") + repeat(hex("00 FFEFFFFFFFFFFFFF"), 100)),
      packetWith(hex("0A 00000064") + repeat(hex("0B 4270000000000000 0000"), 100))};
  for (const Shape& shape : kShapes) packets.push_back(shape.packet(64));
  for (const auto& entry : std::filesystem::directory_iterator(AMF2JSON_SAMPLES)) {
    if (entry.path().extension() != ".amf") continue;
    std::ifstream in(entry.path(), std::ios::binary);
    packets.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  ASSERT_GT(packets.size(), 30u);
  Tightest tightest;
  for (const std::string& packet : packets) holdJson(packet, tightest);
  GuardGenerator generator(44);
  for (int i = 0; i < 4000; ++i) holdJson(generator.next(), tightest);
  std::printf("at most %.2f of the bound, compact %.2f\n", tightest.pretty, tightest.compact);
  EXPECT_GT(tightest.pretty, 0.1);
}

}  // namespace
