// SPDX-License-Identifier: Apache-2.0
//
// AMF3 bytes to nodes: the variable-length integer, every wire form, the three reference tables,
// traits, externalizable classes, and the readers called one by one. What is refused:
// tests/codec/reader_refusals_test.cpp.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

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

// ---- U29

struct IntegerRow {
  const char* bytes;
  std::uint32_t value;
};
const IntegerRow kIntegers[] = {
    // One byte, and where it ends.
    {"00", 0},
    {"01", 1},
    {"7F", 0x7F},
    {"81 00", 0x80},
    {"81 7F", 0xFF},
    {"FF 7F", 0x3FFF},
    {"81 80 00", 0x4000},
    {"FF FF 7F", 0x1FFFFF},
    // Forms longer than needed.
    {"80 00", 0},
    {"80 7F", 0x7F},
    {"80 80 00", 0},
    {"80 80 7F", 0x7F},
    {"80 81 00", 0x80},
    {"80 80 80 00", 0},
    {"80 80 80 7F", 0x7F},
    // Four bytes: the last one counts eight bits.
    {"80 C0 80 00", 0x200000},
    {"80 C0 80 01", 0x200001},
    {"80 C0 80 7F", 0x20007F},
    {"81 80 80 00", 0x400000},
    {"C0 80 80 00", 0x10000000},
    {"FF FF FF 00", 0x1FFFFF00},
    {"FF FF FF 7F", 0x1FFFFF7F},
    // The fourth byte is a signed number: from 80 on it takes 256 away.
    {"FF FF FF 80", 0x1FFFFE80},
    {"FF FF FF FF", 0x1FFFFEFF},
    {"BF FF FF FF", 0x0FFFFEFF},
    {"80 80 81 80", 0x80},
    {"80 80 81 FF", 0xFF},
    {"80 C0 80 80", 0x1FFF80},
    {"80 C0 80 FF", 0x1FFFFF},
    {"80 80 80 80", 0xFFFFFF80u},
    {"80 80 80 FE", 0xFFFFFFFEu},
    {"80 80 80 FF", 0xFFFFFFFFu},
};

TEST(Amf3Integer, U29) {
  for (const IntegerRow& row : kIntegers) {
    ReaderRun run(std::string(row.bytes) + " FF");
    EXPECT_EQ(run.protocol.getVLUnsignedInt(), row.value) << row.bytes;
    EXPECT_EQ(run.unread(), 1u) << row.bytes;
  }
}

TEST(Amf3Integer, StoredWithoutSignExtension) {
  for (const IntegerRow& row : kIntegers) {
    ReaderRun run("04 " + std::string(row.bytes));
    const Node node(run.protocol.getAMF3Value());
    EXPECT_EQ(dump(node.get()), "int3 " + std::to_string(row.value)) << row.bytes;
    EXPECT_EQ(run.unread(), 0u) << row.bytes;
  }
}

// ---- tables of values

const ReadRow kScalars[] = {
    {"undefined", "00", "undef3"},
    {"null", "01", "null3"},
    {"false", "02", "bool3 false"},
    {"true", "03", "bool3 true"},
    {"integer", "04 05", "int3 5"},
    {"integer FF FF FF FF is 536870655, not -1", "04 FFFFFFFF", "int3 536870655"},
    {"double", "05 3FF8000000000000", "double3 1.5"},
    {"double keeps a NaN's bits", "05 FFF4000000000002", "double3 nan:FFF4000000000002"},
    {"double keeps the sign of zero", "05 8000000000000000", "double3 -0"},
    {"double infinity", "05 7FF0000000000000", "double3 inf"},
    {"only one value is read", "01 01", "null3", "0/0/0/0", 1},
};

