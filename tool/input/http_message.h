// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_INPUT_HTTP_MESSAGE_H
#define AMF2JSON_TOOL_INPUT_HTTP_MESSAGE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The start line and the fields of a message, to the empty line after them.
constexpr std::size_t kMostHeadBytes = 1 << 20;

struct HTTPBody {
  std::string bytes;
  std::size_t end;  // of the message: what follows belongs to no body
};

// The body of an HTTP/1 request or response, its framing and content codings taken off; of an
// interim response (1xx), what follows it. Nothing: it is no HTTP message. Throws Problem for one
// that is broken or cut, or whose lengths contradict one another, for a head of more than
// kMostHeadBytes, and for more than `most` bytes.
std::optional<HTTPBody> fromHTTPMessage(std::string_view message, std::size_t most);

// Whether it begins with the first line of a request or response.
bool beginsHTTPMessage(std::string_view bytes);

#endif  // AMF2JSON_TOOL_INPUT_HTTP_MESSAGE_H
