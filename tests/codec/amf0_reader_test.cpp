// SPDX-License-Identifier: Apache-2.0
//
// AMF0 bytes to nodes: every wire form, the reference table in completion order, the switch to
// AMF3, and the readers called one by one. What is refused: tests/codec/reader_refusals_test.cpp.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/dump.h"
#include "support/hex.h"
#include "support/kinds.h"
#include "support/read_rows.h"
#include "support/reader_run.h"
#include "support/refusal.h"
#include "support/trees.h"

namespace {

using namespace support;
using Node = std::unique_ptr<AMFNode>;

const ReadRow kScalars[] = {
    {"number 1", "00 3FF0000000000000", "double0 1"},
    {"number 0", "00 0000000000000000", "double0 0"},
    {"number keeps the sign of zero", "00 8000000000000000", "double0 -0"},
    {"number is big-endian", "00 405EDD3C07EE0B0B", "double0 123.456789"},
    {"number keeps a quiet NaN's bits", "00 7FF8000000000001", "double0 nan:7FF8000000000001"},
    {"number keeps a signalling NaN's bits", "00 FFF4000000000002", "double0 nan:FFF4000000000002"},
    {"number infinity", "00 FFF0000000000000", "double0 -inf"},
    {"boolean 00", "01 00", "bool0 false"},
    {"boolean 01", "01 01", "bool0 true"},
    {"boolean 02 is true", "01 02", "bool0 true"},
    {"boolean FF is true", "01 FF", "bool0 true"},
    {"null", "05", "null0"},
    {"undefined", "06", "undef0"},
    {"end mark is no node", "09", "(nil)"},
    {"date", "0B 408F400000000000 0000", "date0 1000"},
    {"date: the zone is jumped over", "0B 0000000000000000 FFFF", "date0 0"},
    {"date before 1970", "0B C08F400000000000 0102", "date0 -1000"},
    {"date NaN", "0B 7FF8000000000000 0000", "date0 nan:7FF8000000000000"},
    {"only one value is read", "05 06", "null0", "0/0/0/0", 1},
};

const ReadRow kStrings[] = {
    {"empty string", "02 0000", "str0 ''"},
    {"one byte", "02 0001 'a'", "str0 'a'"},
    {"NUL bytes are kept", "02 0003 61 00 62", R"(str0 'a\x00b')"},
    {"bytes are not checked as UTF-8", "02 0004 C3A9 FF C3", R"(str0 '\xC3\xA9\xFF\xC3')"},
    {"255 bytes", "02 00FF 61*255", R"(str0 '\{61*255}')"},
    {"256 bytes", "02 0100 61*256", R"(str0 '\{61*256}')"},
    {"32768 bytes: the length is unsigned", "02 8000 61*32768", R"(str0 '\{61*32768}')"},
    {"the longest short string", "02 FFFF 61*65535", R"(str0 '\{61*65535}')"},
    {"empty long string", "0C 00000000", "str0 ''"},
    {"long string of three bytes", "0C 00000003 616263", "str0 'abc'"},
    {"long string of 65536 bytes", "0C 00010000 61*65536", R"(str0 '\{61*65536}')"},
    {"empty XML", "0F 00000000", "xml0{doc=1 ''}"},
    {"XML has a 32-bit length", "0F 00000004 '<a/>'", "xml0{doc=1 '<a/>'}"},
    {"XML of 65536 bytes", "0F 00010000 61*65536", R"(xml0{doc=1 '\{61*65536}'})"},
};

const ReadRow kObjects[] = {
    {"object without members", "03 0000 09", "obj0{}", "1/0/0/0"},
    {"the end mark's name is discarded", "03 0003 'xyz' 09", "obj0{}", "1/0/0/0"},
    {"one member", "03 0001 61 00 3FF0000000000000 0000 09", "obj0{'a':double0 1}", "1/0/0/0"},
    {"members in wire order, repeats kept", "03 0001'b' 05 0001'a' 06 0001'b' 0100 000009",
     "obj0{'b':null0, 'a':undef0, 'b':bool0 false}", "1/0/0/0"},
    {"an empty name does not end the object", "03 0000 05 0001'a' 06 000009",
     "obj0{'':null0, 'a':undef0}", "1/0/0/0"},
    {"a name with a NUL", "03 0003 610062 05 000009", R"(obj0{'a\x00b':null0})", "1/0/0/0"},
    {"the longest name", "03 FFFF 61*65535 05 000009", R"(obj0{'\{61*65535}':null0})", "1/0/0/0"},
    {"typed object", "10 0001'C' 0001'a' 05 000009", "obj0{class='C' 'a':null0}", "1/0/0/0"},
    {"typed object without a name is anonymous", "10 0000 000009", "obj0{}", "1/0/0/0"},
    {"nested: inner first in the table", "03 0001 61 03 0000 09 0000 09", "obj0{'a':obj0{}}",
     "2/0/0/0"},
    {"objects read no further than their end mark", "03 000009 000009", "obj0{}", "1/0/0/0", 3},
};

const ReadRow kArrays[] = {
    {"ECMA array without members", "08 00000000", "arr0{}", "1/0/0/0"},
    {"ECMA: exactly count members, the end mark is left unread", "08 00000001 0001 6B 05 000009",
     "arr0{'k':null0}", "1/0/0/0", 3},
    {"ECMA of count 0: its members are left unread", "08 00000000 0001'k' 05 000009", "arr0{}",
     "1/0/0/0", 7},
    {"ECMA members are not counted as dense", "08 00000002 0001'0' 05 0001'1' 06",
     "arr0{'0':null0, '1':undef0}", "1/0/0/0"},
    {"ECMA with an empty name", "08 00000001 0000 05", "arr0{'':null0}", "1/0/0/0"},
    {"strict array without values", "0A 00000000", "arr0{strict}", "1/0/0/0"},
    {"strict array", "0A 00000002 05 0101", "arr0{dense=2 strict null0, bool0 true}", "1/0/0/0"},
    {"strict array in a strict array", "0A 00000001 0A 00000001 06",
     "arr0{dense=1 strict arr0{dense=1 strict undef0}}", "2/0/0/0"},
    {"300 values: the count is 32 bits wide", "0A 0000012C 05*300 06",
     "arr0{dense=300 strict " + repeated("null0", 300) + "}", "1/0/0/0", 1},
};

const ReadRow kReferences[] = {
    {"to the object before", "0A 00000002 03 000009 07 0000",
     "arr0{dense=2 strict obj0{}, obj0{}#ref0}", "2/0/0/0"},
    {"to an ECMA array", "0A 00000002 08 00000001 0001'k' 05 07 0000",
     "arr0{dense=2 strict arr0{'k':null0}, arr0{'k':null0}#ref0}", "2/0/0/0"},
    {"to a strict array", "0A 00000002 0A 00000001 06 07 0000",
     "arr0{dense=2 strict arr0{dense=1 strict undef0}, arr0{dense=1 strict undef0}#ref0}",
     "2/0/0/0"},
    {"to a typed object: the class comes along", "0A 00000002 10 0001'C' 000009 07 0000",
     "arr0{dense=2 strict obj0{class='C'}, obj0{class='C'}#ref0}", "2/0/0/0"},
    {"completion order: 0 is the inner object, 1 the outer",
     "0A 00000003 03 0001'i' 03 0001'x' 05 000009 000009 07 0000 07 0001",
     "arr0{dense=3 strict obj0{'i':obj0{'x':null0}}, obj0{'x':null0}#ref0, "
     "obj0{'i':obj0{'x':null0}}#ref1}",
     "3/0/0/0"},
    {"completion order: an array inside comes before the object around it",
     "0A 00000002 03 0001'i' 08 00000000 000009 07 0000",
     "arr0{dense=2 strict obj0{'i':arr0{}}, arr0{}#ref0}", "3/0/0/0"},
    {"from inside the object that is still being read: the finished sibling",
     "03 0001'a' 03 000009 0001'b' 07 0000 000009", "obj0{'a':obj0{}, 'b':obj0{}#ref0}", "2/0/0/0"},
    {"a reference is not registered", "0A 00000004 03 000009 07 0000 03 0001'z' 05 000009 07 0001",
     "arr0{dense=4 strict obj0{}, obj0{}#ref0, obj0{'z':null0}, obj0{'z':null0}#ref1}", "3/0/0/0"},
    {"a copy keeps the references inside it",
     "0A 00000003 03 000009 03 0001'r' 07 0000 000009 07 0001",
     "arr0{dense=3 strict obj0{}, obj0{'r':obj0{}#ref0}, obj0{'r':obj0{}#ref0}#ref1}", "3/0/0/0"},
    {"scalars are not registered",
     "0A 00000007 02 0001'a' 0B 0000000000000000 0000 0F 00000000 00 0000000000000000 05 03 000009 "
     "07 0000",
     "arr0{dense=7 strict str0 'a', date0 0, xml0{doc=1 ''}, double0 0, null0, obj0{}, "
     "obj0{}#ref0}",
     "2/0/0/0"},
    {"AMF3 values are not registered", "0A 00000003 11 0A0B0101 03 0001'a' 05 000009 07 0000",
     "arr0{dense=3 strict obj3{dyn}, obj0{'a':null0}, obj0{'a':null0}#ref0}", "2/0/1/1"},
    {"the index has 16 bits", "0A 00000103 (03 000009)*257 07 0100 07 0001",
     "arr0{dense=259 strict " + repeated("obj0{}", 257) + ", obj0{}#ref256, obj0{}#ref1}",
     "258/0/0/0"},
    {"as a member of an ECMA array", "0A 00000002 03 000009 08 00000001 0001'k' 07 0000",
     "arr0{dense=2 strict obj0{}, arr0{'k':obj0{}#ref0}}", "3/0/0/0"},
};

const ReadRow kSwitches[] = {
    {"one AMF3 value", "11 01", "null3"},
    {"reading goes on in AMF0", "0A 00000003 11 02 05 11 03",
     "arr0{dense=3 strict bool3 false, null0, bool3 true}", "1/0/0/0"},
    {"in a member", "03 0001'a' 11 0405 0001'b' 00 3FF0000000000000 000009",
     "obj0{'a':int3 5, 'b':double0 1}", "1/0/0/0"},
    {"the string table outlives the switch", "0A 00000002 11 060361 11 0600",
     "arr0{dense=2 strict str3 'a', str3 'a'#ref0}", "1/1/0/0"},
    {"the object table outlives the switch", "0A 00000002 11 090101 11 0900",
     "arr0{dense=2 strict arr3{}, arr3{}#ref0}", "1/0/1/0"},
    {"the traits table outlives the switch", "0A 00000002 11 0A13 0343 0361 01 11 0A01 02",
     "arr0{dense=2 strict obj3{sealed=1 class='C' 'a':null3}, "
     "obj3{sealed=1 traits=0 class='C' 'a':bool3 false}}",
     "1/2/2/1"},
};

TEST(Amf0Reader, Scalars) {
  expectRead(kScalars, &AMFProtocol::getAMF0Value);
}
TEST(Amf0Reader, Strings) {
  expectRead(kStrings, &AMFProtocol::getAMF0Value);
}
TEST(Amf0Reader, Objects) {
  expectRead(kObjects, &AMFProtocol::getAMF0Value);
}
TEST(Amf0Reader, Arrays) {
  expectRead(kArrays, &AMFProtocol::getAMF0Value);
}
TEST(Amf0Reader, References) {
  expectRead(kReferences, &AMFProtocol::getAMF0Value);
}
TEST(Amf0Reader, Switches) {
  expectRead(kSwitches, &AMFProtocol::getAMF0Value);
}

TEST(Amf0Reader, DeepNesting) {
  ReaderRun nested("(03 0001'a')*500 05 (000009)*500");
  const Node node(nested.protocol.getAMF0Value());
  std::string tree;
  for (int i = 0; i < 500; ++i) tree += "obj0{'a':";
  tree += "null0" + std::string(500, '}');
  EXPECT_EQ(dump(node.get()), tree);
  EXPECT_EQ(tables(nested.protocol), "500/0/0/0");
  EXPECT_EQ(nested.unread(), 0u);
}

// The table holds the nodes themselves, not copies.
TEST(Amf0Reader, TableEntriesPointIntoTheTree) {
  ReaderRun run("03 0001'a' 03 000009 0001'b' 0A 00000000 0001'c' 07 0000 000009");
  const Node node(run.protocol.getAMF0Value());
  ASSERT_EQ(tables(run.protocol), "3/0/0/0");
  const auto member = [&](unsigned i) { return static_cast<AMFPair*>(node->children[i])->value; };
  EXPECT_EQ(run.protocol.amf0References[0], member(0));
  EXPECT_EQ(run.protocol.amf0References[1], member(1));
  EXPECT_EQ(run.protocol.amf0References[2], node.get());
  EXPECT_NE(member(2), member(0)) << "a reference is a copy, never a shared node";
  EXPECT_EQ(dump(member(2)), "obj0{}#ref0");
}

TEST(Amf0Reader, AReferenceCopiesWhateverTheTableHolds) {
  for (std::uint32_t code = 0; code <= kLastKind; ++code) {
    ReaderRun run("07 0001");
    const auto entry = makeKind(code);
    run.protocol.amf0References = {nullptr, entry.get()};
    const Node node(run.protocol.getAMF0Value());
    ASSERT_NE(node, nullptr) << code;
    EXPECT_EQ(node->referenceIndex, 1u) << code;
    node->referenceIndex = entry->referenceIndex;
    EXPECT_EQ(dump(node.get()), kKindDumps[code]);
    EXPECT_EQ(run.protocol.amf0References.size(), 2u) << code;
  }
}

// ---- every marker

// Eleven zero bytes after the marker are a body for every form but the two that need an end mark.
TEST(Amf0Reader, AllMarkers) {
  for (unsigned marker = 0; marker < 256; ++marker) {
    SCOPED_TRACE(marker);
    const char* tree = nullptr;
    switch (marker) {
      case 0x00: tree = "double0 0"; break;
      case 0x01: tree = "bool0 false"; break;
      case 0x02: tree = "str0 ''"; break;
      case 0x03: tree = "obj0{'':double0 0}"; break;
      case 0x05: tree = "null0"; break;
      case 0x06: tree = "undef0"; break;
      case 0x07: tree = "obj0{}#ref0"; break;
      case 0x08: tree = "arr0{}"; break;
      case 0x09: tree = "(nil)"; break;
      case 0x0A: tree = "arr0{strict}"; break;
      case 0x0B: tree = "date0 0"; break;
      case 0x0C: tree = "str0 ''"; break;
      case 0x0F: tree = "xml0{doc=1 ''}"; break;
      case 0x10: tree = "obj0{'':bool0 false}"; break;
      case 0x11: tree = "undef3"; break;
      default: break;
    }
    const char* const body = marker == 0x10 ? "0000 0000 0100 000009" : "00*11 000009";
    ReaderRun run(toHex(std::string(1, static_cast<char>(marker))) + " " + body);
    AMFObject entry(AMF_VERSION_0);
    run.protocol.amf0References.push_back(&entry);
    if (tree != nullptr) {
      const Node node(run.protocol.getAMF0Value());
      EXPECT_EQ(dump(node.get()), tree);
      continue;
    }
    EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF0Value(); }),
              "getAMF0Value: unknown value type");
    EXPECT_EQ(run.consumed(), 1u);
    EXPECT_EQ(tables(run.protocol), "1/0/0/0");
  }
}

