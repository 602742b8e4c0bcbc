// SPDX-License-Identifier: Apache-2.0
//
// Trees built by hand in one expression, through the public constructors and setters only. Every
// function returns a new node that the caller owns; a node passed in is adopted. Owner holds the
// finished tree.
//
//   const Owner tree(object(k3, "C", {member(k3, "v", boolean(k3, false))}, sealed(1)));
#ifndef TESTS_SUPPORT_TREES_H
#define TESTS_SUPPORT_TREES_H

#include <AMF2JSON.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

/// A table's tree: a function that builds it anew at each call.
#define TREE(...) ([]() -> AMFNode* { return __VA_ARGS__; })

namespace trees {

using Owner = std::unique_ptr<AMFNode>;

inline constexpr AMFVersion k0 = AMF_VERSION_0;
inline constexpr AMFVersion k3 = AMF_VERSION_3;

inline constexpr AMFVersion versionOf(std::uint32_t number) {
  return static_cast<AMFVersion>(number);
}

/// A node of a kind that the library has no class for.
class Stranger : public AMFNode {
 public:
  Stranger(std::uint32_t kind, AMFVersion nodeVersion)
      : AMFNode(static_cast<AMFType>(kind), nodeVersion, nullptr) {}
  Stranger* clone() const override { return new Stranger(*this); }
};

/// The same node, marked as read through reference `index`.
template <class Node>
Node* reference(Node* node, std::uint32_t index) {
  node->referenceIndex = index;
  return node;
}

/// The same array or object, marked as read to its end, as the AMF3 reader leaves it.
template <class Node>
Node* complete(Node* node) {
  node->complete = true;
  return node;
}

inline AMFNull* null(AMFVersion version) {
  return new AMFNull(version);
}

inline AMFUndefined* undefined(AMFVersion version) {
  return new AMFUndefined(version);
}

inline AMFBool* boolean(AMFVersion version, bool value) {
  auto* const node = new AMFBool(version);
  node->value = value;
  return node;
}

/// A bool whose stored byte is neither 0 nor 1.
inline AMFBool* booleanByte(AMFVersion version, std::uint8_t byte) {
  auto* const node = new AMFBool(version);
  static_assert(sizeof node->value == 1, "a bool is one byte here");
  std::memcpy(&node->value, &byte, 1);
  return node;
}

inline AMFInt* integer(AMFVersion version, std::uint32_t value) {
  auto* const node = new AMFInt(version);
  node->value = value;
  return node;
}

inline AMFDouble* number(AMFVersion version, double value) {
  auto* const node = new AMFDouble(version);
  node->value = value;
  return node;
}

inline AMFDate* date(AMFVersion version, double value) {
  auto* const node = new AMFDate(version);
  node->value = value;
  return node;
}

template <class Node>
Node* filled(Node* node, std::string_view bytes) {
  node->setValue(bytes.data(), static_cast<unsigned>(bytes.size()));
  return node;
}

inline AMFString* string(AMFVersion version, std::string_view bytes) {
  return filled(new AMFString(version), bytes);
}

inline AMFRaw* raw(AMFVersion version, std::string_view bytes) {
  return filled(new AMFRaw(version), bytes);
}

inline AMFXML* xml(AMFVersion version, std::string_view bytes, std::uint32_t document) {
  auto* const node = filled(new AMFXML(version), bytes);
  node->document = document;
  return node;
}

/// A node whose length promises bytes that are not there.
template <class Node>
Node* withoutBytes(Node* node, std::uint32_t length) {
  node->length = length;
  return node;
}

inline AMFPair* member(AMFVersion version, AMFString* name, AMFNode* value) {
  auto* const pair = new AMFPair(version);
  pair->setName(name, false);
  pair->setValue(value, false);
  return pair;
}

inline AMFPair* member(AMFVersion version, std::string_view name, AMFNode* value) {
  return member(version, string(version, name), value);
}

inline AMFPair* nameless(AMFPair* pair) {
  delete pair->name;
  pair->name = nullptr;
  return pair;
}

inline AMFPair* valueless(AMFPair* pair) {
  delete pair->value;
  pair->value = nullptr;
  return pair;
}

/// Pairs are attached without counting, values are counted in denseCount; null becomes a null
/// child.
inline AMFArray* array(AMFVersion version, std::initializer_list<AMFNode*> children,
                       std::uint32_t strict = 0) {
  auto* const node = new AMFArray(version);
  node->strict = strict;
  for (AMFNode* const child : children) {
    if (child != nullptr) {
      node->appendChild(child, false);
    } else {
      node->children.push_back(nullptr);
    }
  }
  return node;
}

inline AMFArray* counted(AMFArray* node, std::uint32_t denseCount) {
  node->denseCount = denseCount;
  return node;
}

/// What an AMF3 object says of its members.
struct Traits {
  std::uint32_t sealedCount = 0;
  bool dynamic = false;
  std::uint32_t traitsIndex = AMFNode::kNoReference;
  bool externalizable = false;
};

inline constexpr Traits sealed(std::uint32_t count) {
  return {count, false, AMFNode::kNoReference, false};
}
inline constexpr Traits dynamic(std::uint32_t sealedCount = 0) {
  return {sealedCount, true, AMFNode::kNoReference, false};
}
inline constexpr Traits externalizable() {
  return {0, false, AMFNode::kNoReference, true};
}

inline AMFObject* object(AMFVersion version, AMFString* className,
                         std::initializer_list<AMFPair*> members, const Traits& traits = {}) {
  auto* const node = new AMFObject(version);
  node->setClassName(className, false);
  node->sealedCount = traits.sealedCount;
  node->dynamic = traits.dynamic;
  node->traitsIndex = traits.traitsIndex;
  node->externalizable = traits.externalizable;
  for (AMFPair* const pair : members) {
    if (pair != nullptr) {
      node->appendChild(pair, false);
    } else {
      node->children.push_back(nullptr);
    }
  }
  return node;
}

inline AMFObject* object(AMFVersion version, std::string_view className,
                         std::initializer_list<AMFPair*> members, const Traits& traits = {}) {
  return object(version, string(version, className), members, traits);
}

inline AMFObject* classless(AMFObject* node) {
  delete node->className;
  node->className = nullptr;
  return node;
}

/// Any node among an object's or an array's children, unchecked.
template <class Node>
Node* withChild(Node* parent, AMFNode* child) {
  parent->AMFNode::appendChild(child, false);
  return parent;
}

inline AMFHeader* header(std::string_view name, AMFNode* value, bool mustUnderstand = false,
                         std::uint32_t length = 0xFFFFFFFFu) {
  auto* const node = new AMFHeader();
  node->setName(string(k0, name), false);
  node->setValue(value, false);
  node->mustUnderstand = mustUnderstand;
  node->length = length;
  return node;
}

inline AMFMessage* message(std::string_view target, std::string_view response, AMFNode* value,
                           std::uint32_t length = 0xFFFFFFFFu) {
  auto* const node = new AMFMessage();
  node->setTargetUri(string(k0, target), false);
  node->setResponseUri(string(k0, response), false);
  node->setValue(value, false);
  node->length = length;
  return node;
}

inline AMFPackage* package(AMFVersion version, std::initializer_list<AMFHeader*> headers,
                           std::initializer_list<AMFMessage*> messages) {
  auto* const node = new AMFPackage(version);
  for (AMFHeader* const one : headers) node->appendHeader(one, false);
  for (AMFMessage* const one : messages) node->appendMessage(one, false);
  return node;
}

/// Hands `node` to `call` and deletes it afterwards.
template <class Node, class Call>
void with(Node* node, Call call) {
  const std::unique_ptr<Node> owner(node);
  call(owner.get());
}

}  // namespace trees

/// A table's call of one writer: WRITE(string(k0, "a"), setByteArray(node)).
#define WRITE(tree, ...) \
  ([](AMFProtocol& p) { trees::with(tree, [&p](auto* node) { p.__VA_ARGS__; }); })

#endif  // TESTS_SUPPORT_TREES_H
