// SPDX-License-Identifier: Apache-2.0
//
// The views of hostile packets, run by Node: after escapeForViews the scripts assign the packet's
// values and do nothing else, and the JSON text reads back as the packet's strings; without it the
// same check sees texts break out. One Node process runs all of them, tests/guard/run_views.js.
// Exercises guard/escape_for_views.cpp.
#include <AMF2JSON.h>
#include <AMFGuard.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/command.h"
#include "support/guard_packets.h"
#include "support/random.h"
#include "support/views.h"

using support::command;
using support::hex;
using support::u16;
using support::u29;
using support::u32;

namespace {

constexpr int kShapes = 100;
constexpr int kPerShape = 100;
constexpr int kRawShapes = 5;  // shapes whose packets are shown unprepared too

// ---- Texts -------------------------------------------------------------------------------------

// The texts of one packet, given out one after another, never empty.
class Texts {
 public:
  virtual ~Texts() = default;
  std::string next() {
    given.push_back(make());
    return given.back();
  }
  std::vector<std::string> given;

 private:
  virtual std::string make() = 0;
};

// w0, w1, ...
class Words : public Texts {
  std::string make() override { return "w" + std::to_string(given.size()); }
};

class Chosen : public Texts {
 public:
  explicit Chosen(std::vector<std::string> list) : texts(std::move(list)) {}

 private:
  std::string make() override { return texts.at(given.size()); }
  std::vector<std::string> texts;
};

const char* const kPieces[] = {"5C",
                               "5C",
                               "5C",
                               "22",
                               "22",
                               "27",
                               "60",
                               "';alert(1);//'",
                               "'+alert(2),//'",
                               "');alert(3);('",
                               "'</script><script>alert(4)</script>'",
                               "'<!--'",
                               "'-->'",
                               "'/*'",
                               "'*/alert(5)/*'",
                               "'//'",
                               "0A 'alert(6)//'",
                               "0D",
                               "00",
                               "08 09 0B 0C",
                               "1B '[2J'",
                               "7F",
                               "E280A8 'alert(7)//'",
                               "E280A9 'alert(8)//'",
                               "5C 'u0022;alert(9)//'",
                               "5C 'x22'",
                               "5C 'u2028'",
                               "'C:' 5C 'new'",
                               "'${alert(10)}'",
                               "'__proto__'",
                               "'constructor'",
                               "80",
                               "C0 AF",
                               "E2 80",
                               "F0 9F",
                               "ED A0 80",
                               "FF FE",
                               "F09F9880",
                               "C3A9",
                               "EFBFBD",
                               "'word'",
                               "' '",
                               "(65)*397",
                               "(5C)*7",
                               "']]>'",
                               "'&lt;'"};

class Hostile : public Texts {
 public:
  explicit Hostile(std::uint64_t seed) : random(seed) {}

 private:
  std::string make() override {
    std::string text;
    for (unsigned remaining = 1 + random.below(5); remaining > 0; --remaining) {
      if (random.chance(100)) {
        text += random.byte();
      } else {
        text += hex(kPieces[random.below(std::size(kPieces))]);
      }
    }
    return text;
  }
  packets::Random random;
};

// ---- Packets -----------------------------------------------------------------------------------

// Packets of any shape: the seed decides about the values, `texts` about what stands in them.
class Shape {
 public:
  Shape(std::uint64_t seed, Texts& source) : random(seed), texts(source) {}

  std::string packet() {
    out = u16(0);
    const std::uint32_t headers = random.below(2);
    out += u16(headers);
    if (headers != 0) header();
    out += u16(1);
    text16();
    text16();
    out += u32(0xFFFFFFFF);
    section();
    return out;
  }

 private:
  void header() {
    text16();
    out += hex("01 FFFFFFFF");
    section();
  }
  void section() {
    strings = objects = 0;
    ended.clear();
    remaining = 6;
    value0(0);
  }

  void text16() {
    const std::string text = texts.next();
    out += u16(static_cast<std::uint32_t>(text.size())) + text;
  }
  void text32() {
    const std::string text = texts.next();
    out += u32(static_cast<std::uint32_t>(text.size())) + text;
  }
  void text29() {
    const std::string text = texts.next();
    out += u29(static_cast<std::uint32_t>(text.size()) << 1 | 1) + text;
  }
  void string3() {
    text29();
    ++strings;
  }
  void number() { out += random.chance(200) ? hex("7FF8000000000000") : hex("3FF8000000000000"); }
  unsigned members() { return 1 + random.below(2); }
  bool leaf(unsigned depth) {
    if (remaining > 0) --remaining;
    return remaining == 0 || depth > 3;
  }

