// SPDX-License-Identifier: Apache-2.0
//
// The library against the plain renderer: random trees, random sequences of views, of primitives
// and of host edits on one pair of objects; every text and every public field must agree after
// every call. AMF2JSON_RENDER_CASES sets the number of cases, AMF2JSON_RENDER_SEED the seed.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <memory>
#include <random>
#include <string>

#include "support/plain_renderer.h"
#include "support/trees.h"
#include "support/views.h"

namespace {

using namespace std::string_literals;
using namespace support;
using namespace trees;

std::uint64_t setting(const char* name, std::uint64_t otherwise) {
  const char* const text = std::getenv(name);
  return text && *text ? std::strtoull(text, nullptr, 10) : otherwise;
}

// ---- Random trees

class Trees {
 public:
  explicit Trees(std::uint64_t seed) : random(seed) {}

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }
  bool oneIn(std::uint32_t count) { return below(count) == 0; }

  AMFPackage* package() {
    remaining = oneIn(40) ? 3000 : static_cast<int>(below(60));
    longStrings = oneIn(60);
    auto node = std::make_unique<AMFPackage>(oneIn(4) ? k3 : k0);
    if (oneIn(20)) node->version = static_cast<AMFVersion>(below(70000));
    for (std::uint32_t i = below(3); i > 0; --i) node->appendHeader(someHeader(), false);
    for (std::uint32_t i = below(5); i > 0; --i) node->appendMessage(someMessage(), false);
    while (remaining > 0 && !oneIn(20)) node->appendMessage(someMessage(), false);
    if (oneIn(30)) node->children.push_back(nullptr);
    decorate(node.get(), 60);
    return node.release();
  }

  AMFNode* value(int depth) {
    --remaining;
    AMFNode* node = plainValue(depth);
    decorate(node, 12);
    return node;
  }

  std::string bytes() {
    if (longStrings && oneIn(3)) return run(20000 + below(120000));
    switch (below(24)) {
      case 0: return "";
      case 1: return run(395 + below(12));
      case 2: return run(795 + below(12));
      case 3: return run(400 + below(1300));
      case 4: return run(below(400));
      case 5: return std::string(390 + below(500), "\\\"x"[below(3)]);
      default: return run(below(12));
    }
  }

  std::string name() {
    if (oneIn(60)) return run(985 + below(30));
    return oneIn(3) ? run(below(6)) : std::string(1, static_cast<char>('a' + below(26)));
  }

 private:
  // Some texts are of all bytes, some of those that matter, some of one byte.
  std::string run(std::uint32_t length) {
    static const char kSpecial[] = "\\\\\\\"\"/\b\f\n\r\t\0ab\xC3\xA9\x7F\x1F*,";
    std::string result;
    const std::uint32_t kind = below(5);
    const std::uint32_t rare = 5 + below(100);
    for (std::uint32_t i = 0; i < length; ++i) {
      char c = 'x';
      if (kind == 0) c = static_cast<char>(below(256));
      if (kind == 1) c = kSpecial[below(sizeof kSpecial - 1)];
      if (kind == 2 && oneIn(rare)) c = kSpecial[below(sizeof kSpecial - 1)];
      if (kind == 3 && (i % 400 < 3 || i % 400 > 396) && !oneIn(3)) c = '\\';
      result += c;
    }
    return result;
  }

  AMFVersion version() { return oneIn(2) ? k0 : k3; }

  template <class Node>
  void decorate(Node* node, std::uint32_t rarity) {
    if (oneIn(rarity)) node->referenceIndex = oneIn(3) ? 0xFFFFFFFEu - below(3) : below(300);
    if (oneIn(50)) node->complete = true;
  }

  AMFString* someString() {
    AMFString* node = string(version(), oneIn(2) ? bytes() : name());
    decorate(node, 25);
    return node;
  }

  double someNumber() {
    switch (below(9)) {
      case 0: return static_cast<double>(below(1000));
      case 1: return -static_cast<double>(below(100000)) / 1000.0;
      case 2: {
        const std::uint64_t pattern = random();
        double result;
        std::memcpy(&result, &pattern, sizeof result);
        return result;
      }
      case 3: return std::numeric_limits<double>::quiet_NaN();
      case 4: return oneIn(2) ? HUGE_VAL : -HUGE_VAL;
      case 5: return static_cast<double>(random() >> 20);
      case 6: return (static_cast<double>(below(100000)) + 0.5) / 64.0;
      case 7: return static_cast<double>(static_cast<std::int64_t>(random()) >> (10 + below(40)));
      default: return -0.0;
    }
  }

