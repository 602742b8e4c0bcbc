// SPDX-License-Identifier: Apache-2.0
//
// The packet envelope: version, headers, messages, declared lengths; what a parse replaces, keeps
// and leaves, refused or not; the two texts that it prepares.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "memory/node_pool.h"
#include "support/dump.h"
#include "support/hex.h"
#include "support/reader_run.h"
#include "support/refusal.h"
#include "support/trees.h"
#include "support/witness.h"

using namespace amf2json;

namespace {

using support::dump;
using support::ExactBytes;
using support::hex;
using support::ReaderRun;
using support::refusal;
using support::tables;

constexpr std::size_t kJsonSize = 716800;
constexpr std::size_t kScriptSize = 358400;

struct Row {
  const char* name;
  const char* bytes;
  const char* tree;
  std::size_t unread = 0;
};

const Row kPackets[] = {
    {"empty packet", "0003 0000 0000", "package3{headers=0}"},
    {"version 0", "0000 0000 0000", "package0{headers=0}"},
    {"version 1 is kept", "0001 0000 0000", "package1{headers=0}"},
    {"version 255 is kept", "00FF 0000 0000", "package(255){headers=0}"},
    {"version 256 is kept", "0100 0000 0000", "package(256){headers=0}"},
    {"version 65535 is kept", "FFFF 0000 0000", "package(65535){headers=0}"},
    {"one message", "0000 0000 0001 0004'echo' 0002'/1' 0000000E 02 0002'hi'",
     "package0{headers=0 message{'echo' '/1' len=14 str0 'hi'}}"},
    {"one header", "0000 0001 0004'auth' 00 00000001 05 0000",
     "package0{headers=1 header{'auth' len=1 null0}}"},
    {"the members stay AMF0 in a packet of version 3",
     "0003 0001 0001'h' 00 00000001 05 0001 0001't' 0001'r' 00000002 11 01",
     "package3{headers=1 header{'h' len=1 null0}, message{'t' 'r' len=2 null3}}"},
    {"must-understand 01", "0000 0001 0000 01 00000000 05 0000",
     "package0{headers=1 header{'' must len=0 null0}}"},
    {"must-understand 02 is true", "0000 0001 0000 02 00000000 05 0000",
     "package0{headers=1 header{'' must len=0 null0}}"},
    {"must-understand 80 is true", "0000 0001 0000 80 00000000 05 0000",
     "package0{headers=1 header{'' must len=0 null0}}"},
    {"must-understand FF is true", "0000 0001 0000 FF 00000000 05 0000",
     "package0{headers=1 header{'' must len=0 null0}}"},
    {"length FFFFFFFF is kept", "0000 0001 0000 00 FFFFFFFF 05 0001 0000 0000 FFFFFFFF 06",
     "package0{headers=1 header{'' len=? null0}, message{'' '' len=? undef0}}"},
    {"a wrong length is neither detected nor corrected",
     "0000 0001 0000 00 FFFFFFFE 05 0001 0000 0000 00000000 02 0001'a'",
     "package0{headers=1 header{'' len=4294967294 null0}, message{'' '' len=0 str0 'a'}}"},
    {"the end mark as a value leaves undefined",
     "0000 0001 0001'h' 00 00000001 09 0001 0001't' 0000 00000001 09",
     "package0{headers=1 header{'h' len=1 undef0}, message{'t' '' len=1 undef0}}"},
    {"headers first, then messages, each in order",
     "0000 0002 0001'a' 00 00000001 05 0001'b' 01 00000001 06"
     " 0002 0001'c' 0001'd' 00000002 0100 0001'e' 0001'f' 00000002 0101",
     "package0{headers=2 header{'a' len=1 null0}, header{'b' must len=1 undef0}, "
     "message{'c' 'd' len=2 bool0 false}, message{'e' 'f' len=2 bool0 true}}"},
    {"names and URIs keep their bytes",
     "0000 0001 0003 00FF61 00 00000000 05 0001 0002 C3A9 0001 00 00000000 05",
     R"(package0{headers=1 header{'\x00\xFFa' len=0 null0}, message{'\xC3\xA9' '\x00' len=0 null0}})"},
    {"the longest name and URIs",
     "0000 0001 FFFF 61*65535 00 00000000 05 0001 FFFF 62*65535 FFFF 63*65535 00000000 05",
     R"(package0{headers=1 header{'\{61*65535}' len=0 null0}, )"
     R"(message{'\{62*65535}' '\{63*65535}' len=0 null0}})"},
    {"bytes after the packet are not read", "0000 0000 0000 0102", "package0{headers=0}", 2},
};

TEST(PacketReader, Packets) {
  for (const Row& row : kPackets) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.bytes);
    run.protocol.readCursor = nullptr;
    const AMFPackage* const package = run.protocol.parse(run.bytes.data());
    EXPECT_EQ(package, run.protocol.package);
    EXPECT_EQ(dump(package), row.tree);
    EXPECT_EQ(run.unread(), row.unread);
    ASSERT_NE(package, nullptr);
    EXPECT_EQ(package->parent, nullptr);
  }
}

