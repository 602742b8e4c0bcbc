// SPDX-License-Identifier: Apache-2.0
//
// The private state of a protocol object. Hosts see only the public members of AMFProtocol.
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

  // For parse: `lists` caches the storage of the last package's child lists. `pending` owns the
  // children of containers that are still being read.
  std::unique_ptr<ChildLists> lists;
  std::vector<AMFNode*> pending;

  // The script path: its segments, joined, and the offset of each segment.
  std::string scriptPath;
  std::vector<std::size_t> scriptPathStarts;
};

}  // namespace amf2json
