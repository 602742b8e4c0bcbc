// SPDX-License-Identifier: Apache-2.0
//
// The one-line tree dump of the tests. Enter at dump(). Tested by tests/model/model_test.cpp.
#include "support/dump.h"

#include <AMF2JSON.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace support {
namespace {

constexpr std::size_t kShortestRun = 9;

std::string hexByte(std::uint8_t byte) {
  char text[3];
  std::snprintf(text, sizeof text, "%02X", static_cast<unsigned>(byte));
  return text;
}

std::string versionDigit(const AMFNode& node) {
  const auto number = static_cast<std::uint32_t>(node.version);
  return number < 10 ? std::to_string(number) : "(" + std::to_string(number) + ")";
}

std::size_t runLength(const AMFRaw& node, std::size_t from) {
  std::size_t end = from + 1;
  while (end < node.length && node.data[end] == node.data[from]) ++end;
  return end - from;
}

std::string shownCharacter(char c) {
  if (c == '\'' || c == '\\') return std::string("\\") + c;
  if (c >= 0x20 && c < 0x7F) return std::string(1, c);
  return "\\x" + hexByte(static_cast<std::uint8_t>(c));
}

std::string shownBytes(const AMFRaw& node, bool asText) {
  std::string out;
  if (node.length != 0 && node.data == nullptr) return out;
  for (std::size_t at = 0; at < node.length;) {
    const std::size_t run = runLength(node, at);
    const char c = node.data[at];
    if (run >= kShortestRun) {
      const std::string counted = hexByte(static_cast<std::uint8_t>(c)) + "*" + std::to_string(run);
      out += asText ? "\\{" + counted + "}" : counted + " ";
      at += run;
    } else {
      out += asText ? shownCharacter(c) : hexByte(static_cast<std::uint8_t>(c));
      ++at;
    }
  }
  if (!asText && !out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

std::string dataWarning(const AMFRaw& node) {
  if (node.length != 0 && node.data == nullptr) return "!nodata" + std::to_string(node.length);
  return node.length == 0 && node.data != nullptr ? "!data" : "";
}

std::string doubleText(const double& value) {
  if (std::isnan(value)) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    char text[24];
    std::snprintf(text, sizeof text, "nan:%016llX", static_cast<unsigned long long>(bits));
    return text;
  }
  char text[40];
  if (value == std::floor(value) && std::fabs(value) < 1e15) {
    std::snprintf(text, sizeof text, "%.0f", value);
    return text;
  }
  std::snprintf(text, sizeof text, "%.17g", value);
  std::string shortest = text;
  for (int digits = 1; digits < 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    if (std::strtod(text, nullptr) == value) return text;
  }
  return shortest;
}

std::string shownLength(std::uint32_t length) {
  return length == 0xFFFFFFFFu ? "len=?" : "len=" + std::to_string(length);
}

bool expectsComplete(const AMFNode& node) {
  const bool composite = dynamic_cast<const AMFArray*>(&node) != nullptr ||
                         dynamic_cast<const AMFObject*>(&node) != nullptr;
  return composite && node.version != AMF_VERSION_0;
}

std::string suffix(const AMFNode& node, AMFNode::AMFType kindOfClass) {
  std::string out;
  if (node.referenceIndex != AMFNode::kNoReference)
    out += "#ref" + std::to_string(node.referenceIndex);
  if (node.complete != expectsComplete(node)) out += node.complete ? "!complete" : "!open";
  if (node.type != kindOfClass) out += "!kind" + std::to_string(node.type);
  return out;
}

std::string nodeText(const AMFNode* node);

std::string ownedString(const AMFString* text, const AMFNode& owner) {
  if (text == nullptr) return "(nil)";
  std::string out = "'" + shownBytes(*text, true) + "'" + dataWarning(*text);
  if (text->version != owner.version) out += "v" + versionDigit(*text);
  out += suffix(*text, AMFNode::AMF_STRING);
  if (text->parent != nullptr) out += "!parent";
  if (!text->children.empty()) out += "!children";
  return out;
}

std::string ownedValue(const AMFNode* value) {
  return nodeText(value) + (value != nullptr && value->parent != nullptr ? "!parent" : "");
}

std::string member(const AMFPair& pair) {
  return ownedString(pair.name, pair) + ":" + ownedValue(pair.value);
}

// A pair without attributes is shown as the member alone.
bool plainMember(const AMFPair& pair, const AMFNode& owner) {
  return dynamic_cast<const AMFHeader*>(&pair) == nullptr && pair.version == owner.version &&
         pair.children.empty() && suffix(pair, AMFNode::AMF_PAIR).empty();
}

std::string child(const AMFNode* node, const AMFNode& owner) {
  if (node == nullptr) return "(nil)";
  const auto* pair = dynamic_cast<const AMFPair*>(node);
  const std::string text =
      pair != nullptr && plainMember(*pair, owner) ? member(*pair) : nodeText(node);
  return text + (node->parent == &owner ? "" : "!parent");
}

std::string childList(const AMFNode& node) {
  std::string out;
  for (const AMFNode* one : node.children) out += (out.empty() ? "" : ", ") + child(one, node);
  return out;
}

// "{first second, third}": attributes blank-separated in front of the children.
std::string braces(const std::string& attributes, const std::string& children) {
  return "{" + attributes + (attributes.empty() || children.empty() ? "" : " ") + children + "}";
}

std::string extraChildren(const AMFNode& node) {
  return node.children.empty() ? "" : "+[" + childList(node) + "]";
}

std::string arrayText(const AMFArray& array) {
  std::string attributes;
  if (array.denseCount != 0) attributes += " dense=" + std::to_string(array.denseCount);
  if (array.strict == 1) attributes += " strict";
  if (array.strict > 1) attributes += " strict=" + std::to_string(array.strict);
  if (!attributes.empty()) attributes.erase(0, 1);
  return "arr" + versionDigit(array) + braces(attributes, childList(array)) +
         suffix(array, AMFNode::AMF_ARRAY);
}

std::string objectText(const AMFObject& object) {
  std::string attributes;
  if (object.sealedCount != 0) attributes += " sealed=" + std::to_string(object.sealedCount);
  if (object.dynamic) attributes += " dyn";
  if (object.externalizable) attributes += " ext";
  if (object.traitsIndex != AMFNode::kNoReference)
    attributes += " traits=" + std::to_string(object.traitsIndex);
  const std::string name = ownedString(object.className, object);
  if (name != "''") attributes += " class=" + name;
  if (!attributes.empty()) attributes.erase(0, 1);
  return "obj" + versionDigit(object) + braces(attributes, childList(object)) +
         suffix(object, AMFNode::AMF_OBJECT);
}

std::string versionUnless0(const AMFNode& node) {
  return node.version == AMF_VERSION_0 ? "" : versionDigit(node);
}

std::string headerText(const AMFHeader& header) {
  return "header" + versionUnless0(header) + "{" + ownedString(header.name, header) +
         (header.mustUnderstand ? " must " : " ") + shownLength(header.length) + " " +
         ownedValue(header.value) + "}" + suffix(header, AMFNode::AMF_HEADER) +
         extraChildren(header);
}

std::string messageText(const AMFMessage& message) {
  return "message" + versionUnless0(message) + "{" + ownedString(message.targetUri, message) + " " +
         ownedString(message.responseUri, message) + " " + shownLength(message.length) + " " +
         ownedValue(message.value) + "}" + suffix(message, AMFNode::AMF_MESSAGE) +
         extraChildren(message);
}

// Byte holders, the most derived class first.
std::string rawText(const AMFRaw& node) {
  const std::string version = versionDigit(node);
  if (const auto* xml = dynamic_cast<const AMFXML*>(&node))
    return "xml" + version + "{doc=" + std::to_string(xml->document) + " '" +
           shownBytes(node, true) + "'}" + dataWarning(node) + suffix(node, AMFNode::AMF_XML);
  if (dynamic_cast<const AMFString*>(&node) != nullptr)
    return "str" + version + " '" + shownBytes(node, true) + "'" + dataWarning(node) +
           suffix(node, AMFNode::AMF_STRING);
  return "raw" + version + " [" + shownBytes(node, false) + "]" + dataWarning(node) +
         suffix(node, AMFNode::AMF_RAW);
}

std::string scalarText(const AMFNode& node) {
  const std::string version = versionDigit(node);
  if (const auto* one = dynamic_cast<const AMFBool*>(&node))
    return "bool" + version + (one->value ? " true" : " false") + suffix(node, AMFNode::AMF_BOOL);
  if (const auto* one = dynamic_cast<const AMFInt*>(&node))
    return "int" + version + " " + std::to_string(one->value) + suffix(node, AMFNode::AMF_INT);
  if (const auto* one = dynamic_cast<const AMFDouble*>(&node))
    return "double" + version + " " + doubleText(one->value) + suffix(node, AMFNode::AMF_DOUBLE);
  if (const auto* one = dynamic_cast<const AMFDate*>(&node))
    return "date" + version + " " + doubleText(one->value) + suffix(node, AMFNode::AMF_DATE);
  if (dynamic_cast<const AMFNull*>(&node) != nullptr)
    return "null" + version + suffix(node, AMFNode::AMF_NULL);
  if (dynamic_cast<const AMFUndefined*>(&node) != nullptr)
    return "undef" + version + suffix(node, AMFNode::AMF_UNDEFINED);
  return "unknown" + version;
}

std::string nodeText(const AMFNode* node) {
  if (node == nullptr) return "(nil)";
  if (const auto* array = dynamic_cast<const AMFArray*>(node)) return arrayText(*array);
  if (const auto* object = dynamic_cast<const AMFObject*>(node)) return objectText(*object);
  if (const auto* header = dynamic_cast<const AMFHeader*>(node)) return headerText(*header);
  if (const auto* pair = dynamic_cast<const AMFPair*>(node))
    return "pair" + versionDigit(*pair) + "{" + member(*pair) + "}" +
           suffix(*pair, AMFNode::AMF_PAIR) + extraChildren(*pair);
  if (const auto* message = dynamic_cast<const AMFMessage*>(node)) return messageText(*message);
  if (const auto* package = dynamic_cast<const AMFPackage*>(node))
    return "package" + versionDigit(*package) +
           braces("headers=" + std::to_string(package->headerCount), childList(*package)) +
           suffix(*package, AMFNode::AMF_PACKAGE);
  const auto* raw = dynamic_cast<const AMFRaw*>(node);
  return (raw != nullptr ? rawText(*raw) : scalarText(*node)) + extraChildren(*node);
}

}  // namespace

std::string dump(const AMFNode* node) {
  return nodeText(node);
}

}  // namespace support
