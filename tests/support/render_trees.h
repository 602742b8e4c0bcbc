// SPDX-License-Identifier: Apache-2.0
//
// Short builders for the trees of the renderer's tests. Every call returns a new node that the
// caller owns; the composites adopt what they are given, null pointers included.
#ifndef TESTS_SUPPORT_RENDER_TREES_H
#define TESTS_SUPPORT_RENDER_TREES_H

#include <AMF2JSON.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>

namespace support {

constexpr AMFVersion v0 = AMF_VERSION_0;
constexpr AMFVersion v3 = AMF_VERSION_3;

inline AMFNull* null(AMFVersion version = v0) {
  return new AMFNull(version);
}
inline AMFUndefined* undefined(AMFVersion version = v0) {
  return new AMFUndefined(version);
}

inline AMFBool* boolean(bool value, AMFVersion version = v0) {
  AMFBool* node = new AMFBool(version);
  node->value = value;
  return node;
}

inline AMFInt* integer(std::uint32_t value, AMFVersion version = v3) {
  AMFInt* node = new AMFInt(version);
  node->value = value;
  return node;
}

inline AMFDouble* number(double value, AMFVersion version = v0) {
  AMFDouble* node = new AMFDouble(version);
  node->value = value;
  return node;
}

inline AMFDate* date(double milliseconds, AMFVersion version = v0) {
  AMFDate* node = new AMFDate(version);
  node->value = milliseconds;
  return node;
}

inline AMFString* text(const std::string& bytes, AMFVersion version = v0) {
  AMFString* node = new AMFString(version);
  node->setValue(bytes.data(), static_cast<unsigned>(bytes.size()));
  return node;
}

inline AMFXML* xml(const std::string& bytes, std::uint32_t document, AMFVersion version = v0) {
  AMFXML* node = new AMFXML(version);
  node->setValue(bytes.data(), static_cast<unsigned>(bytes.size()));
  node->document = document;
  return node;
}

inline AMFRaw* raw(const std::string& bytes, AMFVersion version = v3) {
  AMFRaw* node = new AMFRaw(version);
  node->setValue(bytes.data(), static_cast<unsigned>(bytes.size()));
  return node;
}

inline AMFPair* pair(AMFString* name, AMFNode* value, AMFVersion version = v0) {
  AMFPair* node = new AMFPair(version);
  delete node->name;
  delete node->value;
  node->name = name;
  node->value = value;
  return node;
}

inline AMFPair* pair(const std::string& name, AMFNode* value, AMFVersion version = v0) {
  return pair(text(name, version), value, version);
}

inline AMFObject* object(std::initializer_list<AMFNode*> members, AMFVersion version = v0,
                         const std::string& className = std::string()) {
  AMFObject* node = new AMFObject(version);
  node->setClassName(text(className, version), false);
  for (AMFNode* member : members) {
    node->children.push_back(member);
    if (member) member->parent = node;
  }
  return node;
}

inline AMFArray* array(std::initializer_list<AMFNode*> elements, AMFVersion version = v0,
                       std::uint32_t strict = 0) {
  AMFArray* node = new AMFArray(version);
  node->strict = strict;
  for (AMFNode* element : elements) {
    node->children.push_back(element);
    if (!element) continue;
    element->parent = node;
    if (element->type != AMFNode::AMF_PAIR) ++node->denseCount;
  }
  return node;
}

inline AMFHeader* header(const std::string& name, AMFNode* value, bool mustUnderstand = false,
                         std::uint32_t length = 0xFFFFFFFFu) {
  AMFHeader* node = new AMFHeader();
  node->setName(text(name), false);
  delete node->value;
  node->value = value;
  node->mustUnderstand = mustUnderstand;
  node->length = length;
  return node;
}

inline AMFMessage* message(const std::string& target, const std::string& response, AMFNode* value,
                           std::uint32_t length = 0xFFFFFFFFu) {
  AMFMessage* node = new AMFMessage();
  node->setTargetUri(text(target), false);
  node->setResponseUri(text(response), false);
  delete node->value;
  node->value = value;
  node->length = length;
  return node;
}

/// Headers first, then messages.
inline AMFPackage* packet(std::initializer_list<AMFNode*> content, AMFVersion version = v0) {
  AMFPackage* node = new AMFPackage(version);
  for (AMFNode* part : content) {
    if (part->type == AMFNode::AMF_HEADER)
      node->appendHeader(static_cast<AMFHeader*>(part), false);
    else
      node->appendMessage(static_cast<AMFMessage*>(part), false);
  }
  return node;
}

/// The node with `referenceIndex` set.
template <class Node>
Node* referenced(Node* node, std::uint32_t index) {
  node->referenceIndex = index;
  return node;
}

/// An undefined node whose kind code is `code`.
inline AMFUndefined* unknown(std::uint32_t code, AMFVersion version = v0) {
  AMFUndefined* node = new AMFUndefined(version);
  node->type = static_cast<AMFNode::AMFType>(code);
  return node;
}

/// A renderer of either kind with a package that goes when this goes.
template <class Renderer>
class WithPackage {
 public:
  explicit WithPackage(AMFPackage* shown = nullptr) : held(shown) { renderer.package = shown; }
  ~WithPackage() { renderer.package = nullptr; }
  WithPackage(const WithPackage&) = delete;
  WithPackage& operator=(const WithPackage&) = delete;
  void show(AMFPackage* next) {
    renderer.package = next;
    held.reset(next);
  }
  Renderer renderer;

 private:
  std::unique_ptr<AMFPackage> held;
};

}  // namespace support

#endif  // TESTS_SUPPORT_RENDER_TREES_H
