// SPDX-License-Identifier: Apache-2.0
//
// Trees made harmless for the views: what becomes of every byte, in every place, and that the texts
// then say what the tree said and do nothing else. Exercises guard/escape_for_views.cpp.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/build.h"
#include "support/counted_heap.h"
#include "support/dump.h"
#include "support/guard_packets.h"

using namespace support;

namespace {

// ---- Bytes -------------------------------------------------------------------------------------

struct TextCase {
  const char* name;
  const char* bytes;    // hex
  const char* escaped;  // hex
};

const TextCase kTexts[] = {
    {"empty", "", ""},
    {"plain", "'abc'", "'abc'"},
    {"every printable byte but two", "20 21 22 23 24 25 26 27 '()*+,-./09:;=>?@AZ[]^_`az{|}~'",
     "20 21 22 23 24 25 26 27 '()*+,-./09:;=>?@AZ[]^_`az{|}~'"},
    {"quotes are the view's business", "22 22", "22 22"},
    {"backslash", "5C", "5C 5C"},
    {"backslash, quote", "5C 22", "5C 5C 22"},
    {"an escape", "5C 'u003c'", "5C 5C 'u003c'"},
    {"NUL", "00", "5C 'u0000'"},
    {"controls the views drop", "08 09 0A 0C 0D",
     "5C 'u0008' 5C 'u0009' 5C 'u000A' 5C 'u000C' 5C 'u000D'"},
    {"other controls", "01 1B 1F", "5C 'u0001' 5C 'u001B' 5C 'u001F'"},
    {"delete", "7F", "5C 'u007F'"},
    {"less than", "'</script>'", "5C 'u003C/script>'"},
    {"line separator", "E280A8", "5C 'u2028'"},
    {"paragraph separator", "'a' E280A9 'b'", "'a' 5C 'u2029b'"},
    {"neighbours of the separators", "E280A7 E280AA E281A8", "E280A7 E280AA E281A8"},
    {"with the ends of the separators", "E180A8 E380A9", "E180A8 E380A9"},
    {"shortest and longest of each length", "C280 DFBF E0A080 EFBFBF F0908080 F48FBFBF",
     "C280 DFBF E0A080 EFBFBF F0908080 F48FBFBF"},
    {"around the surrogates", "ED9FBF EE8080", "ED9FBF EE8080"},
    {"second byte of E1, EC, F1, F3", "E18080 ECBFBF F1808080 F3BFBFBF",
     "E18080 ECBFBF F1808080 F3BFBFBF"},
    {"a byte that only continues", "80 BF", "EFBFBD EFBFBD"},
    {"bytes that begin nothing", "C0 C1 F5 FF", "EFBFBD EFBFBD EFBFBD EFBFBD"},
    {"bytes that begin nothing, though others go on", "F5808080 FF8080", "EFBFBD*4 EFBFBD*3"},
    {"overlong", "C080 E08080 E09FBF F0808080 F08FBFBF",
     "EFBFBD*2 EFBFBD*3 EFBFBD*3 EFBFBD*4 EFBFBD*4"},
    {"surrogate", "EDA080", "EFBFBD*3"},
    {"above the last", "F4908080", "EFBFBD*4"},
    {"cut at the end", "C2", "EFBFBD"},
    {"cut in three", "E282", "EFBFBD"},
    {"cut in four", "F09F98", "EFBFBD"},
    {"cut by a letter", "C2 'a' E282 'b' F09F98 'c'", "EFBFBD 'a' EFBFBD 'b' EFBFBD 'c'"},
    {"cut by the next", "E282 E282AC", "EFBFBD E282AC"},
    {"quote in a sequence stays a quote", "E2 22", "EFBFBD 22"},
    {"separator without its end", "E280", "EFBFBD"},
};

// The table's "*" repeats one item: spell groups out.
std::string expectedBytes(const TextCase& row) {
  std::string text;
  for (const char* at = row.escaped; *at; ++at) {
    if (std::string_view(at).substr(0, 7) == "EFBFBD*") {
      text += "(EFBFBD)";
      at += 5;
    } else {
      text += *at;
    }
  }
  return hex(text);
}

std::string textOf(const AMFRaw* node) {
  return {node->data ? node->data : "", node->length};
}

TEST(GuardEscape, EveryByteOfAText) {
  for (const TextCase& row : kTexts) {
    SCOPED_TRACE(row.name);
    const auto node = makeString(AMF_VERSION_3, hex(row.bytes), 4);
    escapeForViews(node.get());
    EXPECT_EQ(toHex(expectedBytes(row)), toHex(textOf(node.get())));
    EXPECT_EQ(4u, node->referenceIndex);
  }
}

// Texts are looked at in words: what a byte becomes does not depend on where it stands.
TEST(GuardEscape, EveryByteAtEveryPlace) {
  constexpr std::size_t kLength = 19;
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string single(1, static_cast<char>(byte));
    const auto alone = makeString(AMF_VERSION_3, single);
    escapeForViews(alone.get());
    for (std::size_t at = 0; at < kLength; ++at) {
      const std::string before(at, 'a');
      const std::string behind(kLength - 1 - at, '~');
      const auto node = makeString(AMF_VERSION_3, before + single + behind);
      escapeForViews(node.get());
      ASSERT_EQ(before + textOf(alone.get()) + behind, textOf(node.get())) << byte << " at " << at;
    }
  }
}