const ReadRow kBytes[] = {
    {"empty string is not registered", "06 01", "str3 ''"},
    {"one byte", "06 03 61", "str3 'a'", "0/1/0/0"},
    {"NUL bytes are kept", "06 07 610062", R"(str3 'a\x00b')", "0/1/0/0"},
    {"bytes are not checked as UTF-8", "06 05 FFC3", R"(str3 '\xFF\xC3')", "0/1/0/0"},
    {"63 bytes: one length byte", "06 7F 61*63", R"(str3 '\{61*63}')", "0/1/0/0"},
    {"64 bytes: two", "06 8101 61*64", R"(str3 '\{61*64}')", "0/1/0/0"},
    {"8191 bytes: two", "06 FF7F 61*8191", R"(str3 '\{61*8191}')", "0/1/0/0"},
    {"8192 bytes: three", "06 818001 61*8192", R"(str3 '\{61*8192}')", "0/1/0/0"},
    {"1048575 bytes: three", "06 FFFF7F 61*1048575", R"(str3 '\{61*1048575}')", "0/1/0/0"},
    {"1048576 bytes: four", "06 80C08001 61*1048576", R"(str3 '\{61*1048576}')", "0/1/0/0"},
    {"a length in more bytes than needed", "06 80808003 61", "str3 'a'", "0/1/0/0"},
    {"an empty string in more bytes than needed", "06 8001", "str3 ''"},
    {"XML document", "07 09 '<a/>'", "xml3{doc=1 '<a/>'}", "0/0/1/0"},
    {"E4X XML", "0B 09 '<a/>'", "xml3{doc=0 '<a/>'}", "0/0/1/0"},
    {"empty XML is registered", "0B 01", "xml3{doc=0 ''}", "0/0/1/0"},
    {"date", "08 01 408F400000000000", "date3 1000", "0/0/1/0"},
    {"date: no time zone follows", "08 01 408F400000000000 0000", "date3 1000", "0/0/1/0", 2},
    {"date: the other bits of its U29 are ignored", "08 FF7F 408F400000000000", "date3 1000",
     "0/0/1/0"},
    {"date: U29 FFFFFFFF is inline", "08 808080FF 0000000000000000", "date3 0", "0/0/1/0"},
    {"byte array", "0C 05 00FF", "raw3 [00FF]", "0/0/1/0"},
    {"empty byte array is registered", "0C 01", "raw3 []", "0/0/1/0"},
    {"byte array of 64 bytes", "0C 8101 00*64", "raw3 [00*64]", "0/0/1/0"},
};

const ReadRow kArrays[] = {
    {"empty array", "09 01 01", "arr3{}", "0/0/1/0"},
    {"two dense values", "09 05 01 02 03", "arr3{dense=2 bool3 false, bool3 true}", "0/0/1/0"},
    {"the associative part comes first", "09 03 0361 01 01 03",
     "arr3{dense=1 'a':null3, bool3 true}", "0/1/1/0"},
    {"names in wire order, repeats kept", "09 01 0362 01 0361 00 00 02 01",
     "arr3{'b':null3, 'a':undef3, 'b'#ref0:bool3 false}", "0/2/1/0"},
    {"nested", "09 03 01 09 03 01 0401", "arr3{dense=1 arr3{dense=1 int3 1}}", "0/0/2/0"},
    {"64 values: the count takes two bytes", "09 8101 01 01*64 02",
     "arr3{dense=64 " + repeated("null3", 64) + "}", "0/0/1/0", 1},
};

const ReadRow kObjects[] = {
    {"anonymous dynamic object without members", "0A 0B 01 01", "obj3{dyn}", "0/0/1/1"},
    {"anonymous sealed object without members", "0A 03 01", "obj3{}", "0/0/1/1"},
    {"dynamic members in stream order", "0A 0B 01 0378 00 0361 01 01",
     "obj3{dyn 'x':undef3, 'a':null3}", "0/2/1/1"},
    {"sealed: the names first, then the values", "0A 23 0343 0361 0362 0405 02",
     "obj3{sealed=2 class='C' 'a':int3 5, 'b':bool3 false}", "0/3/1/1"},
    {"sealed and dynamic", "0A 1B 0343 0361 0405 0364 03 01",
     "obj3{sealed=1 dyn class='C' 'a':int3 5, 'd':bool3 true}", "0/3/1/1"},
    {"a sealed name may be empty, and is not registered", "0A 13 01 01 0405",
     "obj3{sealed=1 '':int3 5}", "0/0/1/1"},
    {"sealed names by reference: to the class name, to the name before",
     "0A 33 0343 0361 00 02 01 02 03",
     "obj3{sealed=3 class='C' 'a':null3, 'C'#ref0:bool3 false, 'a'#ref1:bool3 true}", "0/2/1/1"},
    {"seven sealed members: one header byte", "0A 73 01 01*7 01*7",
     "obj3{sealed=7 " + repeated("'':null3", 7) + "}", "0/0/1/1"},
    {"eight sealed members: two header bytes", "0A 8103 01 01*8 01*8",
     "obj3{sealed=8 " + repeated("'':null3", 8) + "}", "0/0/1/1"},
    {"1024 sealed members: three header bytes", "0A 818003 01 01*1024 01*1024",
     "obj3{sealed=1024 " + repeated("'':null3", 1024) + "}", "0/0/1/1"},
    {"a sealed object stops after its last value", "0A 13 01 0361 01 01",
     "obj3{sealed=1 'a':null3}", "0/1/1/1", 1},
    {"nested: each object takes an index and a traits index", "0A 13 01 0361 0A 03 01",
     "obj3{sealed=1 'a':obj3{}}", "0/1/2/2"},
};