TEST(PacketReader, CountsAreSixteenBitsWide) {
  ReaderRun run("0000 0101 (0000 00 00000000 05)*257 0102 (0000 0000 00000000 06)*258");
  const AMFPackage* const package = run.protocol.parse(run.bytes.data());
  EXPECT_EQ(package->headerCount, 257u);
  EXPECT_EQ(package->children.size(), 515u);
  EXPECT_EQ(dump(package->getHeader(256)), "header{'' len=0 null0}");
  EXPECT_EQ(dump(package->getMessage(257)), "message{'' '' len=0 undef0}");
  EXPECT_EQ(run.unread(), 0u);
}

// ---- reference tables

TEST(PacketReader, TablesHoldTheLastSection) {
  ReaderRun run(
      "0000 0001 0000 00 00000000 03 000009 0001 0000 0000 00000000 11 0A130343036106037A");
  run.protocol.parse(run.bytes.data());
  EXPECT_EQ(tables(run.protocol), "0/3/1/1");
  const AMFMessage* const message = run.protocol.package->getMessage(0);
  EXPECT_EQ(run.protocol.amf3ObjectReferences[0], message->value);
}

TEST(PacketReader, TablesLiveForOneSection) {
  struct {
    const char* name;
    const char* registers;  // a value that leaves an entry 0
    const char* refers;     // a value that refers to entry 0
    const char* text;
  } const rows[] = {
      {"AMF0", "03 000009", "07 0000", "getAMF0ByReference(): invalid reference index"},
      {"strings", "11 060361", "11 0600", "getAMF3String(): invalid string reference index"},
      {"objects", "11 090101", "11 0900", "getAMF3Array(): invalid array reference index"},
      {"traits", "11 0A0301", "11 0A01", "getAMF3Object(): traits reference index is invalid"},
  };
  const std::string header = " 0000 00 00000000 ";
  const std::string message = " 0000 0000 00000000 ";
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string packets[] = {
        "0000 0002" + header + row.registers + header + row.refers + " 0000",
        "0000 0001" + header + row.registers + " 0001" + message + row.refers,
        "0000 0000 0002" + message + row.registers + message + row.refers,
    };
    for (const std::string& packet : packets) {
      ReaderRun run(packet);
      EXPECT_EQ(refusal([&] { run.protocol.parse(run.bytes.data()); }), row.text) << packet;
      EXPECT_EQ(run.protocol.package->children.size(), 1u) << packet;
    }
    ReaderRun second("0000 0000 0001" + message + row.registers + " 0000 0000 0001" + message +
                     row.refers);
    second.protocol.parse(second.bytes.data());
    EXPECT_EQ(refusal([&] { second.protocol.parse(second.protocol.readCursor); }), row.text);
    EXPECT_EQ(dump(second.protocol.package), "package0{headers=0}");
  }
}

TEST(PacketReader, TablesAreEmptiedNotFreed) {
  for (const bool header : {true, false}) {
    ReaderRun run(header ? "0000 00 00000000 05" : "0000 0000 00000000 05");
    AMFNull entry(AMF_VERSION_0);
    AMFProtocol& p = run.protocol;
    for (auto* table : {&p.amf0References, &p.amf3StringReferences, &p.amf3ObjectReferences,
                        &p.amf3TraitReferences}) {
      table->reserve(50);
      table->push_back(&entry);
      table->push_back(nullptr);
    }
    const std::unique_ptr<AMFNode> node(header ? static_cast<AMFNode*>(p.getHeader())
                                               : static_cast<AMFNode*>(p.getMessage()));
    EXPECT_EQ(tables(p), "0/0/0/0");
    EXPECT_GE(p.amf0References.capacity(), 50u);
    EXPECT_GE(p.amf3TraitReferences.capacity(), 50u);
  }
}

