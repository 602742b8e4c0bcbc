// SPDX-License-Identifier: Apache-2.0
//
// What a protocol object keeps for itself: its public members are all that hosts see.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "AMF2JSON.h"
#include "memory/child_lists.h"
#include "memory/text_buffers.h"

namespace amf2json {

struct ProtocolState {
  explicit ProtocolState(AMFProtocol& protocol) : texts(protocol.jsonText, protocol.scriptText) {}

  TextBuffers texts;

  // For parse: storage of the last package's child lists, and (owned) what the containers that are
  // being read will get as children.
  std::unique_ptr<ChildLists> lists;
  std::vector<AMFNode*> pending;

  // The script path: all segments joined, and where each begins.
  std::string scriptPath;
  std::vector<std::size_t> scriptPathStarts;
};

}  // namespace amf2json
