// SPDX-License-Identifier: Apache-2.0
//
// Who owns a node after which call: the copy flag of every attaching operation, replacing,
// refusing, deep copy and destruction. The sanitizers find leaks and double deletes; order and
// identity are checked here. Kinds and fields: tests/model/model_test.cpp.
#include <AMF2JSON.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>

#include "support/dump.h"
#include "support/kinds.h"
#include "support/refusal.h"
#include "support/trees.h"
#include "support/witness.h"

namespace {

using support::as;
using support::dump;
using support::EventLog;
using support::makeKind;
using support::refusal;
using support::Witness;
using support::WitnessPair;
using support::WitnessString;

// Every operation that attaches any value node, on an owner that already holds something there.
struct Attaching {
  const char* name;
  std::function<std::unique_ptr<AMFNode>()> owner;
  std::function<void(AMFNode&, AMFNode*, bool)> attach;
  std::function<AMFNode*(AMFNode&)> held;
  bool setsParent;
};

std::unique_ptr<AMFNode> arrayOfOne() {
  auto array = std::make_unique<AMFArray>(AMF_VERSION_3);
  array->appendChild(trees::integer(trees::k3, 1), false);
  return array;
}

const Attaching kAttaching[] = {
    {"AMFNode::appendChild", [] { return makeKind(AMFNode::AMF_NULL); },
     ATTACH(AMFNode, appendChild(node, copy)), [](AMFNode& owner) { return owner.children.back(); },
     true},
    {"AMFNode::setChild", arrayOfOne, ATTACH(AMFNode, setChild(0, node, copy)),
     [](AMFNode& owner) { return owner.children[0]; }, true},
    {"AMFArray::appendChild", arrayOfOne, ATTACH(AMFArray, appendChild(node, copy)),
     [](AMFNode& owner) { return owner.children.back(); }, true},
    {"AMFPair::setValue", [] { return makeKind(AMFNode::AMF_PAIR); },
     ATTACH(AMFPair, setValue(node, copy)), [](AMFNode& owner) { return as<AMFPair>(owner).value; },
     false},
    {"AMFHeader::setValue", [] { return makeKind(AMFNode::AMF_HEADER); },
     ATTACH(AMFHeader, setValue(node, copy)),
     [](AMFNode& owner) { return as<AMFHeader>(owner).value; }, false},
    {"AMFMessage::setValue", [] { return makeKind(AMFNode::AMF_MESSAGE); },
     ATTACH(AMFMessage, setValue(node, copy)),
     [](AMFNode& owner) { return as<AMFMessage>(owner).value; }, false},
};

TEST(CopyFlag, FalseAdoptsTheNodeItself) {
  for (const Attaching& row : kAttaching) {
    EventLog eventLog;
    auto owner = row.owner();
    auto* node = new Witness(eventLog, "n");
    row.attach(*owner, node, false);
    EXPECT_EQ(row.held(*owner), node) << row.name;
    EXPECT_EQ(node->parent, row.setsParent ? owner.get() : nullptr) << row.name;
    EXPECT_EQ(eventLog, "") << row.name;
    owner.reset();
    EXPECT_EQ(eventLog, "-n ") << row.name;
  }
}

TEST(CopyFlag, TrueAttachesADeepCopy) {
  for (const Attaching& row : kAttaching) {
    EventLog eventLog;
    auto owner = row.owner();
    {
      Witness node(eventLog, "n");
      node.appendChild(trees::integer(trees::k3, 9), false);
      row.attach(*owner, &node, true);
      EXPECT_NE(row.held(*owner), &node) << row.name;
      EXPECT_EQ(node.parent, nullptr) << row.name;
      EXPECT_EQ(row.held(*owner)->parent, row.setsParent ? owner.get() : nullptr) << row.name;
      EXPECT_NE(row.held(*owner)->children[0], node.children[0]) << row.name;
    }
    EXPECT_EQ(eventLog, "+n -n ") << row.name;
    EXPECT_EQ(dump(row.held(*owner)->children[0]), "int3 9") << row.name;
    owner.reset();
    EXPECT_EQ(eventLog, "+n -n -n' ") << row.name;
  }
}

TEST(CopyFlag, ANullNodeIsIgnored) {
  for (const Attaching& row : kAttaching) {
    for (const bool copy : {false, true}) {
      auto owner = row.owner();
      const std::string before = dump(owner.get());
      row.attach(*owner, nullptr, copy);
      EXPECT_EQ(dump(owner.get()), before) << row.name;
    }
  }
}

TEST(CopyFlag, ACopyThatFailsChangesNothing) {
  for (const Attaching& row : kAttaching) {
    EventLog eventLog;
    auto owner = row.owner();
    const std::string before = dump(owner.get());
    Witness node(eventLog, "n");
    node.refusesClone = true;
    EXPECT_EQ(refusal([&] { row.attach(*owner, &node, true); }), "(bad_alloc)") << row.name;
    EXPECT_EQ(dump(owner.get()), before) << row.name;
    EXPECT_EQ(eventLog, "") << row.name;
  }
}

TEST(CopyFlag, ReplacingGetsTheNewNodeFirst) {
  for (const Attaching& row : kAttaching) {
    if (std::string(row.name).find("append") != std::string::npos) continue;
    EventLog eventLog;
    auto owner = row.owner();
    row.attach(*owner, new Witness(eventLog, "old"), false);
    row.attach(*owner, new Witness(eventLog, "new"), false);
    EXPECT_EQ(eventLog, "-old ") << row.name;
    Witness source(eventLog, "source");
    row.attach(*owner, &source, true);
    EXPECT_EQ(eventLog, "-old +source -new ") << row.name;
  }
}

// The parent of a pair's or message's value is whatever the value came with.
TEST(CopyFlag, ValueSettersDoNotTouchTheParent) {
  AMFArray elsewhere(AMF_VERSION_3);
  AMFPair pair(AMF_VERSION_3);
  auto* value = new AMFNull(AMF_VERSION_3, &elsewhere);
  pair.setValue(value, false);
  EXPECT_EQ(value->parent, &elsewhere);
  AMFMessage message;
  auto* body = new AMFNull(AMF_VERSION_3, &elsewhere);
  message.setValue(body, false);
  EXPECT_EQ(body->parent, &elsewhere);
  pair.setValue(body, true);
  EXPECT_EQ(pair.value->parent, nullptr) << "a copy is detached";
}

// ---- strings: names, class names, URIs

struct StringSetter {
  const char* name;
  std::function<std::unique_ptr<AMFNode>()> owner;
  std::function<void(AMFNode&, AMFString*, bool)> set;
  std::function<AMFString*(AMFNode&)> held;
};

const StringSetter kStringSetters[] = {
    {"AMFPair::setName", [] { return makeKind(AMFNode::AMF_PAIR); },
     ATTACH(AMFPair, setName(node, copy)), [](AMFNode& owner) { return as<AMFPair>(owner).name; }},
    {"AMFHeader::setName", [] { return makeKind(AMFNode::AMF_HEADER); },
     ATTACH(AMFHeader, setName(node, copy)),
     [](AMFNode& owner) { return as<AMFHeader>(owner).name; }},
    {"AMFObject::setClassName", [] { return makeKind(AMFNode::AMF_OBJECT); },
     ATTACH(AMFObject, setClassName(node, copy)),
     [](AMFNode& owner) { return as<AMFObject>(owner).className; }},
    {"AMFMessage::setTargetUri", [] { return makeKind(AMFNode::AMF_MESSAGE); },
     ATTACH(AMFMessage, setTargetUri(node, copy)),
     [](AMFNode& owner) { return as<AMFMessage>(owner).targetUri; }},
    {"AMFMessage::setResponseUri", [] { return makeKind(AMFNode::AMF_MESSAGE); },
     ATTACH(AMFMessage, setResponseUri(node, copy)),
     [](AMFNode& owner) { return as<AMFMessage>(owner).responseUri; }},
};

TEST(StringSetters, FalseAdopts) {
  for (const StringSetter& row : kStringSetters) {
    EventLog eventLog;
    auto owner = row.owner();
    auto* text = new WitnessString(eventLog, "s");
    row.set(*owner, text, false);
    EXPECT_EQ(row.held(*owner), text) << row.name;
    EXPECT_EQ(text->parent, nullptr) << row.name;
    auto* second = new WitnessString(eventLog, "t");
    row.set(*owner, second, false);
    EXPECT_EQ(eventLog, "-s ") << row.name << ": the old string goes";
    owner.reset();
    EXPECT_EQ(eventLog, "-s -t ") << row.name;
  }
}

TEST(StringSetters, TrueCopiesBytesVersionAndReference) {
  for (const StringSetter& row : kStringSetters) {
    auto owner = row.owner();
    auto text =
        trees::own(trees::reference(trees::string(trees::k3, std::string_view("n\0m", 3)), 5));
    row.set(*owner, text.get(), true);
    EXPECT_NE(row.held(*owner), text.get()) << row.name;
    EXPECT_NE(row.held(*owner)->data, text->data) << row.name;
    text.reset();
    EXPECT_EQ(dump(row.held(*owner)), R"(str3 'n\x00m'#ref5)") << row.name;
    EXPECT_EQ(row.held(*owner)->parent, nullptr) << row.name;
  }
}

TEST(StringSetters, NullIsIgnored) {
  for (const StringSetter& row : kStringSetters) {
    for (const bool copy : {false, true}) {
      auto owner = row.owner();
      const AMFString* before = row.held(*owner);
      row.set(*owner, nullptr, copy);
      EXPECT_EQ(row.held(*owner), before) << row.name;
    }
  }
}

TEST(StringSetters, ANullMemberIsFilled) {
  AMFObject object(AMF_VERSION_3);
  delete object.className;
  object.className = nullptr;
  object.setClassName(trees::string(trees::k3, "C"), false);
  EXPECT_EQ(dump(&object), "obj3{class='C'}!open");
  AMFPair pair(AMF_VERSION_3);
  delete pair.name;
  delete pair.value;
  pair.name = nullptr;
  pair.value = nullptr;
  pair.setName(trees::string(trees::k3, "a"), false);
  pair.setValue(trees::integer(trees::k3, 1), false);
  EXPECT_EQ(dump(&pair), "pair3{'a':int3 1}");
}

// ---- setChild out of range, refusals

TEST(Refused, SetChildOutOfRangeLeavesTheNodeWithTheCaller) {
  AMFArray array(AMF_VERSION_3);
  for (std::uint32_t count = 0; count < 3; ++count) {
    for (const unsigned index : {count, count + 1, 0xFFFFFFFFu}) {
      for (const bool copy : {false, true}) {
        EventLog eventLog;
        auto node = std::make_unique<Witness>(eventLog, "n");
        array.setChild(index, node.get(), copy);
        EXPECT_EQ(eventLog, "") << "neither adopted, nor copied, nor deleted";
        EXPECT_EQ(node->parent, nullptr);
        node.reset();
        EXPECT_EQ(eventLog, "-n ");
        EXPECT_EQ(array.children.size(), count);
      }
    }
    array.appendChild(trees::integer(trees::k3, 1), false);
  }
  AMFObject object(AMF_VERSION_3);
  const auto pair = trees::own(trees::member(trees::k3, "a", trees::integer(trees::k3, 1)));
  object.setChild(0, pair.get(), false);
  EXPECT_EQ(pair->parent, nullptr);
  EXPECT_TRUE(object.children.empty());
}

TEST(Refused, WhatThrowsLeavesTheNodeWithTheCaller) {
  for (const std::uint32_t code : {10u, 12u, 13u, 14u}) {
    for (const bool copy : {false, true}) {
      auto node = makeKind(code);
      AMFPair pair(AMF_VERSION_3);
      AMFMessage message;
      AMFArray array(AMF_VERSION_3);
      EXPECT_NE(refusal([&] { pair.setValue(node.get(), copy); }), support::kNoRefusal);
      EXPECT_NE(refusal([&] { message.setValue(node.get(), copy); }), support::kNoRefusal);
      if (code != 10) {
        EXPECT_NE(refusal([&] { array.appendChild(node.get(), copy); }), support::kNoRefusal);
      }
      EXPECT_EQ(dump(node.get()), support::kKindDumps[code]);
      EXPECT_EQ(node->parent, nullptr);
      EXPECT_EQ(dump(&pair), "pair3{'':undef3}");
      EXPECT_EQ(dump(&message), "message{'' '' len=? undef0}");
      EXPECT_EQ(dump(&array), "arr3{}!open");
    }
  }
}

// ---- objects and packages

TEST(Members, ObjectAppendAndSetFollowTheFlag) {
  EventLog eventLog;
  auto object = std::make_unique<AMFObject>(AMF_VERSION_0);
  auto* pair = new WitnessPair(eventLog, "p");
  object->appendChild(pair, false);
  EXPECT_EQ(object->getChild(0), pair);
  EXPECT_EQ(pair->parent, object.get());
  const auto other = trees::own(trees::member(trees::k0, "o", trees::integer(trees::k3, 1)));
  object->setChild(0, other.get(), true);
  EXPECT_EQ(eventLog, "-p ");
  EXPECT_NE(object->getChild(0), other.get());
  EXPECT_EQ(other->parent, nullptr);
  object->appendChild(other.get(), true);
  EXPECT_EQ(dump(object.get()), "obj0{'o':int3 1, 'o':int3 1}");
}

TEST(Members, PackageAppendFollowsTheFlag) {
  AMFPackage package(AMF_VERSION_3);
  auto* header = static_cast<AMFHeader*>(makeKind(AMFNode::AMF_HEADER).release());
  package.appendHeader(header, false);
  EXPECT_EQ(package.getHeader(0), header);
  EXPECT_EQ(header->parent, &package);
  package.appendHeader(header, true);
  EXPECT_NE(package.getHeader(1), header);
  auto* message = static_cast<AMFMessage*>(makeKind(AMFNode::AMF_MESSAGE).release());
  package.appendMessage(message, false);
  EXPECT_EQ(package.getMessage(0), message);
  package.appendMessage(message, true);
  EXPECT_NE(package.getMessage(1), message);
  const std::string h = "header{'H' must len=9 int3 5}";
  const std::string m = "message{'T' 'R'v3#ref6 len=10 int3 6}";
  EXPECT_EQ(dump(&package), "package3{headers=2 " + h + ", " + h + ", " + m + ", " + m + "}");
}

// ---- deep copy

// Every address that a tree owns: nodes, owned members, byte blocks.
void collect(const AMFNode* node, std::multiset<const void*>& addresses) {
  if (node == nullptr) return;
  addresses.insert(node);
  for (const AMFNode* child : node->children) collect(child, addresses);
  if (const auto* raw = dynamic_cast<const AMFRaw*>(node); raw != nullptr && raw->data != nullptr)
    addresses.insert(raw->data);
  if (const auto* object = dynamic_cast<const AMFObject*>(node))
    collect(object->className, addresses);
  if (const auto* pair = dynamic_cast<const AMFPair*>(node)) {
    collect(pair->name, addresses);
    collect(pair->value, addresses);
  }
  if (const auto* message = dynamic_cast<const AMFMessage*>(node)) {
    collect(message->targetUri, addresses);
    collect(message->responseUri, addresses);
    collect(message->value, addresses);
  }
}

void expectIndependent(const AMFNode& source, const AMFNode& copy, const std::string& what) {
  std::multiset<const void*> sourceOwns;
  std::multiset<const void*> copyOwns;
  collect(&source, sourceOwns);
  collect(&copy, copyOwns);
  EXPECT_EQ(sourceOwns.size(), copyOwns.size()) << what;
  for (const void* address : copyOwns) {
    EXPECT_EQ(sourceOwns.count(address), 0u) << what << ": shared with the source";
    EXPECT_EQ(copyOwns.count(address), 1u) << what << ": held twice";
  }
}

// One tree with a node of every kind in it, nested both as children and as owned values.
std::unique_ptr<AMFPackage> everything() {
  auto package = std::make_unique<AMFPackage>(static_cast<AMFVersion>(513));
  auto list = std::make_unique<AMFArray>(AMF_VERSION_0);
  list->strict = 1;
  for (std::uint32_t code = 0; code <= 11; ++code) {
    auto node = makeKind(code);
    node->referenceIndex = 100 + code;
    node->complete = !node->complete;
    list->appendChild(node.release(), false);
  }
  auto outer = std::make_unique<AMFObject>(AMF_VERSION_0);
  outer->appendChild(trees::member(trees::k0, "list", list->clone()), false);
  auto header = std::make_unique<AMFHeader>();
  header->setValue(outer.release(), false);
  header->appendChild(trees::integer(trees::k3, 11), false);
  package->appendHeader(header.release(), false);
  package->appendHeader(static_cast<AMFHeader*>(makeKind(AMFNode::AMF_HEADER).release()), false);
  package->appendMessage(static_cast<AMFMessage*>(makeKind(AMFNode::AMF_MESSAGE).release()), false);
  package->getMessage(0)->setValue(list.release(), false);
  package->getMessage(0)->appendChild(trees::integer(trees::k3, 12), false);
  return package;
}

TEST(DeepCopy, EveryKindIsEqualAndIndependent) {
  for (std::uint32_t code = 0; code <= 20; ++code) {
    AMFNull formerParent(AMF_VERSION_0);
    auto node = makeKind(code);
    node->referenceIndex = 3 + code;
    node->complete = true;
    node->appendChild(trees::integer(trees::k3, 77), false);
    node->parent = &formerParent;
    const std::unique_ptr<AMFNode> copy(node->clone());
    EXPECT_EQ(dump(copy.get()), dump(node.get())) << code;
    EXPECT_EQ(copy->parent, nullptr) << code << ": a copy is always detached";
    const AMFNode &original = *node, &same = *copy;
    EXPECT_EQ(typeid(same), typeid(original)) << code;
    expectIndependent(*node, *copy, std::to_string(code));
    const std::string before = dump(node.get());
    node.reset();
    EXPECT_EQ(dump(copy.get()), before) << code << ": the copy outlives its source";
  }
}

TEST(DeepCopy, AWholeTree) {
  auto package = everything();
  const std::string before = dump(package.get());
  const std::unique_ptr<AMFPackage> copy(package->clone());
  EXPECT_EQ(dump(copy.get()), before);
  EXPECT_EQ(copy->headerCount, 2u);
  EXPECT_EQ(copy->parent, nullptr);
  EXPECT_EQ(copy->getHeader(0)->parent, copy.get());
  expectIndependent(*package, *copy, "package");
  copy->getMessage(0)->setValue(trees::integer(trees::k3, 1), false);
  copy->getHeader(0)->name->setValue("changed", 7);
  EXPECT_EQ(dump(package.get()), before) << "a change of the copy stays there";
}

TEST(DeepCopy, TheCopyConstructorIsTheSame) {
  const auto node = makeKind(AMFNode::AMF_OBJECT);
  const AMFObject copy(static_cast<const AMFObject&>(*node));
  EXPECT_EQ(dump(&copy), dump(node.get()));
  expectIndependent(*node, copy, "object");
}

TEST(DeepCopy, AFieldAtATime) {
  AMFObject object(AMF_VERSION_3);
  object.dynamic = true;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(object.clone()).get()), "obj3{dyn}!open");
  object.dynamic = false;
  object.externalizable = true;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(object.clone()).get()), "obj3{ext}!open");
  object.externalizable = false;
  object.sealedCount = 0x80000001u;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(object.clone()).get()), "obj3{sealed=2147483649}!open");
  object.sealedCount = 0;
  object.traitsIndex = 0;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(object.clone()).get()), "obj3{traits=0}!open");
  AMFArray array(AMF_VERSION_0);
  array.denseCount = 9;
  array.strict = 0x100;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(array.clone()).get()), "arr0{dense=9 strict=256}");
  AMFXML xml(AMF_VERSION_0);
  xml.document = 0x100;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(xml.clone()).get()), "xml0{doc=256 ''}");
  AMFHeader header;
  header.mustUnderstand = true;
  header.length = 0;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(header.clone()).get()), "header{'' must len=0 undef0}");
}

