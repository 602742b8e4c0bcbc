// SPDX-License-Identifier: Apache-2.0
//
// AMF3 value writers: a marker, mostly a U29 whose low bit tells reference from inline, a body.
// References are written exactly where nodes record them. Entered from setNodeValue. Mirrors
// amf3_reader.cpp. Tested by tests/amf3_writer_test.cpp.
#include "AMF2JSON.h"
#include "codec/output_chunks.h"

namespace {

// The U29 in front of a value; computed in 32 bits.
std::uint32_t referenceTo(std::uint32_t index) {
  return index << 1;
}
std::uint32_t inlineCount(std::uint32_t count) {
  return count << 1 | 1u;
}
std::uint32_t traitsReferenceTo(std::uint32_t index) {
  return index << 2 | 1u;
}
std::uint32_t inlineTraits(std::uint32_t sealedCount, bool dynamic) {
  return (sealedCount << 4) + (dynamic ? 8u : 0u) + 3u;
}
constexpr std::uint32_t kExternalizableTraits = 7;  // Kept: no sealed count and no dynamic bit.
constexpr std::uint32_t kEmptyName = 1;             // ends a list of members

constexpr std::uint32_t kU29Max = 0x3FFFFFFF;
constexpr std::uint32_t kThreeBytesMax = 0x1FFFFF;

bool isReference(const AMFNode* node) {
  return node->referenceIndex != AMFNode::kNoReference;
}

// A child of an object that is not a pair counts as missing.
const AMFPair* memberAt(const AMFObject* object, std::uint32_t index, const char* missing) {
  const AMFNode* const child = object->getChild(index);
  if (!child || child->type != AMFNode::AMF_PAIR) throw AMFException(missing);
  return static_cast<const AMFPair*>(child);
}

}  // namespace

// Kept: from kThreeBytesMax on the last byte holds eight bits, and the loop ends as soon as nothing
// is left: 0x200000 to 0x3FFFFF come out as three bytes, and bit 29 is lost.
void AMFProtocol::setVLInteger(unsigned int value) {
  if (value > kU29Max) throw AMFException("setAMF3Integer(): integer value is to large");
  std::uint8_t bytes[4];
  const unsigned lastBits = value > kThreeBytesMax ? 8 : 7;
  bytes[0] = static_cast<std::uint8_t>(value & ((1u << lastBits) - 1));
  std::uint32_t rest = value >> lastBits;
  unsigned count = 1;
  for (; rest != 0 && count < 4; rest >>= 7) {
    bytes[count++] = static_cast<std::uint8_t>((rest & 0x7Fu) | 0x80u);
  }
  while (count > 0) writeU8(bytes[--count]);
}

void AMFProtocol::setAMF3Integer(const AMFInt* node) {
  if (!node) throw AMFException("setAMF3Integer: lack of integer type node");
  writeU8(AMF3_INTEGER);
  setVLInteger(node->value);  // Kept: unsigned; a negative number is too large.
}

void AMFProtocol::setAMF3Double(const AMFDouble* node) {
  if (!node) throw AMFException("setAMF3Double: lack of double type node");
  writeU8(AMF3_DOUBLE);
  writeDouble(node->value);
}

void AMFProtocol::setAMF3String(const AMFString* node, bool omitMarker) {
  if (!node) throw AMFException("setAMF3String: lack of string type node");
  if (!omitMarker) writeU8(AMF3_STRING);
  writeReferenceOrBytes(node);
}

void AMFProtocol::setAMF3Date(const AMFDate* node) {
  if (!node) throw AMFException("setAMF3Date: lack of date type node");
  writeU8(AMF3_DATE);
  if (isReference(node)) return setVLInteger(referenceTo(node->referenceIndex));
  setVLInteger(inlineCount(0));
  writeDouble(node->value);
}

void AMFProtocol::setAMF3XML(const AMFXML* node) {
  if (!node) throw AMFException("setAMF3XML: lack of xml type node");
  writeU8(node->document == 1 ? AMF3_XML_DOC : AMF3_XML);
  setAMF3Raw(node);
}