const ReadRow kStringReferences[] = {
    {"value to value", "09 05 01 060361 0600", "arr3{dense=2 str3 'a', str3 'a'#ref0}", "0/1/1/0"},
    {"empty strings take no index", "09 09 01 0601 060361 0601 0600",
     "arr3{dense=4 str3 '', str3 'a', str3 '', str3 'a'#ref0}", "0/1/1/0"},
    {"a reference takes no index", "09 09 01 060361 0600 060362 0602",
     "arr3{dense=4 str3 'a', str3 'a'#ref0, str3 'b', str3 'b'#ref1}", "0/2/1/0"},
    {"equal inline strings take one index each", "09 07 01 060361 060361 0602",
     "arr3{dense=3 str3 'a', str3 'a', str3 'a'#ref1}", "0/2/1/0"},
    {"class name, sealed name, dynamic name and value share one table",
     "0A 1B 0343 0361 0600 0364 0602 04 0604 01",
     "obj3{sealed=1 dyn class='C' 'a':str3 'C'#ref0, 'd':str3 'a'#ref1, 'd'#ref2:str3 'd'#ref2}",
     "0/3/1/1"},
    {"a class name by reference", "09 05 01 060343 0A 03 00",
     "arr3{dense=2 str3 'C', obj3{class='C'#ref0}}", "0/1/2/1"},
    {"an associative name by reference", "09 03 0361 01 00 02 01 0600",
     "arr3{dense=1 'a':null3, 'a'#ref0:bool3 false, str3 'a'#ref0}", "0/1/1/0"},
    {"XML and byte arrays are no strings", "09 09 01 070361 0C0361 060362 0600",
     "arr3{dense=4 xml3{doc=1 'a'}, raw3 [61], str3 'b', str3 'b'#ref0}", "0/1/3/0"},
    {"index 64 takes two bytes", "09 8105 01 (060361)*65 068100",
     "arr3{dense=66 " + repeated("str3 'a'", 65) + ", str3 'a'#ref64}", "0/65/1/0"},
};

const ReadRow kObjectReferences[] = {
    {"to XML", "09 05 01 070361 0702", "arr3{dense=2 xml3{doc=1 'a'}, xml3{doc=1 'a'}#ref1}",
     "0/0/2/0"},
    {"to XML by the other marker: the kind of the entry stays", "09 09 01 070361 0B02 0B0362 0704",
     "arr3{dense=4 xml3{doc=1 'a'}, xml3{doc=1 'a'}#ref1, xml3{doc=0 'b'}, xml3{doc=0 'b'}#ref2}",
     "0/0/3/0"},
    {"to a date", "09 05 01 0801408F400000000000 0802", "arr3{dense=2 date3 1000, date3 1000#ref1}",
     "0/0/2/0"},
    {"to a byte array", "09 05 01 0C03FF 0C02", "arr3{dense=2 raw3 [FF], raw3 [FF]#ref1}",
     "0/0/2/0"},
    {"to an array", "09 05 01 09030103 0902",
     "arr3{dense=2 arr3{dense=1 bool3 true}, arr3{dense=1 bool3 true}#ref1}", "0/0/2/0"},
    {"to an object", "09 05 01 0A0B01036101 01 0A02",
     "arr3{dense=2 obj3{dyn 'a':null3}, obj3{dyn 'a':null3}#ref1}", "0/1/2/1"},
    {"a reference takes no index", "09 09 01 090101 0902 0C03FF 0C04",
     "arr3{dense=4 arr3{}, arr3{}#ref1, raw3 [FF], raw3 [FF]#ref2}", "0/0/3/0"},
    {"arrays and objects take their index before their members",
     "09 07 01 0903 01 090101 0902 0904",
     "arr3{dense=3 arr3{dense=1 arr3{}}, arr3{dense=1 arr3{}}#ref1, arr3{}#ref2}", "0/0/3/0"},
    {"an object takes its index before its class name and members",
     "09 07 01 0A13 01 0361 090101 0A02 0904",
     "arr3{dense=3 obj3{sealed=1 'a':arr3{}}, obj3{sealed=1 'a':arr3{}}#ref1, arr3{}#ref2}",
     "0/1/3/1"},
    {"from inside an object to a finished sibling", "0A 23 01 0361 0362 090101 0902",
     "obj3{sealed=2 'a':arr3{}, 'b':arr3{}#ref1}", "0/2/2/1"},
    {"a copy keeps the references inside it", "09 07 01 0C03FF 0903010C02 0904",
     "arr3{dense=3 raw3 [FF], arr3{dense=1 raw3 [FF]#ref1}, arr3{dense=1 raw3 [FF]#ref1}#ref2}",
     "0/0/3/0"},
    {"scalars and strings take no index",
     "09 11 01 00 01 02 0405 053FF8000000000000 060361 090101 0902",
     "arr3{dense=8 undef3, null3, bool3 false, int3 5, double3 1.5, str3 'a', arr3{}, arr3{}#ref1}",
     "0/1/2/0"},
    {"index 64 takes two bytes", "09 8105 01 (090101)*65 098100",
     "arr3{dense=66 " + repeated("arr3{}", 65) + ", arr3{}#ref64}", "0/0/66/0"},
};

