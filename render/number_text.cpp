// SPDX-License-Identifier: Apache-2.0
//
// Numbers as text. Tested by tests/render_node_test.cpp.
#include "render/number_text.h"

#include <charconv>
#include <cstdio>
#include <iterator>

namespace render {

#if defined(__cpp_lib_to_chars)

std::string_view doubleText(double value, NumberBuffer& buffer) {
  char* const end = std::end(buffer.bytes);
  const auto done = std::to_chars(buffer.bytes, end, value, std::chars_format::fixed, 6);
  return {buffer.bytes, static_cast<std::size_t>(done.ptr - buffer.bytes)};
}

#else

// For a standard library without floating-point to_chars. A locale's decimal comma becomes a point
// again. Kept: the three markers are another C library's; those of this platform (nan, inf) pass as
// they are, and both IND forms mean infinities.
std::string_view doubleText(double value, NumberBuffer& buffer) {
  const int length = std::snprintf(buffer.bytes, sizeof buffer.bytes, "%f", value);
  const std::string_view text(buffer.bytes, static_cast<std::size_t>(length));
  if (text.find("1.#QNAN") != text.npos) return "NaN";
  if (text.find("-1.#IND") != text.npos) return "-Infinity";
  if (text.find("1.#IND") != text.npos) return "Infinity";
  const std::size_t comma = text.find(',');
  if (comma != text.npos) buffer.bytes[comma] = '.';
  return text;
}

#endif

std::string_view integerText(std::uint32_t value, NumberBuffer& buffer) {
  const auto done = std::to_chars(buffer.bytes, std::end(buffer.bytes), value);
  return {buffer.bytes, static_cast<std::size_t>(done.ptr - buffer.bytes)};
}

}  // namespace render
