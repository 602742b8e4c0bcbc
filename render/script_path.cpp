// SPDX-License-Identifier: Apache-2.0
//
// The script path: a stack of segments, kept as one joined text. Tested by
// tests/script_path_test.cpp.
#include "AMF2JSON.h"

namespace {

constexpr std::size_t kSegmentNameMax = 999;

}  // namespace

void AMFProtocol::CreatePrefix() {
  if (!scriptPathStarts.empty()) return;
  scriptPathStarts.push_back(0);
  if (!noRootPrefix) scriptPath = "amf";
}

void AMFProtocol::AddOnePrefix(const std::string& name) {
  pushPath(name);
}

void AMFProtocol::pushPath(std::string_view name) {
  scriptPathStarts.push_back(scriptPath.size());
  if (!nextPrefixBare) scriptPath += '.';
  nextPrefixBare = false;
  scriptPath += name;
}

// What appendChild and appendChildren push ends at the first NUL and after 999 bytes.
void AMFProtocol::pushCutPath(std::string_view name) {
  name = name.substr(0, name.find('\0'));
  pushPath(name.substr(0, kSegmentNameMax));
}

void AMFProtocol::RemoveOnePrefix() {
  if (scriptPathStarts.empty()) return;
  scriptPath.resize(scriptPathStarts.back());
  scriptPathStarts.pop_back();
}

void AMFProtocol::AddPrefixes(std::string& out) {
  out += scriptPath;
}
