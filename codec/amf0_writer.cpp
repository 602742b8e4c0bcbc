// SPDX-License-Identifier: Apache-2.0
//
// AMF0 value writers, and writeValue, the entry point for values of both versions. Every field is
// one piece (pieces.h). The counterpart is amf0_reader.cpp. Tested by
// tests/codec/amf0_writer_test.cpp.
#include "AMF2JSON.h"
#include "codec/writer.h"
#include "model/attach.h"

using namespace amf2json;

namespace {

constexpr std::uint32_t kShortStringMax = 65535;
constexpr std::uint32_t kZone = 0;

const char kMisplaced[] = "setNodeValue(): this node can't be placed here";

// The caller has tested that the child is a pair.
const AMFPair* castToPair(const AMFNode* child) {
  return static_cast<const AMFPair*>(child);
}

}  // namespace

namespace amf2json::codec {

void Writer::refuse(char* out, const char* text) {
  pieces.close(out);
  throw AMFException(text);
}

char* Writer::startBlock(char* out) {
  out = pieces.startBlock(out);
  blockEnd = pieces.endOfBlock();
  return out;
}

char* Writer::writeValue(char* out, const AMFNode* node, AMFVersion placeVersion) {
  if (!node) refuse(out, "setNodeValue(): lack of value type node");
  if (!hasSpace(out, kScalarBytes)) return writeValueInNewBlock(out, node, placeVersion);
  if (node->version != AMF_VERSION_0) {
    if (placeVersion == AMF_VERSION_0) out = piece::u8(out, AMFProtocol::AMF0_SWITCH_TO_AMF3);
    return writeAMF3Value(out, node);
  }
  if (placeVersion == AMF_VERSION_3) {
    refuse(out, "setNodeValue(): switching AMF3 -> AMF0  is impossible");
  }
  // A node that was read from a reference is written as the same reference, whatever its kind.
  if (node->referenceIndex != AMFNode::kNoReference) {
    return writeAMF0Reference(out, node->referenceIndex);
  }
  return writeAMF0Value(out, node);
}

// Writes the value at the start of a new block.
char* Writer::writeValueInNewBlock(char* out, const AMFNode* node, AMFVersion placeVersion) {
  return writeValue(startBlock(out), node, placeVersion);
}

inline char* Writer::writeAMF0Value(char* out, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: out = piece::u8(out, AMFProtocol::AMF0_NULL); return out;
    case AMFNode::AMF_UNDEFINED: out = piece::u8(out, AMFProtocol::AMF0_UNDEFINED); return out;
    case AMFNode::AMF_BOOL: return writeAMF0Bool(out, static_cast<const AMFBool*>(node));
    case AMFNode::AMF_DOUBLE: return writeAMF0Double(out, static_cast<const AMFDouble*>(node));
    case AMFNode::AMF_STRING:
      return writeAMF0String(out, static_cast<const AMFString*>(node), true,
                             AMFProtocol::AMF0_UNDEFINED);
    case AMFNode::AMF_OBJECT: return writeAMF0Object(out, static_cast<const AMFObject*>(node));
    case AMFNode::AMF_DATE: return writeAMF0Date(out, static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeAMF0XML(out, static_cast<const AMFXML*>(node));
    case AMFNode::AMF_ARRAY: return writeAMF0Array(out, static_cast<const AMFArray*>(node));
    case AMFNode::AMF_INT:
      refuse(out, "setNodeValue(): integer type is not supported in AMF0 use double instead");
    case AMFNode::AMF_RAW:
      refuse(out, "setNodeValue(): byte array type is not supported in AMF0 version of protocol");
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: refuse(out, kMisplaced);
  }
  return out;  // Kept: nothing is written for an unknown kind.
}

inline char* Writer::writeAMF3Value(char* out, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_NULL: out = piece::u8(out, AMFProtocol::AMF3_NULL); return out;
    case AMFNode::AMF_UNDEFINED: out = piece::u8(out, AMFProtocol::AMF3_UNDEFINED); return out;
    case AMFNode::AMF_BOOL:
      out = piece::u8(out, model::storedByte(static_cast<const AMFBool*>(node)->value) != 0
                               ? AMFProtocol::AMF3_TRUE
                               : AMFProtocol::AMF3_FALSE);
      return out;
    case AMFNode::AMF_INT: return writeAMF3Integer(out, static_cast<const AMFInt*>(node));
    case AMFNode::AMF_DOUBLE: return writeAMF3Double(out, static_cast<const AMFDouble*>(node));
    case AMFNode::AMF_STRING:
      return writeAMF3String(out, static_cast<const AMFString*>(node), false);
    case AMFNode::AMF_OBJECT: return writeAMF3Object(out, static_cast<const AMFObject*>(node));
    case AMFNode::AMF_DATE: return writeAMF3Date(out, static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeAMF3XML(out, static_cast<const AMFXML*>(node));
    case AMFNode::AMF_ARRAY: return writeAMF3Array(out, static_cast<const AMFArray*>(node));
    case AMFNode::AMF_RAW: return writeAMF3Raw(out, static_cast<const AMFRaw*>(node));
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE: refuse(out, kMisplaced);
  }
  // Kept: nothing more is written for an unknown kind. A switch marker before it is not removed.
  return out;
}

char* Writer::writeBytes(char* out, const AMFRaw* node) {
  if (!node) refuse(out, "setByteArray(): lack of byte array");
  if (node->length == 0) return out;
  if (!node->data) {
    refuse(out, "setByteArray(): lack of byte array value or bad array size");
  }
  if (!piece::isSmall(node)) return pieces.addLarge(out, node->data, node->length);
  out = withSpace(out, node->length);
  out = piece::bytes(out, node);
  return out;
}

char* Writer::writeAMF0String(char* out, const AMFString* node, bool withMarker,
                              AMFProtocol::AMF0Markers marker) {
  if (!node) refuse(out, "setAMF0String(): lack of string type node");
  if (node->length > kShortStringMax) {
    if (marker == AMFProtocol::AMF0_STRING) {
      refuse(out, "setAMF0String(): string is too large");
    }
    marker = AMFProtocol::AMF0_LONG_STRING;
  } else if (marker != AMFProtocol::AMF0_LONG_STRING) {
    marker = AMFProtocol::AMF0_STRING;
  }
  const bool small = piece::isSmall(node);
  out = withSpace(out, 5 + (small ? node->length : 0));
  if (withMarker) out = piece::u8(out, marker);
  if (marker == AMFProtocol::AMF0_STRING) {
    out = piece::u16(out, node->length);
  } else {
    out = piece::u32(out, node->length);
  }
  if (!small) return writeBytes(out, node);
  out = piece::bytes(out, node);
  return out;
}

char* Writer::writeAMF0Bool(char* out, const AMFBool* node) {
  if (!node) refuse(out, "setAMF0Bool(): lack of boolen type node");
  out = piece::u8(out, AMFProtocol::AMF0_BOOLEAN);
  out = piece::u8(out, model::storedByte(node->value));  // Kept: unchanged, even if not 0 or 1.
  return out;
}

char* Writer::writeAMF0Int(char* out, const AMFInt* node) {
  if (!node) refuse(out, "setAMF0Int(): lack of integer type node");
  // Kept: unsigned; a stored -1 becomes 4294967295.0.
  return piece::number(out, AMFProtocol::AMF0_NUMBER, node->value);
}

char* Writer::writeAMF0Double(char* out, const AMFDouble* node) {
  if (!node) refuse(out, "setAMF0Double(): lack of double type node");
  return piece::number(out, AMFProtocol::AMF0_NUMBER, node->value);
}

char* Writer::writeAMF0Date(char* out, const AMFDate* node) {
  if (!node) refuse(out, "setAMF0Date(): lack of date type node");
  out = piece::number(out, AMFProtocol::AMF0_DATE, node->value);
  out = piece::u16(out, kZone);  // Kept: always zero, whatever zone was read.
  return out;
}

AMF2JSON_RARE char* Writer::writeAMF0XML(char* out, const AMFXML* node) {
  if (!node) refuse(out, "setAMF0XML(): lack of XML type node");
  out = piece::u8(out, AMFProtocol::AMF0_XML_DOCUMENT);
  return writeAMF0String(out, node, false, AMFProtocol::AMF0_LONG_STRING);
}

char* Writer::writeAMF0Pair(char* out, const AMFPair* pair) {
  if (!pair) refuse(out, "setAMF0Pair(): lack of pair type node");
  if (!pair->name) refuse(out, "setAMF0Pair(): lack of pair type node name");
  if (!pair->value) refuse(out, "setAMF0Pair(): lack of pair type node value");
  out = writeAMF0String(out, pair->name, false, AMFProtocol::AMF0_STRING);
  return writeValue(out, pair->value, pair->version);
}

char* Writer::writeAMF0Object(char* out, const AMFObject* object) {
  if (!object) refuse(out, "setAMF0Object(): lack of object type node");
  if (object->className && object->className->length > 0) {
    out = piece::u8(out, AMFProtocol::AMF0_TYPED_OBJECT);
    out = writeAMF0String(out, object->className, false, AMFProtocol::AMF0_STRING);
  } else {
    out = piece::u8(out, AMFProtocol::AMF0_OBJECT);
  }
  for (const AMFNode* const child : object->children) {
    if (!child) refuse(out, "setAMF0Object(): lack of object property");
    if (child->type != AMFNode::AMF_PAIR) {
      refuse(out, "setAMF0Object(): not a pair type node passed as object property");
    }
    out = writeAMF0Pair(out, castToPair(child));
  }
  out = withSpace(out, 3);
  out = piece::u16(out, 0);  // the empty name before the end marker
  out = piece::u8(out, AMFProtocol::AMF0_OBJECT_END);
  return out;
}

char* Writer::writeAMF0Array(char* out, const AMFArray* array) {
  if (!array) refuse(out, "setAMF0Array(): lack of array type node");
  out = piece::u8(
      out, array->strict != 0 ? AMFProtocol::AMF0_STRICT_ARRAY : AMFProtocol::AMF0_ECMA_ARRAY);
  out = piece::u32(out, static_cast<std::uint32_t>(array->children.size()));
  for (const AMFNode* const child : array->children) {
    if (array->strict != 0) {
      out = writeValue(out, child, array->version);
      continue;
    }
    // Kept: this message names the object writer.
    if (!child) refuse(out, "setAMF0Object(): lack of array property");
    if (child->type != AMFNode::AMF_PAIR) {
      refuse(out, "setAMF0Array(): not a pair type node passed as associative array property");
    }
    out = writeAMF0Pair(out, castToPair(child));
  }
  // Kept: no end marker follows the members; the reader reads exactly as many as the count says.
  return out;
}

char* Writer::writeAMF0Reference(char* out, std::uint32_t index) {
  out = piece::u8(out, AMFProtocol::AMF0_REFERENCE);
  out = piece::u16(out, index);  // Kept: only the low 16 bits; the range is not checked.
  return out;
}

}  // namespace amf2json::codec