  AMFNode* plainValue(int depth) {
    const bool leaf = depth <= 0 || remaining <= 0;
    switch (below(leaf ? 11 : 17)) {
      case 0: return null(version());
      case 1: return boolean(version(), oneIn(2));
      case 2:
        return integer(version(),
                       oneIn(4) ? 0xFFFFFFFFu - below(5) : static_cast<std::uint32_t>(random()));
      case 3: return number(version(), someNumber());
      case 4:
      case 5:
      case 6: return someString();
      case 7: return date(version(), someNumber());
      case 8: return xml(version(), bytes(), below(3));
      case 9: return raw(version(), bytes());
      case 10:
        return oneIn(3) ? unknown(version(), oneIn(2) ? 15 + below(100) : 0xFFFFFFFFu - below(9))
                        : undefined(version());
      case 11:
      case 12:
      case 13: return someObject(depth);
      case 14: return oneIn(6) ? static_cast<AMFNode*>(somePair(depth)) : someArray(depth);
      default: return someArray(depth);
    }
  }

  AMFPair* somePair(int depth) {
    AMFString* key = oneIn(40) ? nullptr : string(version(), name());
    if (key) decorate(key, 25);
    AMFPair* node = member(version(), key, oneIn(40) ? nullptr : value(depth - 1));
    decorate(node, 60);
    return node;
  }

  AMFObject* someObject(int depth) {
    AMFObject* node = object(version(), oneIn(2) ? std::string() : name(), {});
    if (oneIn(10)) node->setClassName(someString(), false);
    if (oneIn(40)) classless(node);
    node->sealedCount = oneIn(10) ? 0xFFFFFFFFu : below(5);
    if (oneIn(3)) node->traitsIndex = below(4000000000u);
    node->dynamic = oneIn(2);
    node->externalizable = oneIn(4);
    for (std::uint32_t i = below(5); i > 0; --i) {
      if (oneIn(50))
        node->children.push_back(nullptr);
      else
        node->appendChild(somePair(depth - 1), false);
    }
    return node;
  }

  AMFArray* someArray(int depth) {
    AMFArray* node = array(version(), {}, below(3));
    for (std::uint32_t i = below(oneIn(10) ? 30 : 5); i > 0; --i) {
      if (oneIn(50))
        node->children.push_back(nullptr);
      else if (oneIn(5))
        node->appendChild(somePair(depth - 1), false);
      else
        node->AMFNode::appendChild(value(depth - 1), false);
    }
    if (oneIn(10)) node->denseCount = 0xFFFFFFFFu - below(3);
    return node;
  }

  AMFHeader* someHeader() {
    AMFHeader* node = header(name(), oneIn(30) ? nullptr : value(4), oneIn(2),
                             oneIn(2) ? 0xFFFFFFFFu : static_cast<std::uint32_t>(random()));
    if (oneIn(30)) put(node->name, static_cast<AMFString*>(nullptr));
    if (oneIn(20)) node->version = k3;
    decorate(node, 60);
    return node;
  }

  AMFMessage* someMessage() {
    AMFMessage* node = message(name(), bytes(), value(6),
                               oneIn(2) ? 0xFFFFFFFFu : static_cast<std::uint32_t>(random()));
    if (oneIn(30)) put(node->targetUri, static_cast<AMFString*>(nullptr));
    if (oneIn(30)) put(node->value, static_cast<AMFNode*>(nullptr));
    if (oneIn(10)) node->setResponseUri(someString(), false);
    if (oneIn(20)) node->version = k3;
    decorate(node, 60);
    return node;
  }

  std::mt19937_64 random;
  int remaining = 0;  // nodes still wished for
  bool longStrings = false;
};

// ---- One pair of renderers

struct Both {
  AMFProtocol library;
  PlainRenderer plain;

  void show(AMFPackage* next) {
    delete library.package;
    library.package = next;
    plain.package = next;
  }

  // The two returned texts, then all fields.
  std::string compareView(int which, bool pretty) {
    const std::string* const expected = &view(plain, which, pretty);
    const std::string* const found = &view(library, which, pretty);
    std::string result = firstDifference(*expected, *found);
    const std::string* const expectedHome = expected == &plain.scriptText ? &library.scriptText
                                            : expected == &plain.scriptPreamble
                                                ? &library.scriptPreamble
                                                : &library.jsonText;
    if (found != expectedHome) result += "returned another buffer\n";
    return result + stateDifference(plain, library);
  }

  template <class Action>
  void each(Action action) {
    action(plain);
    action(library);
  }
};

// ---- Views

