// SPDX-License-Identifier: Apache-2.0
//
// The script path: a stack of segments, kept as one joined text. Tested by
// tests/script_path_test.cpp.
#include "AMF2JSON.h"
#include "render/number_text.h"
#include "render/writer.h"

namespace {

constexpr std::size_t kSegmentNameMax = 999;

}  // namespace

void AMFProtocol::CreatePrefix() {
  if (!scriptPathStarts.empty()) return;
  constexpr std::size_t kFewLevels = 16;
  constexpr std::size_t kShortPath = 120;
  scriptPathStarts.reserve(kFewLevels);
  scriptPath.reserve(kShortPath);
  scriptPathStarts.push_back(0);
  if (!noRootPrefix) scriptPath = "amf";
}

namespace amf2json::render {

void Writer::pushSegment(AMFProtocol& p, std::string_view name) {
  p.scriptPathStarts.push_back(p.scriptPath.size());
  if (!p.nextPrefixBare) p.scriptPath += '.';
  p.nextPrefixBare = false;
  p.scriptPath += name;
}

void Writer::popSegment(AMFProtocol& p) {
  if (p.scriptPathStarts.empty()) return;
  p.scriptPath.erase(p.scriptPathStarts.back());
  p.scriptPathStarts.pop_back();
}

// What members and lists push ends at the first NUL and after 999 bytes.
void Writer::pushMember(std::string_view name) {
  name = name.substr(0, name.find('\0'));
  pushSegment(p, name.substr(0, kSegmentNameMax));
}

// The segment "name[index]".
void Writer::pushElement(std::string_view name, std::uint32_t index) {
  char position[kIntegerMax + 2];
  position[0] = '[';
  char* const end = put(putInteger(position + 1, index), ']');
  const std::size_t start = p.scriptPath.size() + (p.nextPrefixBare ? 0 : 1);
  pushSegment(p, name.substr(0, name.find('\0')));
  p.scriptPath.append(position, end);
  if (p.scriptPath.size() - start > kSegmentNameMax) p.scriptPath.resize(start + kSegmentNameMax);
}

}  // namespace amf2json::render
