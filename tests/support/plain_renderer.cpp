// SPDX-License-Identifier: Apache-2.0
//
// The plain renderer: one rule after the other, as they are documented.
// Enter at the views at the end. Tested, next to the library, by every tests/render/.
#include "support/plain_renderer.h"

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

namespace support {

namespace {

// Each byte of `text` that is one of `special` gets `before` in front of it.
std::string prefixed(const std::string& text, const std::string& special,
                     const std::string& before) {
  std::string result;
  for (const char c : text) {
    if (special.find(c) != std::string::npos) result += before;
    result += c;
  }
  return result;
}

std::string escapedAttribute(const std::string& value) {
  const std::string pass1 = prefixed(value, "\\/\b\f\n\r\t", "\\");
  return prefixed(pass1, "\"", "\\\\\\");
}

std::string escapedScript(const std::string& value) {
  std::string pass1;
  for (const char c : value) {
    if (c == '\b' || c == '\f' || c == '\n' || c == '\r' || c == '\t') continue;
    pass1 += c;
  }
  return prefixed(pass1, "\"", "\\");
}

std::string decimal(std::uint32_t number) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%lu", static_cast<unsigned long>(number));
  return buffer;
}

const char* typeName(AMFNode::AMFType type) {
  switch (type) {
    case AMFNode::AMF_NULL: return "null";
    case AMFNode::AMF_BOOL: return "boolen";
    case AMFNode::AMF_INT: return "integer";
    case AMFNode::AMF_DOUBLE: return "double";
    case AMFNode::AMF_STRING: return "string";
    case AMFNode::AMF_OBJECT: return "object";
    case AMFNode::AMF_DATE: return "date";
    case AMFNode::AMF_XML: return "xml";
    case AMFNode::AMF_ARRAY: return "array";
    case AMFNode::AMF_RAW: return "bytearray";
    case AMFNode::AMF_PAIR: return "property";
    case AMFNode::AMF_HEADER: return "header";
    case AMFNode::AMF_MESSAGE: return "message";
    case AMFNode::AMF_PACKAGE: return "package";
    default: return nullptr;  // undefined, and every code above 14
  }
}

bool isObjectOrArray(const AMFNode* node) {
  return node->type == AMFNode::AMF_OBJECT || node->type == AMFNode::AMF_ARRAY;
}

std::string bytesOf(const AMFRaw* raw) {
  return raw->length == 0 ? std::string() : std::string(raw->data, raw->length);
}

std::string hexText(const AMFRaw* raw) {
  std::string result;
  for (std::uint32_t i = 0; i < raw->length; ++i) {
    const int widened = static_cast<signed char>(raw->data[i]);
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%.2X", static_cast<unsigned>(widened));
    result += buffer;
  }
  return result;
}

// As a C string copied into a buffer of 1000 bytes.
std::string cutName(const std::string& name) {
  char buffer[1000];
  std::snprintf(buffer, sizeof buffer, "%s", name.c_str());
  return buffer;
}

std::string elementName(const std::string& list, std::uint32_t index) {
  std::vector<char> buffer(1000);
  std::snprintf(buffer.data(), buffer.size(), "%s[%i]", list.c_str(), static_cast<int>(index));
  return buffer.data();
}

// The line that ctime writes; false when it would refuse.
bool dateLine(std::time_t seconds, std::string& line) {
  static const char kDays[7][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static const char kMonths[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  tzset();
  std::tm parts;
  if (localtime_r(&seconds, &parts) == nullptr) return false;
  if (parts.tm_year > INT_MAX - 1900) return false;
  char buffer[100];
  std::snprintf(buffer, sizeof buffer, "%s %s%3d %.2d:%.2d:%.2d %d\n", kDays[parts.tm_wday],
                kMonths[parts.tm_mon], parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                1900 + parts.tm_year);
  line = buffer;
  return true;
}

}  // namespace

std::string plainFormatString(const std::string& text, bool dropControl) {
  std::string work = text;
  for (std::size_t at = work.find('\\'); at != std::string::npos; at = work.find('\\', at + 2))
    work.insert(at, "\\");
  for (std::size_t at = work.find('"'); at != std::string::npos; at = work.find('"', at + 2))
    work.insert(at, "\\");
  for (std::size_t at = work.find("/*"); at != std::string::npos; at = work.find("/*", at))
    work.replace(at + 1, 1, "\\x2A");
  for (std::size_t at = work.find("*/"); at != std::string::npos; at = work.find("*/", at))
    work.replace(at, 1, "\\x2A");
  std::string result;
  for (const char c : work) {
    const int value = static_cast<signed char>(c);
    if (dropControl) {
      if (value >= 0x20) result += c;
    } else if (value >= 0x00 && value <= 0x1F) {
      char buffer[16];
      std::snprintf(buffer, sizeof buffer, "\\x%02x", static_cast<unsigned>(value));
      buffer[2] = static_cast<char>(std::toupper(static_cast<unsigned char>(buffer[2])));
      buffer[3] = static_cast<char>(std::toupper(static_cast<unsigned char>(buffer[3])));
      result += buffer;
    } else {
      result += c;
    }
  }
  return result;
}

std::string plainDoubleText(double value) {
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, "%f", value);
  if (std::strstr(buffer, "1.#QNAN")) std::strcpy(buffer, "NaN");
  if (std::strstr(buffer, "-1.#IND")) std::strcpy(buffer, "-Infinity");
  if (std::strstr(buffer, "1.#IND")) std::strcpy(buffer, "Infinity");
  return buffer;
}

std::string plainDateText(double milliseconds) {
  const double seconds = milliseconds / 1000.0;
  std::string line;
  bool accepted = false;
  if (seconds >= -9223372036854775808.0 && seconds < 9223372036854775808.0)  // false for a NaN
    accepted = dateLine(static_cast<std::time_t>(std::trunc(seconds)), line);
  if (!accepted) dateLine(0, line);
  line.erase(line.size() - 1);
  return line;
}

PlainRenderer::~PlainRenderer() {
  while (prefixTop != nullptr) RemoveOnePrefix();
}

// ---- Brackets and the script path

void PlainRenderer::softBreak() {
  const std::uint32_t product = static_cast<std::uint32_t>(lineBreakCount) * 500u;
  const std::size_t mark = static_cast<std::size_t>(static_cast<std::int32_t>(product));
  if (mark <= jsonText.size()) {
    jsonText += "\n";
    lineBreakCount = lineBreakCount + 1;
  }
}

void PlainRenderer::openBrackets(char open, char close) {
  softBreak();
  jsonText += indent;
  jsonText += open;
  jsonText += newLine;
  indent += indentUnit;
  closerStack += close;
}

void PlainRenderer::closeBrackets() {
  if (!indent.empty()) indent.erase(0, 1);
  const std::size_t p = jsonText.size() - 1 - newLine.size();
  if (jsonText.at(p) == ',') jsonText.erase(p, 1);
  if (closerStack.size() > 1) {
    jsonText += indent;
    jsonText += closerStack.at(closerStack.size() - 1);
    jsonText += ",";
    jsonText += newLine;
    closerStack.erase(closerStack.size() - 1);
  } else if (closerStack.size() == 1) {
    jsonText += closerStack.at(0);
    closerStack.clear();
  }
}

void PlainRenderer::CreatePrefix() {
  if (prefixTop != nullptr) return;
  PrefixNode* node = new PrefixNode{noRootPrefix ? "" : "amf", nullptr, nullptr};
  prefixTop = node;
  prefixRoot = node;
}

void PlainRenderer::AddOnePrefix(const std::string& name) {
  std::string segment;
  if (nextPrefixBare) {
    segment = name;
    nextPrefixBare = false;
  } else {
    segment = "." + name;
  }
  PrefixNode* node = new PrefixNode{segment, prefixTop, nullptr};
  prefixTop->inner = node;
  prefixTop = node;
}

void PlainRenderer::RemoveOnePrefix() {
  if (prefixTop == nullptr) return;
  PrefixNode* removed = prefixTop;
  if (removed->outer != nullptr) {
    prefixTop = removed->outer;
    prefixTop->inner = nullptr;
  } else {
    prefixTop = nullptr;
    prefixRoot = nullptr;
  }
  delete removed;
}

void PlainRenderer::AddPrefixes(std::string& out) {
  for (const PrefixNode* node = prefixRoot; node != nullptr; node = node->inner)
    out += node->segment;
}

// ---- Attributes and values

void PlainRenderer::appendAttr(const std::string& name, const std::string& value, bool quote) {
  jsonText += indent + "\"" + name + "\" : ";
  if (quote) {
    jsonText += "\"" + escapedAttribute(value) + "\"";
  } else {
    jsonText += value;
  }
  jsonText += "," + newLine;
}

void PlainRenderer::appendJSAttr(const std::string& name, const std::string& value, bool quote) {
  AddPrefixes(scriptText);
  scriptText += "." + name + " = ";
  if (quote) {
    scriptText += "\"" + escapedScript(value) + "\"";
  } else {
    scriptText += value;
  }
  scriptText += ";" + scriptNewLine;
  scriptStatementStart = true;
}

void PlainRenderer::appendValue(const std::string& value, bool quote, bool named) {
  if (named) {
    jsonText += indent + "\"value\" : ";
    if (!jsonOnly && !valueInline) {
      AddPrefixes(scriptText);
      scriptText += ".value = ";
    }
  } else {
    if (!jsonOnly && scriptStatementStart && !valueInline) {
      AddPrefixes(scriptText);
      scriptText += " = ";
    }
    jsonText.erase(jsonText.size() - newLine.size());
  }
  if (value.size() > 399 && !jsonOnly && !jsonAndScript && useTemporaries) {
    writeTemporary(value, quote);
  } else {
    writeShort(value, quote);
  }
  jsonText += "," + newLine;
  if (jsonOnly || valueInline) return;
  scriptText += ";" + scriptNewLine;
  scriptStatementStart = true;
}

void PlainRenderer::writeShort(const std::string& value, bool quote) {
  const std::string text = quote ? "\"" + escapedScript(value) + "\"" : value;
  jsonText += text;
  if (!jsonOnly) scriptText += text;
}

void PlainRenderer::writeTemporary(const std::string& value, bool quote) {
  const int number = temporaryCounter + 1;
  temporaryCounter = number;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "qxAmfTemporary%d", number);
  std::string name = buffer;
  jsonText += name;
  scriptText += name;
  const std::string text = quote ? escapedScript(value) : value;
  if (name.empty()) name = "qxTemporary";
  const int available = 994 - static_cast<int>(name.size());
  const int pieceSize = available < 400 ? available : 400;
  const std::size_t piece = static_cast<std::size_t>(pieceSize);
  scriptPreamble += "\n";
  if (text.size() <= piece) {
    scriptPreamble += name + " = \"" + text + "\"\n";
    return;
  }
  std::size_t start = 0;
  std::size_t end = piece + 1;
  std::size_t remaining = text.size();
  bool first = true;
  do {
    std::size_t cut = end;
    while (cut > start && text.at(cut - 1) == '\\') --cut;
    scriptPreamble +=
        name + (first ? " = \"" : " += \"") + text.substr(start, cut - start) + "\"\n";
    first = false;
    remaining = remaining - piece;
    start = cut;
    end = cut + piece;
  } while (piece < remaining);
  if (remaining > 0) scriptPreamble += name + " += \"" + text.substr(start, piece) + "\"\n";
}