  void value0(unsigned depth) {
    switch (leaf(depth) ? random.below(7) : 3 + random.below(12)) {
      case 0: out += hex("05"); break;
      case 1: out += hex("01 01"); break;
      case 2: out += hex("0B 4270000000000000 0000"); break;
      case 3:
      case 4: out += hex("02"); return text16();
      case 5: out += hex("0C"); return text32();
      case 6: out += hex("0F"); return text32();
      case 7: out += hex("00"); return number();
      case 8:
      case 9: return object0(depth);
      case 10: return array0(depth);
      default: out += hex("11"); return value3(depth);
    }
  }
  void object0(unsigned depth) {
    const bool typed = random.chance(500);
    out += typed ? hex("10") : hex("03");
    if (typed) text16();
    for (unsigned i = members(); i > 0; --i) member0(depth);
    out += hex("0000 09");
  }
  void member0(unsigned depth) {
    text16();
    value0(depth + 1);
  }
  void array0(unsigned depth) {
    const bool strict = random.chance(500);
    const unsigned count = members();
    out += (strict ? hex("0A") : hex("08")) + u32(count);
    for (unsigned i = 0; i < count; ++i) {
      if (!strict) text16();
      value0(depth + 1);
    }
  }

  void value3(unsigned depth) {
    switch (leaf(depth) ? random.below(8) : 4 + random.below(9)) {
      case 0: out += hex("01"); break;
      case 1: out += hex("04 05"); break;
      case 2: out += hex("05"); return number();
      case 3:
        out += hex("0C 05 00FF");
        ++objects;
        break;
      case 4: out += hex("06"); return string3();
      case 5: return reference3();
      case 6:
        out += hex("07");
        ++objects;
        return text29();
      case 7:
        out += hex("0B");
        ++objects;
        return text29();
      case 8:
      case 9: return array3(depth);
      default: return object3(depth);
    }
  }
  void reference3() {
    if (strings == 0) {
      out += hex("06");
      return string3();
    }
    out += hex("06") + u29(random.below(strings) << 1);
  }
  void array3(unsigned depth) {
    const unsigned dense = members();
    ++objects;
    out += hex("09") + u29(dense << 1 | 1);
    for (unsigned i = random.below(2); i > 0; --i) member3(depth);
    out += hex("01");
    for (unsigned i = 0; i < dense; ++i) value3(depth + 1);
  }
  void member3(unsigned depth) {
    string3();
    value3(depth + 1);
  }
  // A sealed member and a dynamic one; or one that has ended again, also directly after a switch.
  void object3(unsigned depth) {
    if (!ended.empty() && random.chance(400)) {
      out += hex("0A") + u29(ended[random.below(ended.size())] << 1);
      return;
    }
    const std::uint32_t index = objects++;
    out += hex("0A 1B");
    string3();
    string3();
    value3(depth + 1);
    string3();
    value3(depth + 1);
    out += hex("01");
    ended.push_back(index);
  }

