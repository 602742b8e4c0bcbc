// SPDX-License-Identifier: Apache-2.0
//
// The place of an error in a JSON document: line, column and path. It is computed only when an
// error is reported. Tested by tests/wire/json_errors_test.cpp.
#ifndef WIRE_JSON_PLACE_H
#define WIRE_JSON_PLACE_H

#include <string>

#include "wire/json_index.h"

namespace amf2json::wire {

// The result of a call that found `failure` in `text`.
AMFWireResult resultOf(JsonFailure&& failure, const JsonIndex& index, const char* text,
                       std::size_t size);

// A path such as messages[0].value[2].name. A key has the path of its value.
std::string pathOf(const JsonIndex& index, std::uint32_t token);

}  // namespace amf2json::wire

#endif  // WIRE_JSON_PLACE_H