TEST(RenderPlain, RandomTreesAndViews) {
  const std::uint64_t cases = setting("AMF2JSON_RENDER_CASES", 3000);
  const std::uint64_t seed = setting("AMF2JSON_RENDER_SEED", 20240229);
  std::cout << "seed " << seed << ", " << cases << " cases\n";
  const std::string empty("\0\0\0\0\0\0", 6);
  std::size_t bytes = 0;
  int limits = 0;
  int preambles = 0;
  int leftClosers = 0;
  for (std::uint64_t i = 0; i < cases; ++i) {
    Trees trees(seed + i);
    Both both;
    for (std::uint32_t round = 1 + trees.below(3); round > 0; --round) {
      if (trees.oneIn(40)) {
        both.library.parse(empty.data());
        both.plain.package = both.library.package;
        both.plain.jsonText.assign(716800, '\0');
        both.plain.scriptText.assign(358400, '\0');
        ASSERT_EQ(stateDifference(both.plain, both.library), "") << "case " << i << " parse";
      } else if (!trees.oneIn(50)) {
        both.show(trees.package());
      } else {
        both.show(nullptr);
      }
      for (std::uint32_t views = 1 + trees.below(4); views > 0; --views) {
        const int which = static_cast<int>(trees.below(4));
        const bool pretty = trees.oneIn(2);
        const std::string difference = both.compareView(which, pretty);
        ASSERT_EQ(difference, "") << "seed " << seed << ", case " << i << ", "
                                  << kPackageViews<>[which].name << (pretty ? "(true)" : "(false)");
        bytes += both.plain.jsonText.size() + both.plain.scriptText.size();
        preambles += !both.plain.scriptPreamble.empty();
      }
      if (trees.oneIn(4)) both.each([](auto& r) { r.useTemporaries = true; });
      if (trees.oneIn(4)) both.each([](auto& r) { r.closerStack.clear(); });
      if (trees.oneIn(20)) both.each([](auto& r) { r.RemoveOnePrefix(); });
      if (trees.oneIn(20)) both.each([](auto& r) { r.temporaryCounter = 998; });
    }
    limits += both.plain.outputLimitReached;
    leftClosers += !both.plain.closerStack.empty();
  }
  std::cout << bytes << " bytes compared, " << limits << " limits reached, " << preambles
            << " preambles, " << leftClosers << " closers left\n";
  if (cases < 3000) return;
  EXPECT_GT(limits, 0);
  EXPECT_GT(preambles, 100);
  EXPECT_GT(leftClosers, 100);
}

// ---- Primitives

// One random call, or one change of a field that a host may make. Misuse is left out.
std::string randomStep(Trees& trees, Both& both) {
  PlainRenderer& plain = both.plain;
  const bool flag = trees.oneIn(2);
  const bool other = trees.oneIn(2);
  const std::string name = trees.name();
  const std::string bytes = trees.bytes();
  const std::uint32_t number = trees.below(1000);
  const bool hasRoot = plain.prefixTop != nullptr;
  switch (trees.below(24)) {
    case 0:
      both.each([&](auto& r) { r.openBrackets(flag ? '{' : '[', flag ? '}' : ']'); });
      return "openBrackets";
    case 1:
    case 2:
      if (plain.closerStack.empty() || plain.jsonText.size() <= plain.newLine.size()) return "";
      both.each([](auto& r) { r.closeBrackets(); });
      return "closeBrackets";
    case 3: both.each([](auto& r) { r.CreatePrefix(); }); return "CreatePrefix";
    case 4:
    case 5:
      if (!hasRoot) return "";
      both.each([&](auto& r) { r.AddOnePrefix(name); });
      return "AddOnePrefix";
    case 6:
    case 7: both.each([](auto& r) { r.RemoveOnePrefix(); }); return "RemoveOnePrefix";
    case 8: both.each([&](auto& r) { r.appendAttr(name, bytes, flag); }); return "appendAttr";
    case 9: both.each([&](auto& r) { r.appendJSAttr(name, bytes, flag); }); return "appendJSAttr";
    case 10:
    case 11:
      if (plain.jsonText.size() < plain.newLine.size()) return "";
      both.each([&](auto& r) { r.appendValue(bytes, flag, other); });
      return "appendValue";
    case 12: {
      if (!hasRoot || plain.jsonText.size() <= plain.newLine.size()) return "";
      const std::unique_ptr<AMFNode> node(trees.value(3));
      both.each([&](auto& r) { r.appendNode(node.get(), flag ? k3 : k0); });
      return "appendNode";
    }
    case 13: {
      if (!hasRoot || plain.jsonText.size() <= plain.newLine.size()) return "";
      const std::unique_ptr<AMFNode> node(trees.oneIn(5) ? nullptr : trees.value(3));
      both.each([&](auto& r) { r.appendChild(name, node.get(), flag ? k3 : k0, other); });
      return "appendChild";
    }
    case 14: {
      if (!hasRoot) return "";
      const std::unique_ptr<AMFNode> node(trees.oneIn(5) ? nullptr : trees.value(3));
      both.each([&](auto& r) { r.appendChildren(name, node.get()); });
      return "appendChildren";
    }
    case 15:
      both.each([&](auto& r) { (flag ? r.nextPrefixBare : r.noRootPrefix) = other; });
      return "a prefix flag";
    case 16:
      both.each([&](auto& r) { (flag ? r.valueInline : r.scriptStatementStart) = other; });
      return "a statement flag";
    case 17:
      both.each([&](auto& r) { (flag ? r.jsonOnly : r.jsonAndScript) = other; });
      return "a mode flag";
    case 18:
      both.each([&](auto& r) { (flag ? r.useTemporaries : r.trackDepth) = other; });
      return "a mode flag";
    case 19:
      both.each([&](auto& r) {
        if (flag)
          r.lineBreakCount = static_cast<std::int32_t>(number) - 200;
        else
          r.childDepth = static_cast<std::int32_t>(number % 3) - 1;
      });
      return "a counter";
    case 20:
      both.each([&](auto& r) {
        r.newLine = flag ? (other ? "\r\n" : "\n") : "";
        r.indentUnit = flag ? (other ? "   " : "\t") : "";
      });
      return "the layout";
    case 21:
      both.each([&](auto& r) { (flag ? r.jsonText : r.scriptText) += bytes; });
      return "text of the host";
    case 22:
      if (!trees.oneIn(4)) return "";
      both.each([&](auto& r) {
        r.outputLimitReached = false;
        r.jsonText = "?\r\n";
        r.scriptText.clear();
        r.scriptPreamble.clear();
        if (flag) r.closerStack.clear();
        r.indent = other ? "\t\t" : "";
        r.scriptNewLine = other ? "\n" : "\r\n";
      });
      return "a fresh start";
    default: {
      if (!trees.oneIn(3)) return "";
      if (trees.oneIn(2)) both.show(trees.package());
      const int which = static_cast<int>(number % 4);
      const std::string difference = both.compareView(which, flag);
      return difference.empty() ? kPackageViews<>[which].name
                                : kPackageViews<>[which].name + ("\n" + difference);
    }
  }
}

