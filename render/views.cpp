// SPDX-License-Identifier: Apache-2.0
//
// The four views. Each sets its mode, resets the texts and renders the tree. Two views then join
// the texts. Tested by tests/render/views_test.cpp.
#include "AMF2JSON.h"
#include "render/writer.h"

using namespace amf2json;

namespace {

constexpr std::string_view kAssignment = "\n amf = ";

// Does nothing if the text already has this value, which is the usual case.
void setText(std::string& text, std::string_view value) {
  if (text != value) text = value;
}

// What all views do after they have set their mode. `bareRoot`: the script path has no root, and
// its first segment has no dot. Only the first view on a protocol object decides about the root.
// `hidden` bytes before the JSON text are free for the caller.
void renderPackage(AMFProtocol& p, ProtocolState& state, bool pretty, bool bareRoot,
                   std::size_t hidden = 0) {
  p.trackDepth = bareRoot;
  p.noRootPrefix = bareRoot;
  p.nextPrefixBare = bareRoot;
  p.CreatePrefix();
  p.lineBreakCount = 1;
  state.texts.exchangeBlankTexts();
  p.indent.clear();
  setText(p.indentUnit, pretty ? "\t" : "");
  setText(p.newLine, pretty ? "\n" : "");
  render::Writer writer(p, state, hidden);
  writer.run([&](char* to) { return writer.writeNode(to, p.package, AMF_VERSION_0); });
}

}  // namespace

const std::string& AMFProtocol::getPackageInJSON(bool pretty) {
  scriptView = false;
  jsonOnly = true;
  jsonAndScript = false;
  renderPackage(*this, *state, pretty, false);
  return jsonText;
}

const std::string& AMFProtocol::getPackageInJS(bool pretty) {
  jsonOnly = false;
  jsonAndScript = false;
  scriptView = false;
  temporaryCounter = 0;
  scriptPreamble.clear();
  renderPackage(*this, *state, pretty, false, kAssignment.size());
  kAssignment.copy(&jsonText[0], kAssignment.size());
  jsonText += "\n\n";
  jsonText += scriptText;
  if (scriptPreamble.empty()) return jsonText;
  scriptPreamble += jsonText;
  return scriptPreamble;
}

const std::string& AMFProtocol::getPackageInJSON_and_JS(bool pretty) {
  scriptView = true;
  jsonOnly = false;
  jsonAndScript = true;
  temporaryCounter = 0;
  scriptPreamble.clear();
  renderPackage(*this, *state, pretty, true);
  jsonText += "\n\nJS representaion\n\n";  // Kept: this spelling.
  jsonText += scriptText;
  return jsonText;
}

const std::string& AMFProtocol::getPackageAsJSView(bool pretty) {
  scriptView = true;
  jsonOnly = false;
  jsonAndScript = false;
  temporaryCounter = 0;
  useTemporaries = false;  // Kept: no view ever sets it back to true.
  scriptPreamble.clear();
  renderPackage(*this, *state, pretty, true);
  return scriptText;
}