// ---- Places ------------------------------------------------------------------------------------

TEST(GuardEscape, EveryPlaceThatHoldsText) {
  AMFProtocol protocol;
  const std::string packet = hex(
      "0000 0001 0001 5C 00 FFFFFFFF 0F 00000001 '<' 0001 0001 5C 0001 '<' FFFFFFFF 0A 00000005 "
      "10 0001 5C 0001 '<' 02 0001 00 000009 "
      "08 00000001 0001 01 0C 00000001 02 "
      "11 0A 1B 03 5C 03 03 06 03 04 03 '<' 0B 03 5C 01 "
      "11 09 03 03 7F 07 03 1F 01 06 03 '<' "
      "11 0C 03 5C");
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  escapeForViews(protocol.package);
  EXPECT_EQ(
      "package0{headers=1 header{'\\\\\\\\' len=? xml0{doc=1 '\\\\u003C'}}, "
      "message{'\\\\\\\\' '\\\\u003C' len=? arr0{dense=5 strict "
      "obj0{class='\\\\\\\\' '\\\\u003C':str0 '\\\\u0000'}, "
      "arr0{'\\\\u0001':str0 '\\\\u0002'}, "
      "obj3{sealed=1 dyn class='\\\\\\\\' '\\\\u0003':str3 '\\\\u0004', '\\\\u003C':xml3{doc=0 "
      "'\\\\\\\\'}}, "
      "arr3{dense=1 '\\\\u007F':xml3{doc=1 '\\\\u001F'}, str3 '\\\\u003C'}, "
      "raw3 [5C]}}}",
      dump(protocol.package));
}

TEST(GuardEscape, NumbersThatAreNoneBecomeNull) {
  AMFProtocol protocol;
  const std::string packet = hex(
      "0000 0001 0000 00 FFFFFFFF 00 7FF8000000000000 0002 0000 0000 FFFFFFFF 00 FFF0000000000000 "
      "0000 0000 FFFFFFFF 0A 00000003 00 7FF0000000000000 03 0001 'a' 00 FFF8000000000000 0001 'b' "
      "00 7FEFFFFFFFFFFFFF 000009 11 09 03 03 'k' 05 7FF0000000000001 01 05 7FF8000000000000");
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  escapeForViews(protocol.package);
  EXPECT_EQ(
      "package0{headers=1 header{'' len=? null0}, message{'' '' len=? null0}, "
      "message{'' '' len=? arr0{dense=3 strict null0, obj0{'a':null0, 'b':double0 "
      "1.7976931348623157e+308}, arr3{dense=1 'k':null3, null3}}}}",
      dump(protocol.package));
}

TEST(GuardEscape, OtherReferencesAreShownAsReferences) {
  AMFProtocol protocol;
  const std::string packet =
      packetOf("0A 00000003 03 0000 09 07 0000 11 09 05 01 0A 0B 01 01 0A 02");
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  const std::string before = dump(protocol.package);
  EXPECT_NE(std::string::npos, before.find("obj0{}#ref0"));
  EXPECT_NE(std::string::npos, before.find("obj3{dyn}#ref1")) << before;
  escapeForViews(protocol.package);
  EXPECT_EQ(before, dump(protocol.package));
}

TEST(GuardEscape, WhatIsReplacedIsFreed) {
  const std::uint64_t before = liveBlocks;
  {
    AMFArray array(AMF_VERSION_3);
    for (unsigned i = 0; i < 4; ++i) {
      auto number = std::make_unique<AMFDouble>(AMF_VERSION_3);
      number->value = std::numeric_limits<double>::quiet_NaN();
      array.appendChild(number.release(), false);
    }
    escapeForViews(&array);
  }
  EXPECT_EQ(before, liveBlocks);
}

