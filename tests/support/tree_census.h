// SPDX-License-Identifier: Apache-2.0
//
// Counts the nodes and bytes of a tree, to compare them with what the guard reports for its packet.
// Used by guard_agreement.cpp and by the fuzz targets.
#ifndef TESTS_SUPPORT_TREE_CENSUS_H
#define TESTS_SUPPORT_TREE_CENSUS_H

#include <algorithm>
#include <cstdint>

#include <AMF2JSON.h>

namespace support {

struct Census {
  std::uint64_t nodes = 0;
  std::uint64_t stringBytes = 0;
  std::uint64_t rawBytes = 0;
  std::uint32_t switchedReferences = 0;

  // Returns the height. The package has no parent: give AMF_VERSION_0.
  std::uint32_t take(const AMFNode* node, AMFVersion parentVersion) {
    ++nodes;
    if (node->version == AMF_VERSION_3 && parentVersion == AMF_VERSION_0 &&
        node->referenceIndex != AMFNode::kNoReference) {
      ++switchedReferences;
    }
    std::uint32_t height = 0;
    const auto part = [&](const AMFNode* child) {
      height = std::max(height, take(child, node->version));
    };
    switch (node->type) {
      case AMFNode::AMF_STRING:
      case AMFNode::AMF_XML: stringBytes += static_cast<const AMFRaw*>(node)->length; break;
      case AMFNode::AMF_RAW: rawBytes += static_cast<const AMFRaw*>(node)->length; break;
      case AMFNode::AMF_OBJECT: part(static_cast<const AMFObject*>(node)->className); break;
      case AMFNode::AMF_PAIR:
      case AMFNode::AMF_HEADER:
        part(static_cast<const AMFPair*>(node)->name);
        part(static_cast<const AMFPair*>(node)->value);
        break;
      case AMFNode::AMF_MESSAGE:
        part(static_cast<const AMFMessage*>(node)->targetUri);
        part(static_cast<const AMFMessage*>(node)->responseUri);
        part(static_cast<const AMFMessage*>(node)->value);
        break;
      default: break;
    }
    for (const AMFNode* child : node->children) part(child);
    const bool container = node->type == AMFNode::AMF_OBJECT || node->type == AMFNode::AMF_ARRAY;
    return height + (container ? 1 : 0);
  }
};

}  // namespace support

#endif  // TESTS_SUPPORT_TREE_CENSUS_H
