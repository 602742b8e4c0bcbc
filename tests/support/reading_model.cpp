// SPDX-License-Identifier: Apache-2.0
//
// The envelope and the AMF0 half of the reading model. Enter at ReadingModel::of().
#include "support/reading_model.h"

#include <cstring>
#include <utility>

namespace support {
namespace {

template <class Node>
const Node& as(const AMFNode& node) {
  return static_cast<const Node&>(node);
}

std::uint8_t byteOf(const bool& flag) {
  std::uint8_t byte;
  std::memcpy(&byte, &flag, 1);
  return byte;
}

constexpr std::uint32_t kNone = AMFNode::kNoReference;

}  // namespace

Outcome ReadingModel::of(const AMFPackage& tree) {
  ReadingModel model;
  try {
    model.package(tree);
  } catch (const Refused& refused) {
    model.outcome.writerRefusal = refused.text;
  }
  return std::move(model.outcome);
}

// ---------------------------------------------------------------------------------------------------
// The envelope

void ReadingModel::package(const AMFPackage& tree) {
  outcome.package = std::make_unique<AMFPackage>(static_cast<AMFVersion>(tree.version & 0xFFFFu));
  lose(outcome.package->version != tree.version, "a package version keeps 16 bits");
  const auto childCount = static_cast<std::uint32_t>(tree.children.size());
  for (std::uint32_t i = 0; i < tree.headerCount; ++i) {
    outcome.package->appendHeader(
        header(i < childCount ? static_cast<const AMFHeader*>(tree.children[i]) : nullptr)
            .release(),
        false);
  }
  for (std::uint32_t i = tree.headerCount; i < childCount; ++i) {
    outcome.package->appendMessage(
        message(static_cast<const AMFMessage*>(tree.children[i])).release(), false);
  }
}

void ReadingModel::begin() {
  ended0.clear();
  strings.clear();
  begun3.clear();
  traits3.clear();
}

std::unique_ptr<AMFHeader> ReadingModel::header(const AMFHeader* node) {
  if (!node) refuse("setHeader(): lack of header type node");
  begin();
  attributes(*node);
  lose(node->version != AMF_VERSION_0, "headers and messages read back as version 0");
  auto read = std::make_unique<AMFHeader>();
  read->setName(name0(node->name, true).release(), false);
  const std::uint8_t must = byteOf(node->mustUnderstand);
  lose(must > 1, "a stored bool byte reads back as true");
  read->mustUnderstand = must != 0;
  read->length = node->length;
  read->setValue(value(node->value, node->version, false).release(), false);
  return read;
}

std::unique_ptr<AMFMessage> ReadingModel::message(const AMFMessage* node) {
  if (!node) refuse("setMessage(): lack of message type node");
  begin();
  attributes(*node);
  lose(node->version != AMF_VERSION_0, "headers and messages read back as version 0");
  auto read = std::make_unique<AMFMessage>();
  read->setTargetUri(name0(node->targetUri, true).release(), false);
  read->setResponseUri(name0(node->responseUri, true).release(), false);
  read->length = node->length;
  read->setValue(value(node->value, node->version, false).release(), false);
  return read;
}

// ---------------------------------------------------------------------------------------------------
// Dispatch

// What stands on nodes and is not written anywhere.
void ReadingModel::attributes(const AMFNode& node) {
  const bool composite = node.type == AMFNode::AMF_ARRAY || node.type == AMFNode::AMF_OBJECT;
  lose(!composite && !node.children.empty(), "children of other nodes than arrays and objects");
  lose(node.version != AMF_VERSION_0 && node.version != AMF_VERSION_3,
       "another version than 0 reads back as 3");
  const bool structure = node.type == AMFNode::AMF_PAIR || node.type == AMFNode::AMF_HEADER ||
                         node.type == AMFNode::AMF_MESSAGE;
  lose(structure && node.referenceIndex != kNone, "a reference index of a kind that has none");
}

ReadingModel::Node ReadingModel::value(const AMFNode* node, AMFVersion place, bool readAsAmf3) {
  if (!node) refuse("setNodeValue(): lack of value type node");
  attributes(*node);
  if (node->version == AMF_VERSION_0) {
    if (place == AMF_VERSION_3) refuse("setNodeValue(): switching AMF3 -> AMF0  is impossible");
    if (readAsAmf3) derail("AMF0 value where a reader expects AMF3");
    return node->referenceIndex != kNone ? reference0(*node) : value0(*node);
  }
  if (place == AMF_VERSION_0 && readAsAmf3) {
    readerRefuses("getAMF3Value(): unknown value type marker");  // the switch marker
  }
  if (place != AMF_VERSION_0 && !readAsAmf3) derail("AMF3 value without a switch in an AMF0 place");
  return value3(*node);
}

// ---------------------------------------------------------------------------------------------------
// AMF0

ReadingModel::Node ReadingModel::reference0(const AMFNode& node) {
  const std::uint32_t index = node.referenceIndex & 0xFFFFu;
  lose(index != node.referenceIndex, "an AMF0 reference keeps 16 bits");
  lose(true, "a reference reads back as what it points at");
  if (!reading()) return nullptr;
  if (index >= ended0.size()) {
    readerRefuses("getAMF0ByReference(): invalid reference index");
    return nullptr;
  }
  Node read(ended0[index]->clone());
  read->referenceIndex = index;
  return read;
}

ReadingModel::Node ReadingModel::value0(const AMFNode& node) {
  switch (node.type) {
    case AMFNode::AMF_NULL: return std::make_unique<AMFNull>(AMF_VERSION_0);
    case AMFNode::AMF_UNDEFINED: return std::make_unique<AMFUndefined>(AMF_VERSION_0);
    case AMFNode::AMF_BOOL: {
      auto read = std::make_unique<AMFBool>(AMF_VERSION_0);
      const std::uint8_t byte = byteOf(as<AMFBool>(node).value);
      lose(byte > 1, "a stored bool byte reads back as true");
      read->value = byte != 0;
      return read;
    }
    case AMFNode::AMF_DOUBLE: {
      auto read = std::make_unique<AMFDouble>(AMF_VERSION_0);
      read->value = as<AMFDouble>(node).value;
      return read;
    }
    case AMFNode::AMF_DATE: {
      auto read = std::make_unique<AMFDate>(AMF_VERSION_0);
      read->value = as<AMFDate>(node).value;
      return read;
    }
    case AMFNode::AMF_STRING: {
      auto read = std::make_unique<AMFString>(AMF_VERSION_0);
      bytes(as<AMFString>(node), *read);
      return read;
    }
    case AMFNode::AMF_XML: return xml0(as<AMFXML>(node));
    case AMFNode::AMF_OBJECT: return object0(as<AMFObject>(node));
    case AMFNode::AMF_ARRAY: return array0(as<AMFArray>(node));
    case AMFNode::AMF_INT:
      refuse("setNodeValue(): integer type is not supported in AMF0 use double instead");
    case AMFNode::AMF_RAW:
      refuse("setNodeValue(): byte array type is not supported in AMF0 version of protocol");
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: refuse("setNodeValue(): this node can't be placed here");
  }
  derail("a kind code above 14 writes no value");
  return nullptr;
}

void ReadingModel::bytes(const AMFRaw& from, AMFRaw& to) {
  if (from.length != 0 && !from.data) {
    refuse("setByteArray(): lack of byte array value or bad array size");
  }
  to.setValue(from.data, from.length);
}

// `plain`: a name of version 0 as the reader makes it; nothing else of the node is written.
ReadingModel::String ReadingModel::name0(const AMFString* node, bool plain) {
  if (!node) refuse("setAMF0String(): lack of string type node");
  if (node->length > 65535) refuse("setAMF0String(): string is too large");
  lose(plain && (node->version != AMF_VERSION_0 || node->referenceIndex != kNone ||
                 !node->children.empty()),
       "version, reference and children of an AMF0 name");
  auto read = std::make_unique<AMFString>(AMF_VERSION_0);
  bytes(*node, *read);
  return read;
}

ReadingModel::Node ReadingModel::xml0(const AMFXML& node) {
  lose(node.document != 1, "AMF0 XML reads back as a document");
  auto read = std::make_unique<AMFXML>(AMF_VERSION_0);
  read->document = 1;
  bytes(node, *read);
  return read;
}

ReadingModel::Pair ReadingModel::pair0(const AMFPair& node) {
  if (!node.name) refuse("setAMF0Pair(): lack of pair type node name");
  if (!node.value) refuse("setAMF0Pair(): lack of pair type node value");
  attributes(node);
  lose(node.version != AMF_VERSION_0, "pairs read back in the version of their owner");
  auto read = std::make_unique<AMFPair>(AMF_VERSION_0);
  read->setName(name0(node.name, true).release(), false);
  read->setValue(value(node.value, node.version, false).release(), false);
  return read;
}

ReadingModel::Node ReadingModel::object0(const AMFObject& node) {
  lose(node.dynamic || node.externalizable || node.sealedCount != 0 || node.traitsIndex != kNone,
       "flags, sealed count and traits of an AMF0 object");
  lose(!node.className, "a missing class name reads back as empty");
  auto read = std::make_unique<AMFObject>(AMF_VERSION_0);
  if (node.className && node.className->length > 0) {
    read->setClassName(name0(node.className, true).release(), false);
  } else if (node.className) {
    lose(node.className->version != AMF_VERSION_0 || node.className->referenceIndex != kNone ||
             !node.className->children.empty(),
         "version, reference and children of an AMF0 name");
  }
  for (const AMFNode* const child : node.children) {
    if (!child) refuse("setAMF0Object(): lack of object property");
    if (child->type != AMFNode::AMF_PAIR) {
      refuse("setAMF0Object(): not a pair type node passed as object property");
    }
    read->appendChild(pair0(as<AMFPair>(*child)).release(), false);
  }
  ended0.push_back(read.get());
  return read;
}

ReadingModel::Node ReadingModel::array0(const AMFArray& node) {
  lose(node.strict > 1, "strict reads back as 0 or 1");
  auto read = std::make_unique<AMFArray>(AMF_VERSION_0);
  read->strict = node.strict != 0 ? 1 : 0;
  for (const AMFNode* const child : node.children) {
    if (node.strict != 0) {
      read->appendChild(value(child, node.version, false).release(), false);
      continue;
    }
    if (!child) refuse("setAMF0Object(): lack of array property");
    if (child->type != AMFNode::AMF_PAIR) {
      refuse("setAMF0Array(): not a pair type node passed as associative array property");
    }
    read->appendChild(pair0(as<AMFPair>(*child)).release(), false);
  }
  lose(node.denseCount != read->denseCount, "the dense count of an AMF0 array is counted anew");
  ended0.push_back(read.get());
  return read;
}

// ---------------------------------------------------------------------------------------------------

void normalise(AMFNode* node) {
  if (!node) return;
  const bool composite = node->type == AMFNode::AMF_ARRAY || node->type == AMFNode::AMF_OBJECT;
  node->complete = composite && node->version != AMF_VERSION_0;
  for (AMFNode* const child : node->children) normalise(child);
  if (auto* const pair = dynamic_cast<AMFPair*>(node)) {
    normalise(pair->name);
    normalise(pair->value);
  }
  if (auto* const message = dynamic_cast<AMFMessage*>(node)) {
    normalise(message->targetUri);
    normalise(message->responseUri);
    normalise(message->value);
  }
  auto* const object = dynamic_cast<AMFObject*>(node);
  if (object == nullptr) return;
  normalise(object->className);
  if (object->traitsIndex == kNone) return;
  if (object->className) object->className->referenceIndex = kNone;
  for (std::uint32_t i = 0; i < object->sealedCount && i < object->children.size(); ++i) {
    auto* const pair = dynamic_cast<AMFPair*>(object->children[i]);
    if (pair && pair->name) pair->name->referenceIndex = kNone;
  }
}

}  // namespace support
