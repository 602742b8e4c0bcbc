// SPDX-License-Identifier: Apache-2.0
//
// Named members and named lists: the name in the JSON text, the step in the script path, the
// descent. Tested by tests/render_views_test.cpp.
#include "AMF2JSON.h"
#include "render/writer.h"

namespace render {

void Writer::writeChild(std::string_view name, const AMFNode* node, AMFVersion nodeVersion,
                        bool isInline) {
  enterLevel();
  breakSoftly();
  writeMemberName(name);
  if (!node) {
    json.append("null");
    endMember();
  } else if (p.jsonOnly || isInline) {
    json.append(p.newLine);
    writeNode(node, nodeVersion);
    p.scriptStatementStart = true;
  } else {
    if (!isContainer(node)) beginStatement(name);
    pushMember(name);
    p.scriptStatementStart = false;
    json.append(p.newLine);
    writeNode(node, nodeVersion);
    p.scriptStatementStart = true;
    popSegment(p);
  }
  leaveLevel();
}

// Kept: the whole name here, cut at a NUL only in the path.
void Writer::beginStatement(std::string_view name) {
  appendPath();
  if (!p.nextPrefixBare) script.append('.');
  script.append(name);
  script.append(" = ");
}

void Writer::writeChildren(std::string_view name, const AMFNode* node) {
  if (!node) return;  // Kept: silent, where a missing named member is written as null.
  enterLevel();
  writeMemberName(name);
  json.append(p.newLine);
  const auto count = static_cast<std::uint32_t>(node->children.size());
  p.scriptStatementStart = true;
  openBrackets('[', ']');
  const bool isFirstLevel = p.trackDepth && p.childDepth == 1;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!p.jsonOnly) pushElement(name, i);
    writeNode(node->children[i], node->version);  // a missing one leaves no trace
    if (!p.jsonOnly) popSegment(p);
    if (isFirstLevel) p.nextPrefixBare = true;
    // The rest of the list would leave no trace but that of its steps in the path.
    if (p.outputLimitReached && !p.jsonOnly) {
      if (i + 1 < count && !isFirstLevel) p.nextPrefixBare = false;
      break;
    }
  }
  closeBrackets();
  leaveLevel();
}

}  // namespace render

void AMFProtocol::appendChild(const std::string& name, AMFNode* node, AMFVersion nodeVersion,
                              bool isInline) {
  render::Writer(*this).writeChild(std::string(name), node, nodeVersion, isInline);
}

void AMFProtocol::appendChildren(const std::string& name, AMFNode* node) {
  render::Writer(*this).writeChildren(std::string(name), node);
}
