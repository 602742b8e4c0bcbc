// SPDX-License-Identifier: Apache-2.0
//
// amf2json --unwrap: takes off what packets are sent and pasted in.
#ifndef AMF2JSON_TOOL_INPUT_UNWRAP_H
#define AMF2JSON_TOOL_INPUT_UNWRAP_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tool/input/form.h"
#include "tool/problem.h"

// Whether these bytes are what is looked for, so that nothing is to be taken off; or would do if
// there is nothing to take off.
enum class Match { no, weak, yes };
using Matcher = std::function<Match(std::string_view)>;

// Wanted are bytes of this form. A value of typed characters with others behind it may be a wrapper
// as well: a tab in front of digits is an AMF0 end mark. With `skip` bytes in front of them nothing
// is wanted: a wrapper would soon be taken for a value. `limits` must outlive it.
Matcher matchForm(Form form, std::size_t skip, const AMFVerifyLimits& limits);

// What follows a wrapper in the same bytes, and belongs to nothing.
struct TrailingBytes {
  std::size_t offset;
  std::size_t length;
  bool isMessage;  // it begins as another HTTP message does
};

struct UnwrappedLayer {
  const char* name;     // "gzip"
  std::string content;  // at most --max-packet-bytes
  std::optional<TrailingBytes> trailing = {};
};

// The outermost wrapper and what is in it; nothing if there is none. Throws Problem for one that is
// broken or too large, its offset in `bytes`.
std::optional<UnwrappedLayer> unwrapOnce(std::string_view bytes, std::size_t maxBytes,
                                         const Matcher& match);

struct Unwrapped {
  std::string bytes;
  std::vector<const char*> wrappers;           // that were taken off, the outermost first
  std::vector<Problem> trailingWarnings = {};  // warnings, offsets in the bytes of that wrapper
};

// Wrapper by wrapper, down to what is wanted or to what is no wrapper. Throws Problem as above, its
// message naming the wrappers outside of it; and for text that is no wrapper.
Unwrapped unwrap(std::string bytes, std::size_t maxBytes, const Matcher& match);

// "12 bytes left over after the body of the HTTP message: another HTTP message"
std::string trailingBytesText(const TrailingBytes& trailing);

// " in what hexadecimal text > gzip holds"; empty for none.
std::string insideWrappers(const std::vector<const char*>& wrappers);

// Bytes that somebody can have typed: no control bytes but blanks and line ends.
bool isPlainText(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_UNWRAP_H
