// SPDX-License-Identifier: Apache-2.0
//
// Fixed attributes: a member line of the JSON text, or a statement of the script.
// Tested by tests/render_escape_test.cpp.
#include "AMF2JSON.h"
#include "render/escape.h"

void AMFProtocol::appendAttr(const std::string& name, const std::string& value, bool quote) {
  textsBlank = false;
  writeAttr(name, value, quote);
}

void AMFProtocol::writeAttr(std::string_view name, std::string_view value, bool quote) {
  writeMemberName(name);
  if (quote) {
    jsonText += '"';
    render::appendJsonEscaped(jsonText, value);
    jsonText += '"';
  } else {
    jsonText += value;
  }
  jsonText += ',';
  jsonText += newLine;
}

// Kept: the name is not escaped.
void AMFProtocol::writeMemberName(std::string_view name) {
  jsonText += indent;
  jsonText += '"';
  jsonText += name;
  jsonText += "\" : ";
}

void AMFProtocol::appendJSAttr(const std::string& name, const std::string& value, bool quote) {
  textsBlank = false;
  AddPrefixes(scriptText);
  scriptText += '.';
  scriptText += name;
  scriptText += " = ";
  if (quote) {
    scriptText += '"';
    render::appendScriptEscaped(scriptText, value);
    scriptText += '"';
  } else {
    scriptText += value;
  }
  endStatement();
}

void AMFProtocol::endStatement() {
  scriptText += ';';
  scriptText += scriptNewLine;
  scriptStatementStart = true;
}