const ReadRow kTraitsReferences[] = {
    {"class and sealed names come from the entry", "09 05 01 0A13 0343 0361 01 0A01 02",
     "arr3{dense=2 obj3{sealed=1 class='C' 'a':null3}, "
     "obj3{sealed=1 traits=0 class='C' 'a':bool3 false}}",
     "0/2/3/1"},
    {"so does dynamic", "09 05 01 0A1B 0343 0361 01 01 0A01 02 0378 03 01",
     "arr3{dense=2 obj3{sealed=1 dyn class='C' 'a':null3}, "
     "obj3{sealed=1 dyn traits=0 class='C' 'a':bool3 false, 'x':bool3 true}}",
     "0/3/3/1"},
    {"the entry's dynamic members do not", "09 05 01 0A0B 0343 0364 01 01 0A01 01",
     "arr3{dense=2 obj3{dyn class='C' 'd':null3}, obj3{dyn traits=0 class='C'}}", "0/2/3/1"},
    {"of an anonymous object", "09 05 01 0A13 01 0361 01 0A01 02",
     "arr3{dense=2 obj3{sealed=1 'a':null3}, obj3{sealed=1 traits=0 'a':bool3 false}}", "0/1/3/1"},
    {"takes an object index but no traits index", "09 0B 01 0A030341 0A01 0A030342 0A05 0A04",
     "arr3{dense=5 obj3{class='A'}, obj3{traits=0 class='A'}, obj3{class='B'}, "
     "obj3{traits=1 class='B'}, obj3{traits=0 class='A'}#ref2}",
     "0/2/5/2"},
    {"copied names keep their string references", "09 07 01 060343 0A13 00 00 01 0A01 02",
     "arr3{dense=3 str3 'C', obj3{sealed=1 class='C'#ref0 'C'#ref0:null3}, "
     "obj3{sealed=1 traits=0 class='C'#ref0 'C'#ref0:bool3 false}}",
     "0/1/3/1"},
    {"copied names take no string index", "09 09 01 0A13 0343 0361 01 0A01 02 06037A 0604",
     "arr3{dense=4 obj3{sealed=1 class='C' 'a':null3}, "
     "obj3{sealed=1 traits=0 class='C' 'a':bool3 false}, str3 'z', str3 'z'#ref2}",
     "0/3/3/1"},
    {"to the object that is still being read", "0A13 0343 0361 0A01 01",
     "obj3{sealed=1 class='C' 'a':obj3{sealed=1 traits=0 class='C' 'a':null3}}", "0/2/2/1"},
    {"to the object still being read, from a dynamic member",
     "0A1B 0343 0361 01 0364 0A01 02 01 01",
     "obj3{sealed=1 dyn class='C' 'a':null3, "
     "'d':obj3{sealed=1 dyn traits=0 class='C' 'a':bool3 false}}",
     "0/3/2/1"},
    {"the outer object's traits come first", "09 07 01 0A13 0341 0361 0A030342 0A01 01 0A05",
     "arr3{dense=3 obj3{sealed=1 class='A' 'a':obj3{class='B'}}, "
     "obj3{sealed=1 traits=0 class='A' 'a':null3}, obj3{traits=1 class='B'}}",
     "0/3/5/2"},
    {"index 32 takes two bytes", "09 8105 01 (0A0301)*65 0A8101",
     "arr3{dense=66 " + repeated("obj3{}", 65) + ", obj3{traits=32}}", "0/0/67/65"},
};

TEST(Amf3Reader, Scalars) {
  expectRead(kScalars, &AMFProtocol::getAMF3Value);
}
TEST(Amf3Reader, Bytes) {
  expectRead(kBytes, &AMFProtocol::getAMF3Value);
}
TEST(Amf3Reader, Arrays) {
  expectRead(kArrays, &AMFProtocol::getAMF3Value);
}
TEST(Amf3Reader, Objects) {
  expectRead(kObjects, &AMFProtocol::getAMF3Value);
}
TEST(Amf3Reader, StringReferences) {
  expectRead(kStringReferences, &AMFProtocol::getAMF3Value);
}
TEST(Amf3Reader, ObjectReferences) {
  expectRead(kObjectReferences, &AMFProtocol::getAMF3Value);
}
TEST(Amf3Reader, TraitsReferences) {
  expectRead(kTraitsReferences, &AMFProtocol::getAMF3Value);
}