  packets::Random random;
  Texts& texts;
  std::string out;
  std::vector<std::uint32_t> ended;  // objects
  std::uint32_t strings = 0, objects = 0, remaining = 0;
};

// ---- What Node is given ------------------------------------------------------------------------

class Records {
 public:
  explicit Records(const std::string& path) : out(path, std::ios::binary) {}
  void blob(const std::string& bytes) {
    for (int shift = 0; shift < 32; shift += 8)
      out.put(static_cast<char>(bytes.size() >> shift & 0xFF));
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  bool close() {
    out.close();
    return !out.fail();
  }

 private:
  std::ofstream out;
};

enum class Escaped { no, forScripts, forJSON };

struct Showing {
  Escaped escaped;
  bool temporaries, pretty;
};

void addViews(Records& records, const std::string& packet, const Showing& showing) {
  static AMFProtocol reader;  // each new one fills a megabyte
  AMFPackage* const package = parseVerified(reader, packet.data(), packet.size());
  ASSERT_NE(nullptr, package) << support::toHex(packet);
  if (showing.escaped == Escaped::forScripts) escapeForViews(package);
  if (showing.escaped == Escaped::forJSON) escapeForViews(package, AMFEscapeFor::json);
  for (const auto& view : support::kPackageViews<>) {
    AMFProtocol protocol;  // the first view decides about the paths
    protocol.useTemporaries = showing.temporaries;
    protocol.package = package->clone();
    records.blob(view.text(protocol, showing.pretty));
  }
}

void addShape(Records& records, const std::string& name, const std::string& packet, bool pretty) {
  records.blob("shape");
  records.blob(name);
  addViews(records, packet, {Escaped::forScripts, false, pretty});
}

void addPacket(Records& records, const std::string& group, const std::string& name,
               const std::string& shape, const Texts& texts, const std::string& packet,
               const Showing& showing) {
  records.blob("packet");
  records.blob(group);
  records.blob(name);
  records.blob(shape);
  records.blob(std::to_string(texts.given.size()));
  for (const std::string& text : texts.given) records.blob(text);
  addViews(records, packet, showing);
}

// ---- Known attacks -----------------------------------------------------------------------------

enum class Value { null, string, object, notANumber };  // of the message

struct Attack {
  const char* name;
  const char* target;
  const char* response;
  Value value;
  const char* member;
  const char* text;
  bool temporaries;     // where the attack needs them
  const char* view;     // the view that it breaks when nobody escapes,
  const char* layouts;  // in these layouts: "p" pretty, "c" compact,
  const char* how;      // and what must then be seen
};

const Attack kAttacks[] = {
    {"statement", "5C 22 ';alert(1);//'", "'r'", Value::null, "", "", false, "script", "pc",
     "ran 1"},
    {"statement, JSON", "5C 22 ';alert(1);//'", "'r'", Value::null, "", "", false, "json", "pc",
     "threw SyntaxError"},
    {"literal and statement", "5C 22 '+alert(1),//'", "'r'", Value::null, "", "", false, "js", "p",
     "ran 2"},
    {"literal and statement, both", "5C 22 '+alert(1),//'", "'r'", Value::null, "", "", false,
     "both", "p", "ran 2"},
    {"soft break ends the comment", "(41)*397", "5C 22 '+alert(1),//'", Value::null, "", "", false,
     "js", "c", "ran 2"},
    {"name becomes code", "'t'", "'r'", Value::object, "';alert(2)//'", "'x' 5C", false, "script",
     "pc", "ran 1"},
    {"line separator", "'t'", "'r'", Value::object, "E280A8 'alert(3)//'", "'x'", false, "script",
     "pc", "ran 1"},
    {"line separator, with literal", "'t'", "'r'", Value::object, "E280A8 'alert(3)//'", "'x'",
     false, "js", "pc", "ran 1"},
    {"end of a script element", "'t'", "'r'", Value::string, "",
     "'</script><script>alert(4)</script>'", false, "script", "pc", "a tag in the text"},
    {"long text", "'t'", "'r'", Value::string, "", "(65)*400 5C 22 ';alert(1);//'", true, "js",
     "pc", "ran 1"},
    {"long text in pieces", "'t'", "'r'", Value::string, "",
     "(61)*400 5C 'b' (63)*397 5C 'b' (64)*397 22", true, "js", "pc", "threw SyntaxError"},
    {"long text of tags", "'t'", "'r'", Value::string, "", "'<'*400", true, "js", "pc",
     "a tag in the text"},
    {"one tag where the first piece ends", "'t'", "'r'", Value::string, "", "(61)*398 '<'", true,
     "js", "pc", "a tag in the text"},
    {"the fewest tags that make pieces", "'t'", "'r'", Value::string, "", "'<'*67", true, "js",
     "pc", "a tag in the text"},
    {"backslash where the first piece ends", "'t'", "'r'", Value::string, "",
     "(61)*399 5C (62)*399", true, "js", "pc", "another value"},
    {"backslash where both pieces end", "'t'", "'r'", Value::string, "", "(61)*399 5C (62)*397 5C",
     true, "js", "pc", "threw SyntaxError"},
    {"not a number", "'t'", "'r'", Value::notANumber, "", "", false, "script", "pc",
     "threw ReferenceError"},
    {"not a number, JSON", "'t'", "'r'", Value::notANumber, "", "", false, "json", "pc",
     "threw SyntaxError"},
    {"other characters, JSON", "'C:' 5C 'new'", "'r'", Value::null, "", "", false, "json", "pc",
     "another value"},
};

std::string attackPacket(const Attack& attack, Texts& texts) {
  const auto text16 = [&texts] {
    const std::string text = texts.next();
    return u16(static_cast<std::uint32_t>(text.size())) + text;
  };
  std::string packet = hex("0000 0000 0001") + text16();
  packet += text16() + hex("FFFFFFFF");
  switch (attack.value) {
    case Value::null: return packet + hex("05");
    case Value::notANumber: return packet + hex("00 7FF8000000000000");
    case Value::string: return packet + hex("02") + text16();
    case Value::object: break;
  }
  packet += hex("03") + text16();
  packet += hex("02") + text16();
  return packet + hex("0000 09");
}

std::vector<std::string> attackTexts(const Attack& attack) {
  std::vector<std::string> texts = {hex(attack.target), hex(attack.response)};
  if (attack.value == Value::object) texts.push_back(hex(attack.member));
  if (attack.value == Value::object || attack.value == Value::string)
    texts.push_back(hex(attack.text));
  return texts;
}

std::string named(const char* name, bool pretty) {
  return std::string(name) + (pretty ? ", pretty" : ", compact");
}

void addAttack(Records& records, const Attack& attack, bool pretty) {
  const std::string name = named(attack.name, pretty);
  Words words;
  addShape(records, name, attackPacket(attack, words), pretty);
  Chosen texts(attackTexts(attack));
  const std::string packet = attackPacket(attack, texts);
  addPacket(records, "raw", name, name, texts, packet, {Escaped::no, attack.temporaries, pretty});
  addPacket(records, "escaped", name, name, texts, packet, {Escaped::forScripts, false, pretty});
  addPacket(records, "for JSON", name, name, texts, packet, {Escaped::forJSON, false, pretty});
  addPacket(records, "escaped in pieces", name, name, texts, packet,
            {Escaped::forScripts, true, pretty});
}

void addGenerated(Records& records, int shape) {
  const bool pretty = shape % 2 == 0;
  const std::string shapeName = "generated " + std::to_string(shape);
  const auto seed = static_cast<std::uint64_t>(shape);
  Words words;
  addShape(records, shapeName, Shape(seed, words).packet(), pretty);
  for (int i = 0; i < kPerShape; ++i) {
    Hostile texts(seed * kPerShape + static_cast<std::uint64_t>(i));
    const std::string packet = Shape(seed, texts).packet();
    const std::string name = shapeName + "." + std::to_string(i);
    addPacket(records, "generated", name, shapeName, texts, packet,
              {Escaped::forScripts, false, pretty});
    if (shape >= kRawShapes) continue;
    addPacket(records, "for JSON", name, shapeName, texts, packet,
              {Escaped::forJSON, false, pretty});
    addPacket(records, "generated raw", name, shapeName, texts, packet,
              {Escaped::no, false, pretty});
    addPacket(records, "generated in pieces", name, shapeName, texts, packet,
              {Escaped::forScripts, true, pretty});
  }
}

// ---- What Node says ----------------------------------------------------------------------------

struct Verdict {
  std::string name, view, text;
};
using Verdicts = std::map<std::string, std::vector<Verdict>>;  // by group

Verdicts parsed(const std::string& output) {
  Verdicts verdicts;
  for (std::size_t at = 0; at < output.size();) {
    const std::size_t end = output.find('\n', at);
    std::vector<std::string> fields(1);
    for (const char c : output.substr(at, end - at)) {
      if (c == '\t') {
        fields.emplace_back();
      } else {
        fields.back() += c;
      }
    }
    if (fields.size() == 4) verdicts[fields[0]].push_back({fields[1], fields[2], fields[3]});
    at = end + 1;
  }
  return verdicts;
}

class EscapeNode : public testing::Test {
 protected:
  // All packets are run once, for all tests.
  static void SetUpTestSuite() {
    std::string version;
    hasNode = command("node --version 2>/dev/null", version);
    if (!hasNode) return;
    const std::string path = testing::TempDir() + "escape_node_test." + std::to_string(getpid());
    Records records(path);
    for (const Attack& attack : kAttacks) {
      for (const bool pretty : {true, false}) addAttack(records, attack, pretty);
    }
    for (int shape = 0; shape < kShapes; ++shape) addGenerated(records, shape);
    ASSERT_TRUE(records.close());
    std::string output;
    const bool done =
        command("node '" AMF2JSON_SOURCES "/tests/guard/run_views.js' '" + path + "'", output);
    std::remove(path.c_str());
    ASSERT_TRUE(done);
    verdicts = parsed(output);
  }
  void SetUp() override {
    if (!hasNode) GTEST_SKIP() << "needs node (Debian: nodejs), which was not found";
  }

