// SPDX-License-Identifier: Apache-2.0
//
// Composite nodes made around parts that exist already: no default name or value is made and thrown
// away.
#pragma once

#include <memory>

#include "AMF2JSON.h"

namespace model {

struct Adopt {
  // `value` may come later, in the same function: a pair that anyone can see has one.
  static std::unique_ptr<AMFPair> pair(AMFVersion version, std::unique_ptr<AMFString> name,
                                       std::unique_ptr<AMFNode> value = nullptr) {
    std::unique_ptr<AMFPair> made(new AMFPair(version, AMFNode::AMF_PAIR, nullptr, nullptr));
    made->name = name.release();
    made->value = value.release();
    return made;
  }

  static std::unique_ptr<AMFHeader> header(std::unique_ptr<AMFString> name) {
    std::unique_ptr<AMFHeader> made(new AMFHeader(nullptr, nullptr));
    made->name = name.release();
    return made;
  }

  static std::unique_ptr<AMFMessage> message(std::unique_ptr<AMFString> target,
                                             std::unique_ptr<AMFString> response) {
    std::unique_ptr<AMFMessage> made(new AMFMessage(nullptr, nullptr, nullptr));
    made->targetUri = target.release();
    made->responseUri = response.release();
    return made;
  }

  static std::unique_ptr<AMFObject> object(AMFVersion version) {
    return std::unique_ptr<AMFObject>(new AMFObject(version, static_cast<AMFString*>(nullptr)));
  }
};

}  // namespace model