TEST(Amf3Reader, DeepNesting) {
  ReaderRun run("(09 03 01)*500 01");
  const Node node(run.protocol.getAMF3Value());
  EXPECT_EQ(dump(node.get()), repeated("arr3{dense=1 ", 500, "") + "null3" + std::string(500, '}'));
  EXPECT_EQ(tables(run.protocol), "0/0/500/0");
}

// The tables hold the nodes themselves; a reference is a copy, never a shared node.
TEST(Amf3Reader, TableEntriesPointIntoTheTree) {
  ReaderRun run("0A 23 0343 0361 0362 060361 0C01");
  const Node node(run.protocol.getAMF3Value());
  const AMFProtocol& p = run.protocol;
  ASSERT_EQ(tables(p), "0/4/2/1");
  const auto& object = static_cast<const AMFObject&>(*node);
  const auto member = [&](unsigned i) { return static_cast<AMFPair*>(node->children[i]); };
  EXPECT_EQ(p.amf3StringReferences[0], object.className);
  EXPECT_EQ(p.amf3StringReferences[1], member(0)->name);
  EXPECT_EQ(p.amf3StringReferences[2], member(1)->name);
  EXPECT_EQ(p.amf3StringReferences[3], member(0)->value);
  EXPECT_EQ(p.amf3ObjectReferences[0], node.get());
  EXPECT_EQ(p.amf3ObjectReferences[1], member(1)->value);
  EXPECT_EQ(p.amf3TraitReferences[0], node.get());
}

// What a copy and its entry must not share: nothing at all.
TEST(Amf3Reader, AReferenceOutlivesItsEntry) {
  ReaderRun run("09 05 01 0A1B 0343 0361 0403 0364 09030106 0378 01 0A02");
  Node node(run.protocol.getAMF3Value());
  auto& array = static_cast<AMFArray&>(*node);
  array.setChild(0, new AMFNull(AMF_VERSION_3), false);
  EXPECT_EQ(dump(node.get()),
            "arr3{dense=2 null3, obj3{sealed=1 dyn class='C' 'a':int3 3, "
            "'d':arr3{dense=1 str3 'x'}}#ref1}");
}

// ---- externalizable

const char* const kFlexClasses[] = {
    "flex.messaging.io.ArrayCollection",    "mx.utils.ObjectProxy",
    "flex.messaging.io.SerializationProxy", "flex.messaging.messages.AsyncMessageExt",
    "flex.messaging.CommandMessageExt",     "flex.data.messages.DataMessageExt",
    "flex.data.messages.PagedMessageExt",   "flex.data.messages.UpdateCollectionMessageExt"};

const char** const kFlexVariables[] = {&cArrayClass, &cObjProxyClass,   &cSerialProxy,
                                       &cAsyncMsg,   &cCommandMsg,      &cDataMsg,
                                       &cPagedMsg,   &cUpdateCollectMsg};

// Puts the eight variables back when a test has repointed some.
class ClassNamesRestored {
 public:
  ClassNamesRestored() {
    for (const char** variable : kFlexVariables) saved.push_back(*variable);
  }
  ~ClassNamesRestored() {
    for (std::size_t i = 0; i < saved.size(); ++i) *kFlexVariables[i] = saved[i];
  }

 private:
  std::vector<const char*> saved;
};

// Length and bytes of a short name as AMF3 writes them.
std::string inlineName(const std::string& name) {
  const std::size_t header = name.size() * 2 + 1;
  std::string bytes;
  if (header > 0x7F) bytes += static_cast<char>(0x80 | (header >> 7));
  return bytes + static_cast<char>(header & 0x7F) + name;
}

std::string externalizable(const std::string& header, const std::string& name,
                           const std::string& rest) {
  return toHex(hex("0A" + header) + inlineName(name) + hex(rest));
}

std::string answer(const std::string& bytes) {
  ReaderRun run(bytes);
  Node node;
  const std::string text = refusal([&] { node.reset(run.protocol.getAMF3Value()); });
  return node == nullptr ? text : dump(node.get()) + " " + tables(run.protocol);
}

const char kUnsupported[] = "getAMF3Object(): unsupported externalizable class type";

TEST(Amf3Externalizable, TheVariablesHoldTheEightNames) {
  for (std::size_t i = 0; i < 8; ++i) EXPECT_STREQ(*kFlexVariables[i], kFlexClasses[i]);
}

TEST(Amf3Externalizable, EachOfTheEightIsReadAsOneValue) {
  for (const char* name : kFlexClasses)
    EXPECT_EQ(answer(externalizable("07", name, "0405")),
              "obj3{ext class='" + std::string(name) + "' '':int3 5} 0/1/1/1");
}

