// SPDX-License-Identifier: Apache-2.0
//
// The kinds of wrappers. unwrap.h chooses among them.
#ifndef AMF2JSON_TOOL_INPUT_WRAPPERS_H
#define AMF2JSON_TOOL_INPUT_WRAPPERS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tool/problem.h"

// ---- Problems. Offsets count in the bytes of the wrapper.

inline Problem wrapperProblem(ExitCode exitCode, const char* status, const std::string& message,
                              std::size_t offset) {
  Problem problem{exitCode, status, message};
  problem.offset = offset;
  return problem;
}

inline Problem malformedWrapper(const std::string& message, std::size_t offset) {
  return wrapperProblem(kMalformed, "malformed wrapper", message, offset);
}

inline Problem truncatedWrapper(const std::string& message, std::size_t offset) {
  return wrapperProblem(kTruncated, "truncated wrapper", message, offset);
}

// The content would have more than `maxBytes` bytes.
inline Problem unwrappedTooLarge(const std::string& wrapper, std::size_t maxBytes,
                                 std::size_t offset) {
  return wrapperProblem(kOverLimit, "packet too large",
                        "packet too large: " + wrapper + " of more than --max-packet-bytes " +
                            std::to_string(maxBytes),
                        offset);
}

// ---- Compressed data, by zlib where the program was built with it

constexpr const char* kNoZlib = "built without zlib";  // status of the problem in other builds

enum class Compression { gzip, zlib, deflate };

// By the first bytes.
bool isGzip(std::string_view bytes);
bool isZlib(std::string_view bytes);

// Decompresses `bytes`; `name` names them in messages. Throws Problem if they are malformed or
// truncated, if the content has more than `maxBytes` bytes (before they are allocated), or in
// builds without zlib.
std::string inflated(std::string_view bytes, Compression form, const std::string& name,
                     std::size_t maxBytes);

// ---- HTTP messages

// The limit for the start line and the header fields.
constexpr std::size_t kMaxHeadBytes = 1 << 20;

struct HTTPBody {
  std::string bytes;
  std::size_t end;  // end of the message
};

// The body of an HTTP/1 request or response, after removing framing and content codings; for an
// interim response (1xx), the bytes after it. Returns nothing if it is no HTTP message. Throws
// Problem if it is malformed or truncated, if its lengths contradict one another, if its head is
// longer than kMaxHeadBytes, or if the body has more than `maxBytes` bytes.
std::optional<HTTPBody> decodeHTTPMessage(std::string_view message, std::size_t maxBytes);

// Whether the bytes begin with the first line of a request or response.
bool beginsHTTPMessage(std::string_view bytes);

// ---- Hexadecimal text

// Decodes hexadecimal text: pairs of digits with blanks and "#" comments between them, the columns
// of xxd, hexdump -C and similar tools, or a C array. Returns nothing if it is no such text. Throws
// Problem if it is malformed or has more than `maxBytes` bytes.
std::optional<std::string> decodeHexText(std::string_view text, std::size_t maxBytes);

// ---- base64 text

// Decodes base64 text: either alphabet, with or without padding, in lines, or as a data URI.
// Returns nothing if it is no such text. Throws Problem for a malformed data URI, and for more than
// `maxBytes` bytes.
std::optional<std::string> decodeBase64Text(std::string_view text, std::size_t maxBytes);

#endif  // AMF2JSON_TOOL_INPUT_WRAPPERS_H