// ---- Nodes

void PlainRenderer::appendScalar(const std::string& text, bool quote, const char* name,
                                 bool wrapped) {
  if (wrapped) appendAttr("type", name, true);
  appendValue(text, quote, wrapped);
}

void PlainRenderer::openOnce(bool& wrapped) {
  if (!wrapped) openBrackets('{', '}');
  wrapped = true;
}

void PlainRenderer::appendNode(AMFNode* node, AMFVersion parentVersion) {
  if (node == nullptr) return;
  if (outputLimitReached && !jsonOnly) return;
  if (jsonText.size() + scriptText.size() > 499999) {
    outputLimitReached = true;
    if (!jsonOnly) return;
  }
  bool wrapped = false;
  const char* const name = typeName(node->type);
  if (node->referenceIndex != 0xFFFFFFFFu) {
    openBrackets('{', '}');
    if (name != nullptr) {
      appendAttr("type", name, true);
    } else {
      appendValue("undefined", true, true);
    }
    appendAttr("reference", decimal(node->referenceIndex), false);
    wrapped = true;
  }
  if (node->version == AMF_VERSION_3 && parentVersion == AMF_VERSION_0) {
    openBrackets('{', '}');
    appendAttr("version", "AMF3", true);
    wrapped = true;
  }
  switch (node->type) {
    case AMFNode::AMF_NULL: appendScalar("null", false, name, wrapped); break;
    case AMFNode::AMF_BOOL:
      appendScalar(static_cast<AMFBool*>(node)->value ? "true" : "false", false, name, wrapped);
      break;
    case AMFNode::AMF_INT:
      appendScalar(decimal(static_cast<AMFInt*>(node)->value), false, name, wrapped);
      break;
    case AMFNode::AMF_DOUBLE:
      appendScalar(plainDoubleText(static_cast<AMFDouble*>(node)->value), false, name, wrapped);
      break;
    case AMFNode::AMF_STRING:
      appendScalar(bytesOf(static_cast<AMFString*>(node)), true, name, wrapped);
      break;
    case AMFNode::AMF_OBJECT:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendObject(static_cast<AMFObject*>(node));
      break;
    case AMFNode::AMF_DATE:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendValue(plainDateText(static_cast<AMFDate*>(node)->value), true, true);
      break;
    case AMFNode::AMF_XML:
      openOnce(wrapped);
      appendAttr("type", name, true);
      if (static_cast<AMFXML*>(node)->document == 0) appendAttr("xml_type", "XML", true);
      appendValue(bytesOf(static_cast<AMFXML*>(node)), true, true);
      break;
    case AMFNode::AMF_RAW:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendValue(hexText(static_cast<AMFRaw*>(node)), true, true);
      break;
    case AMFNode::AMF_ARRAY:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendArray(static_cast<AMFArray*>(node));
      break;
    case AMFNode::AMF_PAIR:
    case AMFNode::AMF_HEADER:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendPair(static_cast<AMFPair*>(node));
      break;
    case AMFNode::AMF_MESSAGE:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendMessage(static_cast<AMFMessage*>(node));
      break;
    case AMFNode::AMF_PACKAGE:
      openOnce(wrapped);
      appendAttr("type", name, true);
      appendChildren("content", node);
      break;
    default: appendValue("undefined", true, wrapped); break;
  }
  if (wrapped) closeBrackets();
}

