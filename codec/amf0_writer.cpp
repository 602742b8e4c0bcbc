// SPDX-License-Identifier: Apache-2.0
//
// AMF0 value writers, and setNodeValue, where every value of either version enters. Every field is
// one piece. Mirrors amf0_reader.cpp. Tested by tests/amf0_writer_test.cpp.
#include "AMF2JSON.h"
#include "codec/output_chunks.h"
#include "model/attach.h"

namespace {

constexpr std::uint32_t kShortStringMax = 65535;
constexpr std::uint32_t kZone = 0;

const char kMisplaced[] = "setNodeValue(): this node can't be placed here";

const AMFPair* asPair(const AMFNode* child) {
  return static_cast<const AMFPair*>(child);
}

}  // namespace

void AMFProtocol::setNodeValue(const AMFNode* node, AMFVersion placeVersion) {
  if (!node) throw AMFException("setNodeValue(): lack of value type node");
  if (node->version != AMF_VERSION_0) {
    if (placeVersion == AMF_VERSION_0) writeU8(AMF0_SWITCH_TO_AMF3);
    writeAMF3Value(node);
    return;
  }
  if (placeVersion == AMF_VERSION_3) {
    throw AMFException("setNodeValue(): switching AMF3 -> AMF0  is impossible");
  }
  // A node that was read from a reference goes back as the same reference, whatever its kind.
  if (node->referenceIndex != AMFNode::kNoReference) {
    setAMF0Reference(node->referenceIndex);
    return;
  }
  writeAMF0Value(node);
}

void AMFProtocol::writeAMF0Value(const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: return writeU8(AMF0_NULL);
    case AMFNode::AMF_UNDEFINED: return writeU8(AMF0_UNDEFINED);
    case AMFNode::AMF_BOOL: return setAMF0Bool(static_cast<const AMFBool*>(node));
    case AMFNode::AMF_DOUBLE: return setAMF0Double(static_cast<const AMFDouble*>(node));
    case AMFNode::AMF_STRING:
      return setAMF0String(static_cast<const AMFString*>(node), true, AMF0_UNDEFINED);
    case AMFNode::AMF_OBJECT: return setAMF0Object(static_cast<const AMFObject*>(node));
    case AMFNode::AMF_DATE: return setAMF0Date(static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return setAMF0XML(static_cast<const AMFXML*>(node));
    case AMFNode::AMF_ARRAY: return setAMF0Array(static_cast<const AMFArray*>(node));
    case AMFNode::AMF_INT:
      throw AMFException(
          "setNodeValue(): integer type is not supported in AMF0 use double instead");
    case AMFNode::AMF_RAW:
      throw AMFException(
          "setNodeValue(): byte array type is not supported in AMF0 version of protocol");
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: throw AMFException(kMisplaced);
  }
  // Kept: a kind code above the known ones writes nothing.
}

void AMFProtocol::writeAMF3Value(const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: return writeU8(AMF3_NULL);
    case AMFNode::AMF_UNDEFINED: return writeU8(AMF3_UNDEFINED);
    case AMFNode::AMF_BOOL:
      return writeU8(model::storedByte(static_cast<const AMFBool*>(node)->value) != 0 ? AMF3_TRUE
                                                                                      : AMF3_FALSE);
    case AMFNode::AMF_INT: return setAMF3Integer(static_cast<const AMFInt*>(node));
    case AMFNode::AMF_DOUBLE: return setAMF3Double(static_cast<const AMFDouble*>(node));
    case AMFNode::AMF_STRING: return setAMF3String(static_cast<const AMFString*>(node), false);
    case AMFNode::AMF_OBJECT: return setAMF3Object(static_cast<const AMFObject*>(node));
    case AMFNode::AMF_DATE: return setAMF3Date(static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return setAMF3XML(static_cast<const AMFXML*>(node));
    case AMFNode::AMF_ARRAY: return setAMF3Array(static_cast<const AMFArray*>(node));
    case AMFNode::AMF_RAW: return setAMF3Raw(static_cast<const AMFRaw*>(node));
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: throw AMFException(kMisplaced);
  }
  // Kept: a kind code above the known ones writes nothing more; a switch marker before it stays.
}

void AMFProtocol::setByteArray(const AMFRaw* node) {
  if (!node) throw AMFException("setByteArray(): lack of byte array");
  if (node->length == 0) return;
  if (!node->data) {
    throw AMFException("setByteArray(): lack of byte array value or bad array size");
  }
  std::memcpy(outputChunks.add(node->length), node->data, node->length);
}