TEST(Amf3Externalizable, TheBodyIsExactlyOneValue) {
  ReaderRun run(externalizable("07", "mx.utils.ObjectProxy", "0905010102 03"));
  const Node node(run.protocol.getAMF3Value());
  EXPECT_EQ(dump(node.get()),
            "obj3{ext class='mx.utils.ObjectProxy' '':arr3{dense=2 null3, bool3 false}}");
  EXPECT_EQ(run.unread(), 1u);
}

TEST(Amf3Externalizable, SealedCountAndDynamicAreRecordedNotRead) {
  EXPECT_EQ(answer(externalizable("5F", "mx.utils.ObjectProxy", "01")),
            "obj3{sealed=5 dyn ext class='mx.utils.ObjectProxy' '':null3} 0/1/1/1");
  EXPECT_EQ(answer(externalizable("8107", "mx.utils.ObjectProxy", "01")),
            "obj3{sealed=8 ext class='mx.utils.ObjectProxy' '':null3} 0/1/1/1");
}

TEST(Amf3Externalizable, NearMissesAreRefused) {
  for (const std::string name : kFlexClasses) {
    std::string otherCase = name;
    otherCase[0] = static_cast<char>(otherCase[0] - 0x20);
    std::string otherEnd = name;
    otherEnd.back() = static_cast<char>(otherEnd.back() ^ 0x20);
    const std::string misses[] = {name + "x",
                                  name + std::string(1, '\0'),
                                  name.substr(0, name.size() - 1),
                                  "x" + name,
                                  name.substr(1),
                                  otherCase,
                                  otherEnd,
                                  ""};
    for (const std::string& miss : misses)
      EXPECT_EQ(answer(externalizable("07", miss, "0405")), kUnsupported) << miss;
  }
  EXPECT_EQ(answer(externalizable("07", "flex.messaging.io.ObjectProxy", "01")), kUnsupported);
  EXPECT_EQ(answer(externalizable("07", "flex.messaging.messages.CommandMessageExt", "01")),
            kUnsupported)
      << "the accepted name has no \"messages\" segment";
}

TEST(Amf3Externalizable, AClassNameByReference) {
  const std::string name = "flex.messaging.io.ArrayCollection";
  EXPECT_EQ(answer("09 05 01" + externalizable("07", name, "01") + "0A 07 00 02"),
            "arr3{dense=2 obj3{ext class='" + name + "' '':null3}, obj3{ext class='" + name +
                "'#ref0 '':bool3 false}} 0/1/3/2");
}

TEST(Amf3Externalizable, AReferenceToItIsACopy) {
  EXPECT_EQ(answer("09 05 01" + externalizable("07", "mx.utils.ObjectProxy", "0403") + "0A 02"),
            "arr3{dense=2 obj3{ext class='mx.utils.ObjectProxy' '':int3 3}, "
            "obj3{ext class='mx.utils.ObjectProxy' '':int3 3}#ref1} 0/1/2/1");
}

TEST(Amf3Externalizable, TheObjectAndItsTraitsAreRegisteredBeforeTheBody) {
  EXPECT_EQ(answer("09 05 01" + externalizable("07", "mx.utils.ObjectProxy", "090101") + "0904"),
            "arr3{dense=2 obj3{ext class='mx.utils.ObjectProxy' '':arr3{}}, arr3{}#ref2} 0/1/3/1");
  EXPECT_EQ(answer("09 05 01" + externalizable("07", "mx.utils.ObjectProxy", "0A0301") + "0A05"),
            "arr3{dense=2 obj3{ext class='mx.utils.ObjectProxy' '':obj3{}}, obj3{traits=1}} "
            "0/1/4/2");
}

// Kept: a traits reference does not copy the flag, so what follows is read as sealed and dynamic
// members.
TEST(Amf3Externalizable, TraitsReferencesToItReadAPlainObject) {
  const char name[] = "mx.utils.ObjectProxy";
  const std::string ext = "obj3{ext class='mx.utils.ObjectProxy' '':null3}";
  EXPECT_EQ(answer("09 05 01" + externalizable("07", name, "01") + "0A01"),
            "arr3{dense=2 " + ext + ", obj3{traits=0 class='mx.utils.ObjectProxy'}} 0/1/3/1")
      << "no body is read";
  EXPECT_EQ(answer("09 05 01" + externalizable("17", name, "01") + "0A01 02"),
            "arr3{dense=2 obj3{sealed=1 ext class='mx.utils.ObjectProxy' '':null3}, "
            "obj3{sealed=1 traits=0 class='mx.utils.ObjectProxy' '':bool3 false}} 0/1/3/1")
      << "the body's pair without a name serves as the one sealed member";
  EXPECT_EQ(answer("09 05 01" + externalizable("0F", name, "01") + "0A01 0361 02 01"),
            "arr3{dense=2 obj3{dyn ext class='mx.utils.ObjectProxy' '':null3}, "
            "obj3{dyn traits=0 class='mx.utils.ObjectProxy' 'a':bool3 false}} 0/2/3/1");
  EXPECT_EQ(answer("09 05 01" + externalizable("27", name, "01") + "0A01 02 02"),
            "getAMF3Object(): bad amount of sealed properties")
      << "one child, two sealed members claimed";
  EXPECT_EQ(answer(externalizable("17", name, "0A01 02")),
            "getAMF3Object(): bad amount of sealed properties")
      << "while its body is read the pair is not there yet";
  EXPECT_EQ(answer(externalizable("07", name, "0A01")),
            "obj3{ext class='mx.utils.ObjectProxy' '':obj3{traits=0 class='mx.utils.ObjectProxy'}} "
            "0/1/2/1");
}

