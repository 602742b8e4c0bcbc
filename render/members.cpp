// SPDX-License-Identifier: Apache-2.0
//
// Named members and named lists: the name in the JSON text, the step in the script path, the
// descent. Tested by tests/render_views_test.cpp.
#include "AMF2JSON.h"
#include "render/number_text.h"

namespace {

bool isContainer(const AMFNode* node) {
  return node->type == AMFNode::AMF_OBJECT || node->type == AMFNode::AMF_ARRAY;
}

}  // namespace

void AMFProtocol::appendChild(const std::string& name, AMFNode* node, AMFVersion nodeVersion,
                              bool isInline) {
  textsBlank = false;
  writeChild(name, node, nodeVersion, isInline);
}

void AMFProtocol::writeChild(std::string_view name, AMFNode* node, AMFVersion nodeVersion,
                             bool isInline) {
  enterLevel();
  breakSoftly();
  writeMemberName(name);
  if (!node) {
    jsonText += "null,";
    jsonText += newLine;
  } else if (jsonOnly || isInline) {
    jsonText += newLine;
    appendNode(node, nodeVersion);
    scriptStatementStart = true;
  } else {
    if (!isContainer(node)) beginStatement(name);
    pushCutPath(name);
    scriptStatementStart = false;
    jsonText += newLine;
    appendNode(node, nodeVersion);
    scriptStatementStart = true;
    RemoveOnePrefix();
  }
  leaveLevel();
}

// Kept: the whole name here, cut at a NUL only in the path.
void AMFProtocol::beginStatement(std::string_view name) {
  AddPrefixes(scriptText);
  if (!nextPrefixBare) scriptText += '.';
  scriptText += name;
  scriptText += " = ";
}

void AMFProtocol::enterLevel() {
  if (!trackDepth) return;
  ++childDepth;
  if (childDepth == 1) nextPrefixBare = true;
}

void AMFProtocol::leaveLevel() {
  if (trackDepth) --childDepth;
}

void AMFProtocol::appendChildren(const std::string& name, AMFNode* node) {
  textsBlank = false;
  writeChildren(name, node);
}

void AMFProtocol::writeChildren(std::string_view name, AMFNode* node) {
  if (!node) return;  // Kept: silent, where a missing named member is written as null.
  enterLevel();
  writeMemberName(name);
  jsonText += newLine;
  const auto count = static_cast<std::uint32_t>(node->children.size());
  scriptStatementStart = true;
  openBrackets('[', ']');
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!jsonOnly) pushElement(name, i);
    appendNode(node->getChild(i), node->version);  // a missing one leaves no trace
    if (!jsonOnly) RemoveOnePrefix();
    if (trackDepth && childDepth == 1) nextPrefixBare = true;
  }
  closeBrackets();
  leaveLevel();
}

// The segment "name[index]".
void AMFProtocol::pushElement(std::string_view name, std::uint32_t index) {
  render::NumberBuffer buffer;
  std::string segment(name.substr(0, name.find('\0')));
  segment += '[';
  segment += render::integerText(index, buffer);
  segment += ']';
  pushCutPath(segment);
}