void PlainRenderer::appendObject(AMFObject* object) {
  if (object->version == AMF_VERSION_3) {
    appendAttr("sealed_size", decimal(object->sealedCount), false);
    if (object->traitsIndex != 0xFFFFFFFFu)
      appendAttr("traits_reference", decimal(object->traitsIndex), false);
    if (object->dynamic) appendAttr("have_dynamic", "true", false);
    if (object->externalizable) appendAttr("externalizable", "true", false);
  }
  if (object->className != nullptr && object->className->length != 0)
    appendChild("classname", object->className, object->version, false);
  appendChildren("properties", object);
}

void PlainRenderer::appendArray(AMFArray* array) {
  if (array->version == AMF_VERSION_3) {
    appendAttr("dense_size", decimal(array->denseCount), false);
  } else {
    appendAttr("array_type", array->strict == 0 ? "ECMA" : "strict", true);
  }
  appendChildren("value", array);
}

void PlainRenderer::appendPair(AMFPair* pair) {
  if (pair->type == AMFNode::AMF_HEADER) {
    const AMFHeader* header = static_cast<AMFHeader*>(pair);
    if (header->mustUnderstand) appendAttr("must_understand", "true", false);
    if (header->length != 0xFFFFFFFFu) appendAttr("length", decimal(header->length), false);
  }
  if (!jsonOnly && pair->name != nullptr && pair->value != nullptr &&
      !isObjectOrArray(pair->name) && !isObjectOrArray(pair->value)) {
    AddPrefixes(scriptText);
    scriptText += ".value = ";
    valueInline = true;
    appendChild("value", pair->value, pair->version, true);
    scriptText += "; // ";
    appendChild("name", pair->name, pair->version, true);
    valueInline = false;
    scriptText += "\n";
  } else {
    appendChild("name", pair->name, pair->version, false);
    appendChild("value", pair->value, pair->version, false);
  }
}

