// SPDX-License-Identifier: Apache-2.0
//
// The arguments of the public calls that read bytes: amfWireExport(), amfWireRead() and
// amfWireIdentify(). Defined in wire/read.cpp. Tested by tests/wire/hosts_test.cpp.
#ifndef WIRE_INPUT_H
#define WIRE_INPUT_H

#include <cstddef>

#include "AMFWire.h"

namespace amf2json::wire {

// Throws a Failure (packetLimit) if the input is larger than the limit or than 32-bit offsets allow.
void checkSize(std::size_t size, const AMFWireLimits& limits);

// The bytes of the caller. A null pointer is the empty input.
const char* notNull(const void* bytes);

// The form in the options, or the one that amfWireIdentify() finds.
AMFWireForm formOf(const char* bytes, std::size_t size, const AMFWireReadOptions& options);

}  // namespace amf2json::wire

#endif  // WIRE_INPUT_H
