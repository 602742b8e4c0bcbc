// SPDX-License-Identifier: Apache-2.0
//
// The walk: which member lines each kind of node gets, and where it descends. Enter at appendNode.
// Tested by tests/render_node_test.cpp.
#include "AMF2JSON.h"
#include "model/attach.h"
#include "render/date_text.h"
#include "render/number_text.h"

namespace {

constexpr std::size_t kOutputLimit = 499999;

// Kinds 0 to 14. Undefined has none: no "type" line is ever written for it.
constexpr std::string_view kTypeNames[] = {"null",     "boolen" /* Kept: so spelled. */,
                                           "integer",  "double",
                                           "string",   "object",
                                           "date",     "xml",
                                           "array",    "bytearray",
                                           "property", "",
                                           "header",   "message",
                                           "package"};

std::string_view typeName(const AMFNode* node) {
  return node->type <= AMFNode::AMF_PACKAGE ? kTypeNames[node->type] : std::string_view();
}

std::string_view bytesOf(const AMFRaw* node) {
  return node->data ? std::string_view(node->data, node->length) : std::string_view();
}

bool isContainer(const AMFNode* node) {
  return node->type == AMFNode::AMF_OBJECT || node->type == AMFNode::AMF_ARRAY;
}

// Kept: each byte is widened with its sign, so 80 to FF give eight digits.
std::string hexText(const AMFRaw* node) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char byte : bytesOf(node)) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= 0x80) text += "FFFFFF";
    text += kDigits[value >> 4];
    text += kDigits[value & 15];
  }
  return text;
}

}  // namespace

void AMFProtocol::appendNode(AMFNode* node, AMFVersion parentVersion) {
  textsBlank = false;
  if (!node || isPastLimit()) return;
  const bool wrapped = writePreludes(node, parentVersion);
  switch (node->type) {
    case AMFNode::AMF_NULL:
    case AMFNode::AMF_BOOL:
    case AMFNode::AMF_INT:
    case AMFNode::AMF_DOUBLE:
    case AMFNode::AMF_STRING:
      if (wrapped) writeTypeName(node);
      writeScalar(node, wrapped);
      if (wrapped) closeBrackets();
      return;
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
      writeTypeName(node);
      writeMembersOf(node);
      // Kept: after both preludes two blocks are open and one is closed.
      return closeBrackets();
    case AMFNode::AMF_UNDEFINED: break;
  }
  writeValue("undefined", true, wrapped);  // unknown kinds too
  if (wrapped) closeBrackets();
}

// Kept: once set, the mark stays. In the JSON view it is only set, and rendering goes on.
bool AMFProtocol::isPastLimit() {
  if (outputLimitReached && !jsonOnly) return true;
  if (jsonText.size() + scriptText.size() <= kOutputLimit) return false;
  outputLimitReached = true;
  return !jsonOnly;
}

// The lines in front of a node that is a reference, or that switches to AMF3. True: a block is
// open.
bool AMFProtocol::writePreludes(const AMFNode* node, AMFVersion parentVersion) {
  const bool isReference = node->referenceIndex != AMFNode::kNoReference;
  const bool switches = node->version == AMF_VERSION_3 && parentVersion == AMF_VERSION_0;
  if (isReference) {
    openBrackets('{', '}');
    if (typeName(node).empty()) {
      writeValue("undefined", true, true);
    } else {
      writeTypeName(node);  // Kept: the kind's own lines say it once more.
    }
    writeNumber("reference", node->referenceIndex);
  }
  if (switches) {
    openBrackets('{', '}');
    writeAttr("version", "AMF3", true);
  }
  return isReference || switches;
}

void AMFProtocol::writeTypeName(const AMFNode* node) {
  writeAttr("type", typeName(node), true);
}

void AMFProtocol::writeNumber(std::string_view name, std::uint32_t value) {
  render::NumberBuffer buffer;
  writeAttr(name, render::integerText(value, buffer), false);
}