TEST(GuardEscape, NodesThatWouldUnbalanceTheViewsAreShownInFull) {
  AMFProtocol protocol;
  const std::string packet =
      packetOf("0A 00000004 11 0A 03 01 11 0A 00 11 06 03 'a' 11 09 05 01 06 00 0A 00");
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  escapeForViews(protocol.package);
  EXPECT_EQ(
      "package0{headers=0 message{'t' 'r' len=? arr0{dense=4 strict obj3{}, obj3{}, str3 'a', "
      "arr3{dense=2 str3 'a'#ref0, obj3{}#ref0}}}}",
      dump(protocol.package));
  protocol.getPackageInJSON(false);
  EXPECT_EQ("", protocol.closerStack);
}

TEST(GuardEscape, HandMadeTrees) {
  escapeForViews(nullptr);
  // A number at the root stays: there is nowhere to put another node.
  AMFDouble root(AMF_VERSION_0);
  root.value = std::numeric_limits<double>::infinity();
  escapeForViews(&root);
  EXPECT_EQ(std::numeric_limits<double>::infinity(), root.value);
  // A reference index goes along; null members and entries stay.
  AMFArray array(AMF_VERSION_3);
  auto number = std::make_unique<AMFDouble>(AMF_VERSION_3);
  number->value = -std::numeric_limits<double>::infinity();
  number->referenceIndex = 7;
  array.appendChild(number.release(), false);
  array.children.push_back(nullptr);
  auto pair = std::make_unique<AMFPair>(AMF_VERSION_3);
  delete pair->name;
  delete pair->value;
  pair->name = nullptr;
  pair->value = nullptr;
  array.appendChild(pair.release(), false);
  escapeForViews(&array);
  ASSERT_EQ(AMFNode::AMF_NULL, array.children[0]->type);
  EXPECT_EQ(7u, array.children[0]->referenceIndex);
  EXPECT_EQ(&array, array.children[0]->parent);
  EXPECT_EQ(AMF_VERSION_3, array.children[0]->version);
  EXPECT_EQ(nullptr, array.children[1]);
  EXPECT_EQ(1u, array.denseCount);
}

TEST(GuardEscape, TextsThatNeedNothingStayWhereTheyAre) {
  const auto plain = makeString(AMF_VERSION_0, "longer than a short string");
  const char* const bytes = plain->data;
  const std::uint64_t before = allocations;
  escapeForViews(plain.get());
  EXPECT_EQ(bytes, plain->data);
  EXPECT_EQ(before, allocations);
  const auto umlaut = makeString(AMF_VERSION_0, "longer than a short string, \xC3\xA4");
  const char* const kept = umlaut->data;
  const std::uint64_t then = allocations;
  escapeForViews(umlaut.get());
  EXPECT_EQ(kept, umlaut->data);
  EXPECT_EQ(then + 1, allocations);  // the text to compare with
  // A length without bytes, which only a host can make, is no text.
  AMFString empty(AMF_VERSION_0);
  empty.length = 5;
  escapeForViews(&empty);
  EXPECT_EQ(nullptr, empty.data);
  EXPECT_EQ(5u, empty.length);
  empty.length = 0;
}

// Only hands can put a node into a number.
TEST(GuardEscape, NumbersInNumbersBecomeNullWithThem) {
  AMFArray array(AMF_VERSION_3);
  AMFNode* place = &array;
  for (int i = 0; i < 3; ++i) {
    auto number = std::make_unique<AMFDouble>(AMF_VERSION_3);
    number->value = std::numeric_limits<double>::quiet_NaN();
    AMFNode* const next = number.get();
    place->appendChild(number.release(), false);
    place = next;
  }
  place->appendChild(makeString(AMF_VERSION_3, "<").release(), false);
  escapeForViews(&array);
  EXPECT_EQ("arr3{null3}!open", dump(&array));
}

TEST(GuardEscape, PairsInPairsNeedNoStack) {
  AMFArray root(AMF_VERSION_0);
  auto first = std::make_unique<AMFPair>(AMF_VERSION_0);
  AMFPair* innermost = first.get();
  root.appendChild(first.release(), false);
  std::vector<AMFPair*> all = {innermost};
  for (int i = 0; i < 100000; ++i) {
    auto next = std::make_unique<AMFPair>(AMF_VERSION_0);
    delete innermost->value;
    innermost->value = next.get();
    innermost = next.release();
    all.push_back(innermost);
  }
  innermost->setName(makeString(AMF_VERSION_0, "<").release(), false);
  escapeForViews(&root);
  EXPECT_EQ("\\u003C", textOf(innermost->name));
  root.children.clear();
  for (AMFPair* pair : all) {
    if (pair != innermost) pair->value = nullptr;
    delete pair;
  }
}