void AMFProtocol::setAMF3Raw(const AMFRaw* node) {
  if (!node) throw AMFException("setAMF3Raw: lack of binary array type node");
  if (node->type == AMFNode::AMF_RAW) writeU8(AMF3_BYTE_ARRAY);
  writeReferenceOrBytes(node);
}

void AMFProtocol::writeReferenceOrBytes(const AMFRaw* node) {
  if (isReference(node)) return setVLInteger(referenceTo(node->referenceIndex));
  setVLInteger(inlineCount(node->length));
  setByteArray(node);
}

void AMFProtocol::setAMF3Array(const AMFArray* array) {
  if (!array) throw AMFException("setAMF3Array: lack of array type node");
  writeU8(AMF3_ARRAY);
  if (isReference(array)) return setVLInteger(referenceTo(array->referenceIndex));
  setVLInteger(inlineCount(array->denseCount));
  const std::size_t dense = array->children.size() - writeAssociativePart(array);
  if (array->denseCount != dense) throw AMFException("setAMF3Array : invalid array size");
  setVLInteger(kEmptyName);
  for (const AMFNode* const child : array->children) {
    if (!child) throw AMFException("setAMF3Array(): invalid dense array size");
    if (child->type != AMFNode::AMF_PAIR) setNodeValue(child, array->version);
  }
}

// The pairs among the children, wherever they stand. Returns their number.
std::size_t AMFProtocol::writeAssociativePart(const AMFArray* array) {
  std::size_t pairCount = 0;
  for (const AMFNode* const child : array->children) {
    if (!child) throw AMFException("setAMF3Array : invalid array size");
    if (child->type != AMFNode::AMF_PAIR) continue;
    const auto* const pair = static_cast<const AMFPair*>(child);
    if (!pair->name) {
      throw AMFException("setAMF3Array : missing the property name in associative array");
    }
    setAMF3String(pair->name, true);
    if (!pair->value) {
      throw AMFException("setAMF3Array : missing the property value in associative array");
    }
    setNodeValue(pair->value, pair->version);
    ++pairCount;
  }
  return pairCount;
}

void AMFProtocol::setAMF3Object(const AMFObject* object) {
  if (!object) throw AMFException("setAMF3Object: lack of object type node");
  writeU8(AMF3_OBJECT);
  if (isReference(object)) return setVLInteger(referenceTo(object->referenceIndex));
  if (object->externalizable) return writeExternalized(object);
  if (object->traitsIndex == AMFNode::kNoReference) {
    setVLInteger(inlineTraits(object->sealedCount, object->dynamic));
    setAMF3String(object->className, true);
    writeMemberNames(object);
  } else {
    setVLInteger(traitsReferenceTo(object->traitsIndex));
  }
  writeMembers(object);
}

void AMFProtocol::writeMemberNames(const AMFObject* object) {
  for (std::uint32_t i = 0; i < object->sealedCount; ++i) {
    setAMF3String(memberAt(object, i, "setAMF3Object: invalid object's properties number")->name,
                  true);
  }
}

// The values of the sealed members, then the dynamic members.
void AMFProtocol::writeMembers(const AMFObject* object) {
  for (std::uint32_t i = 0; i < object->sealedCount; ++i) {
    setNodeValue(memberAt(object, i, "setAMF3Object: invalid sealed properties number")->value,
                 object->version);
  }
  if (!object->dynamic) return;  // Kept: further children are left out in silence.
  for (std::size_t i = object->sealedCount; i < object->children.size(); ++i) {
    const AMFPair* const pair = memberAt(object, static_cast<std::uint32_t>(i),
                                         "setAMF3Object: invalid dynamic properties number");
    setAMF3String(pair->name, true);
    setNodeValue(pair->value, pair->version);
  }
  setVLInteger(kEmptyName);
}

// Kept: class name and first value only; a missing first member is refused as a missing value.
void AMFProtocol::writeExternalized(const AMFObject* object) {
  setVLInteger(kExternalizableTraits);
  setAMF3String(object->className, true);
  const AMFNode* const first = object->getChild(0);
  const bool isPair = first && first->type == AMFNode::AMF_PAIR;
  setNodeValue(isPair ? static_cast<const AMFPair*>(first)->value : nullptr, object->version);
}