TEST(RenderPlain, RandomPrimitives) {
  const std::uint64_t cases = setting("AMF2JSON_RENDER_CASES", 3000) / 5;
  const std::uint64_t seed = setting("AMF2JSON_RENDER_SEED", 20240229) * 31;
  for (std::uint64_t i = 0; i < cases; ++i) {
    Trees trees(seed + i);
    Both both;
    std::string history;
    for (int step = 0; step < 60; ++step) {
      const std::string what = randomStep(trees, both);
      if (what.empty()) continue;
      history += what + ", ";
      ASSERT_EQ(stateDifference(both.plain, both.library), "")
          << "seed " << seed << ", case " << i << ", " << history;
      ASSERT_EQ(what.find('\n'), std::string::npos) << what << "\ncase " << i << ", " << history;
    }
  }
}

// A host's indentation without a unit: a level in adds nothing, a level out takes one character.
TEST(RenderPlain, IndentationWithoutUnit) {
  Both both;
  both.each([](auto& r) {
    r.jsonOnly = true;
    r.newLine = "\n";
    r.indentUnit = "";
    r.indent = "          ";
    r.CreatePrefix();
    r.openBrackets('{', '}');
  });
  std::unique_ptr<AMFObject> node(object(k0, "", {}));
  for (const char* const name : {"a", "b", "c"}) {
    node->appendChild(member(k0, name, number(k0, 1)), false);
  }
  both.each([&](auto& r) { r.appendNode(node.get(), k0); });
  EXPECT_EQ(stateDifference(both.plain, both.library), "");
}

TEST(RenderPlain, FormatString) {
  const std::uint64_t cases = setting("AMF2JSON_RENDER_CASES", 3000);
  Trees trees(setting("AMF2JSON_RENDER_SEED", 20240229));
  for (std::uint64_t i = 0; i < cases; ++i) {
    std::string text = trees.bytes();
    const std::string given = text;
    const bool drop = trees.oneIn(2);
    ASSERT_EQ(firstDifference(plainFormatString(given, drop), formatString(text, drop)), "");
    ASSERT_EQ(text, given);
  }
}

// The text passes its limit at one place after another in a list of short pairs.
TEST(RenderPlain, TheLimitInsideShortPairs) {
  const std::unique_ptr<AMFNode> node(object(
      k0, "", {member(k0, "a", null(k0)), member(k0, "b", null(k0)), member(k0, "c", null(k0))}));
  int reached = 0;
  for (std::size_t length = 498500; length < 500100; length += 4) {
    Both both;
    both.each([&](auto& r) {
      r.jsonOnly = true;
      r.jsonText.assign(length, 'j');
      r.lineBreakCount = -1;
      r.appendNode(node.get(), k0);
    });
    ASSERT_EQ(stateDifference(both.plain, both.library), "") << length;
    reached += both.plain.outputLimitReached;
  }
  EXPECT_GT(reached, 0);
  EXPECT_LT(reached, 400);
}

}  // namespace
