// SPDX-License-Identifier: Apache-2.0
//
// The nodes of the envelope: header, message, package. Tested by tests/model/model_test.cpp.
#include "AMF2JSON.h"
#include "memory/node_pool.h"
#include "memory/tree_deleter.h"
#include "model/attach.h"

using namespace amf2json;

AMFHeader::AMFHeader() : AMFHeader(nullptr) {}
AMFHeader::AMFHeader(AMFNode* nodeParent) : AMFPair(AMF_VERSION_0, nodeParent, AMF_HEADER) {}
AMFHeader::AMFHeader(const Unfilled& unfilled) noexcept
    : AMFPair(unfilled, AMF_VERSION_0, AMF_HEADER) {}
AMFHeader::AMFHeader(const AMFHeader& source) = default;
AMFHeader::~AMFHeader() = default;
AMFHeader* AMFHeader::clone() const {
  return allocatorOfThisThread().copy(*this);
}

AMFMessage::AMFMessage() : AMFMessage(nullptr) {}
AMFMessage::AMFMessage(AMFNode* nodeParent) : AMFNode(AMF_MESSAGE, AMF_VERSION_0, nodeParent) {
  auto target = std::make_unique<AMFString>(AMF_VERSION_0);
  auto response = std::make_unique<AMFString>(AMF_VERSION_0);
  value = new AMFUndefined(AMF_VERSION_0);
  targetUri = target.release();
  responseUri = response.release();
}

AMFMessage::AMFMessage(const Unfilled&) noexcept
    : AMFNode(AMF_MESSAGE, AMF_VERSION_0, nullptr),
      targetUri(nullptr),
      responseUri(nullptr),
      value(nullptr) {}

AMFMessage::AMFMessage(const AMFMessage& source) : AMFNode(source), length(source.length) {
  auto target = model::copyOf(source.targetUri);
  auto response = model::copyOf(source.responseUri);
  value = model::copyOf(source.value).release();
  targetUri = target.release();
  responseUri = response.release();
}

AMFMessage::~AMFMessage() {
  TreeDeleter deleter;
  deleter.destroy(targetUri);
  deleter.destroy(responseUri);
  deleter.destroy(value);
}
AMFMessage* AMFMessage::clone() const {
  return allocatorOfThisThread().copy(*this);
}

void AMFMessage::setTargetUri(AMFString* uri, bool copy) {
  model::replace(targetUri, uri, copy);
}
void AMFMessage::setResponseUri(AMFString* uri, bool copy) {
  model::replace(responseUri, uri, copy);
}

void AMFMessage::setValue(AMFNode* newValue, bool copy) {
  if (!newValue) return;
  if (model::isStructure(newValue->type)) {
    throw AMFException("AMFMessage::setValue(): invalid value type node");
  }
  model::replace(value, newValue, copy);
}

AMFPackage::AMFPackage(AMFVersion packetVersion) : AMFNode(AMF_PACKAGE, packetVersion, nullptr) {}
AMFPackage::AMFPackage(const AMFPackage& source) = default;
AMFPackage::~AMFPackage() = default;
AMFPackage* AMFPackage::clone() const {
  return allocatorOfThisThread().copy(*this);
}

void AMFPackage::appendHeader(AMFHeader* header, bool copy) {
  AMFNode::appendChild(header, copy);
  ++headerCount;  // Kept: also counts a null header, which is not attached.
}
void AMFPackage::appendMessage(AMFMessage* message, bool copy) {
  AMFNode::appendChild(message, copy);
}

AMFHeader* AMFPackage::getHeader(unsigned int index) const {
  return index < headerCount ? model::castUnchecked<AMFHeader>(getChild(index)) : nullptr;
}
AMFMessage* AMFPackage::getMessage(unsigned int index) const {
  // Kept: the subtraction wraps at 32 bits, as everywhere where messages are counted.
  const auto messageCount = static_cast<std::uint32_t>(children.size()) - headerCount;
  return index < messageCount ? model::castUnchecked<AMFMessage>(getChild(headerCount + index))
                              : nullptr;
}
