// SPDX-License-Identifier: Apache-2.0
//
// AMF3 value writers: a marker, for most kinds a U29 header, and a body. The low bit of the header
// is 0 for a reference and 1 for an inline value. A reference is written exactly where a node
// records one. writeValue in amf0_writer.cpp calls these writers. The counterpart is
// amf3_reader.cpp. Tested by tests/codec/amf3_writer_test.cpp.
#include "AMF2JSON.h"
#include "codec/writer.h"
#include "model/attach.h"

using namespace amf2json;

namespace {

// The U29 header of a value. The arithmetic wraps at 32 bits.
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

inline char* writeMarker(char* out, AMFProtocol::AMF3Markers marker) {
  return marker == kNoMarker ? out : piece::u8(out, static_cast<std::uint32_t>(marker));
}

bool isReference(const AMFNode* node) {
  return node->referenceIndex != AMFNode::kNoReference;
}

}  // namespace

namespace amf2json::codec {

// Returns a child of an object as a pair. A child that is not a pair counts as missing.
const AMFPair* Writer::memberAt(char* out, const AMFObject* object, std::uint32_t index,
                                const char* missing) {
  const AMFPair* const pair = model::asPair(object->AMFNode::getChild(index));
  if (!pair) refuse(out, missing);
  return pair;
}

// Writes a U29, after a marker if there is one. The rare cases are in writeU29Slow, which is
// tail-called, so that this function saves no registers.
inline char* Writer::writeU29(char* out, AMFProtocol::AMF3Markers marker, std::uint32_t value) {
  if (value > piece::kTwoBytesMax || !hasSpace(out, 3)) return writeU29Slow(out, marker, value);
  out = writeMarker(out, marker);
  out = piece::shortU29(out, value);
  return out;
}

// The rare cases: more than two bytes, a value that is too large, or the start of a new block.
char* Writer::writeU29Slow(char* out, AMFProtocol::AMF3Markers marker, std::uint32_t value) {
  out = withSpace(out, 1 + piece::kU29Bytes);
  out = writeMarker(out, marker);
  if (value > kU29Max) refuse(out, "setAMF3Integer(): integer value is to large");
  out = piece::u29(out, value);
  return out;
}

char* Writer::writeVLInteger(char* out, std::uint32_t value) {
  return writeU29(out, kNoMarker, value);
}

char* Writer::writeAMF3Integer(char* out, const AMFInt* node) {
  if (!node) refuse(out, "setAMF3Integer: lack of integer type node");
  // Kept: unsigned; a negative number is too large.
  return writeU29(out, AMFProtocol::AMF3_INTEGER, node->value);
}

char* Writer::writeAMF3Double(char* out, const AMFDouble* node) {
  if (!node) refuse(out, "setAMF3Double: lack of double type node");
  return piece::number(out, AMFProtocol::AMF3_DOUBLE, node->value);
}

char* Writer::writeAMF3String(char* out, const AMFString* node, bool omitMarker) {
  if (!node) refuse(out, "setAMF3String: lack of string type node");
  return writeReferenceOrBytes(out, omitMarker ? kNoMarker : AMFProtocol::AMF3_STRING, node);
}

char* Writer::writeAMF3Date(char* out, const AMFDate* node) {
  if (!node) refuse(out, "setAMF3Date: lack of date type node");
  if (isReference(node)) {
    return writeU29(out, AMFProtocol::AMF3_DATE, referenceTo(node->referenceIndex));
  }
  out = piece::u8(out, AMFProtocol::AMF3_DATE);
  return piece::number(out, inlineCount(0), node->value);
}

AMF2JSON_RARE char* Writer::writeAMF3XML(char* out, const AMFXML* node) {
  if (!node) refuse(out, "setAMF3XML: lack of xml type node");
  out = piece::u8(out, node->document == 1 ? AMFProtocol::AMF3_XML_DOC : AMFProtocol::AMF3_XML);
  return writeAMF3Raw(out, node);
}

char* Writer::writeAMF3Raw(char* out, const AMFRaw* node) {
  if (!node) refuse(out, "setAMF3Raw: lack of binary array type node");
  const bool isByteArray = node->type == AMFNode::AMF_RAW;
  return writeReferenceOrBytes(out, isByteArray ? AMFProtocol::AMF3_BYTE_ARRAY : kNoMarker, node);
}

char* Writer::writeReferenceOrBytes(char* out, AMFProtocol::AMF3Markers marker,
                                    const AMFRaw* node) {
  if (isReference(node)) return writeU29(out, marker, referenceTo(node->referenceIndex));
  if (!piece::isSmall(node)) {
    return writeBytes(writeU29(out, marker, inlineCount(node->length)), node);
  }
  out = withSpace(out, 1 + piece::kU29Bytes + node->length);
  out = writeMarker(out, marker);
  out = piece::u29(out, inlineCount(node->length));
  out = piece::bytes(out, node);
  return out;
}

char* Writer::writeAMF3Array(char* out, const AMFArray* array) {
  if (!array) refuse(out, "setAMF3Array: lack of array type node");
  if (isReference(array)) {
    return writeU29(out, AMFProtocol::AMF3_ARRAY, referenceTo(array->referenceIndex));
  }
  out = writeU29(out, AMFProtocol::AMF3_ARRAY, inlineCount(array->denseCount));
  std::size_t pairCount = 0;
  out = writeAssociativePart(out, array, pairCount);
  if (array->denseCount != array->children.size() - pairCount) {
    refuse(out, "setAMF3Array : invalid array size");
  }
  out = writeVLInteger(out, kEmptyName);
  for (const AMFNode* const child : array->children) {
    if (!child) refuse(out, "setAMF3Array(): invalid dense array size");  // Unreachable.
    if (child->type != AMFNode::AMF_PAIR) out = writeValue(out, child, array->version);
  }
  return out;
}

// Writes the pairs among the children, at whatever index they are, and counts them.
char* Writer::writeAssociativePart(char* out, const AMFArray* array, std::size_t& pairCount) {
  for (const AMFNode* const child : array->children) {
    if (!child) refuse(out, "setAMF3Array : invalid array size");
    if (child->type != AMFNode::AMF_PAIR) continue;
    const auto* const pair = static_cast<const AMFPair*>(child);
    if (!pair->name) {
      refuse(out, "setAMF3Array : missing the property name in associative array");
    }
    out = writeAMF3String(out, pair->name, true);
    if (!pair->value) {
      refuse(out, "setAMF3Array : missing the property value in associative array");
    }
    out = writeValue(out, pair->value, pair->version);
    ++pairCount;
  }
  return out;
}

char* Writer::writeAMF3Object(char* out, const AMFObject* object) {
  if (!object) refuse(out, "setAMF3Object: lack of object type node");
  if (isReference(object)) {
    return writeU29(out, AMFProtocol::AMF3_OBJECT, referenceTo(object->referenceIndex));
  }
  if (object->externalizable) return writeExternalized(out, object);
  if (object->traitsIndex == AMFNode::kNoReference) {
    out =
        writeU29(out, AMFProtocol::AMF3_OBJECT, inlineTraits(object->sealedCount, object->dynamic));
    out = writeAMF3String(out, object->className, true);
    out = writeMemberNames(out, object);
  } else {
    out = writeU29(out, AMFProtocol::AMF3_OBJECT, traitsReferenceTo(object->traitsIndex));
  }
  return writeMembers(out, object);
}

char* Writer::writeMemberNames(char* out, const AMFObject* object) {
  for (std::uint32_t i = 0; i < object->sealedCount; ++i) {
    const AMFPair* const pair =
        memberAt(out, object, i, "setAMF3Object: invalid object's properties number");
    out = writeAMF3String(out, pair->name, true);
  }
  return out;
}

// Writes the values of the sealed members, then the dynamic members.
char* Writer::writeMembers(char* out, const AMFObject* object) {
  for (std::uint32_t i = 0; i < object->sealedCount; ++i) {
    const AMFPair* const pair =
        memberAt(out, object, i, "setAMF3Object: invalid sealed properties number");
    out = writeValue(out, pair->value, object->version);
  }
  if (!object->dynamic) return out;  // Kept: further children are silently omitted.
  for (std::size_t i = object->sealedCount; i < object->children.size(); ++i) {
    const AMFPair* const pair = memberAt(out, object, static_cast<std::uint32_t>(i),
                                         "setAMF3Object: invalid dynamic properties number");
    out = writeAMF3String(out, pair->name, true);
    out = writeValue(out, pair->value, pair->version);
  }
  return writeVLInteger(out, kEmptyName);
}

// Kept: writes only the class name and the value of the first member. If there is no first member,
// writeValue gets null and throws.
char* Writer::writeExternalized(char* out, const AMFObject* object) {
  out = writeU29(out, AMFProtocol::AMF3_OBJECT, kExternalizableTraits);
  out = writeAMF3String(out, object->className, true);
  const AMFPair* const first = model::asPair(object->AMFNode::getChild(0));
  return writeValue(out, first ? first->value : nullptr, object->version);
}

}  // namespace amf2json::codec

// The public calls that write a single value.

using codec::Writer;

void AMFProtocol::setVLInteger(unsigned int value) {
  Writer::run(*outputChunks.pieces, &Writer::writeVLInteger, value);
}

void AMFProtocol::setAMF3Integer(const AMFInt* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Integer, node);
}

void AMFProtocol::setAMF3Double(const AMFDouble* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Double, node);
}

void AMFProtocol::setAMF3String(const AMFString* node, bool omitMarker) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3String, node, omitMarker);
}

void AMFProtocol::setAMF3Date(const AMFDate* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Date, node);
}

void AMFProtocol::setAMF3XML(const AMFXML* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3XML, node);
}

void AMFProtocol::setAMF3Raw(const AMFRaw* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Raw, node);
}

void AMFProtocol::setAMF3Array(const AMFArray* array) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Array, array);
}

void AMFProtocol::setAMF3Object(const AMFObject* object) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF3Object, object);
}
