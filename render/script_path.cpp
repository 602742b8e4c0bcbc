// SPDX-License-Identifier: Apache-2.0
//
// The script path: a stack of segments, stored as one joined text. Tested by
// tests/render/script_path_test.cpp.
#include "AMF2JSON.h"
#include "render/number_text.h"
#include "render/writer.h"

using namespace amf2json;

namespace {

constexpr std::size_t kSegmentNameMax = 999;

}  // namespace

void AMFProtocol::CreatePrefix() {
  if (!state->scriptPathStarts.empty()) return;
  constexpr std::size_t kFewLevels = 16;
  constexpr std::size_t kShortPath = 120;
  state->scriptPathStarts.reserve(kFewLevels);
  state->scriptPath.reserve(kShortPath);
  state->scriptPathStarts.push_back(0);
  if (!noRootPrefix) state->scriptPath = "amf";
}

namespace amf2json::render {

void Writer::pushSegment(AMFProtocol& p, ProtocolState& state, std::string_view name) {
  state.scriptPathStarts.push_back(state.scriptPath.size());
  if (!p.nextPrefixBare) state.scriptPath += '.';
  p.nextPrefixBare = false;
  state.scriptPath += name;
}

void Writer::popSegment(ProtocolState& state) {
  if (state.scriptPathStarts.empty()) return;
  state.scriptPath.erase(state.scriptPathStarts.back());
  state.scriptPathStarts.pop_back();
}

// Pushes the segment of a member. It is truncated at the first NUL and after 999 bytes.
void Writer::pushMember(std::string_view name) {
  name = name.substr(0, name.find('\0'));
  pushSegment(p, state, name.substr(0, kSegmentNameMax));
}

// Pushes the segment "name[index]". The name is truncated at the first NUL, the segment after 999
// bytes.
void Writer::pushElement(std::string_view name, std::uint32_t index) {
  char position[kIntegerMax + 2];
  position[0] = '[';
  char* const end = put(putInteger(position + 1, index), ']');
  const std::size_t start = state.scriptPath.size() + (p.nextPrefixBare ? 0 : 1);
  pushSegment(p, state, name.substr(0, name.find('\0')));
  state.scriptPath.append(position, end);
  if (state.scriptPath.size() - start > kSegmentNameMax)
    state.scriptPath.resize(start + kSegmentNameMax);
}

}  // namespace amf2json::render

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
