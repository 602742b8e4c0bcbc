// SPDX-License-Identifier: Apache-2.0
//
// Named members and named lists: their segments of the script path, and the walk into them.
// writer.h writes their lines of the JSON text. Tested by tests/render/views_test.cpp.
#include "AMF2JSON.h"
#include "render/writer.h"

using namespace amf2json;

namespace amf2json::render {

// Writes a member with its own segment of the script path.
char* Writer::writeScripted(char* to, std::string_view name, const AMFNode* node,
                            AMFVersion nodeVersion) {
  if (!isContainer(node)) beginStatement(name);
  pushMember(name);
  p.scriptStatementStart = false;
  to = writeNode(to, node, nodeVersion);
  p.scriptStatementStart = true;
  popSegment(state);
  return to;
}

// Kept: the name is written whole here; only the path truncates it at a NUL.
void Writer::beginStatement(std::string_view name) {
  appendPath();
  if (!p.nextPrefixBare) script.append('.');
  script.append(name);
  script.append(" = ");
}

char* Writer::writeElements(char* to, std::string_view name, const AMFNode* node) {
  const auto count = static_cast<std::uint32_t>(node->children.size());
  const bool isFirstLevel = p.trackDepth && p.childDepth == 1;
  for (std::uint32_t i = 0; i < count; ++i) {
    to = writeShortPairs(to, node, i);
    if (i == count) break;
    const AMFNode* const child = node->children[i];
    if (!p.jsonOnly) pushElement(name, i);
    to = writeNode(to, child, node->version);  // writes nothing for null
    if (!p.jsonOnly) popSegment(state);
    if (isFirstLevel) p.nextPrefixBare = true;
    // The remaining elements would write nothing. Their path segments would only clear
    // nextPrefixBare.
    if (p.outputLimitReached && !p.jsonOnly) {
      if (i + 1 < count && !isFirstLevel) p.nextPrefixBare = false;
      break;
    }
  }
  return to;
}

}  // namespace amf2json::render

void AMFProtocol::appendChild(const std::string& name, const AMFNode* node, AMFVersion nodeVersion,
                              bool isInline) {
  const std::string copy(name);
  render::Writer writer(*this, *state);
  writer.run([&](char* to) {
    return writer.writeChild(to, render::GivenKey(copy), node, nodeVersion, isInline);
  });
}

void AMFProtocol::appendChildren(const std::string& name, const AMFNode* node) {
  const std::string copy(name);
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.writeChildren(to, render::GivenKey(copy), node); });
}
