// SPDX-License-Identifier: Apache-2.0
//
// escapeForViews: the result for every byte, in every place, and that the views then contain the
// texts of the tree and have no other effect. Exercises guard/escape_for_views.cpp.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/counted_heap.h"
#include "support/dump.h"
#include "support/guard_packets.h"
#include "support/trees.h"
#include "support/views.h"

using namespace support;

namespace {

// ---- Bytes -------------------------------------------------------------------------------------

struct TextCase {
  const char* name;
  const char* bytes;   // hex
  const char* json;    // hex
  const char* script;  // hex; null: the same
};

const TextCase kTexts[] = {
    {"empty", "", "", nullptr},
    {"plain", "'abc'", "'abc'", nullptr},
    {"every printable byte but seven", "20 21 23 24 25 '()*+,-./09:;=' 3F '@AZ[]^_`az{|}~'",
     "20 21 23 24 25 '()*+,-./09:;=' 3F '@AZ[]^_`az{|}~'", nullptr},
    {"quotes are the view's business in JSON", "22 22", "22 22", "5C 'u0022' 5C 'u0022'"},
    {"apostrophe", "27", "27", "5C 'u0027'"},
    {"ampersand", "'&quot;'", "'&quot;'", "5C 'u0026quot;'"},
    {"backslash", "5C", "5C 5C", nullptr},
    {"backslash, quote", "5C 22", "5C 5C 22", "5C 5C 5C 'u0022'"},
    {"an escape", "5C 'u003c'", "5C 5C 'u003c'", nullptr},
    {"NUL", "00", "5C 'u0000'", nullptr},
    {"controls the views drop", "08 09 0A 0C 0D",
     "5C 'u0008' 5C 'u0009' 5C 'u000A' 5C 'u000C' 5C 'u000D'", nullptr},
    {"other controls", "01 1B 1F", "5C 'u0001' 5C 'u001B' 5C 'u001F'", nullptr},
    {"delete", "7F", "5C 'u007F'", nullptr},
    {"less than, greater than", "'</script>'", "5C 'u003C/script>'",
     "5C 'u003C/script' 5C 'u003E'"},
    {"first and last control of Latin-1", "C280 C29F C2A0", "5C 'u0080' 5C 'u009F' C2A0",
     "5C 'u0080' 5C 'u009F' 5C 'u00A0'"},
    {"Arabic letter mark and its neighbours", "D89B D89C D89D", "D89B 5C 'u061C' D89D",
     "5C 'u061B' 5C 'u061C' 5C 'u061D'"},
    {"marks and their neighbours", "E2808D E2808E E2808F E28090",
     "E2808D 5C 'u200E' 5C 'u200F' E28090", "5C 'u200D' 5C 'u200E' 5C 'u200F' 5C 'u2010'"},
    {"line separator and the character in front", "E280A7 E280A8", "E280A7 5C 'u2028'",
     "5C 'u2027' 5C 'u2028'"},
    {"paragraph separator", "'a' E280A9 'b'", "'a' 5C 'u2029b'", nullptr},
    {"embeddings, overrides and the character after them",
     "E280AA E280AB E280AC E280AD E280AE E280AF",
     "5C 'u202A' 5C 'u202B' 5C 'u202C' 5C 'u202D' 5C 'u202E' E280AF",
     "5C 'u202A' 5C 'u202B' 5C 'u202C' 5C 'u202D' 5C 'u202E' 5C 'u202F'"},
    {"isolates and their neighbours", "E281A5 E281A6 E281A7 E281A8 E281A9 E281AA",
     "E281A5 5C 'u2066' 5C 'u2067' 5C 'u2068' 5C 'u2069' E281AA",
     "5C 'u2065' 5C 'u2066' 5C 'u2067' 5C 'u2068' 5C 'u2069' 5C 'u206A'"},
    {"with the ends of the separators", "E180A8 E380A9", "E180A8 E380A9", "5C 'u1028' 5C 'u3029'"},
    {"shortest and longest of each length", "C2A0 DFBF E0A080 EFBFBF F0908080 F48FBFBF",
     "C2A0 DFBF E0A080 EFBFBF F0908080 F48FBFBF",
     "5C 'u00A0' 5C 'u07FF' 5C 'u0800' 5C 'uFFFF' 5C 'uD800' 5C 'uDC00' 5C 'uDBFF' 5C 'uDFFF'"},
    {"a pair", "F09F9880", "F09F9880", "5C 'uD83D' 5C 'uDE00'"},
    {"around the surrogates", "ED9FBF EE8080", "ED9FBF EE8080", "5C 'uD7FF' 5C 'uE000'"},
    {"second byte of E1, EC, F1, F3", "E18080 ECBFBF F1808080 F3BFBFBF",
     "E18080 ECBFBF F1808080 F3BFBFBF",
     "5C 'u1000' 5C 'uCFFF' 5C 'uD8C0' 5C 'uDC00' 5C 'uDBBF' 5C 'uDFFF'"},
    {"last byte begins a character in Shift_JIS and GBK", "E38183", "E38183", "5C 'u3043'"},
    {"a byte that only continues", "80 BF", "? ?", nullptr},
    {"bytes that begin nothing", "C0 C1 F5 FF", "????", nullptr},
    {"bytes that begin nothing, though others go on", "F5808080 FF8080", "???? ???", nullptr},
    {"overlong", "C080 E08080 E09FBF F0808080 F08FBFBF", "?? ??? ??? ???? ????", nullptr},
    {"surrogate", "EDA080", "???", nullptr},
    {"above the last", "F4908080", "????", nullptr},
    {"cut at the end", "C2", "?", nullptr},
    {"cut in three", "E282", "?", nullptr},
    {"cut in four", "F09F98", "?", nullptr},
    {"cut by a letter", "C2 'a' E282 'b' F09F98 'c'", "? 'a' ? 'b' ? 'c'", nullptr},
    {"cut by the next", "E282 E282AC", "? E282AC", "? 5C 'u20AC'"},
    {"quote in a sequence stays a quote", "E2 22", "? 22", "? 5C 'u0022'"},
    {"separator without its end", "E280", "?", nullptr},
};

constexpr AMFEscapeFor kBoth[] = {AMFEscapeFor::script, AMFEscapeFor::json};

// In the table "?" stands for U+FFFD.
std::string expectedBytes(const TextCase& row, AMFEscapeFor view) {
  const bool isJSON = view == AMFEscapeFor::json;
  std::string text;
  for (const char c : std::string(isJSON || !row.script ? row.json : row.script)) {
    if (c != '?') {
      text += c;
    } else {
      text += isJSON ? "EFBFBD " : "5C 'uFFFD' ";
    }
  }
  return hex(text);
}

std::string textOf(const AMFRaw* node) {
  return {node->data ? node->data : "", node->length};
}

TEST(GuardEscape, EveryByteOfAText) {
  for (const TextCase& row : kTexts) {
    for (const AMFEscapeFor view : kBoth) {
      SCOPED_TRACE(row.name);
      const auto node = trees::own(trees::reference(trees::string(trees::k3, hex(row.bytes)), 4));
      escapeForViews(node.get(), view);
      EXPECT_EQ(toHex(expectedBytes(row, view)), toHex(textOf(node.get())));
      EXPECT_EQ(4u, node->referenceIndex);
    }
  }
}

TEST(GuardEscape, WithoutAnArgumentItIsForEveryView) {
  for (const TextCase& row : kTexts) {
    SCOPED_TRACE(row.name);
    const auto node = trees::own(trees::string(trees::k3, hex(row.bytes)));
    escapeForViews(node.get());
    EXPECT_EQ(toHex(expectedBytes(row, AMFEscapeFor::script)), toHex(textOf(node.get())));
  }
}

// The code tests eight bytes at a time. The result for a byte must not depend on its place.
TEST(GuardEscape, EveryByteAtEveryPlace) {
  constexpr std::size_t kLength = 19;
  for (unsigned i = 0; i < 512; ++i) {
    const unsigned byte = i / 2;
    const AMFEscapeFor view = kBoth[i % 2];
    const std::string single(1, static_cast<char>(byte));
    const auto alone = trees::own(trees::string(trees::k3, single));
    escapeForViews(alone.get(), view);
    for (std::size_t at = 0; at < kLength; ++at) {
      const std::string before(at, 'a');
      const std::string after(kLength - 1 - at, '~');
      const auto node = trees::own(trees::string(trees::k3, before + single + after));
      escapeForViews(node.get(), view);
      ASSERT_EQ(before + textOf(alone.get()) + after, textOf(node.get())) << byte << " at " << at;
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
  const auto plain = trees::own(trees::string(trees::k0, "longer than a short string"));
  const char* const bytes = plain->data;
  const std::uint64_t before = allocations;
  escapeForViews(plain.get());
  EXPECT_EQ(bytes, plain->data);
  EXPECT_EQ(before, allocations);
  const auto umlaut = trees::own(trees::string(trees::k0, "longer than a short string, \xC3\xA4"));
  const char* const kept = umlaut->data;
  const std::uint64_t then = allocations;
  escapeForViews(umlaut.get(), AMFEscapeFor::json);
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
  place->appendChild(trees::string(trees::k3, "<"), false);
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
  innermost->setName(trees::string(trees::k0, "<"), false);
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
  auto text = trees::own(trees::string(trees::k0, "<"));
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
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | code >> 6);
    out += static_cast<char>(0x80 | (code & 0x3F));
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
    "'&quot;;alert(11)//'",
    "E38183 22 ';alert(12)//'",
    "27 ' onclick=alert(13) ' 27",
};

// Broken sequences as a reader of UTF-8 shows them; tested byte by byte above.
std::string readable(const std::string& text, AMFEscapeFor escapeFor) {
  const auto node = trees::own(trees::string(trees::k0, text));
  escapeForViews(node.get(), escapeFor);
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

std::string view(const std::string& packet, int which, bool pretty, AMFEscapeFor escapeFor) {
  AMFProtocol protocol;
  protocol.useTemporaries = false;
  EXPECT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  escapeForViews(protocol.package, escapeFor);
  return support::view(protocol, which, pretty);
}

// Both rules keep texts in their quotes; what else a page asks for is the script rule's.
TEST(GuardEscape, TheViewsStayWhatTheyAreWithHarmlessText) {
  for (const char* const bytes : kHostile) {
    const std::string text = hex(bytes);
    for (int i = 0; i < 16; ++i) {
      const int which = i / 4;
      const bool pretty = i % 2 == 1;
      const AMFEscapeFor escapeFor = kBoth[i / 2 % 2];
      SCOPED_TRACE(std::string(bytes) + " view " + std::to_string(which));
      const Scan hostile = scan(view(packetFull(text), which, pretty, escapeFor));
      const Scan harmless = scan(view(packetFull("word"), which, pretty, escapeFor));
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

TEST(GuardEscape, ViewsForScriptsHoldNothingThatPagesRead) {
  for (const char* const bytes : kHostile) {
    for (int which = 0; which < 4; ++which) {
      SCOPED_TRACE(std::string(bytes) + " view " + std::to_string(which));
      const std::string text = view(packetFull(hex(bytes)), which, true, AMFEscapeFor::script);
      EXPECT_EQ(std::string::npos, text.find_first_of("&'<>"));
      for (const char c : text) EXPECT_TRUE(c == '\n' || c == '\t' || (c >= ' ' && c <= '~')) << c;
    }
  }
}

TEST(GuardEscape, EveryStringReadsBack) {
  for (const AMFEscapeFor escapeFor : kBoth) {
    for (const char* const bytes : kHostile) {
      SCOPED_TRACE(bytes);
      const std::string text = hex(bytes);
      const Scan harmless = scan(view(packetFull("word"), 0, true, escapeFor));
      const Scan hostile = scan(view(packetFull(text), 0, true, escapeFor));
      ASSERT_EQ(harmless.strings.size(), hostile.strings.size());
      int found = 0;
      for (std::size_t i = 0; i < harmless.strings.size(); ++i) {
        const bool fromPacket = harmless.strings[i] == "word";
        EXPECT_EQ(fromPacket ? readable(text, escapeFor) : harmless.strings[i], hostile.strings[i]);
        found += fromPacket ? 1 : 0;
      }
      EXPECT_EQ(19, found);
    }
    EXPECT_EQ("C:\\new\"", readable("C:\\new\"", escapeFor));
    EXPECT_EQ(std::string("\0\n\x1B\x7F<", 5),
              readable(std::string("\0\n\x1B\x7F<", 5), escapeFor));
    EXPECT_EQ("\xE2\x80\xA8\xEF\xBF\xBD", readable("\xE2\x80\xA8\xFF", escapeFor));
    for (const char* const text : {"\xC2\x80\xC3\xA9", "\xD8\x9C", "\xE3\x81\x83", "&'\"<>"})
      EXPECT_EQ(text, readable(text, escapeFor));
  }
}

TEST(GuardEscape, WithoutItTheSameTextsBreakOut) {
  AMFProtocol protocol;
  const std::string packet = packetFull(hex(kHostile[0]));
  ASSERT_NE(nullptr, parseVerified(protocol, packet.data(), packet.size()));
  EXPECT_NE(std::string::npos, scan(protocol.getPackageAsJSView(true)).skeleton.find("alert"));
}

}  // namespace
