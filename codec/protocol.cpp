// SPDX-License-Identifier: Apache-2.0
//
// Constructor and destructor of a protocol object. It owns the package, the result buffer, the
// pieces and the texts. Tested by tests/model/ownership_test.cpp.
#include "AMF2JSON.h"
#include "codec/pieces.h"
#include "model/protocol_state.h"

using namespace amf2json;

AMFProtocol::AMFProtocol() : state(std::make_unique<ProtocolState>(*this)) {}

AMFProtocol::~AMFProtocol() {
  delete package;
  delete[] resultBuffer;
}
