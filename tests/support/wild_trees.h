// SPDX-License-Identifier: Apache-2.0
//
// Random trees of everything that the public interface can build: odd versions and kinds, null
// members, missing names and values, wrong counts, references to nowhere, lengths without bytes.
//
// Left out is only what the interface forbids, because it is undefined: a kind code below 15 on a
// node of another class (pairs may carry AMF_HEADER, which is refused before it matters), and a
// header count that makes the package take a message for a header.
#ifndef TESTS_SUPPORT_WILD_TREES_H
#define TESTS_SUPPORT_WILD_TREES_H

#include <AMF2JSON.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "support/random.h"
#include "support/trees.h"

namespace trees {

class WildTrees {
 public:
  explicit WildTrees(std::uint64_t seed) : random(seed) {}

  std::unique_ptr<AMFPackage> next() {
    static const unsigned kWildness[] = {0, 4, 15, 60, 200};
    wildness = kWildness[random.below(5)];
    auto tree = std::make_unique<AMFPackage>(wild() ? anyVersion() : versionOf(random.below(4)));
    for (unsigned remaining = random.below(3); remaining > 0; --remaining)
      tree->appendHeader(anyHeader(), false);
    const unsigned messages = random.below(3);
    for (unsigned remaining = messages; remaining > 0; --remaining)
      tree->appendMessage(anyMessage(), false);
    if (wild()) tree->children.push_back(nullptr);
    if (messages == 0 && wild()) tree->headerCount += 1 + random.below(3);
    return tree;
  }

 private:
  bool wild() { return random.chance(wildness); }

  std::uint32_t anyNumber() {
    static const std::uint32_t kSteps[] = {
        0,          1,          2,          3,           0x7F,       0x80,       0xFFFF,
        0x10000,    0xFFFFF,    0x100000,   0x200000,    0x400080,   0x1FFFFFFF, 0x20000000,
        0x3FFFFFFF, 0x40000000, 0x7FFFFFFF, 0x80000000u, 0xFFFFFFFEu};
    return random.chance(700) ? kSteps[random.below(19)]
                              : static_cast<std::uint32_t>(random.next());
  }

  AMFVersion anyVersion() {
    static const std::uint32_t kVersions[] = {0, 3, 1, 2, 4, 0x10003, 0xFFFFFFFFu};
    return versionOf(kVersions[random.below(7)]);
  }

  // What a careful host would take for a node at a place of `place`.
  AMFVersion fitting(AMFVersion place) {
    if (wild()) return anyVersion();
    return place == k0 && random.chance(700) ? k0 : k3;
  }

  std::string bytes() {
    if (random.chance(1) && random.chance(20)) return std::string(0x100000 + random.below(2), 'm');
    if (random.chance(1) && random.chance(300)) return std::string(65535 + random.below(2), 'l');
    return std::string(random.below(4), static_cast<char>('a' + random.below(3)));
  }

  template <class Node>
  Node* touched(Node* node) {
    if (random.chance(25 + wildness)) {
      node->referenceIndex = random.chance(900) ? random.below(3) : anyNumber();
    }
    if (wild()) node->complete = true;
    if (wild() && random.chance(300)) node->AMFNode::appendChild(null(k3), false);
    return node;
  }

  template <class Node>
  Node* bytesTouched(Node* node) {
    if (wild() && random.chance(300)) {
      node->setValue(nullptr, 0);
      node->length = anyNumber();
    }
    return touched(node);
  }

  AMFNode* value(AMFVersion place, unsigned depth) {
    if (budget > 0) --budget;
    const AMFVersion version = fitting(place);
    if (wild() && random.chance(200)) return oddNode(version);
    if (version == k0 && !wild()) return value0(depth);
    return anyKind(version, depth);
  }

  // The leaf kinds are those below `leaves`. Near the root most values are arrays and objects.
  std::uint32_t kindBelow(std::uint32_t leaves, std::uint32_t all, unsigned depth) {
    if (budget == 0 || depth > 4) return random.below(leaves);
    if (depth < 2 && random.chance(500)) return leaves + random.below(all - leaves);
    return random.below(all);
  }

  AMFNode* value0(unsigned depth) {
    switch (kindBelow(7, 11, depth)) {
      case 0: return touched(null(k0));
      case 1: return touched(undefined(k0));
      case 2: return touched(anyBool(k0));
      case 3: return touched(number(k0, 1.5));
      case 4: return bytesTouched(string(k0, bytes()));
      case 5: return touched(date(k0, 86400000));
      case 6: return bytesTouched(xml(k0, bytes(), wild() ? anyNumber() : 1));
      case 7:
      case 8: return anyArray(k0, depth);
      default: return anyObject(k0, depth);
    }
  }

  AMFNode* anyKind(AMFVersion version, unsigned depth) {
    switch (kindBelow(9, 14, depth)) {
      case 0: return touched(null(version));
      case 1: return touched(undefined(version));
      case 2: return touched(anyBool(version));
      case 3:
        return touched(integer(version, random.chance(700) ? random.below(300) : anyNumber()));
      case 4: return touched(number(version, 1.5));
      case 5: return bytesTouched(string(version, bytes()));
      case 6: return touched(date(version, 86400000));
      case 7: return bytesTouched(xml(version, bytes(), wild() ? anyNumber() : random.below(2)));
      case 8: return bytesTouched(raw(version, bytes()));
      case 9:
      case 10: return anyArray(version, depth);
      default: return anyObject(version, depth);
    }
  }

  AMFBool* anyBool(AMFVersion version) {
    return booleanByte(version,
                       static_cast<std::uint8_t>(wild() ? random.below(256) : random.below(2)));
  }

