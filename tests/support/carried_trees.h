// SPDX-License-Identifier: Apache-2.0
//
// Random trees that the dialect encodes and decodes without loss. Built through public constructors
// and setters; the generator numbers references as a reader does. These trees are:
//
// - package: any 16-bit version; headers, then messages, of version 0; any stored length; names
//   and URIs of version 0, up to 65535 bytes, without references;
// - AMF0: null, undefined, bool, double, string of any length, date, XML with `document` 1, object
//   with members, strict array of values, associative array of pairs. No integers, no byte arrays.
//   Pairs and names are of version 0. `denseCount` is that of the strict elements. A reference is a
//   copy of an object or array that ended before it in the same header or message, counted as they
//   end, below 65536;
// - AMF3, anywhere a value may stand: undefined, null, bool, double; integers up to 1FFFFF, and
//   from 400000 to 1FFFFFFF when their low byte is below 80; strings, XML (`document` 0 or 1) and
//   byte arrays below 1 MiB; dates; arrays with their pairs in front of their values; objects with
//   sealed and, if `dynamic`, dynamic members; externalizable objects of the eight classes with one
//   unnamed pair. Everything inside is AMF3. Names of pairs are not empty, save those of sealed
//   members. A reference is a copy of an equal kind that began before it (arrays and objects: that
//   ended), a string reference one of a string that is not empty, a traits reference takes class
//   name, flags, count and names from its entry;
// - `complete` is true on AMF3 arrays and objects and false elsewhere.
#ifndef TESTS_SUPPORT_CARRIED_TREES_H
#define TESTS_SUPPORT_CARRIED_TREES_H

#include <AMF2JSON.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/random.h"
#include "support/trees.h"

namespace trees {

class CarriedTrees {
 public:
  explicit CarriedTrees(std::uint64_t seed) : random(seed) {}

  std::unique_ptr<AMFPackage> next() {
    auto tree = std::make_unique<AMFPackage>(versionOf(random.below(0x10000)));
    for (unsigned remaining = random.below(3); remaining > 0; --remaining) {
      tree->appendHeader(nextHeader(), false);
    }
    for (unsigned remaining = random.below(3); remaining > 0; --remaining) {
      tree->appendMessage(nextMessage(), false);
    }
    return tree;
  }

  std::uint64_t references = 0;  // written so far, of all kinds
  std::uint64_t traits = 0;
  std::uint64_t nodes = 0;

 private:
  static constexpr unsigned kMaxDepth = 6;

  AMFHeader* nextHeader() {
    begin();
    AMFHeader* const node = header(bytes(), value0(0), random.chance(500), length());
    return node;
  }

  AMFMessage* nextMessage() {
    begin();
    const std::string target = bytes();
    return message(target, bytes(), value0(0), length());
  }

  void begin() {
    ended0.clear();
    strings.clear();
    begun3.clear();
    traits3.clear();
    budget = 24;
  }

  std::uint32_t length() {
    return random.chance(500) ? 0xFFFFFFFFu : static_cast<std::uint32_t>(random.next());
  }

  std::string bytes() {
    static const std::size_t kSteps[] = {63, 64, 127, 128, 300};
    std::size_t count = random.below(6);
    if (random.chance(20)) count = kSteps[random.below(5)];
    if (random.chance(2)) count = 8191 + random.below(2);
    std::string text(count, '\0');
    for (char& c : text)
      c = random.chance(900) ? static_cast<char>('a' + random.below(4)) : random.byte();
    return text;
  }

  std::string longBytes() {
    return random.chance(5) ? std::string(65535 + random.below(2), 'l') : bytes();
  }