TEST(PacketReader, ASectionIsReadAloneAndIsTheCallers) {
  ReaderRun run("0001'h' 01 00000007 05 0001't' 0001'r' 00000008 06 FF");
  const std::unique_ptr<AMFHeader> header(run.protocol.getHeader());
  EXPECT_EQ(dump(header.get()), "header{'h' must len=7 null0}");
  EXPECT_EQ(header->parent, nullptr);
  const std::unique_ptr<AMFMessage> message(run.protocol.getMessage());
  EXPECT_EQ(dump(message.get()), "message{'t' 'r' len=8 undef0}");
  EXPECT_EQ(message->parent, nullptr);
  EXPECT_EQ(run.unread(), 1u);
  EXPECT_EQ(run.protocol.package, nullptr);
  EXPECT_EQ(run.protocol.jsonText, "");
}

// ---- what a parse replaces

TEST(PacketReader, AFreshObject) {
  const AMFProtocol p;
  EXPECT_EQ(p.resultBuffer, nullptr);
  EXPECT_EQ(p.readCursor, nullptr);
  EXPECT_EQ(p.package, nullptr);
  EXPECT_EQ(tables(p), "0/0/0/0");
  EXPECT_TRUE(p.outputChunks.empty());
  EXPECT_EQ(p.outputLength, 0u);
  EXPECT_EQ(p.getResultLength(), 0u);
  EXPECT_EQ(p.jsonText + p.scriptText + p.scriptPreamble, "");
  EXPECT_EQ(p.temporaryCounter, 0);
  EXPECT_EQ(p.newLine, "");
  EXPECT_EQ(p.scriptNewLine, "\n");
  EXPECT_EQ(p.indentUnit + p.indent + p.closerStack, "");
  EXPECT_TRUE(p.scriptStatementStart);
  EXPECT_EQ(p.childDepth, 0);
  EXPECT_FALSE(p.jsonOnly || p.jsonAndScript || p.scriptView);
  EXPECT_FALSE(p.outputLimitReached);
  EXPECT_TRUE(p.useTemporaries);
  EXPECT_FALSE(p.valueInline);
  EXPECT_FALSE(p.trackDepth || p.noRootPrefix || p.nextPrefixBare);
  EXPECT_EQ(p.lineBreakCount, 1);
}

TEST(PacketReader, NullReturnsNullAndChangesNothing) {
  AMFProtocol fresh;
  EXPECT_EQ(fresh.parse(nullptr), nullptr);
  EXPECT_EQ(fresh.jsonText, "");
  EXPECT_EQ(fresh.package, nullptr);

  ReaderRun run("0003 0000 0001 0000 0000 00000000 03 000009");
  AMFProtocol& p = run.protocol;
  const AMFPackage* const package = p.parse(run.bytes.data());
  const char* const cursor = p.readCursor;
  p.getPackageInJSON(false);
  const std::string text = p.jsonText;
  EXPECT_EQ(p.parse(nullptr), nullptr);
  EXPECT_EQ(p.package, package);
  EXPECT_EQ(dump(p.package), "package3{headers=0 message{'' '' len=0 obj0{}}}");
  EXPECT_EQ(p.readCursor, cursor);
  EXPECT_EQ(p.jsonText, text);
  EXPECT_EQ(tables(p), "1/0/0/0");
}

TEST(PacketReader, ASecondParseDeletesTheFirstPackage) {
  const ExactBytes packet(hex("0003 0000 0000"));
  support::EventLog eventLog;
  {
    AMFProtocol p;
    p.parse(packet.data());
    p.package->appendChild(new support::Witness(eventLog, "first"), false);
    p.parse(packet.data());
    EXPECT_EQ(eventLog, "-first ");
    EXPECT_EQ(dump(p.package), "package3{headers=0}");
    p.package->appendChild(new support::Witness(eventLog, "second"), false);
  }
  EXPECT_EQ(eventLog, "-first -second ") << "the object deletes its last package";
}

