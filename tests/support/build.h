// SPDX-License-Identifier: Apache-2.0
//
// Hand-made nodes in one line each, for trees that no packet yields. The caller owns what comes
// back.
#ifndef TESTS_SUPPORT_BUILD_H
#define TESTS_SUPPORT_BUILD_H

#include <AMF2JSON.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace support {

inline std::unique_ptr<AMFString> makeString(AMFVersion version, std::string_view text,
                                             std::uint32_t reference = AMFNode::kNoReference) {
  auto node = std::make_unique<AMFString>(version);
  node->setValue(text.data(), static_cast<unsigned>(text.size()));
  node->referenceIndex = reference;
  return node;
}

inline std::unique_ptr<AMFInt> makeInt(std::uint32_t value) {
  auto node = std::make_unique<AMFInt>(AMF_VERSION_3);
  node->value = value;
  return node;
}

/// A member with the given name; the value is a copy of `value`.
inline std::unique_ptr<AMFPair> makePair(AMFVersion version, std::string_view name,
                                         AMFNode& value) {
  auto pair = std::make_unique<AMFPair>(version);
  pair->setName(makeString(version, name).release(), false);
  pair->setValue(&value, true);
  return pair;
}

/// A node of each class, filled with something other than its defaults. `code` picks the kind;
/// above 14 it is a null node whose kind code was overwritten.
inline std::unique_ptr<AMFNode> makeKind(std::uint32_t code) {
  const AMFVersion v3 = AMF_VERSION_3;
  switch (code) {
    case AMFNode::AMF_NULL: return std::make_unique<AMFNull>(v3);
    case AMFNode::AMF_BOOL: {
      auto node = std::make_unique<AMFBool>(v3);
      node->value = true;
      return node;
    }
    case AMFNode::AMF_INT: return makeInt(7);
    case AMFNode::AMF_DOUBLE: {
      auto node = std::make_unique<AMFDouble>(v3);
      node->value = 1.5;
      return node;
    }
    case AMFNode::AMF_STRING: return makeString(v3, "text", 4);
    case AMFNode::AMF_OBJECT: {
      auto node = std::make_unique<AMFObject>(v3);
      node->setClassName(makeString(v3, "C", 1).release(), false);
      node->sealedCount = 1;
      node->dynamic = node->externalizable = node->complete = true;
      node->traitsIndex = 2;
      node->appendChild(makePair(v3, "m", *makeInt(1)).release(), false);
      return node;
    }
    case AMFNode::AMF_DATE: {
      auto node = std::make_unique<AMFDate>(v3);
      node->value = 1000;
      return node;
    }
    case AMFNode::AMF_XML: {
      auto node = std::make_unique<AMFXML>(v3);
      node->document = 1;
      node->setValue("<a/>", 4);
      return node;
    }
    case AMFNode::AMF_ARRAY: {
      auto node = std::make_unique<AMFArray>(v3);
      node->strict = 1;
      node->complete = true;
      node->appendChild(makeInt(2).release(), false);
      node->appendChild(makePair(v3, "k", *makeInt(3)).release(), false);
      return node;
    }
    case AMFNode::AMF_RAW: {
      auto node = std::make_unique<AMFRaw>(v3);
      node->setValue("\0\x01", 2);
      return node;
    }
    case AMFNode::AMF_PAIR: return makePair(v3, "p", *makeInt(4));
    case AMFNode::AMF_UNDEFINED: return std::make_unique<AMFUndefined>(v3);
    case AMFNode::AMF_HEADER: {
      auto node = std::make_unique<AMFHeader>();
      node->setName(makeString(AMF_VERSION_0, "H").release(), false);
      node->setValue(makeInt(5).release(), false);
      node->mustUnderstand = true;
      node->length = 9;
      return node;
    }
    case AMFNode::AMF_MESSAGE: {
      auto node = std::make_unique<AMFMessage>();
      node->setTargetUri(makeString(AMF_VERSION_0, "T").release(), false);
      node->setResponseUri(makeString(AMF_VERSION_3, "R", 6).release(), false);
      node->setValue(makeInt(6).release(), false);
      node->length = 10;
      return node;
    }
    case AMFNode::AMF_PACKAGE: {
      auto node = std::make_unique<AMFPackage>(v3);
      node->appendHeader(static_cast<AMFHeader*>(makeKind(AMFNode::AMF_HEADER).release()), false);
      node->appendMessage(static_cast<AMFMessage*>(makeKind(AMFNode::AMF_MESSAGE).release()),
                          false);
      return node;
    }
    default: {
      auto node = std::make_unique<AMFNull>(v3);
      node->type = static_cast<AMFNode::AMFType>(code);
      return node;
    }
  }
}

inline constexpr std::uint32_t kLastKind = AMFNode::AMF_PACKAGE;

/// The dump of makeKind(code); above 14 with the code in it.
inline const char* const kKindDumps[] = {
    "null3",
    "bool3 true",
    "int3 7",
    "double3 1.5",
    "str3 'text'#ref4",
    "obj3{sealed=1 dyn ext traits=2 class='C'#ref1 'm':int3 1}",
    "date3 1000",
    "xml3{doc=1 '<a/>'}",
    "arr3{dense=1 strict int3 2, 'k':int3 3}",
    "raw3 [0001]",
    "pair3{'p':int3 4}",
    "undef3",
    "header{'H' must len=9 int3 5}",
    "message{'T' 'R'v3#ref6 len=10 int3 6}",
    "package3{headers=1 header{'H' must len=9 int3 5}, message{'T' 'R'v3#ref6 len=10 int3 6}}",
};

}  // namespace support

#endif  // TESTS_SUPPORT_BUILD_H