TEST(GuardEscape, DeepTreesNeedNoStack) {
  auto root = std::make_unique<AMFArray>(AMF_VERSION_0);
  AMFNode* innermost = root.get();
  constexpr int kLevels = 100000;
  for (int i = 0; i < kLevels; ++i) {
    auto level = std::make_unique<AMFArray>(AMF_VERSION_0);
    AMFNode* const next = level.get();
    innermost->appendChild(level.release(), false);
    innermost = next;
  }
  auto text = makeString(AMF_VERSION_0, "<");
  AMFString* const string = text.get();
  innermost->appendChild(text.release(), false);
  escapeForViews(root.get());
  EXPECT_EQ("\\u003C", textOf(string));
  // Taken apart from below, so that deleting it needs no stack either.
  for (AMFNode* node = innermost; node != root.get();) {
    AMFNode* const above = node->parent;
    above->children.clear();
    delete node;
    node = above;
  }
}

// ---- Memory ------------------------------------------------------------------------------------

TEST(GuardEscape, AFailureLeavesTheTreeAsItWas) {
  AMFProtocol protocol;
  const std::string packet = packetOf(
      "0A 00000006 02 0001 5C 00 7FF8000000000000 11 06 03 'a' 11 06 00 03 0003 '<<<' 0F 00000001 "
      "00 000009 00 FFF0000000000000");
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  const std::string before = dump(protocol.package);
  std::uint64_t failures = 0;
  for (bool done = false; !done; ++failures) {
    const std::uint64_t blocks = liveBlocks;
    failingAllocation = allocations + failures;
    try {
      escapeForViews(protocol.package);
      done = true;
    } catch (const std::bad_alloc&) {
      failingAllocation = kNoFailure;
      ASSERT_EQ(blocks, liveBlocks);
      ASSERT_EQ(before, dump(protocol.package)) << failures;
    }
    failingAllocation = kNoFailure;
  }
  EXPECT_GT(failures, 8u);
  EXPECT_NE(before, dump(protocol.package));
}

// ---- The texts ---------------------------------------------------------------------------------

// Splits a text into the strings between quotes, decoded, and what is left of it, strictly: only
// the escapes \" \\ and \uXXXX, no raw control bytes or line separators in a string.
struct Scan {
  bool sound = true;
  std::string skeleton;  // each string as ""
  std::vector<std::string> strings;
};

void appendUTF8(std::string& out, unsigned code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else {
    out += static_cast<char>(0xE0 | code >> 12);
    out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

Scan scan(const std::string& text) {
  Scan result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    result.skeleton += text[i];
    if (text[i] != '"') continue;
    std::string string;
    for (++i; i < text.size() && text[i] != '"'; ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      if (byte < 0x20 || text.compare(i, 3, "\xE2\x80\xA8") == 0 ||
          text.compare(i, 3, "\xE2\x80\xA9") == 0) {
        result.sound = false;
      }
      if (byte != '\\') {
        string += text[i];
      } else if (i + 1 < text.size() && (text[i + 1] == '"' || text[i + 1] == '\\')) {
        string += text[++i];
      } else if (i + 5 < text.size() && text[i + 1] == 'u') {
        appendUTF8(string, static_cast<unsigned>(std::stoul(text.substr(i + 2, 4), nullptr, 16)));
        i += 5;
      } else {
        result.sound = false;
      }
    }
    if (i >= text.size()) result.sound = false;
    result.skeleton += '"';
    result.strings.push_back(string);
  }
  return result;
}

std::string withoutBlanks(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c != ' ' && c != '\n' && c != '\t') out += c;
  }
  return out;
}

// A packet with `text` in every place that takes one.
std::string packetFull(const std::string& text) {
  const std::string shortText = u16(static_cast<std::uint32_t>(text.size())) + text;
  const std::string text3 = u29(static_cast<std::uint32_t>(text.size()) << 1 | 1) + text;
  const std::string number = hex("00 3FF0000000000000");
  return hex("0000 0001") + shortText + hex("00 FFFFFFFF 02") + shortText + hex("0002") +
         shortText + shortText + hex("FFFFFFFF 10") + shortText + shortText + hex("02") +
         shortText + shortText + number + shortText + hex("0F") +
         u32(static_cast<std::uint32_t>(text.size())) + text + hex("0000 09") + shortText +
         shortText + hex("FFFFFFFF 11 0A 1B") + text3 + text3 + hex("06") + text3 + text3 +
         hex("09 03") + text3 + hex("0B") + text3 + hex("01 06") + text3 + hex("01");
}

