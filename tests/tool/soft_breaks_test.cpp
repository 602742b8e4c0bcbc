// SPDX-License-Identifier: Apache-2.0
//
// Line feeds that the views add to long texts, removed from what the program shows by default.
// Exercises tool/commands/soft_breaks.cpp.
#include "tool/commands/soft_breaks.h"

#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <AMF2JSON>
#include <string>

#include "support/guard_packets.h"
#include "support/packet_generator.h"

using namespace support;

namespace {

enum class View { json, js, both };

struct Shown {
  std::string text;
  std::size_t begin;  // of the JSON in it
  std::size_t end;
  std::size_t breaks;
};

// As `amf2json decode` calls the library.
Shown show(const std::string& packet, View view, bool pretty) {
  AMFProtocol protocol;
  protocol.parse(packet.data());
  escapeForViews(protocol.package);
  protocol.useTemporaries = false;
  const std::string text = view == View::json ? protocol.getPackageInJSON(pretty)
                           : view == View::js ? protocol.getPackageInJS(pretty)
                                              : protocol.getPackageInJSON_and_JS(pretty);
  const std::string lead = view == View::js ? "\n\n" : "\n\nJS representaion\n\n";
  const std::size_t after = view == View::json ? 0 : lead.size() + protocol.scriptText.size();
  return {text, view == View::js ? std::string("\n amf = ").size() : 0, text.size() - after,
          static_cast<std::size_t>(protocol.lineBreakCount) - 1};
}

// Byte by byte: line feeds outside of strings that are no line ends of the layout.
std::string plainlyRemoved(const Shown& shown, bool pretty, std::size_t& removed) {
  std::string out = shown.text.substr(0, shown.begin);
  bool inString = false;
  for (std::size_t i = shown.begin; i < shown.end; ++i) {
    const char c = shown.text[i];
    if (c == '"') inString = !inString;
    if (inString && c == '\\') out += shown.text[i++];
    const bool isBreak = !inString && shown.text[i] == '\n' &&
                         (!pretty || (i > shown.begin && shown.text[i - 1] == '\n'));
    if (isBreak) {
      ++removed;
    } else {
      out += shown.text[i];
    }
  }
  return out + shown.text.substr(shown.end);
}

// Adds how many there were to `seen`.
void expectExactlyTheBreaksGone(const std::string& packet, std::size_t& seen) {
  for (const View view : {View::json, View::js, View::both}) {
    for (const bool pretty : {true, false}) {
      const Shown shown = show(packet, view, pretty);
      std::size_t removed = 0;
      const std::string expected = plainlyRemoved(shown, pretty, removed);
      ASSERT_EQ(removed, shown.breaks) << shown.text;
      std::string text = shown.text;
      removeSoftBreaks(text, {shown.breaks, shown.begin, pretty});
      ASSERT_EQ(text, expected);
      seen += removed;
    }
  }
}

TEST(SoftBreaks, AreRemovedAndNothingElse) {
  const std::string packets[] = {
      packetWith(hex("05")),
      // Strings longer than the distance of two breaks: breaks come close to one another.
      packetWith(hex("0A 00000003 03 0001 'a' 02 0800 61*2048 0001 'b' 05 0000 09"
                     " 03 0001 'a' 05 0001 'b' 05 0001 'c' 05 0000 09 05")),
      // Line feeds, quotes and backslashes in strings and names.
      packetWith(hex("0A 00000040") +
                 repeat(hex("03 0003 0A220A 02 0006 0A0A5C220A5C 0000 09"), 64)),
      packetWith(hex("11 09 8101 01") +
                 repeat(hex("0A 0B 01 03 'a' 06 09 0A0A220A 03 'b' 03 01"), 64)),
  };
  std::size_t seen = 0;
  for (const std::string& packet : packets) expectExactlyTheBreaksGone(packet, seen);
  EXPECT_GT(seen, 100u);
}

TEST(SoftBreaks, OfRandomPacketsAreRemoved) {
  packets::PacketGenerator generator(20);
  std::size_t seen = 0;
  for (int i = 0; i < 300 && !HasFatalFailure(); ++i) {
    SCOPED_TRACE(i);
    expectExactlyTheBreaksGone(generator.next().bytes, seen);
  }
  EXPECT_GT(seen, 1000u);
}

}  // namespace
