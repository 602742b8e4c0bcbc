// SPDX-License-Identifier: Apache-2.0
//
// The walk over the tree: the member lines of each kind of node, and the nodes inside it. Enter at
// Writer::writeNode. Tested by tests/render/node_test.cpp.
#include "AMF2JSON.h"
#include "model/attach.h"
#include "render/type_line.h"
#include "render/writer.h"

using namespace amf2json;

namespace amf2json::render {

namespace {

bool hasTypeLine(const AMFNode* node) {
  return node->type <= AMFNode::AMF_PACKAGE && node->type != AMFNode::AMF_UNDEFINED;
}

// Whether a node of this kind is always written as a block. Nodes of other kinds, also unknown
// ones, are bare values unless writeWrapped opens a block for them.
bool isAlwaysBlock(const AMFNode* node) {
  constexpr std::uint32_t kScalarKinds = 1u << AMFNode::AMF_NULL | 1u << AMFNode::AMF_BOOL |
                                         1u << AMFNode::AMF_INT | 1u << AMFNode::AMF_DOUBLE |
                                         1u << AMFNode::AMF_STRING | 1u << AMFNode::AMF_UNDEFINED;
  return node->type <= AMFNode::AMF_PACKAGE && (kScalarKinds >> node->type & 1) == 0;
}

constexpr Key kSealedSize("sealed_size");
constexpr Key kTraitsReference("traits_reference");
constexpr Key kClassName("classname");
constexpr Key kProperties("properties");
constexpr Key kDenseSize("dense_size");
constexpr Key kLength("length");
constexpr Key kTargetUri("targetUri");
constexpr Key kResponseUri("responseUri");
constexpr Key kContent("content");

}  // namespace

char* Writer::writeNode(char* to, const AMFNode* node, AMFVersion parentVersion) {
  if (!node || isPastLimit(to)) return to;
  prefetchAfter(node);
  if (isReference(node) || switchesVersion(node, parentVersion)) {
    return writeWrapped(to, node, parentVersion);
  }
  if (!isAlwaysBlock(node)) return writeScalar(to, node, false);
  if (isShort(to, node, parentVersion)) return writeShort(to, static_cast<const AMFPair*>(node));
  to = openBrackets(to, '{', '}');
  to = writeTypeLine(to, node);
  to = writeMembersOf(to, node);
  return closeBrackets(to);
}

// Writes a node that is a reference, or that switches to AMF3, or both. Each of the two opens a
// block, and the node's lines are in the inner block.
char* Writer::writeWrapped(char* to, const AMFNode* node, AMFVersion parentVersion) {
  if (isReference(node)) {
    to = openBrackets(to, '{', '}');
    // Kept: the node's own lines repeat this line.
    to = hasTypeLine(node) ? writeTypeLine(to, node) : writeValue(to, "undefined", true, true);
    to = writeNumber(to, kReference, node->referenceIndex);
  }
  if (switchesVersion(node, parentVersion)) {
    to = openBrackets(to, '{', '}');
    to = writeLine(to, "\"version\" : \"AMF3\",");
  }
  if (hasTypeLine(node)) to = writeTypeLine(to, node);
  to = isAlwaysBlock(node) ? writeMembersOf(to, node) : writeScalar(to, node, true);
  return closeBrackets(to);  // Kept: closes only one block, even if two were opened.
}

char* Writer::writeTypeLine(char* to, const AMFNode* node) {
  to = putTypeLine(startLine(json.reserve(to, maxLineBytes())), node->type);
  lineEndDue = true;
  return to;
}

// Writes the lines after "type", for every kind that always has a block.
char* Writer::writeMembersOf(char* to, const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_OBJECT: return writeObject(to, static_cast<const AMFObject*>(node));
    case AMFNode::AMF_ARRAY: return writeArray(to, static_cast<const AMFArray*>(node));
    case AMFNode::AMF_DATE: return writeDate(to, static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeXML(to, static_cast<const AMFXML*>(node));
    case AMFNode::AMF_RAW: return writeHex(to, static_cast<const AMFRaw*>(node));
    case AMFNode::AMF_HEADER:
      to = writeHeaderLines(to, static_cast<const AMFHeader*>(node));
      [[fallthrough]];
    case AMFNode::AMF_PAIR: return writePair(to, static_cast<const AMFPair*>(node));
    case AMFNode::AMF_MESSAGE: return writeMessage(to, static_cast<const AMFMessage*>(node));
    default: return writeChildren(to, kContent, node);  // the package: headers, then messages
  }
}

char* Writer::writeObject(char* to, const AMFObject* object) {
  if (object->version == AMF_VERSION_3) {
    to = writeNumber(to, kSealedSize, object->sealedCount);
    if (object->traitsIndex != AMFNode::kNoReference) {
      to = writeNumber(to, kTraitsReference, object->traitsIndex);
    }
    if (object->dynamic) to = writeLine(to, "\"have_dynamic\" : true,");
    if (object->externalizable) to = writeLine(to, "\"externalizable\" : true,");
  }
  if (object->className && object->className->length != 0) {
    to = writeChild(to, kClassName, object->className, object->version, false);
  }
  return writeChildren(to, kProperties, object);
}

char* Writer::writeArray(char* to, const AMFArray* array) {
  if (array->version == AMF_VERSION_3) {
    to = writeNumber(to, kDenseSize, array->denseCount);
  } else if (array->strict == 0) {
    to = writeLine(to, "\"array_type\" : \"ECMA\",");
  } else {
    to = writeLine(to, "\"array_type\" : \"strict\",");
  }
  return writeChildren(to, kValue, array);
}

AMF2JSON_RARE char* Writer::writeXML(char* to, const AMFXML* xml) {
  if (xml->document == 0) to = writeLine(to, "\"xml_type\" : \"XML\",");
  return writeValue(to, bytesOf(xml), true, true);
}

AMF2JSON_RARE char* Writer::writeHeaderLines(char* to, const AMFHeader* header) {
  if (model::storedByte(header->mustUnderstand) != 0)
    to = writeLine(to, "\"must_understand\" : true,");
  if (header->length != 0xFFFFFFFFu) to = writeNumber(to, kLength, header->length);
  return to;
}

// Kept: with a script, a pair of two scalars is one line of the script, and in the JSON text its
// value comes first. In all other pairs the name comes first.
char* Writer::writePair(char* to, const AMFPair* pair) {
  const bool oneLine = !p.jsonOnly && pair->name && pair->value && !isContainer(pair->name) &&
                       !isContainer(pair->value);
  if (!oneLine) {
    to = writeChild(to, kName, pair->name, pair->version, false);
    return writeChild(to, kValue, pair->value, pair->version, false);
  }
  appendPath();
  script.append(".value = ");
  p.valueInline = true;
  to = writeChild(to, kValue, pair->value, pair->version, true);
  script.append("; // ");
  to = writeChild(to, kName, pair->name, pair->version, true);
  p.valueInline = false;
  script.append('\n');
  return to;
}

char* Writer::writeMessage(char* to, const AMFMessage* message) {
  if (message->length != 0xFFFFFFFFu) to = writeNumber(to, kLength, message->length);
  to = writeChild(to, kTargetUri, message->targetUri, message->version, false);
  to = writeChild(to, kResponseUri, message->responseUri, message->version, false);
  return writeChild(to, kValue, message->value, message->version, false);
}

}  // namespace amf2json::render

void AMFProtocol::appendNode(const AMFNode* node, AMFVersion parentVersion) {
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.writeNode(to, node, parentVersion); });
}
