// SPDX-License-Identifier: Apache-2.0
//
// Small inputs that expand to large outputs: refused by a limit, soon, and within four times their
// memory.
#include <gtest/gtest.h>

#include <ctime>

#include "support/counted_heap.h"
#include "support/hex.h"
#include "wire/byte_buffer.h"
#include "wire/calls.h"
#include "wire/hash.h"

namespace {

using support::hex;

constexpr std::size_t kMegabyte = 1000000;

std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (; count > 0; --count) all += text;
  return all;
}

// A number below 16384.
std::string u29(unsigned number) {
  if (number < 0x80) return std::string(1, static_cast<char>(number));
  return {static_cast<char>(number >> 7 | 0x80), static_cast<char>(number & 0x7F)};
}

struct Bomb {
  const char* name;
  std::string bytes;
  AMFWireStatus status;
  AMFWireForm form = AMFWireForm::amf3;
};

// U29 of a length of a million, with bit 0.
const char* const kMillion = "FA 89 01";  // 2000001

const std::vector<Bomb>& bombs() {
  static const std::vector<Bomb> all = {
      {"a string referred to a million times",
       hex("06 ") + hex(kMillion) + std::string(kMegabyte, 'a') + repeated(hex("06 00"), kMegabyte),
       AMFWireStatus::textLimit},
      {"a string with escapes referred to a million times",
       hex("06 ") + hex(kMillion) + std::string(kMegabyte, '\n') +
           repeated(hex("06 00"), kMegabyte),
       AMFWireStatus::textLimit},
      {"a string that is not UTF-8 referred to a million times",
       hex("06 ") + hex(kMillion) + std::string(kMegabyte, '\xFF') +
           repeated(hex("06 00"), kMegabyte),
       AMFWireStatus::textLimit},
      {"a class name referred to a million times",
       hex("0A 03 ") + hex(kMillion) + std::string(kMegabyte, 'a') +
           repeated(hex("0A 01"), kMegabyte),
       AMFWireStatus::textLimit},
      {"a sealed name referred to a million times",
       hex("0A 13 01 ") + hex(kMillion) + std::string(kMegabyte, 'a') + hex("01") +
           repeated(hex("0A 01 01"), kMegabyte),
       AMFWireStatus::textLimit},
      {"a member's name referred to a million times",
       hex("06 ") + hex(kMillion) + std::string(kMegabyte, 'a') + hex("0A 0B 01 00 01 01") +
           repeated(hex("0A 01 00 01 01"), kMegabyte),
       AMFWireStatus::textLimit},
      {"the same in a packet",
       hex("0000 0000 0001 0000 0000 FFFFFFFF 11 09 89B49001 01 06") + hex(kMillion) +
           std::string(kMegabyte, 'a') + repeated(hex("06 00"), kMegabyte),
       AMFWireStatus::textLimit, AMFWireForm::packet},
      {"ten million nested arrays", repeated(hex("09 03 01"), 10 * kMegabyte),
       AMFWireStatus::depthLimit},
      {"dictionaries in dictionaries", repeated(hex("11 03 00"), kMegabyte),
       AMFWireStatus::depthLimit},
      {"an array of 2^28", hex("09 FFFFFFFF 01") + std::string(kMegabyte, '\x01'),
       AMFWireStatus::truncated},
      {"a vector of 2^28", hex("0F FFFFFFFF 00") + std::string(kMegabyte, '\x01'),
       AMFWireStatus::truncated},
      {"a dictionary of 2^28", hex("11 FFFFFFFF 00") + std::string(kMegabyte, '\x01'),
       AMFWireStatus::truncated},
      {"sealed names, 2^25", hex("0A FFFFFFF3 01") + std::string(kMegabyte, '\x01'),
       AMFWireStatus::truncated},
  };
  return all;
}

TEST(WireBombs, AreRefusedSoonAndInLittleMemory) {
  for (const Bomb& bomb : bombs()) {
    SCOPED_TRACE(bomb.name);
    AMFWireExportOptions options;
    options.form = bomb.form;
    std::string json;
    const std::uint64_t before = support::peakBytes = support::liveBytes;
    const std::clock_t begin = std::clock();
    const AMFWireResult result = amfWireExport(bomb.bytes.data(), bomb.bytes.size(), json, options);
    const double timeMs = static_cast<double>(std::clock() - begin) * 1e3 / CLOCKS_PER_SEC;
    EXPECT_EQ(result.status, bomb.status) << result.message;
    EXPECT_LT(support::peakBytes - before, 3 * bomb.bytes.size() + 65536) << "beside the input";
    // Sanitizers take their time; five milliseconds is the bound of a Release build.
#if defined(NDEBUG)
    constexpr double kMost = 5;
#else
    constexpr double kMost = 100;
#endif
    EXPECT_LT(timeMs, kMost * static_cast<double>(bomb.bytes.size()) / 1e6 + 1);
  }
}

// Names that an attacker has chosen for one seed of the hash tables.
std::vector<std::string> namesOfOneSlot(std::uint64_t seed) {
  std::vector<std::string> names;
  for (std::uint32_t i = 0; names.size() < 200; ++i) {
    const std::string name = "n" + std::to_string(i);
    if (amf2json::wire::hashOf(name.data(), name.size(), seed) >> 54 == 0) names.push_back(name);
  }
  return names;
}