void PlainRenderer::appendMessage(AMFMessage* message) {
  if (message->length != 0xFFFFFFFFu) appendAttr("length", decimal(message->length), false);
  appendChild("targetUri", message->targetUri, message->version, false);
  appendChild("responseUri", message->responseUri, message->version, false);
  appendChild("value", message->value, message->version, false);
}

// ---- Members, lists and views

void PlainRenderer::countIn() {
  if (!trackDepth) return;
  childDepth = childDepth + 1;
  if (childDepth == 1) nextPrefixBare = true;
}

void PlainRenderer::countOut() {
  if (trackDepth) childDepth = childDepth - 1;
}

void PlainRenderer::appendChild(const std::string& name, AMFNode* node, AMFVersion nodeVersion,
                                bool isInline) {
  countIn();
  softBreak();
  jsonText += indent + "\"" + name + "\" : ";
  if (node == nullptr) {
    jsonText += "null," + newLine;
  } else if (jsonOnly || isInline) {
    jsonText += newLine;
    appendNode(node, nodeVersion);
    scriptStatementStart = true;
  } else {
    if (!isObjectOrArray(node)) {
      AddPrefixes(scriptText);
      scriptText += nextPrefixBare ? name + " = " : "." + name + " = ";
    }
    AddOnePrefix(cutName(name));
    scriptStatementStart = false;
    jsonText += newLine;
    appendNode(node, nodeVersion);
    scriptStatementStart = true;
    RemoveOnePrefix();
  }
  countOut();
}

