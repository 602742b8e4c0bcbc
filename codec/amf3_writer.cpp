// SPDX-License-Identifier: Apache-2.0
//
// AMF3 value writers: a marker, mostly a U29 whose low bit tells reference from inline, a body.
// References are written exactly where nodes record them. Entered from writeValue. Mirrors
// amf3_reader.cpp. Tested by tests/amf3_writer_test.cpp.
#include "AMF2JSON.h"
#include "codec/writer.h"

using namespace amf2json;

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
constexpr auto kNoMarker = AMFProtocol::AMF3_UNDEFINED;

inline char* writeMarker(char* pen, AMFProtocol::AMF3Markers marker) {
  return marker == kNoMarker ? pen : piece::u8(pen, static_cast<std::uint32_t>(marker));
}

bool isReference(const AMFNode* node) {
  return node->referenceIndex != AMFNode::kNoReference;
}

}  // namespace

namespace amf2json::codec {

// A child of an object that is not a pair counts as missing.
const AMFPair* Writer::memberAt(char* pen, const AMFObject* object, std::uint32_t index,
                                const char* missing) {
  const AMFNode* const child = object->getChild(index);
  if (!child || child->type != AMFNode::AMF_PAIR) refuse(pen, missing);
  return static_cast<const AMFPair*>(child);
}

// Behind a marker where there is one. What is rare stands apart and is called last, so that no
// register has to be saved for it here.
inline char* Writer::writeU29(char* pen, AMFProtocol::AMF3Markers marker, std::uint32_t value) {
  if (value > piece::kTwoBytesMax || !hasRoom(pen, 3)) return writeU29Anew(pen, marker, value);
  pen = writeMarker(pen, marker);
  pen = piece::shortU29(pen, value);
  return pen;
}

// Long, too large, or first in a new block.
char* Writer::writeU29Anew(char* pen, AMFProtocol::AMF3Markers marker, std::uint32_t value) {
  pen = withRoom(pen, 1 + piece::kU29Bytes);
  pen = writeMarker(pen, marker);
  if (value > kU29Max) refuse(pen, "setAMF3Integer(): integer value is to large");
  pen = piece::u29(pen, value);
  return pen;
}

char* Writer::writeVLInteger(char* pen, std::uint32_t value) {
  return writeU29(pen, kNoMarker, value);
}

char* Writer::writeAMF3Integer(char* pen, const AMFInt* node) {
  if (!node) refuse(pen, "setAMF3Integer: lack of integer type node");
  // Kept: unsigned; a negative number is too large.
  return writeU29(pen, AMFProtocol::AMF3_INTEGER, node->value);
}

char* Writer::writeAMF3Double(char* pen, const AMFDouble* node) {
  if (!node) refuse(pen, "setAMF3Double: lack of double type node");
  return piece::number(pen, AMFProtocol::AMF3_DOUBLE, node->value);
}

char* Writer::writeAMF3String(char* pen, const AMFString* node, bool omitMarker) {
  if (!node) refuse(pen, "setAMF3String: lack of string type node");
  return writeReferenceOrBytes(pen, omitMarker ? kNoMarker : AMFProtocol::AMF3_STRING, node);
}

char* Writer::writeAMF3Date(char* pen, const AMFDate* node) {
  if (!node) refuse(pen, "setAMF3Date: lack of date type node");
  if (isReference(node)) {
    return writeU29(pen, AMFProtocol::AMF3_DATE, referenceTo(node->referenceIndex));
  }
  pen = piece::u8(pen, AMFProtocol::AMF3_DATE);
  return piece::number(pen, inlineCount(0), node->value);
}

AMF2JSON_RARE char* Writer::writeAMF3XML(char* pen, const AMFXML* node) {
  if (!node) refuse(pen, "setAMF3XML: lack of xml type node");
  pen = piece::u8(pen, node->document == 1 ? AMFProtocol::AMF3_XML_DOC : AMFProtocol::AMF3_XML);
  return writeAMF3Raw(pen, node);
}

char* Writer::writeAMF3Raw(char* pen, const AMFRaw* node) {
  if (!node) refuse(pen, "setAMF3Raw: lack of binary array type node");
  const bool alone = node->type == AMFNode::AMF_RAW;
  return writeReferenceOrBytes(pen, alone ? AMFProtocol::AMF3_BYTE_ARRAY : kNoMarker, node);
}

char* Writer::writeReferenceOrBytes(char* pen, AMFProtocol::AMF3Markers marker,
                                    const AMFRaw* node) {
  if (isReference(node)) return writeU29(pen, marker, referenceTo(node->referenceIndex));
  if (!piece::isSmall(node)) {
    return writeBytes(writeU29(pen, marker, inlineCount(node->length)), node);
  }
  pen = withRoom(pen, 1 + piece::kU29Bytes + node->length);
  pen = writeMarker(pen, marker);
  pen = piece::u29(pen, inlineCount(node->length));
  pen = piece::bytes(pen, node);
  return pen;
}

char* Writer::writeAMF3Array(char* pen, const AMFArray* array) {
  if (!array) refuse(pen, "setAMF3Array: lack of array type node");
  if (isReference(array)) {
    return writeU29(pen, AMFProtocol::AMF3_ARRAY, referenceTo(array->referenceIndex));
  }
  pen = writeU29(pen, AMFProtocol::AMF3_ARRAY, inlineCount(array->denseCount));
  std::size_t pairCount = 0;
  pen = writeAssociativePart(pen, array, pairCount);
  if (array->denseCount != array->children.size() - pairCount) {
    refuse(pen, "setAMF3Array : invalid array size");
  }
  pen = writeVLInteger(pen, kEmptyName);
  for (const AMFNode* const child : array->children) {
    if (!child) refuse(pen, "setAMF3Array(): invalid dense array size");  // Unreachable.
    if (child->type != AMFNode::AMF_PAIR) pen = writeValue(pen, child, array->version);
  }
  return pen;
}

// The pairs among the children, wherever they stand; counts them.
char* Writer::writeAssociativePart(char* pen, const AMFArray* array, std::size_t& pairCount) {
  for (const AMFNode* const child : array->children) {
    if (!child) refuse(pen, "setAMF3Array : invalid array size");
    if (child->type != AMFNode::AMF_PAIR) continue;
    const auto* const pair = static_cast<const AMFPair*>(child);
    if (!pair->name) {
      refuse(pen, "setAMF3Array : missing the property name in associative array");
    }
    pen = writeAMF3String(pen, pair->name, true);
    if (!pair->value) {
      refuse(pen, "setAMF3Array : missing the property value in associative array");
    }
    pen = writeValue(pen, pair->value, pair->version);
    ++pairCount;
  }
  return pen;
}

char* Writer::writeAMF3Object(char* pen, const AMFObject* object) {
  if (!object) refuse(pen, "setAMF3Object: lack of object type node");
  if (isReference(object)) {
    return writeU29(pen, AMFProtocol::AMF3_OBJECT, referenceTo(object->referenceIndex));
  }
  if (object->externalizable) return writeExternalized(pen, object);
  if (object->traitsIndex == AMFNode::kNoReference) {
    pen =
        writeU29(pen, AMFProtocol::AMF3_OBJECT, inlineTraits(object->sealedCount, object->dynamic));
    pen = writeAMF3String(pen, object->className, true);
    pen = writeMemberNames(pen, object);
  } else {
    pen = writeU29(pen, AMFProtocol::AMF3_OBJECT, traitsReferenceTo(object->traitsIndex));
  }
  return writeMembers(pen, object);
}

char* Writer::writeMemberNames(char* pen, const AMFObject* object) {
  for (std::uint32_t i = 0; i < object->sealedCount; ++i) {
    const AMFPair* const pair =
        memberAt(pen, object, i, "setAMF3Object: invalid object's properties number");
    pen = writeAMF3String(pen, pair->name, true);
  }
  return pen;
}

// The values of the sealed members, then the dynamic members.
char* Writer::writeMembers(char* pen, const AMFObject* object) {
  for (std::uint32_t i = 0; i < object->sealedCount; ++i) {
    const AMFPair* const pair =
        memberAt(pen, object, i, "setAMF3Object: invalid sealed properties number");
    pen = writeValue(pen, pair->value, object->version);
  }
  if (!object->dynamic) return pen;  // Kept: further children are left out in silence.
  for (std::size_t i = object->sealedCount; i < object->children.size(); ++i) {
    const AMFPair* const pair = memberAt(pen, object, static_cast<std::uint32_t>(i),
                                         "setAMF3Object: invalid dynamic properties number");
    pen = writeAMF3String(pen, pair->name, true);
    pen = writeValue(pen, pair->value, pair->version);
  }
  return writeVLInteger(pen, kEmptyName);
}

// Kept: class name and first value only; a missing first member is refused as a missing value.
char* Writer::writeExternalized(char* pen, const AMFObject* object) {
  pen = writeU29(pen, AMFProtocol::AMF3_OBJECT, kExternalizableTraits);
  pen = writeAMF3String(pen, object->className, true);
  const AMFNode* const first = object->getChild(0);
  const bool isPair = first && first->type == AMFNode::AMF_PAIR;
  return writeValue(pen, isPair ? static_cast<const AMFPair*>(first)->value : nullptr,
                    object->version);
}

}  // namespace amf2json::codec