void AMFProtocol::writeScalar(const AMFNode* node, bool named) {
  render::NumberBuffer buffer;
  switch (node->type) {
    case AMFNode::AMF_BOOL: {
      const bool isTrue = model::storedByte(static_cast<const AMFBool*>(node)->value) != 0;
      return writeValue(isTrue ? "true" : "false", false, named);
    }
    case AMFNode::AMF_INT:
      return writeValue(render::integerText(static_cast<const AMFInt*>(node)->value, buffer), false,
                        named);
    case AMFNode::AMF_DOUBLE:
      return writeValue(render::doubleText(static_cast<const AMFDouble*>(node)->value, buffer),
                        false, named);
    case AMFNode::AMF_STRING:
      return writeValue(bytesOf(static_cast<const AMFString*>(node)), true, named);
    default: return writeValue("null", false, named);
  }
}

// The lines behind "type", for every kind that is always an object.
void AMFProtocol::writeMembersOf(AMFNode* node) {
  switch (node->type) {
    case AMFNode::AMF_OBJECT: return writeObject(static_cast<AMFObject*>(node));
    case AMFNode::AMF_ARRAY: return writeArray(static_cast<AMFArray*>(node));
    case AMFNode::AMF_DATE: return writeDate(static_cast<const AMFDate*>(node));
    case AMFNode::AMF_XML: return writeXML(static_cast<const AMFXML*>(node));
    case AMFNode::AMF_RAW: return writeValue(hexText(static_cast<const AMFRaw*>(node)), true, true);
    case AMFNode::AMF_HEADER:
      writeHeaderLines(static_cast<const AMFHeader*>(node));
      [[fallthrough]];
    case AMFNode::AMF_PAIR: return writePair(static_cast<AMFPair*>(node));
    case AMFNode::AMF_MESSAGE: return writeMessage(static_cast<AMFMessage*>(node));
    default: return writeChildren("content", node);  // the package: headers, then messages
  }
}

void AMFProtocol::writeObject(AMFObject* object) {
  if (object->version == AMF_VERSION_3) {
    writeNumber("sealed_size", object->sealedCount);
    if (object->traitsIndex != AMFNode::kNoReference) {
      writeNumber("traits_reference", object->traitsIndex);
    }
    if (object->dynamic) writeAttr("have_dynamic", "true", false);
    if (object->externalizable) writeAttr("externalizable", "true", false);
  }
  if (object->className && object->className->length != 0) {
    writeChild("classname", object->className, object->version, false);
  }
  writeChildren("properties", object);
}

void AMFProtocol::writeArray(AMFArray* array) {
  if (array->version == AMF_VERSION_3) {
    writeNumber("dense_size", array->denseCount);
  } else {
    writeAttr("array_type", array->strict == 0 ? "ECMA" : "strict", true);
  }
  writeChildren("value", array);
}

void AMFProtocol::writeDate(const AMFDate* date) {
  if (!zoneIsRead) render::readTimeZone();
  render::DateBuffer buffer;
  writeValue(render::dateText(date->value, buffer), true, true);
}

void AMFProtocol::writeXML(const AMFXML* xml) {
  if (xml->document == 0) writeAttr("xml_type", "XML", true);
  writeValue(bytesOf(xml), true, true);
}

void AMFProtocol::writeHeaderLines(const AMFHeader* header) {
  if (model::storedByte(header->mustUnderstand) != 0) writeAttr("must_understand", "true", false);
  if (header->length != 0xFFFFFFFFu) writeNumber("length", header->length);
}

// Kept: two scalars make one script line, and stand value first in the JSON text; everything else
// stands name first.
void AMFProtocol::writePair(AMFPair* pair) {
  const bool oneLine = !jsonOnly && pair->name && pair->value && !isContainer(pair->name) &&
                       !isContainer(pair->value);
  if (!oneLine) {
    writeChild("name", pair->name, pair->version, false);
    writeChild("value", pair->value, pair->version, false);
    return;
  }
  AddPrefixes(scriptText);
  scriptText += ".value = ";
  valueInline = true;
  writeChild("value", pair->value, pair->version, true);
  scriptText += "; // ";
  writeChild("name", pair->name, pair->version, true);
  valueInline = false;
  scriptText += '\n';
}

void AMFProtocol::writeMessage(AMFMessage* message) {
  if (message->length != 0xFFFFFFFFu) writeNumber("length", message->length);
  writeChild("targetUri", message->targetUri, message->version, false);
  writeChild("responseUri", message->responseUri, message->version, false);
  writeChild("value", message->value, message->version, false);
}