TEST(PacketReader, ARefusedParseHasReplacedThePackage) {
  const ExactBytes good(hex("0003 0000 0000"));
  const ExactBytes bad(hex("0007 0000 0001 0000 0000 00000000 04"));
  support::EventLog eventLog;
  AMFProtocol p;
  p.parse(good.data());
  p.package->appendChild(new support::Witness(eventLog, "first"), false);
  EXPECT_EQ(refusal([&] { p.parse(bad.data()); }), "getAMF0Value: unknown value type");
  EXPECT_EQ(eventLog, "-first ");
  EXPECT_EQ(dump(p.package), "package7{headers=0}");
  p.parse(good.data());
  EXPECT_EQ(dump(p.package), "package3{headers=0}");
}

TEST(PacketReader, AParseLeavesTheEncodersSideAlone) {
  const ExactBytes packet(hex("0003 0000 0000"));
  AMFProtocol p;
  p.compile(p.parse(packet.data()));
  const char* const result = p.resultBuffer;
  const std::size_t pieces = p.outputChunks.size();
  p.parse(packet.data());
  EXPECT_EQ(p.resultBuffer, result);
  EXPECT_EQ(p.getResultLength(), 6u);
  EXPECT_EQ(p.outputChunks.size(), pieces);
}

// ---- what a refusal leaves

struct Refused {
  const char* name;
  const char* bytes;
  const char* text;
  std::size_t consumed;
  const char* package;
  const char* tables;  // AMF0 / strings / objects / traits
};
const Refused kRefused[] = {
    {"in the first header: the package is there, with its version",
     "0005 0001 0001'h' 01 00000001 04 0000", "getAMF0Value: unknown value type", 13,
     "package5{headers=0}", "0/0/0/0"},
    {"in the second header: the first is kept",
     "0000 0002 0001'a' 00 00000001 05 0001'b' 00 00000001 0D 0000",
     "getAMF0Value: unknown value type", 22, "package0{headers=1 header{'a' len=1 null0}}",
     "0/0/0/0"},
    {"in the first message: the headers are kept",
     "0000 0001 0001'a' 00 00000001 05 0001 0000 0000 00000001 0E",
     "getAMF0Value: unknown value type", 24, "package0{headers=1 header{'a' len=1 null0}}",
     "0/0/0/0"},
    {"in the second message: the first is kept, the tables are the second's",
     "0000 0000 0002 0001'a' 0000 00000001 03 000009"
     " 0000 0000 00000001 0A 00000003 03 000009 03 000009 09",
     "getAMF0Array(): lack of strict array data or bad array size", 41,
     "package0{headers=0 message{'a' '' len=1 obj0{}}}", "2/0/0/0"},
    {"deep inside: everything under construction goes",
     "0000 0000 0001 0000 0000 00000000 03 0001'a' 11 0A13 0343 0361 0904 0D",
     "getAMF3Array(): invalid array reference index", 27, "package0{headers=0}", "0/2/1/1"},
};

TEST(PacketReader, StateAfterRefusals) {
  for (const Refused& row : kRefused) {
    SCOPED_TRACE(row.name);
    ReaderRun run(row.bytes);
    AMFProtocol& p = run.protocol;
    EXPECT_EQ(refusal([&] { p.parse(run.bytes.data()); }), row.text);
    EXPECT_EQ(run.consumed(), row.consumed);
    EXPECT_EQ(dump(p.package), row.package);
    EXPECT_EQ(tables(p), row.tables);
    EXPECT_EQ(p.jsonText.size(), kJsonSize);
    EXPECT_EQ(p.scriptText.size(), kScriptSize);
    const ExactBytes good(hex("0003 0000 0001 0000 0000 00000000 05"));
    EXPECT_EQ(dump(p.parse(good.data())), "package3{headers=0 message{'' '' len=0 null0}}");
    EXPECT_EQ(tables(p), "0/0/0/0");
  }
}

// ---- the two texts

