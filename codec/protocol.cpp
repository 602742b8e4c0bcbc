// SPDX-License-Identifier: Apache-2.0
//
// The life of a protocol object. What it owns: the package, the result buffer, the pieces, the
// texts. Tested by tests/ownership_test.cpp.
#include "AMF2JSON.h"
#include "model/child_lists.h"

AMFProtocol::AMFProtocol() = default;

AMFProtocol::~AMFProtocol() {
  handTextsOn();
  delete package;
  delete[] resultBuffer;
}