void AMFProtocol::setAMF0String(const AMFString* node, bool withMarker, AMF0Markers marker) {
  if (!node) throw AMFException("setAMF0String(): lack of string type node");
  if (node->length > kShortStringMax) {
    if (marker == AMF0_STRING) throw AMFException("setAMF0String(): string is too large");
    marker = AMF0_LONG_STRING;
  } else if (marker != AMF0_LONG_STRING) {
    marker = AMF0_STRING;
  }
  if (withMarker) writeU8(marker);
  if (marker == AMF0_STRING) {
    writeU16(node->length);
  } else {
    writeU32(node->length);
  }
  setByteArray(node);
}

void AMFProtocol::setAMF0Bool(const AMFBool* node) {
  if (!node) throw AMFException("setAMF0Bool(): lack of boolen type node");
  writeU8(AMF0_BOOLEAN);
  writeU8(model::storedByte(node->value));  // Kept: as it is, not made 0 or 1.
}

void AMFProtocol::setAMF0Int(const AMFInt* node) {
  if (!node) throw AMFException("setAMF0Int(): lack of integer type node");
  writeU8(AMF0_NUMBER);
  writeDouble(node->value);  // Kept: unsigned; a stored -1 becomes 4294967295.0.
}

void AMFProtocol::setAMF0Double(const AMFDouble* node) {
  if (!node) throw AMFException("setAMF0Double(): lack of double type node");
  writeU8(AMF0_NUMBER);
  writeDouble(node->value);
}

void AMFProtocol::setAMF0Date(const AMFDate* node) {
  if (!node) throw AMFException("setAMF0Date(): lack of date type node");
  writeU8(AMF0_DATE);
  writeDouble(node->value);
  writeU16(kZone);  // Kept: always zero, whatever zone was read.
}

void AMFProtocol::setAMF0XML(const AMFXML* node) {
  if (!node) throw AMFException("setAMF0XML(): lack of XML type node");
  writeU8(AMF0_XML_DOCUMENT);
  setAMF0String(node, false, AMF0_LONG_STRING);
}

void AMFProtocol::setAMF0Pair(const AMFPair* pair) {
  if (!pair) throw AMFException("setAMF0Pair(): lack of pair type node");
  if (!pair->name) throw AMFException("setAMF0Pair(): lack of pair type node name");
  if (!pair->value) throw AMFException("setAMF0Pair(): lack of pair type node value");
  setAMF0String(pair->name, false, AMF0_STRING);
  setNodeValue(pair->value, pair->version);
}

void AMFProtocol::setAMF0Object(const AMFObject* object) {
  if (!object) throw AMFException("setAMF0Object(): lack of object type node");
  if (object->className && object->className->length > 0) {
    writeU8(AMF0_TYPED_OBJECT);
    setAMF0String(object->className, false, AMF0_STRING);
  } else {
    writeU8(AMF0_OBJECT);
  }
  for (const AMFNode* const child : object->children) {
    if (!child) throw AMFException("setAMF0Object(): lack of object property");
    if (child->type != AMFNode::AMF_PAIR) {
      throw AMFException("setAMF0Object(): not a pair type node passed as object property");
    }
    setAMF0Pair(asPair(child));
  }
  writeU16(0);  // the empty name of the end mark
  writeU8(AMF0_OBJECT_END);
}

void AMFProtocol::setAMF0Array(const AMFArray* array) {
  if (!array) throw AMFException("setAMF0Array(): lack of array type node");
  writeU8(array->strict != 0 ? AMF0_STRICT_ARRAY : AMF0_ECMA_ARRAY);
  writeU32(static_cast<std::uint32_t>(array->children.size()));
  for (const AMFNode* const child : array->children) {
    if (array->strict != 0) {
      setNodeValue(child, array->version);
      continue;
    }
    // Kept: this text names the object writer.
    if (!child) throw AMFException("setAMF0Object(): lack of array property");
    if (child->type != AMFNode::AMF_PAIR) {
      throw AMFException(
          "setAMF0Array(): not a pair type node passed as associative array property");
    }
    setAMF0Pair(asPair(child));
  }
  // Kept: no end mark follows the members; the reader takes exactly the count.
}

void AMFProtocol::setAMF0Reference(unsigned int index) {
  writeU8(AMF0_REFERENCE);
  writeU16(index);  // Kept: the low 16 bits, no check of the range.
}
