// SPDX-License-Identifier: Apache-2.0
//
// The life of a protocol object. What it owns: the package, the result buffer, the pieces, the
// texts. Tested by tests/model/ownership_test.cpp.
#include "AMF2JSON.h"
#include "codec/pieces.h"
#include "model/protocol_state.h"

using namespace amf2json;

AMFProtocol::AMFProtocol() : state(std::make_unique<ProtocolState>(*this)) {}

AMFProtocol::~AMFProtocol() {
  delete package;
  delete[] resultBuffer;
}
