// SPDX-License-Identifier: Apache-2.0
//
// Removes the wrappers that packets are sent or pasted in, for --unwrap.
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

// Whether bytes are what the caller wants: `yes` stops unwrapping, `weak` is accepted if there is
// no further wrapper.
enum class Match { no, weak, yes };
using Matcher = std::function<Match(std::string_view)>;

// Matches bytes of this form. A value that is plain text and has trailing bytes is a weak match,
// because it may be a wrapper: a tab before digits is an AMF0 end mark. With `skip` nothing
// matches, because the rest of a wrapper may look like a value. `limits` must outlive the matcher.
Matcher matchForm(Form form, std::size_t skip, const AMFVerifyLimits& limits);

// Bytes that follow a wrapper.
struct TrailingBytes {
  std::size_t offset;
  std::size_t length;
  bool isMessage;  // they begin like another HTTP message
};

struct UnwrappedLayer {
  const char* name;     // "gzip"
  std::string content;  // at most --max-packet-bytes
  std::optional<TrailingBytes> trailing = {};
};

// The largest number of wrappers around one another that are removed.
constexpr std::size_t kMaxWrappers = 8;

// Removes the outermost wrapper. Returns nothing if there is none. Throws Problem, with its offset
// in `bytes`, if the wrapper is malformed or its content too large.
std::optional<UnwrappedLayer> unwrapOnce(std::string_view bytes, std::size_t maxBytes,
                                         const Matcher& match);

struct Unwrapped {
  std::string bytes;
  std::vector<const char*> wrappers;           // that were removed, the outermost first
  std::vector<Problem> trailingWarnings = {};  // offsets count in the bytes of the wrapper
};

// Removes wrappers until the bytes match or there is no wrapper. Throws Problem as above, with the
// outer wrappers in its message, and for text that is not a wrapper.
Unwrapped unwrap(std::string bytes, std::size_t maxBytes, const Matcher& match);

// "12 bytes left over after the body of the HTTP message: another HTTP message"
std::string trailingBytesText(const TrailingBytes& trailing);

// ", in what hexadecimal text > gzip holds"; empty for none.
std::string insideWrappers(const std::vector<const char*>& wrappers);

// Whether all bytes are text: no control characters but blanks and line ends. False for no bytes.
bool isPlainText(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_UNWRAP_H
