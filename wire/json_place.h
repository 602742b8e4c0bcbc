// SPDX-License-Identifier: Apache-2.0
//
// Where in a JSON document something is: line, column and path. Worked out when an error is
// reported. Tested by tests/wire/json_errors_test.cpp.
#ifndef WIRE_JSON_PLACE_H
#define WIRE_JSON_PLACE_H

#include <string>

#include "wire/json_index.h"

namespace amf2json::wire {

// The outcome of a call that met `failure` in `text`.
AMFWireResult resultOf(JsonFailure&& failure, const JsonIndex& index, const char* text,
                       std::size_t size);

// messages[0].value[2].name; of a key, that of its value.
std::string pathOf(const JsonIndex& index, std::uint32_t token);

}  // namespace amf2json::wire

#endif  // WIRE_JSON_PLACE_H