struct Between {
  const char* name;
  std::function<void(AMFProtocol&)> act;
};
const Between kBetween[] = {
    {"nothing", [](AMFProtocol&) {}},
    {"JSON", [](AMFProtocol& p) { p.getPackageInJSON(true); }},
    {"JSON, one run", [](AMFProtocol& p) { p.getPackageInJSON(false); }},
    {"script", [](AMFProtocol& p) { p.getPackageInJS(true); }},
    {"both", [](AMFProtocol& p) { p.getPackageInJSON_and_JS(true); }},
    {"script view", [](AMFProtocol& p) { p.getPackageAsJSView(true); }},
    {"two views",
     [](AMFProtocol& p) {
       p.getPackageInJS(false);
       p.getPackageInJSON(true);
     }},
    {"a view, then the sizes put back",
     [](AMFProtocol& p) {
       p.getPackageInJS(true);
       p.jsonText.resize(kJsonSize);
       p.scriptText.resize(kScriptSize);
     }},
    {"emptied",
     [](AMFProtocol& p) {
       p.jsonText.clear();
       p.scriptText.clear();
     }},
    {"storage given back",
     [](AMFProtocol& p) {
       std::string().swap(p.jsonText);
       std::string().swap(p.scriptText);
     }},
    {"one byte shorter",
     [](AMFProtocol& p) {
       p.jsonText.pop_back();
       p.scriptText.pop_back();
     }},
    {"one byte longer",
     [](AMFProtocol& p) {
       p.jsonText += 'x';
       p.scriptText += 'x';
     }},
    {"last bytes written",
     [](AMFProtocol& p) {
       if (!p.jsonText.empty()) p.jsonText.back() = 'x';
       if (!p.scriptText.empty()) p.scriptText.back() = 'x';
     }},
    {"the JSON text changed, then a view",
     [](AMFProtocol& p) {
       p.jsonText = "x";
       p.getPackageInJS(true);
     }},
    {"the script text changed, then a view",
     [](AMFProtocol& p) {
       p.scriptText = "x";
       p.getPackageInJS(true);
     }},
    {"only the script text changed", [](AMFProtocol& p) { p.scriptText = "x"; }},
    {"only the JSON text changed", [](AMFProtocol& p) { p.jsonText = "x"; }},
    {"filled with something shorter",
     [](AMFProtocol& p) {
       p.jsonText.assign(1000, 'x');
       p.scriptText.assign(1000, 'x');
     }},
    {"filled with something longer",
     [](AMFProtocol& p) {
       p.jsonText.assign(kJsonSize + 1000, 'x');
       p.scriptText.assign(kScriptSize + 1000, 'x');
     }},
    {"brackets",
     [](AMFProtocol& p) {
       p.openBrackets('{', '}');
       p.closeBrackets();
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
     }},
    {"appendAttr, the size put back from the front",
     [](AMFProtocol& p) {
       p.appendAttr("name", "value", true);
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
     }},
    {"appendJSAttr, the size put back from the front",
     [](AMFProtocol& p) {
       p.CreatePrefix();
       p.appendJSAttr("name", "value", true);
       p.scriptText.erase(0, p.scriptText.size() - kScriptSize);
     }},
    {"appendValue, the sizes put back from the front",
     [](AMFProtocol& p) {
       p.CreatePrefix();
       p.appendValue("value", true, true);
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
       p.scriptText.erase(0, p.scriptText.size() - kScriptSize);
     }},
    {"appendNode, the sizes put back from the front",
     [](AMFProtocol& p) {
       p.CreatePrefix();
       p.appendNode(p.package, AMF_VERSION_0);
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
       p.scriptText.erase(0, p.scriptText.size() - kScriptSize);
     }},
    {"appendChild of null, the size put back from the front",
     [](AMFProtocol& p) {
       p.appendChild("name", nullptr, AMF_VERSION_0, false);
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
     }},
    {"appendChildren, the sizes put back from the front",
     [](AMFProtocol& p) {
       AMFArray none(AMF_VERSION_0);
       p.CreatePrefix();
       p.appendChildren("name", &none);
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
     }},
    {"the path added to the JSON text itself",
     [](AMFProtocol& p) {
       p.CreatePrefix();
       p.AddPrefixes(p.jsonText);
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
     }},
    {"the path added to the script text itself",
     [](AMFProtocol& p) {
       p.CreatePrefix();
       p.AddPrefixes(p.scriptText);
       p.scriptText.erase(0, p.scriptText.size() - kScriptSize);
     }},
    {"the path added to the texts themselves, NULs at both ends",
     [](AMFProtocol& p) {
       p.CreatePrefix();
       p.AddPrefixes(p.jsonText);
       p.AddPrefixes(p.scriptText);
       p.jsonText.push_back('\0');
       p.scriptText.push_back('\0');
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
       p.scriptText.erase(0, p.scriptText.size() - kScriptSize);
     }},
    {"an attribute, NULs at both ends",
     [](AMFProtocol& p) {
       p.appendAttr("name", "value", true);
       p.jsonText.push_back('\0');
       p.jsonText.erase(0, p.jsonText.size() - kJsonSize);
     }},
    {"text of exactly the initial size written by a primitive",
     [](AMFProtocol& p) {
       p.newLine = p.indent = "";
       p.jsonText.clear();
       p.appendAttr("", std::string(kJsonSize - 6, 'x'), false);
     }},
    {"a view of a packet larger than the initial size",
     [](AMFProtocol& p) {
       AMFString text(AMF_VERSION_0);
       const std::string bytes(kJsonSize, 'x');
       text.setValue(bytes.data(), static_cast<unsigned>(bytes.size()));
       p.package->getMessage(0)->setValue(&text, true);
       p.getPackageInJSON(false);
       p.getPackageInJS(false);
     }},
};