TEST(DeepCopy, NullEntriesStayNull) {
  AMFArray array(AMF_VERSION_3);
  array.children = {nullptr, new AMFNull(AMF_VERSION_3), nullptr};
  const std::unique_ptr<AMFArray> copy(array.clone());
  EXPECT_EQ(dump(copy.get()), "arr3{(nil), null3, (nil)}!open");
}

TEST(DeepCopy, NullMembersStayNull) {
  AMFPair pair(AMF_VERSION_3);
  delete pair.name;
  delete pair.value;
  pair.name = nullptr;
  pair.value = nullptr;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(pair.clone()).get()), "pair3{(nil):(nil)}");
  AMFObject object(AMF_VERSION_3);
  delete object.className;
  object.className = nullptr;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(object.clone()).get()), "obj3{class=(nil)}!open");
  AMFMessage message;
  delete message.targetUri;
  delete message.responseUri;
  delete message.value;
  message.targetUri = message.responseUri = nullptr;
  message.value = nullptr;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(message.clone()).get()),
            "message{(nil) (nil) len=? (nil)}");
  AMFHeader header;
  delete header.name;
  header.name = nullptr;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(header.clone()).get()), "header{(nil) len=? undef0}");
}

TEST(DeepCopy, OwnedStringsKeepVersionAndReference) {
  AMFObject object(AMF_VERSION_0);
  object.setClassName(trees::reference(trees::string(trees::k3, "C"), 2), false);
  object.appendChild(new AMFPair(AMF_VERSION_3), false);
  auto& pair = static_cast<AMFPair&>(*object.getChild(0));
  pair.setName(trees::reference(trees::string(trees::k0, "n"), 0), false);
  pair.referenceIndex = 8;
  EXPECT_EQ(dump(std::unique_ptr<AMFNode>(object.clone()).get()),
            "obj0{class='C'v3#ref2 pair3{'n'v0#ref0:undef3}#ref8}");
}

