// SPDX-License-Identifier: Apache-2.0
//
// The walk: which member lines each kind of node gets, and where it descends. Enter at
// Writer::writeNode. Tested by tests/render_node_test.cpp.
#include "AMF2JSON.h"
#include "model/attach.h"
#include "render/writer.h"

namespace render {

namespace {

// The "type" lines of kinds 0 to 14. Undefined has none.
constexpr std::string_view kTypeLines[] = {
    "\"type\" : \"null\",",     "\"type\" : \"boolen\",",  // Kept: so spelled.
    "\"type\" : \"integer\",",  "\"type\" : \"double\",",
    "\"type\" : \"string\",",   "\"type\" : \"object\",",
    "\"type\" : \"date\",",     "\"type\" : \"xml\",",
    "\"type\" : \"array\",",    "\"type\" : \"bytearray\",",
    "\"type\" : \"property\",", "",
    "\"type\" : \"header\",",   "\"type\" : \"message\",",
    "\"type\" : \"package\","};

bool hasTypeLine(const AMFNode* node) {
  return node->type <= AMFNode::AMF_PACKAGE && node->type != AMFNode::AMF_UNDEFINED;
}

}  // namespace

void Writer::writeNode(const AMFNode* node, AMFVersion parentVersion) {
  if (!node || isPastLimit()) return;
  const bool wrapped = writePreludes(node, parentVersion);
  switch (node->type) {
    case AMFNode::AMF_OBJECT:
    case AMFNode::AMF_DATE:
    case AMFNode::AMF_XML:
    case AMFNode::AMF_ARRAY:
    case AMFNode::AMF_RAW:
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
    case AMFNode::AMF_MESSAGE:
    case AMFNode::AMF_PACKAGE:
      if (!wrapped) openBrackets('{', '}');
      writeLine(kTypeLines[node->type]);
      writeMembersOf(node);
      return closeBrackets();  // Kept: once, also after both preludes opened a block.
    default: break;
  }
  if (wrapped && hasTypeLine(node)) writeLine(kTypeLines[node->type]);
  writeScalar(node, wrapped);
  if (wrapped) closeBrackets();
}

// The lines in front of a node that is a reference, or that switches to AMF3. True: a block is
// open.
bool Writer::writePreludes(const AMFNode* node, AMFVersion parentVersion) {
  const bool isReference = node->referenceIndex != AMFNode::kNoReference;
  const bool switches = node->version == AMF_VERSION_3 && parentVersion == AMF_VERSION_0;
  if (isReference) {
    openBrackets('{', '}');
    if (hasTypeLine(node)) {
      writeLine(kTypeLines[node->type]);  // Kept: the kind's own lines say it once more.
    } else {
      writeValue("undefined", true, true);
    }
    writeNumber("reference", node->referenceIndex);
  }
  if (switches) {
    openBrackets('{', '}');
    writeLine("\"version\" : \"AMF3\",");
  }
  return isReference || switches;
}

// The lines behind "type", for every kind that is always an object.
void Writer::writeMembersOf(const AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_OBJECT: return writeObject(static_cast<const AMFObject*>(node));
    case AMFNode::AMF_ARRAY: return writeArray(static_cast<const AMFArray*>(node));
    case AMFNode::AMF_DATE: return writeDate(static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeXML(static_cast<const AMFXML*>(node));
    case AMFNode::AMF_RAW: return writeHex(static_cast<const AMFRaw*>(node));
    case AMFNode::AMF_HEADER:
      writeHeaderLines(static_cast<const AMFHeader*>(node));
      [[fallthrough]];
    case AMFNode::AMF_PAIR: return writePair(static_cast<const AMFPair*>(node));
    case AMFNode::AMF_MESSAGE: return writeMessage(static_cast<const AMFMessage*>(node));
    default: return writeChildren("content", node);  // the package: headers, then messages
  }
}

void Writer::writeObject(const AMFObject* object) {
  if (object->version == AMF_VERSION_3) {
    writeNumber("sealed_size", object->sealedCount);
    if (object->traitsIndex != AMFNode::kNoReference) {
      writeNumber("traits_reference", object->traitsIndex);
    }
    if (object->dynamic) writeLine("\"have_dynamic\" : true,");
    if (object->externalizable) writeLine("\"externalizable\" : true,");
  }
  if (object->className && object->className->length != 0) {
    writeChild("classname", object->className, object->version, false);
  }
  writeChildren("properties", object);
}

void Writer::writeArray(const AMFArray* array) {
  if (array->version == AMF_VERSION_3) {
    writeNumber("dense_size", array->denseCount);
  } else if (array->strict == 0) {
    writeLine("\"array_type\" : \"ECMA\",");
  } else {
    writeLine("\"array_type\" : \"strict\",");
  }
  writeChildren("value", array);
}

void Writer::writeXML(const AMFXML* xml) {
  if (xml->document == 0) writeLine("\"xml_type\" : \"XML\",");
  writeValue(bytesOf(xml), true, true);
}

void Writer::writeHeaderLines(const AMFHeader* header) {
  if (model::storedByte(header->mustUnderstand) != 0) writeLine("\"must_understand\" : true,");
  if (header->length != 0xFFFFFFFFu) writeNumber("length", header->length);
}

// Kept: two scalars make one script line, and stand value first in the JSON text; everything else
// stands name first.
void Writer::writePair(const AMFPair* pair) {
  const bool oneLine = !p.jsonOnly && pair->name && pair->value && !isContainer(pair->name) &&
                       !isContainer(pair->value);
  if (!oneLine) {
    writeChild("name", pair->name, pair->version, false);
    writeChild("value", pair->value, pair->version, false);
    return;
  }
  appendPath();
  script.append(".value = ");
  p.valueInline = true;
  writeChild("value", pair->value, pair->version, true);
  script.append("; // ");
  writeChild("name", pair->name, pair->version, true);
  p.valueInline = false;
  script.append('\n');
}

void Writer::writeMessage(const AMFMessage* message) {
  if (message->length != 0xFFFFFFFFu) writeNumber("length", message->length);
  writeChild("targetUri", message->targetUri, message->version, false);
  writeChild("responseUri", message->responseUri, message->version, false);
  writeChild("value", message->value, message->version, false);
}

}  // namespace render

void AMFProtocol::appendNode(AMFNode* node, AMFVersion parentVersion) {
  render::Writer(*this).writeNode(node, parentVersion);
}
