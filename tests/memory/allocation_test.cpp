// SPDX-License-Identifier: Apache-2.0
//
// Every allocation of every operation fails once, and fails for good: the operation throws
// std::bad_alloc and nothing else, nothing leaks, and the object works afterwards.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "support/counted_heap.h"
#include "support/dump.h"
#include "support/hex.h"
#include "support/kinds.h"
#include "support/trees.h"
#include "support/views.h"

namespace {

using support::Failing;

constexpr std::uint64_t kMostAllocations = 100000;  // no operation here needs so many

// All the forms of both formats, references to each kind of entry, and a text of 450 bytes.
const std::string& everyForm() {
  static const std::string packet = support::hex(
      "0003"
      "0001 0001 'h' 01 FFFFFFFF  03 0001 'a' 00 3FF0000000000000 0000 09"
      "0001 0003 'a.b' 0002 '/1' 00000000  0A 00000008"
      "  10 0001 'T' 0001 'x' 02 0003 'str' 0000 09"
      "  07 0000"
      "  08 00000001 0001 'k' 01 01"
      "  0B 4270000000000000 0000"
      "  0C 00000004 'long'"
      "  0F 00000004 '<x/>'"
      "  11 09 19 05 'as' 04 05 01"
      "    06 07 'abc'  06 00"
      "    0A 13 03 'C' 03 'm' 03  0A 01 05 4000000000000000  0A 02"
      "    0A 07 29 'mx.utils.ObjectProxy' 0A 0B 01 03 'd' 01 01"
      "    0C 07 00 7F 80  0C 0A  07 09 '<d/>'  07 0C"
      "    08 01 4270000000000000  08 0E"
      "  02 01C2 'ab'*225");
  return packet;
}

// Texts longer than what a parse reserves: 800 KB of hexadecimal digits, many temporaries.
const std::string& longTexts() {
  static const std::string packet = support::hex(
      "0000 0000 0001 0001 't' 0000 FFFFFFFF"
      "  11 09 05 01  0C 8C9A41 80*100000"
      "  06 82F701 61*24000");
  return packet;
}

std::uint64_t injected = 0;  // failures of the running test

// Runs `work` with its allocation number `call` failing. True: one has failed, and `work` threw
// std::bad_alloc; false: `work` needs no such allocation, and was done.
bool failsAt(std::uint64_t call, Failing mode, const std::function<void()>& work) {
  bool thrown = false;
  support::failAllocation(call, mode);
  try {
    work();
  } catch (const std::bad_alloc&) {
    thrown = true;
  } catch (...) {
    support::failNothing();
    throw;
  }
  support::failNothing();
  const bool failed = support::failures > 0;
  EXPECT_EQ(thrown, failed) << "at allocation " << call;
  injected += failed ? 1 : 0;
  return failed;
}

// Afterwards the cache of this thread holds as many text buffers as it may hold.
void settleTexts() {
  static const std::string packet = support::hex("0000 0000 0000");
  for (int i = 0; i < 2; ++i) {
    AMFProtocol protocol;
    protocol.parse(packet.data());
    protocol.getPackageInJSON(true);
  }
}

// `attempt(call, mode)` builds what it needs, calls failsAt and returns its result; it has
// deleted all that it made when it returns.
template <class Attempt>
void failEach(const char* name, const Attempt& attempt) {
  attempt(kMostAllocations, Failing::once);  // afterwards all caches are filled
  injected = 0;
  for (const Failing mode : {Failing::once, Failing::fromThenOn}) {
    std::uint64_t call = 0;
    const bool failedBefore = testing::Test::HasFailure();
    for (bool failed = true; failed && testing::Test::HasFailure() == failedBefore; ++call) {
      ASSERT_LT(call, kMostAllocations);
      settleTexts();
      const std::uint64_t before = support::liveBlocks;
      failed = attempt(call, mode);
      settleTexts();
      ASSERT_EQ(support::liveBlocks, before) << name << ", allocation " << call;
    }
  }
  std::printf("%-44s %6llu failures injected\n", name, static_cast<unsigned long long>(injected));
}

void parse(AMFProtocol& protocol, const std::string& packet) {
  ASSERT_EQ(protocol.parse(packet.data()), protocol.package);
  ASSERT_EQ(protocol.readCursor, packet.data() + packet.size());
}

// A protocol object that an operation failed on parses as if nothing had been.
void checkParse(AMFProtocol& protocol, const std::string& expected) {
  parse(protocol, everyForm());
  EXPECT_EQ(support::dump(protocol.package), expected);
  EXPECT_EQ(protocol.jsonText, std::string(716800, '\0'));
  EXPECT_EQ(protocol.scriptText, std::string(358400, '\0'));
}

std::string expectedDump() {
  AMFProtocol protocol;
  parse(protocol, everyForm());
  return support::dump(protocol.package);
}

TEST(Allocation, Parse) {
  const std::string expected = expectedDump();
  failEach("parse, fresh object", [&](std::uint64_t call, Failing mode) {
    AMFProtocol protocol;
    const bool failed = failsAt(call, mode, [&] { protocol.parse(everyForm().data()); });
    if (!failed) {
      EXPECT_EQ(support::dump(protocol.package), expected);
    }
    checkParse(protocol, expected);
    return failed;
  });
}

// The package goes as soon as the version has been read, whatever fails then.
TEST(Allocation, ParseThatFailsLeavesNoOldPackage) {
  failEach("parse, what is left", [&](std::uint64_t call, Failing mode) {
    AMFProtocol protocol;
    parse(protocol, support::hex("0003 0000 0001 0000 0000 00000000 0A 00000001 05"));
    const std::string empty = support::hex("0000 0000 0000");
    const bool failed = failsAt(call, mode, [&] { protocol.parse(empty.data()); });
    EXPECT_EQ(support::dump(protocol.package), failed ? "(nil)" : "package0{headers=0}");
    return failed;
  });
}

TEST(Allocation, SecondParse) {
  const std::string expected = expectedDump();
  failEach("parse, object in use", [&](std::uint64_t call, Failing mode) {
    AMFProtocol protocol;
    parse(protocol, everyForm());
    protocol.getPackageInJSON(true);
    const bool failed = failsAt(call, mode, [&] { protocol.parse(everyForm().data()); });
    checkParse(protocol, expected);
    return failed;
  });
}

TEST(Allocation, Clone) {
  const std::string expected = expectedDump();
  AMFProtocol protocol;
  parse(protocol, everyForm());
  failEach("clone", [&](std::uint64_t call, Failing mode) {
    std::unique_ptr<AMFPackage> copy;
    const bool failed = failsAt(call, mode, [&] { copy.reset(protocol.package->clone()); });
    EXPECT_EQ(support::dump(protocol.package), expected);
    if (!failed) {
      EXPECT_EQ(support::dump(copy.get()), expected);
    }
    return failed;
  });
}

TEST(Allocation, CloneOfEachKind) {
  for (std::uint32_t kind = 0; kind <= support::kLastKind; ++kind) {
    const std::unique_ptr<AMFNode> node = support::makeKind(kind);
    failEach(support::kKindDumps[kind], [&](std::uint64_t call, Failing mode) {
      std::unique_ptr<AMFNode> copy;
      const bool failed = failsAt(call, mode, [&] { copy.reset(node->clone()); });
      if (!failed) {
        EXPECT_EQ(support::dump(copy.get()), support::kKindDumps[kind]);
      }
      return failed;
    });
  }
}

TEST(Allocation, Compile) {
  AMFProtocol reader;
  parse(reader, everyForm());
  const std::string expected = expectedDump();
  AMFProtocol calm;
  calm.compile(reader.package);
  const std::string expectedBytes(calm.resultBuffer, calm.getResultLength());
  failEach("compile", [&](std::uint64_t call, Failing mode) {
    AMFProtocol writer;
    const bool failed = failsAt(call, mode, [&] { writer.compile(reader.package); });
    EXPECT_EQ(support::dump(reader.package), expected);
    if (failed) {
      EXPECT_EQ(writer.getResultLength(), 0u);
    }
    if (failed) writer.compile(reader.package);
    EXPECT_EQ(std::string(writer.resultBuffer, writer.getResultLength()), expectedBytes);
    return failed;
  });
}

TEST(Allocation, CompileOfLongTexts) {
  AMFProtocol reader;
  parse(reader, longTexts());
  failEach("compile, after an earlier result", [&](std::uint64_t call, Failing mode) {
    AMFProtocol writer;
    writer.compile(reader.package);
    const char* const earlier = writer.resultBuffer;
    const bool failed = failsAt(call, mode, [&] { writer.compile(reader.package); });
    if (failed) {
      EXPECT_TRUE(writer.resultBuffer == earlier || !writer.resultBuffer);
      EXPECT_EQ(writer.getResultLength(), 0u);
    }
    writer.clean();
    EXPECT_TRUE(writer.outputChunks.empty());
    writer.compile(reader.package);
    EXPECT_EQ(std::string(writer.resultBuffer, writer.getResultLength()), longTexts());
    return failed;
  });
}

void failEachOfViews(const std::string& packet, const char* packetName) {
  const std::string expectedTree = expectedDump();
  for (const auto& row : support::kPackageViews<>) {
    for (const bool pretty : {true, false}) {
      AMFProtocol calm;
      parse(calm, packet);
      const std::string expected = row.text(calm, pretty);
      ASSERT_FALSE(expected.empty());
      const std::string name =
          std::string(row.name) + (pretty ? ", pretty, " : ", compact, ") + packetName;
      failEach(name.c_str(), [&](std::uint64_t call, Failing mode) {
        AMFProtocol protocol;
        parse(protocol, packet);
        const std::string* text = nullptr;
        const bool failed = failsAt(call, mode, [&] { text = &row.text(protocol, pretty); });
        if (!failed) {
          EXPECT_EQ(*text, expected);
        }
        checkParse(protocol, expectedTree);
        return failed;
      });
    }
  }
}

TEST(Allocation, Views) {
  failEachOfViews(everyForm(), "every form");
}

TEST(Allocation, ViewsOfLongTexts) {
  failEachOfViews(longTexts(), "long texts");
}

TEST(Allocation, FormatString) {
  std::string text = support::hex("'a' 5C 22 0A '/*' C3A9 'x'*200");
  const std::string expected = formatString(text, false);
  failEach("formatString", [&](std::uint64_t call, Failing mode) {
    std::string made;
    const bool failed = failsAt(call, mode, [&] { made = formatString(text, false); });
    if (!failed) {
      EXPECT_EQ(made, expected);
    }
    return failed;
  });
}

// ---- Nodes

struct ConstructorRow {
  const char* name;
  AMFNode* (*make)();
};
const ConstructorRow kConstructors[] = {
    {"AMFString", [] { return static_cast<AMFNode*>(new AMFString(AMF_VERSION_3)); }},
    {"AMFXML", [] { return static_cast<AMFNode*>(new AMFXML(AMF_VERSION_3)); }},
    {"AMFArray", [] { return static_cast<AMFNode*>(new AMFArray(AMF_VERSION_3)); }},
    {"AMFPair", [] { return static_cast<AMFNode*>(new AMFPair(AMF_VERSION_3)); }},
    {"AMFObject", [] { return static_cast<AMFNode*>(new AMFObject(AMF_VERSION_3)); }},
    {"AMFHeader", [] { return static_cast<AMFNode*>(new AMFHeader()); }},
    {"AMFMessage", [] { return static_cast<AMFNode*>(new AMFMessage()); }},
    {"AMFPackage", [] { return static_cast<AMFNode*>(new AMFPackage(AMF_VERSION_0)); }},
};

TEST(Allocation, Constructors) {
  for (const ConstructorRow& row : kConstructors) {
    failEach(row.name, [&](std::uint64_t call, Failing mode) {
      std::unique_ptr<AMFNode> node;
      return failsAt(call, mode, [&] { node.reset(row.make()); });
    });
  }
}

// One operation that attaches `node` (a node of kind `nodeKind`) to `target`.
struct SetterRow {
  const char* name;
  std::uint32_t targetKind;
  std::uint32_t nodeKind;
  void (*set)(AMFNode& target, AMFNode* node, bool copy);
};

using support::as;

const SetterRow kSetters[] = {
    {"AMFNode::appendChild", AMFNode::AMF_PACKAGE, AMFNode::AMF_OBJECT,
     ATTACH(AMFNode, appendChild(node, copy))},
    {"AMFNode::appendChild, first child", AMFNode::AMF_NULL, AMFNode::AMF_STRING,
     ATTACH(AMFNode, appendChild(node, copy))},
    {"AMFNode::setChild", AMFNode::AMF_PACKAGE, AMFNode::AMF_STRING,
     ATTACH(AMFNode, setChild(1, node, copy))},
    {"AMFArray::appendChild, value", AMFNode::AMF_ARRAY, AMFNode::AMF_OBJECT,
     ATTACH(AMFArray, appendChild(node, copy))},
    {"AMFArray::appendChild, pair", AMFNode::AMF_ARRAY, AMFNode::AMF_PAIR,
     ATTACH(AMFArray, appendChild(node, copy))},
    {"AMFObject::appendChild", AMFNode::AMF_OBJECT, AMFNode::AMF_PAIR,
     ATTACH(AMFObject, appendChild(as<AMFPair>(node), copy))},
    {"AMFObject::setChild", AMFNode::AMF_OBJECT, AMFNode::AMF_PAIR,
     ATTACH(AMFObject, setChild(0, as<AMFPair>(node), copy))},
    {"AMFObject::setClassName", AMFNode::AMF_OBJECT, AMFNode::AMF_STRING,
     ATTACH(AMFObject, setClassName(as<AMFString>(node), copy))},
    {"AMFPair::setName", AMFNode::AMF_PAIR, AMFNode::AMF_STRING,
     ATTACH(AMFPair, setName(as<AMFString>(node), copy))},
    {"AMFPair::setValue", AMFNode::AMF_PAIR, AMFNode::AMF_ARRAY,
     ATTACH(AMFPair, setValue(node, copy))},
    {"AMFHeader: AMFPair::setValue", AMFNode::AMF_HEADER, AMFNode::AMF_RAW,
     ATTACH(AMFHeader, setValue(node, copy))},
    {"AMFMessage::setTargetUri", AMFNode::AMF_MESSAGE, AMFNode::AMF_STRING,
     ATTACH(AMFMessage, setTargetUri(as<AMFString>(node), copy))},
    {"AMFMessage::setResponseUri", AMFNode::AMF_MESSAGE, AMFNode::AMF_STRING,
     ATTACH(AMFMessage, setResponseUri(as<AMFString>(node), copy))},
    {"AMFMessage::setValue", AMFNode::AMF_MESSAGE, AMFNode::AMF_OBJECT,
     ATTACH(AMFMessage, setValue(node, copy))},
    {"AMFPackage::appendHeader", AMFNode::AMF_PACKAGE, AMFNode::AMF_HEADER,
     ATTACH(AMFPackage, appendHeader(as<AMFHeader>(node), copy))},
    {"AMFPackage::appendMessage", AMFNode::AMF_PACKAGE, AMFNode::AMF_MESSAGE,
     ATTACH(AMFPackage, appendMessage(as<AMFMessage>(node), copy))},
};

void failEachOfSetter(const SetterRow& row, bool copy) {
  const std::string name = std::string(row.name) + (copy ? ", copy" : ", adopt");
  failEach(name.c_str(), [&](std::uint64_t call, Failing mode) {
    const std::unique_ptr<AMFNode> target = support::makeKind(row.targetKind);
    std::unique_ptr<AMFNode> node = support::makeKind(row.nodeKind);
    const std::string before = support::dump(target.get());
    const bool failed = failsAt(call, mode, [&] { row.set(*target, node.get(), copy); });
    if (failed) {
      EXPECT_EQ(support::dump(target.get()), before) << "a failure changes nothing";
    }
    if (!failed) {
      EXPECT_NE(support::dump(target.get()), before);
    }
    if (failed || copy) {
      EXPECT_EQ(support::dump(node.get()), support::kKindDumps[row.nodeKind]) << "still ours";
    } else {
      static_cast<void>(node.release());  // adopted
    }
    return failed;
  });
}

TEST(Allocation, Setters) {
  for (const SetterRow& row : kSetters)
    for (const bool copy : {false, true}) failEachOfSetter(row, copy);
}

TEST(Allocation, RawSetValue) {
  failEach("AMFRaw::setValue", [](std::uint64_t call, Failing mode) {
    AMFRaw node(AMF_VERSION_3);
    node.setValue("old", 3);
    const bool failed = failsAt(call, mode, [&] { node.setValue("newer", 5); });
    EXPECT_EQ(support::dump(&node), failed ? "raw3 [6F6C64]" : "raw3 [6E65776572]");
    return failed;
  });
  failEach("AMFXML::setValue", [](std::uint64_t call, Failing mode) {
    AMFXML node(AMF_VERSION_3);
    node.setValue("old", 3);
    const std::unique_ptr<AMFString> text = trees::own(trees::string(trees::k3, "newer"));
    const bool failed = failsAt(call, mode, [&] { node.setValue(text.get()); });
    EXPECT_EQ(support::dump(&node), failed ? "xml3{doc=0 'old'}" : "xml3{doc=0 'newer'}");
    return failed;
  });
}

}  // namespace