  double real() {
    if (random.chance(500)) return random.below(1000) / 8.0;
    const std::uint64_t bits = random.next();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

  bool leaf(unsigned depth) {
    ++nodes;
    if (budget > 0) --budget;
    return budget == 0 || depth >= kMaxDepth;
  }

  // The leaf kinds are those below `leaves`. Near the root most values are arrays and objects.
  std::uint32_t kindBelow(std::uint32_t leaves, std::uint32_t all, unsigned depth) {
    if (leaf(depth)) return random.below(leaves);
    if (depth < 2 && random.chance(600)) return leaves + random.below(all - leaves);
    return random.below(all);
  }

  // A reference is written into every fourth place where there is something to refer to.
  template <class Table>
  bool refers(const Table& table) {
    return !table.empty() && random.chance(250);
  }

  // ---- AMF0

  AMFNode* value0(unsigned depth) {
    if (random.chance(250)) return value3(depth);
    if (refers(ended0)) {
      const std::uint32_t index = random.below(ended0.size());
      ++references;
      return reference(ended0[index]->clone(), index);
    }
    switch (kindBelow(7, 11, depth)) {
      case 0: return null(k0);
      case 1: return undefined(k0);
      case 2: return boolean(k0, random.chance(500));
      case 3: return number(k0, real());
      case 4: return string(k0, longBytes());
      case 5: return date(k0, real());
      case 6: return xml(k0, longBytes(), 1);
      case 7: return array0(depth, 1);
      case 8: return array0(depth, 0);
      default: return object0(depth);
    }
  }

  AMFPair* pair0(unsigned depth) {
    const std::string name = bytes();
    return member(k0, name, value0(depth + 1));
  }

  AMFNode* array0(unsigned depth, std::uint32_t strict) {
    AMFArray* const node = array(k0, {}, strict);
    for (unsigned remaining = random.below(5); remaining > 0; --remaining) {
      node->appendChild(strict != 0 ? value0(depth + 1) : pair0(depth), false);
    }
    ended0.push_back(node);
    return node;
  }

  AMFNode* object0(unsigned depth) {
    AMFObject* const node = object(k0, random.chance(300) ? bytes() : std::string(), {});
    for (unsigned remaining = random.below(5); remaining > 0; --remaining)
      node->appendChild(pair0(depth), false);
    ended0.push_back(node);
    return node;
  }

  // ---- AMF3

  AMFNode* value3(unsigned depth) {
    if (refers(begun3)) {
      const std::uint32_t index = random.below(begun3.size());
      const AMFNode* const entry = begun3[index];
      const bool composite =
          entry->type == AMFNode::AMF_ARRAY || entry->type == AMFNode::AMF_OBJECT;
      if (!composite || entry->complete) {
        ++references;
        return reference(entry->clone(), index);
      }
    }
    switch (kindBelow(9, 14, depth)) {
      case 0: return undefined(k3);
      case 1: return null(k3);
      case 2: return boolean(k3, random.chance(500));
      case 3: return integer(k3, carriedInteger());
      case 4: return number(k3, real());
      case 5: return string3(longBytes());
      case 6: return begun(xml(k3, longBytes(), random.below(2)));
      case 7: return begun(date(k3, real()));
      case 8: return begun(raw(k3, longBytes()));
      case 9:
      case 10: return array3(depth);
      case 11: return externalizable3(depth);
      default: return object3(depth);
    }
  }

  template <class Node>
  Node* begun(Node* node) {
    begun3.push_back(node);
    return node;
  }

  std::uint32_t carriedInteger() {
    const std::uint32_t small =
        static_cast<std::uint32_t>(random.next()) >> (11 + random.below(21));
    if (random.chance(700)) return small;
    return (0x400000 + random.below(0x1FC00000)) & 0x1FFFFF7F;
  }

  AMFString* string3(const std::string& text) {
    if (refers(strings)) {
      const std::uint32_t index = random.below(strings.size());
      ++references;
      return reference(strings[index]->clone(), index);
    }
    AMFString* const node = string(k3, text);
    if (!text.empty()) strings.push_back(node);
    return node;
  }

  AMFString* name3() { return string3("n" + bytes()); }

  // The name is there before the value, as on the wire.
  AMFPair* pair3(unsigned depth) {
    auto* const pair = new AMFPair(k3);
    pair->setName(name3(), false);
    pair->setValue(value3(depth + 1), false);
    return pair;
  }

  AMFNode* array3(unsigned depth) {
    AMFArray* const node = begun(array(k3, {}));
    for (unsigned remaining = random.below(3); remaining > 0; --remaining)
      node->appendChild(pair3(depth), false);
    for (unsigned remaining = random.below(5); remaining > 0; --remaining) {
      node->appendChild(value3(depth + 1), false);
    }
    return complete(node);
  }

  AMFNode* externalizable3(unsigned depth) {
    static const char* const kClasses[] = {cArrayClass, cObjProxyClass,   cSerialProxy,
                                           cAsyncMsg,   cCommandMsg,      cDataMsg,
                                           cPagedMsg,   cUpdateCollectMsg};
    AMFObject* const node = begun(object(k3, "", {}, externalizable()));
    const std::string name = kClasses[random.below(8)];
    AMFString* text = nullptr;
    for (std::uint32_t i = 0; i < strings.size() && text == nullptr; ++i) {
      if (std::string(strings[i]->data, strings[i]->length) == name) {
        text = reference(strings[i]->clone(), i);
        ++references;
      }
    }
    if (text == nullptr) strings.push_back(text = string(k3, name));
    node->setClassName(text, false);
    traits3.push_back(node);
    node->appendChild(member(k3, "", value3(depth + 1)), false);
    return complete(node);
  }

  AMFNode* object3(unsigned depth) {
    AMFObject* const node = new AMFObject(k3);
    if (refers(traits3)) {
      takeTraits(node);
      begun(node);
    } else {
      begun(node);
      makeTraits(node);
    }
    for (std::uint32_t i = 0; i < node->sealedCount; ++i) {
      static_cast<AMFPair*>(node->getChild(i))->setValue(value3(depth + 1), false);
    }
    for (unsigned remaining = node->dynamic ? random.below(3) : 0; remaining > 0; --remaining) {
      node->appendChild(pair3(depth), false);
    }
    return complete(node);
  }

  void makeTraits(AMFObject* node) {
    node->dynamic = random.chance(500);
    node->sealedCount = random.below(random.chance(50) ? 12 : 3);
    node->setClassName(string3(random.chance(500) ? bytes() : std::string()), false);
    for (std::uint32_t i = 0; i < node->sealedCount; ++i) {
      auto* const pair = new AMFPair(k3);
      pair->setName(string3(bytes()), false);
      node->appendChild(pair, false);
    }
    traits3.push_back(node);
  }

  void takeTraits(AMFObject* node) {
    node->traitsIndex = random.below(traits3.size());
    ++traits;
    const AMFObject* const entry = traits3[node->traitsIndex];
    node->setClassName(entry->className, true);
    node->dynamic = entry->dynamic;
    node->sealedCount = entry->sealedCount;
    for (std::uint32_t i = 0; i < node->sealedCount; ++i) {
      auto* const pair = new AMFPair(k3);
      pair->setName(static_cast<AMFPair*>(entry->getChild(i))->name, true);
      node->appendChild(pair, false);
    }
  }

  packets::Random random;
  unsigned budget = 0;
  std::vector<const AMFNode*> ended0;     // AMF0 objects and arrays, not owned
  std::vector<const AMFString*> strings;  // AMF3 tables, not owned
  std::vector<const AMFNode*> begun3;
  std::vector<const AMFObject*> traits3;
};

}  // namespace trees

#endif  // TESTS_SUPPORT_CARRIED_TREES_H