const char* const kHostile[] = {
    "5C 22 ';alert(1);//'",
    "5C 22 '+alert(1),//'",
    "';alert(2)//'",
    "'x' 5C",
    "E280A8 'alert(3)//'",
    "E280A9 'alert(3)//'",
    "'</script><script>alert(4)</script>'",
    "'<!--'",
    "0A 'alert(5)//' 0D",
    "22 ');alert(6);(' 22",
    "5C*3 22",
    "5C*4 22 5C",
    "5C 'u0022;alert(7)//'",
    "'C:' 5C 'new'",
    "00 08 09 0A 0B 0C 0D 1B 1F 7F",
    "80 FF C0 22 E2 5C F0 9F 22",
    "E2 80 22 A8 ';alert(8)//'",
    "(65)*450 5C 22 ';alert(9);//'",
    "(61)*399 5C 'b' (63)*397 5C 'b' (64)*397 22",
    "22",
    "'*/alert(10)/*'",
};

// Broken sequences as a reader of UTF-8 shows them; tested byte by byte above.
std::string readable(const std::string& text) {
  const auto node = makeString(AMF_VERSION_0, text);
  escapeForViews(node.get());
  return scan('"' +
              [&] {
                std::string quoted;
                for (const char c : textOf(node.get()))
                  quoted += c == '"' ? "\\\"" : std::string(1, c);
                return quoted;
              }() +
              '"')
      .strings.at(0);
}

std::string view(const std::string& packet, int which, bool pretty) {
  AMFProtocol protocol;
  protocol.useTemporaries = false;
  EXPECT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  escapeForViews(protocol.package);
  switch (which) {
    case 0: return protocol.getPackageInJSON(pretty);
    case 1: return protocol.getPackageInJS(pretty);
    case 2: return protocol.getPackageInJSON_and_JS(pretty);
    default: return protocol.getPackageAsJSView(pretty);
  }
}

TEST(GuardEscape, TheViewsStayWhatTheyAreWithHarmlessText) {
  for (const char* const bytes : kHostile) {
    const std::string text = hex(bytes);
    for (int which = 0; which < 4; ++which) {
      for (const bool pretty : {false, true}) {
        SCOPED_TRACE(std::string(bytes) + " view " + std::to_string(which));
        const Scan hostile = scan(view(packetFull(text), which, pretty));
        const Scan harmless = scan(view(packetFull("word"), which, pretty));
        EXPECT_TRUE(hostile.sound);
        // The texts of the JSON side take soft breaks by their length; a script's line ends count.
        if (which == 3) {
          EXPECT_EQ(harmless.skeleton, hostile.skeleton);
        } else {
          EXPECT_EQ(withoutBlanks(harmless.skeleton), withoutBlanks(hostile.skeleton));
        }
        EXPECT_EQ(std::string::npos, hostile.skeleton.find("alert"));
      }
    }
  }
}

TEST(GuardEscape, EveryStringReadsBack) {
  for (const char* const bytes : kHostile) {
    SCOPED_TRACE(bytes);
    const std::string text = hex(bytes);
    const Scan harmless = scan(view(packetFull("word"), 0, true));
    const Scan hostile = scan(view(packetFull(text), 0, true));
    ASSERT_EQ(harmless.strings.size(), hostile.strings.size());
    int found = 0;
    for (std::size_t i = 0; i < harmless.strings.size(); ++i) {
      const bool fromPacket = harmless.strings[i] == "word";
      EXPECT_EQ(fromPacket ? readable(text) : harmless.strings[i], hostile.strings[i]);
      found += fromPacket ? 1 : 0;
    }
    EXPECT_EQ(19, found);
  }
  EXPECT_EQ("C:\\new\"", readable("C:\\new\""));
  EXPECT_EQ(std::string("\0\n\x1B\x7F<", 5), readable(std::string("\0\n\x1B\x7F<", 5)));
  EXPECT_EQ("\xE2\x80\xA8\xEF\xBF\xBD", readable("\xE2\x80\xA8\xFF"));
}

TEST(GuardEscape, WithoutItTheSameTextsBreakOut) {
  AMFProtocol protocol;
  const std::string packet = packetFull(hex(kHostile[0]));
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  EXPECT_NE(std::string::npos, scan(protocol.getPackageAsJSView(true)).skeleton.find("alert"));
}

}  // namespace