TEST(Amf3Externalizable, ARepointedVariableChangesWhatIsAccepted) {
  const ClassNamesRestored restored;
  for (std::size_t i = 0; i < 8; ++i) {
    *kFlexVariables[i] = "my.Class";
    EXPECT_EQ(answer(externalizable("07", "my.Class", "01")),
              "obj3{ext class='my.Class' '':null3} 0/1/1/1");
    EXPECT_EQ(answer(externalizable("07", kFlexClasses[i], "01")), kUnsupported);
    *kFlexVariables[i] = kFlexClasses[i];
    EXPECT_EQ(answer(externalizable("07", "my.Class", "01")), kUnsupported);
  }
}

TEST(Amf3Externalizable, ANullVariableMatchesNothing) {
  const ClassNamesRestored restored;
  for (const char** variable : kFlexVariables) *variable = nullptr;
  for (const char* name : kFlexClasses)
    EXPECT_EQ(answer(externalizable("07", name, "01")), kUnsupported);
  EXPECT_EQ(answer(externalizable("07", "", "01")), kUnsupported);
  cUpdateCollectMsg = "last";
  EXPECT_EQ(answer(externalizable("07", "last", "01")), "obj3{ext class='last' '':null3} 0/1/1/1");
}

TEST(Amf3Externalizable, AnEmptyVariableMatchesTheEmptyName) {
  const ClassNamesRestored restored;
  cPagedMsg = "";
  EXPECT_EQ(answer(externalizable("07", "", "01")), "obj3{ext '':null3} 0/0/1/1");
}

TEST(Amf3Externalizable, TheVariableIsReadAtEachComparison) {
  const ClassNamesRestored restored;
  ReaderRun run("0A 07 0361 01 0A 07 0361 01");
  cDataMsg = "a";
  const Node first(run.protocol.getAMF3Value());
  EXPECT_EQ(dump(first.get()), "obj3{ext class='a' '':null3}");
  cDataMsg = "b";
  EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF3Value(); }), kUnsupported);
}

// ---- every marker

TEST(Amf3Reader, AllMarkers) {
  struct {
    const char* body;
    const char* tree;
  } const accepted[] = {
      {"", "undef3"},
      {"", "null3"},
      {"", "bool3 false"},
      {"", "bool3 true"},
      {"01", "int3 1"},
      {"3FF0000000000000", "double3 1"},
      {"01", "str3 ''"},
      {"01", "xml3{doc=1 ''}"},
      {"01 3FF0000000000000", "date3 1"},
      {"01 01", "arr3{}"},
      {"03 01", "obj3{}"},
      {"01", "xml3{doc=0 ''}"},
      {"01", "raw3 []"},
  };
  for (unsigned marker = 0; marker < 256; ++marker) {
    SCOPED_TRACE(marker);
    const bool known = marker <= 0x0C;
    ReaderRun run(toHex(std::string(1, static_cast<char>(marker))) +
                  (known ? accepted[marker].body : "01 01 01"));
    if (known) {
      const Node node(run.protocol.getAMF3Value());
      EXPECT_EQ(dump(node.get()), accepted[marker].tree);
      EXPECT_EQ(run.unread(), 0u);
      continue;
    }
    EXPECT_EQ(readerRefusal([&] { return run.protocol.getAMF3Value(); }),
              "getAMF3Value(): unknown value type marker");
    EXPECT_EQ(run.consumed(), 1u);
    EXPECT_EQ(tables(run.protocol), "0/0/0/0");
  }
}

TEST(Amf3Reader, MarkersWidenWithTheirSign) {
  struct {
    const char* byte;
    std::int32_t code;
  } const rows[] = {{"00", 0}, {"0C", 12}, {"7F", 127}, {"80", -128}, {"FF", -1}};
  for (const auto& row : rows) {
    ReaderRun run(row.byte);
    EXPECT_EQ(static_cast<std::int32_t>(run.protocol.getAMF3Marker()), row.code);
    EXPECT_EQ(run.consumed(), 1u);
  }
}

// ---- readers called directly

