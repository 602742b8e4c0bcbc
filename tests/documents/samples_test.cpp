// SPDX-License-Identifier: Apache-2.0
//
// The sample packets in all directions: bytes to tree, the four views in both layouts against the
// expected texts and against the plain renderer, and the tree to bytes again.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "support/dump.h"
#include "support/plain_renderer.h"
#include "support/views.h"

namespace {

// What comes back where that differs: the first differing byte, or the refusal.
struct Sample {
  const char* name;
  std::size_t offset;
  unsigned read;
  unsigned written;
  const char* why;      // null: the same bytes
  bool drifts = false;  // integers from 200000 on read back as others
};
const Sample kSamples[] = {
    {"amf0_objects_arrays", 0, 0, 0, nullptr},
    {"amf0_references", 0, 0, 0, nullptr},
    {"amf3_references", 0, 0, 0, nullptr},
    {"byte_array", 0, 0, 0, nullptr},
    {"dates", 36, 0xFF, 0x00, "the time zone is not kept"},
    {"echo_string", 0, 0, 0, nullptr},
    {"empty_packet", 0, 0, 0, nullptr},
    {"escaping", 0, 0, 0, nullptr},
    {"externalizable", 235, 0x0F, 0x07, "the traits bits are always 07"},
    {"flex_call", 0, 0, 0, nullptr},
    {"flex_reply", 0, 0, 0, nullptr},
    {"headers", 8, 0x02, 0x01, "must-understand is written as 01"},
    {"long_strings", 25, 0x0C, 0x02, "a short string gets the short form"},
    {"nesting", 0, 0, 0, nullptr},
    {"object_members", 0, 0, 0, nullptr},
    {"scalars", 111, 0x02, 0x01, "true is written as 01", true},
    {"string_reference", 0, 0, 0, nullptr},
    {"switched_reference", 0, 0, 0, nullptr},
    {"unwritable_integer", 0, 0, 0, "setAMF3Integer(): integer value is to large"},
    {"xml", 65, 0x0B, 0x07, "a reference is written with its entry's marker"},
};

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string packetOf(const Sample& sample) {
  return contents(std::string(AMF2JSON_SAMPLES) + "/" + sample.name + ".amf");
}

constexpr const char* kEndings[] = {".json", ".js", ".both", ".script"};  // of each view

TEST(Samples, ViewsGiveTheExpectedTexts) {
  for (const Sample& sample : kSamples) {
    const std::string packet = packetOf(sample);
    for (int which = 0; which < 4; ++which) {
      for (const bool pretty : {true, false}) {
        const std::string file =
            std::string(sample.name) + (pretty ? "" : ".compact") + kEndings[which];
        AMFProtocol protocol;
        protocol.parse(packet.data());
        const std::string text = support::view(protocol, which, pretty);
        EXPECT_TRUE(text ==
                    contents(std::string(AMF2JSON_SOURCES "/samples/expected") + "/" + file))
            << file;
        support::PlainRenderer plain;
        plain.package = protocol.package;
        EXPECT_TRUE(text == support::view(plain, which, pretty))
            << file << " against the plain renderer";
      }
    }
  }
}

TEST(Samples, AreReadToTheirLastByte) {
  for (const Sample& sample : kSamples) {
    const std::string packet = packetOf(sample);
    AMFProtocol protocol;
    protocol.parse(packet.data());
    EXPECT_EQ(protocol.readCursor, packet.data() + packet.size()) << sample.name;
  }
}

void expectFirstDifference(const Sample& sample, const std::string& packet,
                           const std::string& written) {
  std::size_t at = 0;
  while (at < packet.size() && at < written.size() && packet[at] == written[at]) ++at;
  ASSERT_LT(at, packet.size()) << sample.name << ": no difference";
  EXPECT_EQ(at, sample.offset) << sample.name << ": " << sample.why;
  EXPECT_EQ(static_cast<unsigned char>(packet[at]), sample.read) << sample.name;
  EXPECT_EQ(static_cast<unsigned char>(written[at]), sample.written) << sample.name;
}

TEST(Samples, AreWrittenBack) {
  for (const Sample& sample : kSamples) {
    const std::string packet = packetOf(sample);
    AMFProtocol protocol;
    protocol.parse(packet.data());
    try {
      const char* const bytes = protocol.compile(protocol.package);
      const std::string written(bytes, protocol.getResultLength());
      if (!sample.why) {
        EXPECT_TRUE(written == packet) << sample.name;
      } else {
        expectFirstDifference(sample, packet, written);
      }
      AMFProtocol again;  // what was written is the same tree from then on
      again.parse(written.data());
      again.compile(again.package);
      AMFProtocol third;
      third.parse(again.resultBuffer);
      EXPECT_EQ(support::dump(third.package) != support::dump(again.package), sample.drifts)
          << sample.name;
    } catch (const AMFException& refusal) {
      EXPECT_STREQ(refusal.message, sample.why ? sample.why : "no refusal") << sample.name;
    }
  }
}

}  // namespace