  static std::string verdict(const std::string& group, const std::string& name,
                             const std::string& view) {
    for (const Verdict& one : verdicts[group]) {
      if (one.name == name && one.view == view) return one.text;
    }
    return "none";
  }
  static std::size_t notOk(const std::string& group) {
    std::size_t count = 0;
    for (const Verdict& one : verdicts[group]) {
      if (one.text == "ok") continue;
      if (++count <= 20)
        std::printf("%s, %s: %s\n", one.name.c_str(), one.view.c_str(), one.text.c_str());
    }
    return count;
  }

  static bool hasNode;
  static Verdicts verdicts;
};

bool EscapeNode::hasNode = false;
Verdicts EscapeNode::verdicts;

TEST_F(EscapeNode, KnownAttacksBreakOutOfViewsThatNobodyPrepared) {
  for (const Attack& attack : kAttacks) {
    for (const char layout : std::string(attack.layouts)) {
      const std::string name = named(attack.name, layout == 'p');
      SCOPED_TRACE(name);
      const std::string seen = verdict("raw", name, attack.view);
      EXPECT_NE(std::string::npos, seen.find(attack.how)) << seen;
    }
  }
}

TEST_F(EscapeNode, KnownAttacksStayInertInPreparedViews) {
  EXPECT_EQ(std::size(kAttacks) * 2 * std::size(support::kPackageViews<>),
            verdicts["escaped"].size());
  EXPECT_EQ(0u, notOk("escaped"));
}

struct Pieces {
  const char* attack;
  const char* seen;
};

const Pieces kPreparedInPieces[] = {
    {"long text", "ok"},
    {"long text in pieces", "ok"},
    {"long text of tags", "threw SyntaxError, another value"},
    {"one tag where the first piece ends", "threw SyntaxError, another value"},
    {"the fewest tags that make pieces", "threw SyntaxError, another value"},
    {"backslash where the first piece ends", "another value"},
    {"backslash where both pieces end", "threw SyntaxError, another value"},
};

// Why temporaries have to be off: the pieces of a long text are cut inside an escape, which ends
// the whole script, and bytes at its end get lost. Nothing gets out of its quotes all the same.
TEST_F(EscapeNode, TemporariesBreakPreparedViews) {
  for (const Pieces& row : kPreparedInPieces) {
    for (const bool pretty : {true, false}) {
      const std::string name = named(row.attack, pretty);
      SCOPED_TRACE(name);
      EXPECT_EQ("ok", verdict("escaped", name, "js"));
      EXPECT_EQ(row.seen, verdict("escaped in pieces", name, "js"));
    }
  }
  std::size_t broken = 0;
  for (const char* const group : {"escaped in pieces", "generated in pieces"}) {
    EXPECT_FALSE(verdicts[group].empty());
    for (const Verdict& one : verdicts[group]) {
      EXPECT_EQ(std::string::npos, one.text.find("ran")) << one.name << ": " << one.text;
      EXPECT_EQ(std::string::npos, one.text.find("tag")) << one.name << ": " << one.text;
      if (one.text != "ok") ++broken;
    }
  }
  EXPECT_GT(broken, 20u);
}

// Its other views are no scripts for a page, and most say so here.
TEST_F(EscapeNode, TheJSONViewReadsBackWhenPreparedForItAlone) {
  std::size_t seen = 0, unfit = 0;
  for (const Verdict& one : verdicts["for JSON"]) {
    if (one.view != "json") {
      unfit += one.text == "not fit for every page" ? 1 : 0;
      continue;
    }
    ++seen;
    EXPECT_EQ("ok", one.text) << one.name;
  }
  EXPECT_EQ(std::size(kAttacks) * 2 + std::size_t{kRawShapes} * kPerShape, seen);
  EXPECT_GT(unfit, seen);
}

TEST_F(EscapeNode, GeneratedPacketsStayInertInPreparedViews) {
  EXPECT_EQ(std::size_t{kShapes} * kPerShape * std::size(support::kPackageViews<>),
            verdicts["generated"].size());
  EXPECT_EQ(0u, notOk("generated"));
}

// The same packets as above: most would break every view.
TEST_F(EscapeNode, GeneratedPacketsBreakOutOfViewsThatNobodyPrepared) {
  constexpr std::size_t kAll =
      std::size_t{kRawShapes} * kPerShape * std::size(support::kPackageViews<>);
  std::size_t broken = 0, ran = 0;
  for (const Verdict& one : verdicts["generated raw"]) {
    if (one.text != "ok") ++broken;
    if (one.text.find("ran") != std::string::npos) ++ran;
  }
  EXPECT_EQ(kAll, verdicts["generated raw"].size());
  EXPECT_GT(broken, kAll * 9 / 10);
  EXPECT_GT(ran, kAll / 50);
}

}  // namespace