void expectBlank(const AMFProtocol& p, const std::string& what) {
  EXPECT_EQ(p.jsonText.size(), kJsonSize) << what;
  EXPECT_EQ(p.scriptText.size(), kScriptSize) << what;
  EXPECT_EQ(p.jsonText.find_first_not_of('\0'), std::string::npos) << what;
  EXPECT_EQ(p.scriptText.find_first_not_of('\0'), std::string::npos) << what;
}

const char kSmall[] = "0003 0000 0001 0001't' 0001'r' 00000000 02 0004'text'";

// The order matters too: each act is followed by a parse and by each other act.
TEST(PacketReader, TextsAreBlankAfterEveryParse) {
  const ExactBytes packet(hex(kSmall));
  AMFProtocol p;
  p.parse(packet.data());
  expectBlank(p, "the first parse");
  for (const Between& first : kBetween) {
    for (const Between& second : kBetween) {
      first.act(p);
      p.parse(packet.data());
      second.act(p);
      p.parse(packet.data());
      ASSERT_NO_FATAL_FAILURE(expectBlank(p, std::string(first.name) + ", " + second.name));
      if (HasFailure()) return;
    }
  }
}

// What a host leaves in the middle shows whether a text was filled.
void mark(AMFProtocol& p) {
  p.jsonText[1000] = 'm';
  p.scriptText[1000] = 'm';
}
std::string marks(const AMFProtocol& p) {
  return {p.jsonText[1000], p.scriptText[1000]};
}

// A thread that has had no protocol object has no texts of one.
void onFreshThread(const std::function<void()>& work) {
  std::thread(work).join();
}

TEST(PacketReader, TextsThatAreBlankAreNotFilledAgain) {
  onFreshThread([] {
    const ExactBytes packet(hex(kSmall));
    AMFProtocol p;
    p.parse(packet.data());
    mark(p);
    p.parse(packet.data());
    EXPECT_EQ(marks(p), "mm");
    for (unsigned i = 0; i < 3; ++i) {
      p.getPackageInJS(true);  // the blank ones are put aside, once there are others to write to
      p.parse(packet.data());
      EXPECT_EQ(marks(p), i == 0 ? std::string(2, '\0') : "mm");
      mark(p);
    }
  });
}

// ---- The next object of the thread

TEST(PacketReader, TextsAreBlankOnTheNextObjectOfTheThread) {
  const ExactBytes packet(hex(kSmall));
  for (const Between& last : kBetween) {
    for (const bool isParsedAgain : {false, true}) {
      {
        AMFProtocol p;
        p.parse(packet.data());
        last.act(p);
        if (isParsedAgain) p.parse(packet.data());
      }
      for (int i = 0; i < 3; ++i) {
        AMFProtocol next;
        next.parse(packet.data());
        ASSERT_NO_FATAL_FAILURE(expectBlank(next, last.name));
        if (i == 1) next.getPackageInJS(true);
      }
      if (HasFailure()) return;
    }
  }
}

// Each object parses, and is marked; the second half of them show a view first.
TEST(PacketReader, TextsAreNotFilledAgainForTheNextObjectOfTheThread) {
  onFreshThread([] {
    const ExactBytes packet(hex(kSmall));
    const std::string found = isPoolOn() ? "mm" : std::string(2, '\0');
    for (int i = 0; i < 8; ++i) {
      AMFProtocol unparsed;  // goes last, and has nothing of use to leave
      unparsed.jsonText.assign(1000, 'x');
      AMFProtocol p;
      p.parse(packet.data());
      // The first view had nothing else to write to than the texts that were blank.
      EXPECT_EQ(marks(p), i == 0 || i == 5 ? std::string(2, '\0') : found) << i;
      mark(p);
      if (i >= 4) p.getPackageInJSON(true);
    }
  });
}