TEST(WireBombs, SlotsDependOnTheSeedAndTextsDoNot) {
  using amf2json::wire::hostSeed;
  hostSeed = 1;
  const std::uint64_t seed = amf2json::wire::hashSeed();
  const std::vector<std::string> names = namesOfOneSlot(seed);
  std::string bytes = hex("0A 0B 01");
  for (const std::string& name : names) {
    bytes += static_cast<char>(name.size() * 2 + 1) + name + '\x01';
  }
  bytes += '\x01';
  const std::string text = wire_tests::exported(bytes, AMFWireForm::amf3);
  EXPECT_EQ(text.rfind("{\"amf3\":[{\"" + names[0] + "\":null,", 0), 0u) << text;
  for (const std::uint64_t other : {2u, 3u, 4u}) {
    hostSeed = other;
    ASSERT_NE(amf2json::wire::hashSeed(), seed);
    std::size_t together = 0;
    for (const std::string& name : names) {
      const std::uint64_t hash =
          amf2json::wire::hashOf(name.data(), name.size(), amf2json::wire::hashSeed());
      together += hash >> 54 == 0 ? 1 : 0;
    }
    EXPECT_LT(together, 10u) << other;  // of 200, in one of 1024 slots
    EXPECT_EQ(wire_tests::exported(bytes, AMFWireForm::amf3), text);
  }
  hostSeed = 0;
}

// Time and memory per byte where each byte costs most.
TEST(WireBombs, TablesStaySmall) {
  const struct {
    const char* name;
    std::string bytes;
  } rows[] = {
      {"short strings", repeated(hex("06 03 'a'"), kMegabyte)},
      {"objects by traits", hex("0A 03 01") + repeated(hex("0A 01"), kMegabyte)},
      {"many members",
       [] {
         std::string bytes = hex("0A 0B 01");
         for (unsigned i = 0; i < 200000; ++i) {
           const std::string name = "n" + std::to_string(i);
           bytes += static_cast<char>(name.size() * 2 + 1) + name + '\x01';
         }
         return bytes + '\x01';
       }()},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    AMFWireExportOptions options;
    options.form = AMFWireForm::amf3;
    std::string json;
    const std::uint64_t before = support::peakBytes = support::liveBytes;
    ASSERT_TRUE(amfWireExport(row.bytes.data(), row.bytes.size(), json, options).ok());
    EXPECT_LT(support::peakBytes - before, json.size() + 2 * row.bytes.size() + 65536);
  }
}

// All names are references, and all objects are open at the end, where the packet is cut.
TEST(WireBombs, NamesOfNestedObjectsTakeTenTimesTheirBytesAtMost) {
  constexpr std::size_t kLevel = 512;
  constexpr std::size_t kDepth = 511;
  std::string names;
  std::string references;
  for (unsigned i = 0; i < 120; ++i) {
    const std::string name = "n" + std::to_string(i);
    names += static_cast<char>(name.size() * 2 + 1) + name + '\x01';
    references += u29(2 * i) + '\x01';
  }
  const std::string bytes =
      hex("0A 0B 01") + names + repeated(hex("05 'zz' 0A 01") + references, kDepth);
  AMFWireExportOptions options;
  options.form = AMFWireForm::amf3;
  std::string json;
  const std::uint64_t before = support::peakBytes = support::liveBytes;
  const AMFWireResult result = amfWireExport(bytes.data(), bytes.size(), json, options);
  EXPECT_EQ(result.status, AMFWireStatus::truncated);
  EXPECT_LT(support::peakBytes - before, 10 * bytes.size() + 65536 + kLevel * kDepth);
}

TEST(WireBombs, TextsTakeTwelveTimesTheirMemoryAtMost) {
  const struct {
    const char* name;
    std::string text;
  } rows[] = {
      {"numbers of AMF0", "{\"amf0\":[0" + repeated(",0", kMegabyte) + "]}"},
      {"arrays of one number", "{\"amf0\":[0" + repeated(",[0]", 150000) + "]}"},
      {"arrays inside one another",
       "{\"amf0\":[0" + repeated("," + std::string(500, '[') + '0' + std::string(500, ']'), 1000) +
           "]}"},
      {"empty arrays", "{\"amf0\":[0" + repeated(",[]", kMegabyte) + "]}"},
      {"empty objects of AMF3", "{\"amf3\":[0" + repeated(",{}", kMegabyte) + "]}"},
      {"doubles of AMF3", "{\"integers\":false,\"amf3\":[0" + repeated(",0", kMegabyte) + "]}"},
      {"short strings",
       [] {
         std::string text = "{\"amf3\":[0";
         for (unsigned i = 0; i < 300000; ++i) text += ",\"" + std::to_string(i) + "\"";
         return text + "]}";
       }()},
      {"keys",
       [] {
         std::string text = "{\"amf0\":[{\"\":0";
         for (unsigned i = 0; i < 300000; ++i) text += ",\"" + std::to_string(i) + "\":0";
         return text + "}]}";
       }()},
      {"ids",
       [] {
         std::string text = "{\"amf0\":[{}";
         for (unsigned i = 1; i < 100000; ++i) text += ",{\"$id\":" + std::to_string(i) + "}";
         return text + "]}";
       }()},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::string bytes;
    const std::uint64_t before = support::peakBytes = support::liveBytes;
    ASSERT_TRUE(amfWireImport(row.text.data(), row.text.size(), bytes).ok());
    // The written bytes come from realloc, which is not counted here and does not copy large blocks.
    const std::size_t written =
        bytes.size() + bytes.size() / amf2json::wire::ByteBuffer::kGrowthDivisor;
    EXPECT_LT(support::peakBytes - before + written, 12 * row.text.size());
  }
}

}  // namespace
