// SPDX-License-Identifier: Apache-2.0
//
// Trees built by hand in one expression, through the public interface only. Every function returns
// a new node that the caller owns; a node passed in is adopted, unchecked: null pointers and nodes
// that the setters refuse stay where they are put. Owner holds the finished tree.
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
template <class Node>
std::unique_ptr<Node> own(Node* node) {
  return std::unique_ptr<Node>(node);
}

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

inline AMFNode* unknown(AMFVersion version, std::uint32_t kind) {
  return new Stranger(kind, version);
}

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

/// `node` in `place`, instead of what is there.
template <class Node>
void put(Node*& place, Node* node) {
  delete place;
  place = node;
}

inline AMFPair* member(AMFVersion version, AMFString* name, AMFNode* value) {
  auto* const pair = new AMFPair(version);
  put(pair->name, name);
  put(pair->value, value);
  return pair;
}

inline AMFPair* member(AMFVersion version, std::string_view name, AMFNode* value) {
  return member(version, string(version, name), value);
}

inline AMFPair* nameless(AMFPair* pair) {
  put(pair->name, static_cast<AMFString*>(nullptr));
  return pair;
}

inline AMFPair* valueless(AMFPair* pair) {
  put(pair->value, static_cast<AMFNode*>(nullptr));
  return pair;
}

/// Any node or a null pointer at the end of a node's children.
template <class Node>
Node* withChild(Node* parent, AMFNode* child) {
  parent->children.push_back(child);
  if (child != nullptr) child->parent = parent;
  return parent;
}

/// What is neither null nor a pair is counted in denseCount.
inline AMFArray* array(AMFVersion version, std::initializer_list<AMFNode*> children,
                       std::uint32_t strict = 0) {
  auto* const node = new AMFArray(version);
  node->strict = strict;
  for (AMFNode* const child : children) {
    withChild(node, child);
    if (child != nullptr && child->type != AMFNode::AMF_PAIR) ++node->denseCount;
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
                         std::initializer_list<AMFNode*> members, const Traits& traits = {}) {
  auto* const node = new AMFObject(version);
  put(node->className, className);
  node->sealedCount = traits.sealedCount;
  node->dynamic = traits.dynamic;
  node->traitsIndex = traits.traitsIndex;
  node->externalizable = traits.externalizable;
  for (AMFNode* const one : members) withChild(node, one);
  return node;
}

inline AMFObject* object(AMFVersion version, std::string_view className,
                         std::initializer_list<AMFNode*> members, const Traits& traits = {}) {
  return object(version, string(version, className), members, traits);
}

inline AMFObject* classless(AMFObject* node) {
  put(node->className, static_cast<AMFString*>(nullptr));
  return node;
}

inline AMFHeader* header(std::string_view name, AMFNode* value, bool mustUnderstand = false,
                         std::uint32_t length = 0xFFFFFFFFu) {
  auto* const node = new AMFHeader();
  put(node->name, string(k0, name));
  put(node->value, value);
  node->mustUnderstand = mustUnderstand;
  node->length = length;
  return node;
}

inline AMFMessage* message(std::string_view target, std::string_view response, AMFNode* value,
                           std::uint32_t length = 0xFFFFFFFFu) {
  auto* const node = new AMFMessage();
  put(node->targetUri, string(k0, target));
  put(node->responseUri, string(k0, response));
  put(node->value, value);
  node->length = length;
  return node;
}

/// Headers first, then messages.
inline AMFPackage* package(AMFVersion version, std::initializer_list<AMFNode*> content) {
  auto* const node = new AMFPackage(version);
  for (AMFNode* const one : content) {
    if (one->type == AMFNode::AMF_HEADER) ++node->headerCount;
    withChild(node, one);
  }
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
