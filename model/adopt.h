// SPDX-License-Identifier: Apache-2.0
//
// Composite nodes as the readers make them: their names and values come later, no default ones are
// made and thrown away. Until then they are null, where nobody but the reader can see them.
#pragma once

#include <memory>

#include "AMF2JSON.h"
#include "model/node_pool.h"

namespace amf2json::model {

struct Adopt {
  static std::unique_ptr<AMFPair> pair(Cutter& cutter, AMFVersion version) {
    return std::unique_ptr<AMFPair>(::new (cutter.take<AMFPair>())
                                        AMFPair(version, AMFNode::AMF_PAIR, nullptr, nullptr));
  }
  static std::unique_ptr<AMFHeader> header(Cutter& cutter) {
    return std::unique_ptr<AMFHeader>(::new (cutter.take<AMFHeader>()) AMFHeader(nullptr, nullptr));
  }
  static std::unique_ptr<AMFMessage> message(Cutter& cutter) {
    return std::unique_ptr<AMFMessage>(::new (cutter.take<AMFMessage>())
                                           AMFMessage(nullptr, nullptr, nullptr));
  }
  static std::unique_ptr<AMFObject> object(Cutter& cutter, AMFVersion version) {
    return std::unique_ptr<AMFObject>(::new (cutter.take<AMFObject>())
                                          AMFObject(version, static_cast<AMFString*>(nullptr)));
  }
};

}  // namespace amf2json::model