TEST(DeepCopy, ACopyThatFailsHalfWayFreesWhatItMade) {
  EventLog eventLog;
  AMFArray array(AMF_VERSION_3);
  array.appendChild(new Witness(eventLog, "a"), false);
  auto* second = new Witness(eventLog, "b");
  second->refusesClone = true;
  array.appendChild(second, false);
  EXPECT_EQ(refusal([&] { const std::unique_ptr<AMFNode> copy(array.clone()); }), "(bad_alloc)");
  EXPECT_EQ(eventLog, "+a -a' ");
  eventLog.clear();

  AMFMessage message;
  message.appendChild(new Witness(eventLog, "c"), false);
  auto* value = new Witness(eventLog, "v");
  value->refusesClone = true;
  message.setValue(value, false);
  EXPECT_EQ(refusal([&] { const std::unique_ptr<AMFNode> copy(message.clone()); }), "(bad_alloc)");
  EXPECT_EQ(eventLog, "+c -c' ");
}

// ---- destruction

TEST(Destruction, ChildrenLastFirst) {
  EventLog eventLog;
  {
    AMFArray array(AMF_VERSION_3);
    for (const char* name : {"a", "b", "c"}) array.appendChild(new Witness(eventLog, name), false);
    array.children.insert(array.children.begin() + 1, nullptr);
    array.children.push_back(nullptr);
  }
  EXPECT_EQ(eventLog, "-c -b -a ") << "null entries are skipped";
}

