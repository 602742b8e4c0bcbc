// SPDX-License-Identifier: Apache-2.0
//
// Makes a tree free of references. Enter at clearReferences(). Tested by tests/edit/edit_test.cpp.
#include "AMFEdit.h"

// The class is asked for, not the kind: pairs, for one, may carry any kind code.
void clearReferences(AMFNode* tree) noexcept {
  if (!tree) return;
  tree->referenceIndex = AMFNode::kNoReference;
  for (AMFNode* const child : tree->children) clearReferences(child);
  if (auto* const pair = dynamic_cast<AMFPair*>(tree)) {
    clearReferences(pair->name);
    clearReferences(pair->value);
  } else if (auto* const object = dynamic_cast<AMFObject*>(tree)) {
    object->traitsIndex = AMFNode::kNoReference;
    clearReferences(object->className);
  } else if (auto* const message = dynamic_cast<AMFMessage*>(tree)) {
    clearReferences(message->targetUri);
    clearReferences(message->responseUri);
    clearReferences(message->value);
  }
}