TEST(PacketReader, TextsOfALargePacketAreNotKeptForTheNextObject) {
  onFreshThread([] {
    const ExactBytes packet(hex(kSmall));
    AMFString text(AMF_VERSION_0);
    const std::string bytes(4 * kJsonSize, 'x');
    text.setValue(bytes.data(), static_cast<unsigned>(bytes.size()));
    for (int i = 0; i < 4; ++i) {
      AMFProtocol p;
      p.parse(packet.data());
      if (i % 2 == 0) p.package->getMessage(0)->setValue(&text, true);
      const std::size_t size = p.getPackageInJSON(true).size();
      EXPECT_EQ(size > bytes.size(), i % 2 == 0);
      if (i % 2 == 1) {
        EXPECT_LE(p.jsonText.capacity(), 2 * kJsonSize);
      }
    }
  });
}

// What a thread keeps was made by its first object's end, so that it goes before these do.
TEST(PacketReader, ObjectsMayGoAfterTheirThreadsTexts) {
  static const ExactBytes packet(hex(kSmall));
  onFreshThread([] {
    thread_local AMFProtocol late[2];
    for (AMFProtocol& p : late) p.parse(packet.data());
    late[0].getPackageInJSON(true);
    AMFProtocol early;
    early.parse(packet.data());
    expectBlank(early, "early");
  });
}

// On whichever thread an object goes.
TEST(PacketReader, TextsAreBlankOnObjectsThatGoElsewhere) {
  const ExactBytes packet(hex(kSmall));
  for (int i = 0; i < 4; ++i) {
    auto p = std::make_unique<AMFProtocol>();
    p->parse(packet.data());
    if (i % 2 == 0) p->getPackageInJS(true);
    onFreshThread([&] {
      p.reset();
      AMFProtocol next;
      next.parse(packet.data());
      expectBlank(next, "on the other thread");
    });
  }
}

TEST(PacketReader, TextsThatAHostMadeLookBlankAreFilled) {
  const ExactBytes packet(hex(kSmall));
  AMFProtocol p;
  p.parse(packet.data());
  p.getPackageInJSON(true);
  p.jsonText.assign(kJsonSize, '\0');
  p.scriptText.assign(kScriptSize, '\0');
  mark(p);
  p.parse(packet.data());
  expectBlank(p, "parse");
}

TEST(PacketReader, TextsAreBlankAfterARefusedParse) {
  const ExactBytes good(hex(kSmall));
  const ExactBytes bad(hex("0000 0001 0000 00 00000000 04"));
  for (const Between& between : kBetween) {
    AMFProtocol p;
    p.parse(good.data());
    between.act(p);
    EXPECT_NE(refusal([&] { p.parse(bad.data()); }), support::kNoRefusal);
    expectBlank(p, between.name);
  }
}

TEST(PacketReader, TextsAreBlankOnAnObjectThatWasRenderedBeforeItsFirstParse) {
  const ExactBytes packet(hex(kSmall));
  AMFProtocol p;
  p.getPackageInJS(true);
  p.parse(packet.data());
  expectBlank(p, "a view without a package");
}

TEST(PacketReader, ViewsWriteIntoTheMemoryOfTheTexts) {
  const ExactBytes packet(hex(kSmall));
  AMFProtocol p;
  for (int round = 0; round < 3; ++round) {
    p.parse(packet.data());
    p.getPackageInJS(true);
    EXPECT_GE(p.jsonText.capacity(), kJsonSize);
    EXPECT_GE(p.scriptText.capacity(), kScriptSize);
    EXPECT_EQ(p.jsonText.rfind("\n amf = {\n", 0), 0u) << "no NUL in front of the text";
  }
}

TEST(PacketReader, OtherRendererStateIsNotTouched) {
  const ExactBytes packet(hex(kSmall));
  AMFProtocol p;
  p.scriptPreamble = "kept";
  p.temporaryCounter = 7;
  p.indent = "\t";
  p.closerStack = "}";
  p.useTemporaries = false;
  p.outputLimitReached = true;
  p.parse(packet.data());
  EXPECT_EQ(p.scriptPreamble + p.indent + p.closerStack, "kept\t}");
  EXPECT_EQ(p.temporaryCounter, 7);
  EXPECT_FALSE(p.useTemporaries);
  EXPECT_TRUE(p.outputLimitReached);
}

}  // namespace
