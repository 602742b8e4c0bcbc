// SPDX-License-Identifier: Apache-2.0
//
// The AMF3 half of the reading model. Enter at value3().
#include <cstring>
#include <string>
#include <utility>

#include "support/reading_model.h"

namespace support {
namespace {

template <class Node>
const Node& as(const AMFNode& node) {
  return static_cast<const Node&>(node);
}

constexpr std::uint32_t kNone = AMFNode::kNoReference;

const AMFPair* pairAt(const AMFObject& object, std::size_t index) {
  const AMFNode* const child = index < object.children.size() ? object.children[index] : nullptr;
  return dynamic_cast<const AMFPair*>(child);
}

constexpr const char* kPairKinds = "pairs of other kinds read back as plain ones";

bool acceptedClass(const AMFString& name) {
  const char* const kClasses[] = {cArrayClass, cObjProxyClass, cSerialProxy, cAsyncMsg,
                                  cCommandMsg, cDataMsg,       cPagedMsg,    cUpdateCollectMsg};
  for (const char* const one : kClasses) {
    if (std::string(one) == std::string(name.data ? name.data : "", name.length)) return true;
  }
  return false;
}

}  // namespace

// The number that a reader makes of a U29 that the writer made of `written`.
std::uint32_t ReadingModel::number(std::uint32_t written, const char* drift) {
  if (written > 0x3FFFFFFF) refuse("setAMF3Integer(): integer value is to large");
  if (written <= 0x1FFFFF) return written;
  const std::uint32_t low = written & 0xFF;
  std::uint32_t read = (written >> 8 & 0x1FFFFF) << 8;
  if (written <= 0x3FFFFF) {
    if (low >= 0x80) derail("a U29 from 200000 to 3FFFFF whose last byte runs on");
    read = (written >> 8 << 7) + (low & 0x7F);
  } else {
    read += low < 0x80 ? low : low - 0x100;
  }
  lose(read != written, drift);
  return read;
}

ReadingModel::Node ReadingModel::value3(const AMFNode& node) {
  switch (node.type) {
    case AMFNode::AMF_NULL:
    case AMFNode::AMF_UNDEFINED:
    case AMFNode::AMF_BOOL:
    case AMFNode::AMF_INT:
    case AMFNode::AMF_DOUBLE:
      lose(node.referenceIndex != kNone, "a reference index of a kind that has none");
      break;
    default: break;
  }
  switch (node.type) {
    case AMFNode::AMF_NULL: return std::make_unique<AMFNull>(AMF_VERSION_3);
    case AMFNode::AMF_UNDEFINED: return std::make_unique<AMFUndefined>(AMF_VERSION_3);
    case AMFNode::AMF_BOOL: {
      auto read = std::make_unique<AMFBool>(AMF_VERSION_3);
      std::uint8_t byte;
      std::memcpy(&byte, &as<AMFBool>(node).value, 1);
      lose(byte > 1, "a stored bool byte reads back as true");
      read->value = byte != 0;
      return read;
    }
    case AMFNode::AMF_INT: return integer3(as<AMFInt>(node));
    case AMFNode::AMF_DOUBLE: {
      auto read = std::make_unique<AMFDouble>(AMF_VERSION_3);
      read->value = as<AMFDouble>(node).value;
      return read;
    }
    case AMFNode::AMF_STRING: return string3(&as<AMFString>(node));
    case AMFNode::AMF_OBJECT: return object3(as<AMFObject>(node));
    case AMFNode::AMF_DATE: return date3(as<AMFDate>(node));
    case AMFNode::AMF_XML: return xml3(as<AMFXML>(node));
    case AMFNode::AMF_ARRAY: return array3(as<AMFArray>(node));
    case AMFNode::AMF_RAW: return raw3(as<AMFRaw>(node));
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: refuse("setNodeValue(): this node can't be placed here");
  }
  derail("a kind code above 14 writes no value");
  return nullptr;
}

// A reference into the table that all complex kinds share.
ReadingModel::Node ReadingModel::reference3(const AMFNode& node, const char* invalid,
                                            const char* otherKind, const char* circular) {
  lose(node.referenceIndex > 0x7FFFFFFF, "a reference index wraps");
  const std::uint32_t index = number(node.referenceIndex << 1, "a reference index drifts") >> 1;
  lose(true, "a reference reads back as what it points at");
  if (!reading()) return nullptr;
  const AMFNode* const entry = index < begun3.size() ? begun3[index] : nullptr;
  if (!entry) {
    readerRefuses(invalid);
  } else if (entry->type != node.type) {
    readerRefuses(otherKind);
  } else if (circular && !entry->complete) {
    readerRefuses(circular);
  }
  if (!reading()) return nullptr;
  Node read(entry->clone());
  read->referenceIndex = index;
  return read;
}

ReadingModel::Node ReadingModel::integer3(const AMFInt& node) {
  auto read = std::make_unique<AMFInt>(AMF_VERSION_3);
  read->value = number(node.value, "an integer drifts");
  return read;
}

void ReadingModel::inlineBytes(const AMFRaw& from, AMFRaw& to) {
  const std::uint32_t head = (from.length << 1) + 1;
  if (number(head, "a length drifts") != head) derail("a length that drifts");
  bytes(from, to);
}

ReadingModel::String ReadingModel::string3(const AMFString* node) {
  if (!node) refuse("setAMF3String: lack of string type node");
  auto read = std::make_unique<AMFString>(AMF_VERSION_3);
  if (node->referenceIndex == kNone) {
    inlineBytes(*node, *read);
    if (read->length > 0) strings.push_back(read.get());
    return read;
  }
  lose(node->referenceIndex > 0x7FFFFFFF, "a reference index wraps");
  const std::uint32_t index = number(node->referenceIndex << 1, "a reference index drifts") >> 1;
  lose(true, "a reference reads back as what it points at");
  if (!reading()) return read;
  if (index >= strings.size()) {
    readerRefuses("getAMF3String(): invalid string reference index");
    return read;
  }
  read.reset(strings[index]->clone());
  read->referenceIndex = index;
  return read;
}

ReadingModel::Node ReadingModel::date3(const AMFDate& node) {
  if (node.referenceIndex != kNone) {
    return reference3(node, "getAMF3Date(): invalid date reference index",
                      "getAMF3Date(): reference to the non date type node", nullptr);
  }
  auto read = std::make_unique<AMFDate>(AMF_VERSION_3);
  read->value = node.value;
  begun3.push_back(read.get());
  return read;
}

ReadingModel::Node ReadingModel::xml3(const AMFXML& node) {
  if (node.referenceIndex != kNone) {
    return reference3(node, "getAMF3XML(): invalid XML reference index",
                      "getAMF3XML(): reference to the non XML type node", nullptr);
  }
  lose(node.document > 1, "AMF3 XML is a document or not");
  auto read = std::make_unique<AMFXML>(AMF_VERSION_3);
  read->document = node.document == 1 ? 1 : 0;
  inlineBytes(node, *read);
  begun3.push_back(read.get());
  return read;
}

ReadingModel::Node ReadingModel::raw3(const AMFRaw& node) {
  if (node.referenceIndex != kNone) {
    return reference3(node, "getAMF3ByteArray(): invalid byte array reference index",
                      "getAMF3ByteArray(): reference to the non byte array type node", nullptr);
  }
  auto read = std::make_unique<AMFRaw>(AMF_VERSION_3);
  inlineBytes(node, *read);
  begun3.push_back(read.get());
  return read;
}

// A pair with its name already checked by the caller.
ReadingModel::Pair ReadingModel::pair3(const AMFPair& node) {
  attributes(node);
  lose(node.type != AMFNode::AMF_PAIR, kPairKinds);
  lose(node.version != AMF_VERSION_3, "pairs read back in the version of their owner");
  lose(node.name && (node.name->version != AMF_VERSION_3 || !node.name->children.empty()),
       "version and children of an AMF3 name");
  auto read = std::make_unique<AMFPair>(AMF_VERSION_3);
  read->setName(string3(node.name).release(), false);
  if (read->name->length == 0) derail("an empty member name ends the list for a reader");
  return read;
}

ReadingModel::Node ReadingModel::array3(const AMFArray& node) {
  if (node.referenceIndex != kNone) {
    return reference3(node, "getAMF3Array(): invalid array reference index",
                      "getAMF3Array(): reference to the non array type node",
                      "getAMF3Array(): array circular reference");
  }
  auto read = std::make_unique<AMFArray>(AMF_VERSION_3);
  begun3.push_back(read.get());
  number((node.denseCount << 1) + 1, "a count drifts");
  bool valueSeen = false;
  std::size_t values = 0;
  for (const AMFNode* const child : node.children) {
    if (!child) refuse("setAMF3Array : invalid array size");
    if (child->type != AMFNode::AMF_PAIR) {
      valueSeen = true;
      ++values;
      continue;
    }
    lose(valueSeen, "the pairs of an AMF3 array come first");
    const auto& pair = as<AMFPair>(*child);
    if (!pair.name) refuse("setAMF3Array : missing the property name in associative array");
    Pair readPair = pair3(pair);
    if (!pair.value) refuse("setAMF3Array : missing the property value in associative array");
    readPair->setValue(value(pair.value, pair.version, true).release(), false);
    read->appendChild(readPair.release(), false);
  }
  if (node.denseCount != values) refuse("setAMF3Array : invalid array size");
  for (const AMFNode* const child : node.children) {
    if (child->type == AMFNode::AMF_PAIR) continue;
    read->appendChild(value(child, node.version, true).release(), false);
  }
  lose(node.strict != 0, "strict of an AMF3 array");
  read->complete = true;
  return read;
}

ReadingModel::Node ReadingModel::object3(const AMFObject& node) {
  if (node.referenceIndex != kNone) {
    return reference3(node, "getAMF3Object(): invalid objects reference index",
                      "getAMF3Object(): reference to the non object type node",
                      "getAMF3Object(): objects circular reference");
  }
  if (node.externalizable) return externalizable3(node);
  auto read = std::make_unique<AMFObject>(AMF_VERSION_3);
  if (node.traitsIndex == kNone) {
    inlineTraits(node, *read);
  } else {
    takenTraits(node, *read);
  }
  members3(node, *read);
  read->complete = true;
  return read;
}

void ReadingModel::inlineTraits(const AMFObject& node, AMFObject& read) {
  begun3.push_back(&read);
  const std::uint32_t head = (node.sealedCount << 4) + (node.dynamic ? 8u : 0u) + 3u;
  if (number(head, "a sealed count drifts") != head) derail("a sealed count that drifts");
  lose(node.className &&
           (node.className->version != AMF_VERSION_3 || !node.className->children.empty()),
       "version and children of an AMF3 name");
  read.dynamic = node.dynamic;
  read.sealedCount = node.sealedCount;
  read.setClassName(string3(node.className).release(), false);
  for (std::uint32_t i = 0; i < node.sealedCount; ++i) {
    const AMFPair* const pair = pairAt(node, i);
    if (!pair) refuse("setAMF3Object: invalid object's properties number");
    attributes(*pair);
    lose(pair->type != AMFNode::AMF_PAIR, kPairKinds);
    lose(pair->version != AMF_VERSION_3, "pairs read back in the version of their owner");
    lose(pair->name && (pair->name->version != AMF_VERSION_3 || !pair->name->children.empty()),
         "version and children of an AMF3 name");
    auto readPair = std::make_unique<AMFPair>(AMF_VERSION_3);
    readPair->setName(string3(pair->name).release(), false);
    read.appendChild(readPair.release(), false);
  }
  traits3.push_back(&read);
}

void ReadingModel::takenTraits(const AMFObject& node, AMFObject& read) {
  lose(node.traitsIndex > 0x3FFFFFFF, "a traits index wraps");
  const std::uint32_t index = number((node.traitsIndex << 2) + 1, "a traits index drifts") >> 2;
  lose(true, "class name and sealed names come from the traits entry");
  if (!reading()) return;
  if (index >= traits3.size()) {
    return readerRefuses("getAMF3Object(): traits reference index is invalid");
  }
  const AMFObject& entry = *traits3[index];
  read.traitsIndex = index;
  read.setClassName(entry.className, true);
  read.dynamic = entry.dynamic;
  read.sealedCount = entry.sealedCount;
  for (std::uint32_t i = 0; i < entry.sealedCount; ++i) {
    auto readPair = std::make_unique<AMFPair>(AMF_VERSION_3);
    readPair->setName(static_cast<const AMFPair*>(entry.children[i])->name, true);
    read.appendChild(readPair.release(), false);
  }
  begun3.push_back(&read);
  if (node.sealedCount != entry.sealedCount || node.dynamic != entry.dynamic) {
    derail("a traits entry with another sealed count or dynamic flag");
  }
}

void ReadingModel::members3(const AMFObject& node, AMFObject& read) {
  for (std::uint32_t i = 0; i < node.sealedCount; ++i) {
    const AMFPair* const pair = pairAt(node, i);
    if (!pair) refuse("setAMF3Object: invalid sealed properties number");
    attributes(*pair);
    Node member = value(pair->value, node.version, true);
    if (!reading()) continue;
    static_cast<AMFPair*>(read.children[i])->setValue(member.release(), false);
  }
  if (!node.dynamic) {
    lose(node.children.size() > node.sealedCount, "members beyond the sealed ones");
    return;
  }
  for (std::size_t i = node.sealedCount; i < node.children.size(); ++i) {
    const AMFPair* const pair = pairAt(node, i);
    if (!pair) refuse("setAMF3Object: invalid dynamic properties number");
    Pair readPair = pair3(*pair);
    readPair->setValue(value(pair->value, pair->version, true).release(), false);
    read.appendChild(readPair.release(), false);
  }
}

ReadingModel::Node ReadingModel::externalizable3(const AMFObject& node) {
  lose(node.dynamic || node.sealedCount != 0 || node.traitsIndex != kNone,
       "dynamic, sealed count and traits of an externalizable object");
  lose(node.children.size() > 1, "members of an externalizable object beyond the first");
  auto read = std::make_unique<AMFObject>(AMF_VERSION_3);
  begun3.push_back(read.get());
  lose(node.className &&
           (node.className->version != AMF_VERSION_3 || !node.className->children.empty()),
       "version and children of an AMF3 name");
  read->externalizable = true;
  read->setClassName(string3(node.className).release(), false);
  if (reading() && !acceptedClass(*read->className)) {
    readerRefuses("getAMF3Object(): unsupported externalizable class type");
  }
  traits3.push_back(read.get());
  const AMFPair* const pair = pairAt(node, 0);
  if (!pair || !pair->value) refuse("setNodeValue(): lack of value type node");
  attributes(*pair);
  lose(pair->type != AMFNode::AMF_PAIR, kPairKinds);
  lose(!pair->name || pair->name->length != 0 || pair->name->version != AMF_VERSION_3 ||
           pair->name->referenceIndex != kNone || !pair->name->children.empty() ||
           pair->version != AMF_VERSION_3,
       "name and version of an externalizable object's pair");
  auto readPair = std::make_unique<AMFPair>(AMF_VERSION_3);
  readPair->setValue(value(pair->value, node.version, true).release(), false);
  read->appendChild(readPair.release(), false);
  read->complete = true;
  return read;
}

}  // namespace support