const DirectRow kDirect[] = {
    {"boolean: 02 given", READ(getAMF3Bool(AMFProtocol::AMF3_FALSE)), "FF", "bool3 false"},
    {"boolean: 03 given", READ(getAMF3Bool(AMFProtocol::AMF3_TRUE)), "FF", "bool3 true"},
    {"boolean: 00 given, the marker is read", READ(getAMF3Bool(AMFProtocol::AMF3_UNDEFINED)),
     "03 FF", "bool3 true"},
    {"XML: 07 given", READ(getAMF3XML(AMFProtocol::AMF3_XML_DOC)), "03 61 FF", "xml3{doc=1 'a'}"},
    {"XML: 0B given", READ(getAMF3XML(AMFProtocol::AMF3_XML)), "03 61 FF", "xml3{doc=0 'a'}"},
    {"XML: 00 given, the marker is read", READ(getAMF3XML(AMFProtocol::AMF3_UNDEFINED)),
     "0B 03 61 FF", "xml3{doc=0 'a'}"},
    {"XML: 00 given, marker 07 is read", READ(getAMF3XML(AMFProtocol::AMF3_UNDEFINED)),
     "07 03 61 FF", "xml3{doc=1 'a'}"},
    {"string without marker", READ(getAMF3String(false)), "03 61 FF", "str3 'a'"},
    {"string with its marker", READ(getAMF3String(true)), "06 03 61 FF", "str3 'a'"},
    {"integer", READ(getAMF3Integer()), "8100 FF", "int3 128"},
    {"double", READ(getAMF3Double()), "3FF0000000000000 FF", "double3 1"},
    {"date", READ(getAMF3Date()), "01 3FF0000000000000 FF", "date3 1"},
    {"byte array", READ(getAMF3ByteArray()), "03 61 FF", "raw3 [61]"},
    {"array", READ(getAMF3Array()), "01 01 FF", "arr3{}"},
    {"object", READ(getAMF3Object()), "03 01 FF", "obj3{}"},
    {"pair", READ(getAMF3Pair()), "0361 02 FF", "pair3{'a':bool3 false}"},
    {"pair: the empty name ends the list, no value is read", READ(getAMF3Pair()), "01 FF", "(nil)"},
};

TEST(Amf3Reader, DirectCalls) {
  expectDirect(kDirect);
}

// A pair's name by reference to an empty string that a host registered ends the list as well.
TEST(Amf3Reader, AnEmptyNameByReferenceEndsTheList) {
  ReaderRun run("00 FF");
  AMFString empty(AMF_VERSION_3);
  run.protocol.amf3StringReferences.push_back(&empty);
  EXPECT_EQ(run.protocol.getAMF3Pair(), nullptr);
  EXPECT_EQ(run.unread(), 1u);
}

// Host-made entries: complete or not matters for arrays and objects alone.
TEST(Amf3Reader, HostMadeEntriesAreCopied) {
  struct {
    const char* bytes;
    std::uint32_t kind;
  } const rows[] = {{"07 00", AMFNode::AMF_XML},
                    {"08 00", AMFNode::AMF_DATE},
                    {"0C 00", AMFNode::AMF_RAW},
                    {"09 00", AMFNode::AMF_ARRAY},
                    {"0A 00", AMFNode::AMF_OBJECT}};
  for (const auto& row : rows) {
    ReaderRun run(row.bytes);
    const auto entry = makeKind(row.kind);
    run.protocol.amf3ObjectReferences.push_back(entry.get());
    const Node node(run.protocol.getAMF3Value());
    EXPECT_EQ(dump(node.get()), std::string(kKindDumps[row.kind]) + "#ref0");
  }
}

// Its clone is its own affair.
struct HostString : AMFString {
  HostString() : AMFString(AMF_VERSION_3) {}
  HostString* clone() const override { return new HostString(); }
};

TEST(Amf3Reader, StringsOfHostsAreClonedAsTheyWantIt) {
  ReaderRun run("06 00");
  HostString entry;
  entry.setValue("not copied", 10);
  run.protocol.amf3StringReferences.push_back(&entry);
  const Node node(run.protocol.getAMF3Value());
  EXPECT_NE(dynamic_cast<HostString*>(node.get()), nullptr);
  EXPECT_EQ(dump(node.get()), "str3 ''#ref0");
}

TEST(Amf3Reader, TraitsWithoutAClassNameGiveAnEmptyOne) {
  ReaderRun run("0A 01");
  AMFObject entry(AMF_VERSION_3);
  delete entry.className;
  entry.className = nullptr;
  run.protocol.amf3TraitReferences.push_back(&entry);
  const Node node(run.protocol.getAMF3Value());
  EXPECT_EQ(static_cast<AMFObject&>(*node).className->length, 0u);
}

}  // namespace
