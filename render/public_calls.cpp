// SPDX-License-Identifier: Apache-2.0
//
// The public steps of the renderer, one at a time, and nothing but: each makes a writer for itself,
// where a view makes one for its whole rendering. Small rather than fast (CMakeLists.txt). Tested
// by the tests of the steps' own files.
#include "AMF2JSON.h"
#include "render/writer.h"

using namespace amf2json;

void AMFProtocol::openBrackets(char open, char close) {
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.openBrackets(to, open, close); });
}

void AMFProtocol::closeBrackets() {
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.closeBrackets(to); });
}

// The arguments are copied: they may be the very texts that are written to.

void AMFProtocol::appendAttr(const std::string& name, const std::string& value, bool quote) {
  const std::string nameCopy(name);
  const std::string valueCopy(value);
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.writeAttr(to, nameCopy, valueCopy, quote); });
}

void AMFProtocol::appendJSAttr(const std::string& name, const std::string& value, bool quote) {
  const std::string nameCopy(name);
  const std::string valueCopy(value);
  render::Writer(*this, *state).writeStatement(nameCopy, valueCopy, quote);
}

void AMFProtocol::appendValue(const std::string& value, bool quote, bool named) {
  const std::string copy(value);
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.writeValue(to, copy, quote, named); });
}

void AMFProtocol::appendNode(const AMFNode* node, AMFVersion parentVersion) {
  render::Writer writer(*this, *state);
  writer.run([&](char* to) { return writer.writeNode(to, node, parentVersion); });
}

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

void AMFProtocol::AddOnePrefix(const std::string& name) {
  render::Writer::pushSegment(*this, *state, name);
}

void AMFProtocol::RemoveOnePrefix() {
  render::Writer::popSegment(*state);
}

void AMFProtocol::AddPrefixes(std::string& out) {
  if (&out == &jsonText || &out == &scriptText) state->texts.markWritten();
  out += state->scriptPath;
}