  // A kind that no value has, or one that the library does not know.
  AMFNode* oddNode(AMFVersion version) {
    switch (random.below(5)) {
      case 0: return new AMFPair(version);
      case 1: return new AMFPair(version, nullptr, AMFNode::AMF_HEADER);
      case 2:
        return new AMFPair(version, nullptr, static_cast<AMFNode::AMFType>(15 + random.below(99)));
      case 3: return new AMFPackage(version);
      default: return new Stranger(random.chance(500) ? 15 : 15 + anyNumber() / 2, version);
    }
  }

  AMFString* anyName(AMFVersion version, bool mayBeEmpty) {
    std::string text = bytes();
    if (!mayBeEmpty && !wild()) text = "n" + text;
    AMFString* const name = bytesTouched(string(wild() ? anyVersion() : version, text));
    if (!wild() && random.chance(900)) name->referenceIndex = AMFNode::kNoReference;
    return name;
  }

  AMFPair* anyPair(AMFVersion version, unsigned depth, bool mayBeUnnamed) {
    auto* const pair = new AMFPair(wild() ? anyVersion() : version);
    pair->setName(anyName(version, mayBeUnnamed), false);
    AMFNode* const held = value(version, depth + 1);
    // The setter refuses structural kinds; a host can still put them there.
    delete pair->value;
    pair->value = held;
    if (wild() && random.chance(300)) nameless(pair);
    if (wild() && random.chance(300)) valueless(pair);
    if (wild() && random.chance(300))
      pair->type = static_cast<AMFNode::AMFType>(15 + random.below(99));
    return touched(pair);
  }

  AMFNode* anyArray(AMFVersion version, unsigned depth) {
    AMFArray* const node = array(version, {}, random.below(2));
    if (version != k0 && !wild()) node->strict = 0;
    const bool pairs = version != k0 || node->strict == 0;
    const bool values = version != k0 || node->strict != 0;
    for (unsigned remaining = random.below(4); remaining > 0; --remaining) {
      if (wild() && random.chance(200)) {
        node->children.push_back(nullptr);
      } else if (wild() || (pairs && (!values || random.chance(300)))) {
        node->AMFNode::appendChild(anyPair(version, depth, version == k0), false);
      } else {
        AMFNode* const child = value(version, depth + 1);
        const bool counted =
            child->type <= AMFNode::AMF_RAW || child->type == AMFNode::AMF_UNDEFINED;
        node->AMFNode::appendChild(child, false);
        if (counted || wild()) ++node->denseCount;
      }
    }
    if (wild()) node->denseCount = random.chance(500) ? random.below(4) : anyNumber();
    if (wild()) node->strict = anyNumber();
    return touched(node);
  }

  AMFNode* anyObject(AMFVersion version, unsigned depth) {
    static const char* const kClasses[] = {cArrayClass, cObjProxyClass, cUpdateCollectMsg, "C"};
    AMFObject* const node = new AMFObject(version);
    const bool amf3 = version != k0;
    if (random.chance(400)) node->setClassName(anyName(version, true), false);
    if (amf3 && random.chance(100)) {
      node->externalizable = true;
      node->setClassName(string(version, kClasses[random.below(4)]), false);
    }
    const unsigned members = node->externalizable ? 1 : random.below(4);
    for (unsigned i = 0; i < members; ++i) {
      if (wild() && random.chance(200)) {
        node->children.push_back(nullptr);
      } else if (wild() && random.chance(200)) {
        node->AMFNode::appendChild(value(version, depth + 1), false);
      } else {
        node->appendChild(anyPair(version, depth, !amf3 || node->externalizable), false);
      }
    }
    if (amf3 && !node->externalizable) {
      node->sealedCount = random.below(members + 1);
      node->dynamic = node->sealedCount < members || random.chance(300);
    }
    disturb(node);
    return touched(node);
  }

  void disturb(AMFObject* node) {
    if (wild()) node->sealedCount = random.chance(700) ? random.below(4) : anyNumber();
    if (wild()) node->dynamic = !node->dynamic;
    if (wild()) node->externalizable = !node->externalizable;
    if (node->version != k0 && random.chance(60)) node->traitsIndex = random.below(3);
    if (wild()) node->traitsIndex = anyNumber();
    if (wild() && random.chance(300)) classless(node);
  }

  AMFHeader* anyHeader() {
    budget = 14;
    auto* const node = new AMFHeader();
    if (wild()) node->version = anyVersion();
    node->setName(anyName(k0, true), false);
    AMFNode* const held = value(node->version, 0);
    delete node->value;
    node->value = held;
    const auto must = static_cast<std::uint8_t>(wild() ? random.below(256) : random.below(2));
    std::memcpy(&node->mustUnderstand, &must, 1);
    node->length = anyNumber();
    if (wild() && random.chance(200)) nameless(node);
    if (wild() && random.chance(200)) valueless(node);
    return touched(node);
  }

  AMFMessage* anyMessage() {
    budget = 14;
    auto* const node = new AMFMessage();
    if (wild()) node->version = anyVersion();
    node->setTargetUri(anyName(k0, true), false);
    node->setResponseUri(anyName(k0, true), false);
    AMFNode* const held = value(node->version, 0);
    delete node->value;
    node->value = held;
    node->length = anyNumber();
    if (wild() && random.chance(200)) drop(node->targetUri);
    if (wild() && random.chance(200)) drop(node->responseUri);
    if (wild() && random.chance(200)) drop(node->value);
    return touched(node);
  }

  template <class Node>
  static void drop(Node*& member) {
    delete member;
    member = nullptr;
  }

  packets::Random random;
  unsigned wildness = 0;  // permille
  unsigned budget = 0;
};

}  // namespace trees

#endif  // TESTS_SUPPORT_WILD_TREES_H
