// SPDX-License-Identifier: Apache-2.0
//
// Dates as ISO 8601 texts. Tested by tests/wire/texts_test.cpp.
#ifndef WIRE_DATE_TEXT_H
#define WIRE_DATE_TEXT_H

#include <cstddef>

namespace amf2json::wire {

constexpr std::size_t kDateLength = 24;

// True for whole milliseconds in the years 0000 to 9999, except minus zero.
bool hasDateText(const double& timeMs);
// Writes a text such as 2009-02-13T23:31:30.123Z to `to`, and returns its end.
char* putDate(char* to, const double& timeMs);
// Reads such a date, with or without milliseconds. Returns false if there is none.
bool readDate(const char* text, std::size_t length, double& timeMs);

}  // namespace amf2json::wire

#endif  // WIRE_DATE_TEXT_H
