// SPDX-License-Identifier: Apache-2.0
//
// The errors of the parts: they throw a Failure, which the public calls convert to an
// AMFWireResult. Tested by tests/wire/refusals_test.cpp.
#ifndef WIRE_FAILURE_H
#define WIRE_FAILURE_H

#include <cstddef>
#include <string>
#include <utility>

#include "AMFWire.h"

namespace amf2json::wire {

// An error in bytes.
struct Failure {
  AMFWireStatus status;
  std::size_t offset;
  std::string message;
};

// The text exceeds its limit. The AMF reader knows the offset.
struct TextTooLong {};
[[noreturn]] void failTextTooLong();

// The beginning of an error text.
std::string unknownExternal(const AMFWireString& className);

// Two upper-case hexadecimal digits, for markers.
inline std::string hexByte(unsigned value) {
  static const char kDigits[] = "0123456789ABCDEF";
  return {kDigits[value >> 4 & 15], kDigits[value & 15]};
}

inline AMFWireResult resultOf(Failure&& failure) {
  AMFWireResult result;
  result.status = failure.status;
  result.offset = failure.offset;
  result.message = std::move(failure.message);
  return result;
}

}  // namespace amf2json::wire

#endif  // WIRE_FAILURE_H