void PlainRenderer::appendChildren(const std::string& name, AMFNode* node) {
  if (node == nullptr) return;
  countIn();
  jsonText += indent + "\"" + name + "\" : " + newLine;
  const std::uint32_t count = static_cast<std::uint32_t>(node->children.size());
  scriptStatementStart = true;
  openBrackets('[', ']');
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!jsonOnly) AddOnePrefix(elementName(name, i));
    AMFNode* const child = node->AMFNode::getChild(i);
    if (child != nullptr) appendNode(child, node->version);
    if (!jsonOnly) RemoveOnePrefix();
    if (trackDepth && childDepth == 1) nextPrefixBare = true;
  }
  closeBrackets();
  countOut();
}

void PlainRenderer::startView(bool pretty) {
  CreatePrefix();
  lineBreakCount = 1;
  jsonText.clear();
  scriptText.clear();
  indent.clear();
  indentUnit = pretty ? "\t" : "";
  newLine = pretty ? "\n" : "";
}

const std::string& PlainRenderer::getPackageInJSON(bool pretty) {
  scriptView = false;
  jsonOnly = true;
  jsonAndScript = false;
  trackDepth = noRootPrefix = nextPrefixBare = false;
  startView(pretty);
  if (package != nullptr) appendNode(package, AMF_VERSION_0);
  return jsonText;
}

const std::string& PlainRenderer::getPackageInJS(bool pretty) {
  jsonOnly = jsonAndScript = scriptView = false;
  trackDepth = noRootPrefix = nextPrefixBare = false;
  temporaryCounter = 0;
  startView(pretty);
  scriptPreamble.clear();
  if (package != nullptr) appendNode(package, AMF_VERSION_0);
  jsonText = "\n amf = " + jsonText + "\n\n";
  jsonText += scriptText;
  if (scriptPreamble.empty()) return jsonText;
  scriptPreamble += jsonText;
  return scriptPreamble;
}

const std::string& PlainRenderer::getPackageInJSON_and_JS(bool pretty) {
  scriptView = true;
  jsonOnly = false;
  jsonAndScript = true;
  trackDepth = noRootPrefix = nextPrefixBare = true;
  temporaryCounter = 0;
  startView(pretty);
  scriptPreamble.clear();
  if (package != nullptr) appendNode(package, AMF_VERSION_0);
  jsonText += "\n\nJS representaion\n\n";
  jsonText += scriptText;
  return jsonText;
}

const std::string& PlainRenderer::getPackageAsJSView(bool pretty) {
  scriptView = true;
  jsonOnly = false;
  jsonAndScript = false;
  trackDepth = noRootPrefix = nextPrefixBare = true;
  temporaryCounter = 0;
  useTemporaries = false;
  startView(pretty);
  scriptPreamble.clear();
  if (package != nullptr) appendNode(package, AMF_VERSION_0);
  return scriptText;
}

// ---- Comparison

std::string firstDifference(const std::string& expected, const std::string& actual) {
  if (expected == actual) return std::string();
  std::size_t at = 0;
  while (at < expected.size() && at < actual.size() && expected[at] == actual[at]) ++at;
  const auto shown = [at](const std::string& text) {
    const std::size_t from = at < 60 ? 0 : at - 60;
    std::string result;
    for (const char c : text.substr(from < text.size() ? from : text.size(), 120)) {
      char buffer[16];
      const unsigned char byte = static_cast<unsigned char>(c);
      std::snprintf(buffer, sizeof buffer, byte < 0x20 || byte > 0x7E ? "\\x%02X" : "%c", byte);
      result += buffer;
    }
    return result;
  };
  return "differs at byte " + std::to_string(at) + " (" + std::to_string(expected.size()) +
         " bytes expected, " + std::to_string(actual.size()) + " found)\n  expected ..." +
         shown(expected) + "\n  found    ..." + shown(actual);
}

}  // namespace support
