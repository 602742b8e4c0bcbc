// SPDX-License-Identifier: Apache-2.0
//
// Finds a member of an object or array by its name. Enter at member(). Tested by
// tests/edit/edit_test.cpp.
#include <algorithm>

#include "AMFEdit.h"

namespace {

bool isNamed(const AMFPair& pair, std::string_view name) {
  if (!pair.name || pair.name->length != name.size()) return false;
  if (name.empty()) return true;
  return pair.name->data && std::equal(name.begin(), name.end(), pair.name->data);
}

}  // namespace

// The class of a child is asked for, not the kind: pairs may carry any kind code.
const AMFNode* member(const AMFNode* node, std::string_view name) noexcept {
  if (!node || (node->type != AMFNode::AMF_OBJECT && node->type != AMFNode::AMF_ARRAY)) {
    return nullptr;
  }
  const auto isWanted = [name](const AMFNode* child) {
    const auto* const pair = dynamic_cast<const AMFPair*>(child);
    return pair && isNamed(*pair, name);
  };
  const auto& children = node->children;
  const auto found = std::find_if(children.rbegin(), children.rend(), isWanted);
  return found == children.rend() ? nullptr : static_cast<const AMFPair*>(*found)->value;
}
