// SPDX-License-Identifier: Apache-2.0
#ifndef AMF2JSON_TOOL_HTTP_MESSAGE_H
#define AMF2JSON_TOOL_HTTP_MESSAGE_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The body of an HTTP/1 request or response, its framing and content codings taken off; of an
// interim response (1xx), what follows it. Nothing: it is no HTTP message. Throws Problem for one
// that is broken or cut, and for more than `most` bytes.
std::optional<std::string> fromHTTPMessage(std::string_view message, std::size_t most);

#endif  // AMF2JSON_TOOL_HTTP_MESSAGE_H
