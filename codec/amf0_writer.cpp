// SPDX-License-Identifier: Apache-2.0
//
// AMF0 value writers, and writeValue, where every value of either version enters. Every field is
// one piece. Mirrors amf0_reader.cpp. Tested by tests/amf0_writer_test.cpp.
#include "AMF2JSON.h"
#include "codec/writer.h"
#include "model/attach.h"

using namespace amf2json;

namespace {

constexpr std::uint32_t kShortStringMax = 65535;
constexpr std::uint32_t kZone = 0;

const char kMisplaced[] = "setNodeValue(): this node can't be placed here";

const AMFPair* asPair(const AMFNode* child) {
  return static_cast<const AMFPair*>(child);
}

}  // namespace

namespace amf2json::codec {

void Writer::refuse(char* pen, const char* text) {
  chunks.close(pen);
  throw AMFException(text);
}

char* Writer::turnBlock(char* pen) {
  pen = chunks.turnBlock(pen);
  blockEnd = chunks.blockEnd;
  return pen;
}

char* Writer::writeValue(char* pen, const AMFNode* node, AMFVersion placeVersion) {
  if (!node) refuse(pen, "setNodeValue(): lack of value type node");
  if (!hasRoom(pen, kScalarBytes)) return writeValueAnew(pen, node, placeVersion);
  if (node->version != AMF_VERSION_0) {
    if (placeVersion == AMF_VERSION_0) pen = piece::u8(pen, AMFProtocol::AMF0_SWITCH_TO_AMF3);
    return writeAMF3Value(pen, node);
  }
  if (placeVersion == AMF_VERSION_3) {
    refuse(pen, "setNodeValue(): switching AMF3 -> AMF0  is impossible");
  }
  // A node that was read from a reference goes back as the same reference, whatever its kind.
  if (node->referenceIndex != AMFNode::kNoReference) {
    return writeAMF0Reference(pen, node->referenceIndex);
  }
  return writeAMF0Value(pen, node);
}

// First in a new block.
char* Writer::writeValueAnew(char* pen, const AMFNode* node, AMFVersion placeVersion) {
  return writeValue(turnBlock(pen), node, placeVersion);
}

inline char* Writer::writeAMF0Value(char* pen, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: pen = piece::u8(pen, AMFProtocol::AMF0_NULL); return pen;
    case AMFNode::AMF_UNDEFINED: pen = piece::u8(pen, AMFProtocol::AMF0_UNDEFINED); return pen;
    case AMFNode::AMF_BOOL: return writeAMF0Bool(pen, static_cast<const AMFBool*>(node));
    case AMFNode::AMF_DOUBLE: return writeAMF0Double(pen, static_cast<const AMFDouble*>(node));
    case AMFNode::AMF_STRING:
      return writeAMF0String(pen, static_cast<const AMFString*>(node), true,
                             AMFProtocol::AMF0_UNDEFINED);
    case AMFNode::AMF_OBJECT: return writeAMF0Object(pen, static_cast<const AMFObject*>(node));
    case AMFNode::AMF_DATE: return writeAMF0Date(pen, static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeAMF0XML(pen, static_cast<const AMFXML*>(node));
    case AMFNode::AMF_ARRAY: return writeAMF0Array(pen, static_cast<const AMFArray*>(node));
    case AMFNode::AMF_INT:
      refuse(pen, "setNodeValue(): integer type is not supported in AMF0 use double instead");
    case AMFNode::AMF_RAW:
      refuse(pen, "setNodeValue(): byte array type is not supported in AMF0 version of protocol");
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: refuse(pen, kMisplaced);
  }
  return pen;  // Kept: a kind code above the known ones writes nothing.
}

inline char* Writer::writeAMF3Value(char* pen, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: pen = piece::u8(pen, AMFProtocol::AMF3_NULL); return pen;
    case AMFNode::AMF_UNDEFINED: pen = piece::u8(pen, AMFProtocol::AMF3_UNDEFINED); return pen;
    case AMFNode::AMF_BOOL:
      pen = piece::u8(pen, model::storedByte(static_cast<const AMFBool*>(node)->value) != 0
                               ? AMFProtocol::AMF3_TRUE
                               : AMFProtocol::AMF3_FALSE);
      return pen;
    case AMFNode::AMF_INT: return writeAMF3Integer(pen, static_cast<const AMFInt*>(node));
    case AMFNode::AMF_DOUBLE: return writeAMF3Double(pen, static_cast<const AMFDouble*>(node));
    case AMFNode::AMF_STRING:
      return writeAMF3String(pen, static_cast<const AMFString*>(node), false);
    case AMFNode::AMF_OBJECT: return writeAMF3Object(pen, static_cast<const AMFObject*>(node));
    case AMFNode::AMF_DATE: return writeAMF3Date(pen, static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeAMF3XML(pen, static_cast<const AMFXML*>(node));
    case AMFNode::AMF_ARRAY: return writeAMF3Array(pen, static_cast<const AMFArray*>(node));
    case AMFNode::AMF_RAW: return writeAMF3Raw(pen, static_cast<const AMFRaw*>(node));
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: refuse(pen, kMisplaced);
  }
  // Kept: a kind code above the known ones writes nothing more; a switch marker before it stays.
  return pen;
}

char* Writer::writeBytes(char* pen, const AMFRaw* node) {
  if (!node) refuse(pen, "setByteArray(): lack of byte array");
  if (node->length == 0) return pen;
  if (!node->data) {
    refuse(pen, "setByteArray(): lack of byte array value or bad array size");
  }
  if (!piece::isSmall(node)) return chunks.addLarge(pen, node->data, node->length);
  pen = withRoom(pen, node->length);
  pen = piece::bytes(pen, node);
  return pen;
}

char* Writer::writeAMF0String(char* pen, const AMFString* node, bool withMarker,
                              AMFProtocol::AMF0Markers marker) {
  if (!node) refuse(pen, "setAMF0String(): lack of string type node");
  if (node->length > kShortStringMax) {
    if (marker == AMFProtocol::AMF0_STRING) {
      refuse(pen, "setAMF0String(): string is too large");
    }
    marker = AMFProtocol::AMF0_LONG_STRING;
  } else if (marker != AMFProtocol::AMF0_LONG_STRING) {
    marker = AMFProtocol::AMF0_STRING;
  }
  const bool small = piece::isSmall(node);
  pen = withRoom(pen, 5 + (small ? node->length : 0));
  if (withMarker) pen = piece::u8(pen, marker);
  if (marker == AMFProtocol::AMF0_STRING) {
    pen = piece::u16(pen, node->length);
  } else {
    pen = piece::u32(pen, node->length);
  }
  if (!small) return writeBytes(pen, node);
  pen = piece::bytes(pen, node);
  return pen;
}

char* Writer::writeAMF0Bool(char* pen, const AMFBool* node) {
  if (!node) refuse(pen, "setAMF0Bool(): lack of boolen type node");
  pen = piece::u8(pen, AMFProtocol::AMF0_BOOLEAN);
  pen = piece::u8(pen, model::storedByte(node->value));  // Kept: as it is, not made 0 or 1.
  return pen;
}

char* Writer::writeAMF0Int(char* pen, const AMFInt* node) {
  if (!node) refuse(pen, "setAMF0Int(): lack of integer type node");
  // Kept: unsigned; a stored -1 becomes 4294967295.0.
  return piece::number(pen, AMFProtocol::AMF0_NUMBER, node->value);
}

char* Writer::writeAMF0Double(char* pen, const AMFDouble* node) {
  if (!node) refuse(pen, "setAMF0Double(): lack of double type node");
  return piece::number(pen, AMFProtocol::AMF0_NUMBER, node->value);
}

char* Writer::writeAMF0Date(char* pen, const AMFDate* node) {
  if (!node) refuse(pen, "setAMF0Date(): lack of date type node");
  pen = piece::number(pen, AMFProtocol::AMF0_DATE, node->value);
  pen = piece::u16(pen, kZone);  // Kept: always zero, whatever zone was read.
  return pen;
}

AMF2JSON_RARE char* Writer::writeAMF0XML(char* pen, const AMFXML* node) {
  if (!node) refuse(pen, "setAMF0XML(): lack of XML type node");
  pen = piece::u8(pen, AMFProtocol::AMF0_XML_DOCUMENT);
  return writeAMF0String(pen, node, false, AMFProtocol::AMF0_LONG_STRING);
}

char* Writer::writeAMF0Pair(char* pen, const AMFPair* pair) {
  if (!pair) refuse(pen, "setAMF0Pair(): lack of pair type node");
  if (!pair->name) refuse(pen, "setAMF0Pair(): lack of pair type node name");
  if (!pair->value) refuse(pen, "setAMF0Pair(): lack of pair type node value");
  pen = writeAMF0String(pen, pair->name, false, AMFProtocol::AMF0_STRING);
  return writeValue(pen, pair->value, pair->version);
}

char* Writer::writeAMF0Object(char* pen, const AMFObject* object) {
  if (!object) refuse(pen, "setAMF0Object(): lack of object type node");
  if (object->className && object->className->length > 0) {
    pen = piece::u8(pen, AMFProtocol::AMF0_TYPED_OBJECT);
    pen = writeAMF0String(pen, object->className, false, AMFProtocol::AMF0_STRING);
  } else {
    pen = piece::u8(pen, AMFProtocol::AMF0_OBJECT);
  }
  for (const AMFNode* const child : object->children) {
    if (!child) refuse(pen, "setAMF0Object(): lack of object property");
    if (child->type != AMFNode::AMF_PAIR) {
      refuse(pen, "setAMF0Object(): not a pair type node passed as object property");
    }
    pen = writeAMF0Pair(pen, asPair(child));
  }
  pen = withRoom(pen, 3);
  pen = piece::u16(pen, 0);  // the empty name of the end mark
  pen = piece::u8(pen, AMFProtocol::AMF0_OBJECT_END);
  return pen;
}

char* Writer::writeAMF0Array(char* pen, const AMFArray* array) {
  if (!array) refuse(pen, "setAMF0Array(): lack of array type node");
  pen = piece::u8(
      pen, array->strict != 0 ? AMFProtocol::AMF0_STRICT_ARRAY : AMFProtocol::AMF0_ECMA_ARRAY);
  pen = piece::u32(pen, static_cast<std::uint32_t>(array->children.size()));
  for (const AMFNode* const child : array->children) {
    if (array->strict != 0) {
      pen = writeValue(pen, child, array->version);
      continue;
    }
    // Kept: this text names the object writer.
    if (!child) refuse(pen, "setAMF0Object(): lack of array property");
    if (child->type != AMFNode::AMF_PAIR) {
      refuse(pen, "setAMF0Array(): not a pair type node passed as associative array property");
    }
    pen = writeAMF0Pair(pen, asPair(child));
  }
  // Kept: no end mark follows the members; the reader takes exactly the count.
  return pen;
}

char* Writer::writeAMF0Reference(char* pen, std::uint32_t index) {
  pen = piece::u8(pen, AMFProtocol::AMF0_REFERENCE);
  pen = piece::u16(pen, index);  // Kept: the low 16 bits, no check of the range.
  return pen;
}

}  // namespace amf2json::codec
