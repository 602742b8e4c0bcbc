// SPDX-License-Identifier: Apache-2.0
//
// The nodes of the envelope: header, message, package. Tested by tests/model_test.cpp.
#include "AMF2JSON.h"
#include "model/attach.h"
#include "model/drop.h"

using namespace amf2json;

AMFHeader::AMFHeader(AMFNode* nodeParent) : AMFPair(AMF_VERSION_0, nodeParent, AMF_HEADER) {}
AMFHeader::AMFHeader(AMFString* ownName, AMFNode* ownValue) noexcept
    : AMFPair(AMF_VERSION_0, AMF_HEADER, ownName, ownValue) {}
AMFHeader::AMFHeader(const AMFHeader& source) = default;
AMFHeader::~AMFHeader() = default;
AMFHeader* AMFHeader::clone() const {
  return new AMFHeader(*this);
}

AMFMessage::AMFMessage(AMFNode* nodeParent) : AMFNode(AMF_MESSAGE, AMF_VERSION_0, nodeParent) {
  auto target = std::make_unique<AMFString>(AMF_VERSION_0);
  auto response = std::make_unique<AMFString>(AMF_VERSION_0);
  value = new AMFUndefined(AMF_VERSION_0);
  targetUri = target.release();
  responseUri = response.release();
}

AMFMessage::AMFMessage(AMFString* ownTarget, AMFString* ownResponse, AMFNode* ownValue) noexcept
    : AMFNode(AMF_MESSAGE, AMF_VERSION_0, nullptr),
      targetUri(ownTarget),
      responseUri(ownResponse),
      value(ownValue) {}

AMFMessage::AMFMessage(const AMFMessage& source) : AMFNode(source), length(source.length) {
  auto target = model::copyOf(source.targetUri);
  auto response = model::copyOf(source.responseUri);
  value = model::copyOf(source.value).release();
  targetUri = target.release();
  responseUri = response.release();
}

AMFMessage::~AMFMessage() {
  model::Dropper dropper;
  dropper.drop(targetUri);
  dropper.drop(responseUri);
  dropper.drop(value);
}
AMFMessage* AMFMessage::clone() const {
  return new AMFMessage(*this);
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
  return new AMFPackage(*this);
}

void AMFPackage::appendHeader(AMFHeader* header, bool copy) {
  AMFNode::appendChild(header, copy);
  ++headerCount;  // Kept: counted also when the header was null and nothing was attached.
}
void AMFPackage::appendMessage(AMFMessage* message, bool copy) {
  AMFNode::appendChild(message, copy);
}

AMFHeader* AMFPackage::getHeader(unsigned int index) const {
  return index < headerCount ? static_cast<AMFHeader*>(getChild(index)) : nullptr;
}
AMFMessage* AMFPackage::getMessage(unsigned int index) const {
  // Kept: the difference is taken in 32 bits, as everywhere where messages are counted.
  const auto messageCount = static_cast<std::uint32_t>(children.size()) - headerCount;
  return index < messageCount ? static_cast<AMFMessage*>(getChild(headerCount + index)) : nullptr;
}