TEST(Amf0Reader, MarkersWidenWithTheirSign) {
  struct {
    const char* byte;
    std::uint32_t code;
  } const rows[] = {
      {"00", 0}, {"11", 0x11}, {"7F", 0x7F}, {"80", 0xFFFFFF80u}, {"FF", 0xFFFFFFFFu}};
  for (const auto& row : rows) {
    ReaderRun run(row.byte);
    EXPECT_EQ(static_cast<std::uint32_t>(run.protocol.getAMF0Marker()), row.code);
    EXPECT_EQ(run.consumed(), 1u);
  }
}

// ---- readers called directly

const DirectRow kDirect[] = {
    {"string with 02 given", READ(getAMF0String(marker0(2))), "0001 'a' FF", "str0 'a'"},
    {"string with 0C given", READ(getAMF0String(marker0(12))), "00000001 'a' FF", "str0 'a'"},
    {"string with 06 reads its marker 02", READ(getAMF0String(marker0(6))), "02 0001 'a' FF",
     "str0 'a'"},
    {"string with 06 reads its marker 0C", READ(getAMF0String(marker0(6))), "0C 00000001 'a' FF",
     "str0 'a'"},
    {"number", READ(getAMF0Number()), "3FF0000000000000 FF", "double0 1"},
    {"boolean", READ(getAMF0Bool()), "40 FF", "bool0 true"},
    {"date", READ(getAMF0Date()), "408F400000000000 1234 FF", "date0 1000"},
    {"XML", READ(getAMF0XML()), "00000001 'x' FF", "xml0{doc=1 'x'}"},
    {"pair", READ(getAMF0Pair()), "0001 'a' 05 FF", "pair0{'a':null0}"},
    {"pair at the end mark is null, whatever its name", READ(getAMF0Pair()), "0002 'ab' 09 FF",
     "(nil)"},
    {"object with 03 given", READ(getAMF0Object(marker0(3))), "000009 FF", "obj0{}"},
    {"object with 10 given", READ(getAMF0Object(marker0(0x10))), "0001 'C' 000009 FF",
     "obj0{class='C'}"},
    {"object with 06 reads its marker 03", READ(getAMF0Object(marker0(6))), "03 000009 FF",
     "obj0{}"},
    {"object with 06 reads its marker 10", READ(getAMF0Object(marker0(6))), "10 0001 'C' 000009 FF",
     "obj0{class='C'}"},
    {"object: any other marker read is an anonymous object", READ(getAMF0Object(marker0(6))),
     "77 0001 'a' 05 000009 FF", "obj0{'a':null0}"},
    {"object: 06 read as the marker is one more other marker", READ(getAMF0Object(marker0(6))),
     "06 000009 FF", "obj0{}"},
    {"object: any other marker given is an anonymous object",
     READ(getAMF0Object(marker0(0xFFFFFFFFu))), "000009 FF", "obj0{}"},
    {"array with 08 given", READ(getAMF0Array(marker0(8))), "00000001 0001 'a' 05 FF",
     "arr0{'a':null0}"},
    {"array with 0A given", READ(getAMF0Array(marker0(10))), "00000001 05 FF",
     "arr0{dense=1 strict null0}"},
    {"array with 06 reads its marker", READ(getAMF0Array(marker0(6))), "0A 00000001 05 FF",
     "arr0{dense=1 strict null0}"},
};

TEST(Amf0Reader, DirectCalls) {
  expectDirect(kDirect);
}

TEST(Amf0Reader, ByReferenceDirectly) {
  ReaderRun run("0000 FF");
  AMFArray entry(AMF_VERSION_0);
  run.protocol.amf0References.push_back(&entry);
  const Node node(run.protocol.getAMF0ByReference());
  EXPECT_EQ(dump(node.get()), "arr0{}#ref0");
  EXPECT_EQ(run.unread(), 1u);
}

// A strict array counts what a reference brings as appendChild does: a pair is attached uncounted.
TEST(Amf0Reader, AHostMadePairEntryIsAttachedUncounted) {
  ReaderRun run("0A 00000002 07 0000 05");
  AMFPair entry(AMF_VERSION_0);
  run.protocol.amf0References.push_back(&entry);
  const Node node(run.protocol.getAMF0Value());
  EXPECT_EQ(dump(node.get()), "arr0{dense=1 strict pair0{'':undef0}#ref0, null0}");
}

}  // namespace