// The public calls that write a single value.

using codec::Writer;

void AMFProtocol::setNodeValue(const AMFNode* node, AMFVersion placeVersion) {
  Writer::run(*outputChunks.pieces, &Writer::writeValue, node, placeVersion);
}

void AMFProtocol::setByteArray(const AMFRaw* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeBytes, node);
}

void AMFProtocol::setAMF0String(const AMFString* node, bool withMarker, AMF0Markers marker) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0String, node, withMarker, marker);
}

void AMFProtocol::setAMF0Bool(const AMFBool* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Bool, node);
}

void AMFProtocol::setAMF0Int(const AMFInt* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Int, node);
}

void AMFProtocol::setAMF0Double(const AMFDouble* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Double, node);
}

void AMFProtocol::setAMF0Date(const AMFDate* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Date, node);
}

void AMFProtocol::setAMF0XML(const AMFXML* node) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0XML, node);
}

void AMFProtocol::setAMF0Pair(const AMFPair* pair) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Pair, pair);
}

void AMFProtocol::setAMF0Object(const AMFObject* object) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Object, object);
}

void AMFProtocol::setAMF0Array(const AMFArray* array) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Array, array);
}

void AMFProtocol::setAMF0Reference(unsigned int index) {
  Writer::run(*outputChunks.pieces, &Writer::writeAMF0Reference, index);
}