TEST(Destruction, OwnedMembersBeforeChildren) {
  EventLog eventLog;
  {
    AMFPair pair(AMF_VERSION_3);
    pair.appendChild(new Witness(eventLog, "child"), false);
    pair.setName(new WitnessString(eventLog, "name"), false);
    pair.setValue(new Witness(eventLog, "value"), false);
  }
  EXPECT_EQ(eventLog.substr(eventLog.size() - 7), "-child ");
  EXPECT_NE(eventLog.find("-name "), std::string::npos);
  EXPECT_NE(eventLog.find("-value "), std::string::npos);
  eventLog.clear();
  {
    AMFObject object(AMF_VERSION_3);
    object.appendChild(new WitnessPair(eventLog, "pair"), false);
    object.setClassName(new WitnessString(eventLog, "class"), false);
  }
  EXPECT_EQ(eventLog, "-class -pair ");
  eventLog.clear();
  {
    AMFMessage message;
    message.appendChild(new Witness(eventLog, "child"), false);
    message.setTargetUri(new WitnessString(eventLog, "target"), false);
    message.setResponseUri(new WitnessString(eventLog, "response"), false);
    message.setValue(new Witness(eventLog, "value"), false);
  }
  EXPECT_EQ(eventLog.substr(eventLog.size() - 7), "-child ");
  for (const char* name : {"-target ", "-response ", "-value "})
    EXPECT_NE(eventLog.find(name), std::string::npos) << name;
}

TEST(Destruction, WhatHostsPutIntoPairsGoesWithThem) {
  EventLog eventLog;
  {
    AMFArray array(AMF_VERSION_3);
    for (const char* const where : {"1", "2", "3"}) {
      auto* const pair = new AMFPair(AMF_VERSION_3);
      array.appendChild(pair, false);
      if (where[0] == '1') pair->setName(new WitnessString(eventLog, "name"), false);
      if (where[0] == '2') pair->name->appendChild(new Witness(eventLog, "child of a name"), false);
      if (where[0] == '3') pair->appendChild(new Witness(eventLog, "child of a pair"), false);
      pair->setValue(new Witness(eventLog, where), false);
    }
  }
  EXPECT_EQ(eventLog, "-3 -child of a pair -child of a name -2 -name -1 ");
}

TEST(Destruction, TheRootFreesTheWholeTree) {
  EventLog eventLog;
  {
    auto package = everything();
    package->getMessage(0)->value->appendChild(new Witness(eventLog, "deep"), false);
  }
  EXPECT_EQ(eventLog, "-deep ");
}

}  // namespace
