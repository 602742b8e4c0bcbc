// SPDX-License-Identifier: Apache-2.0
//
// What packets are sent and pasted in, one kind of wrapper each; unwrap.h chooses among them.
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

// What comes out would be more than `maxBytes` bytes.
inline Problem unwrappedTooLarge(const std::string& wrapper, std::size_t maxBytes,
                                 std::size_t offset) {
  return wrapperProblem(kOverLimit, "packet too large",
                        "packet too large: " + wrapper + " of more than --max-packet-bytes " +
                            std::to_string(maxBytes),
                        offset);
}

// ---- Compressed data, by zlib where the program was built with it

enum class Compression { gzip, zlib, deflate };

// By their first bytes.
bool isGzip(std::string_view bytes);
bool isZlib(std::string_view bytes);

// What `bytes` hold; `name` names them in messages. Throws Problem: broken, cut, more than `maxBytes`
// bytes (found before they take memory), built without zlib.
std::string inflated(std::string_view bytes, Compression form, const std::string& name,
                     std::size_t maxBytes);

// ---- HTTP messages

// The start line and the fields of a message, to the empty line after them.
constexpr std::size_t kMaxHeadBytes = 1 << 20;

struct HTTPBody {
  std::string bytes;
  std::size_t end;  // of the message: what follows belongs to no body
};

// The body of an HTTP/1 request or response, its framing and content codings taken off; of an
// interim response (1xx), what follows it. Nothing: it is no HTTP message. Throws Problem for one
// that is broken or cut, or whose lengths contradict one another, for a head of more than
// kMaxHeadBytes, and for more than `maxBytes` bytes.
std::optional<HTTPBody> decodeHTTPMessage(std::string_view message, std::size_t maxBytes);

// Whether it begins with the first line of a request or response.
bool beginsHTTPMessage(std::string_view bytes);

// ---- Hexadecimal text

// The bytes that a hexadecimal text spells: digits in pairs, blanks and "#" comments between them;
// the columns of xxd, hexdump -C and the like; a C array. Nothing: it is no such text. Throws
// Problem for one that is broken, or spells more than `maxBytes` bytes.
std::optional<std::string> decodeHexText(std::string_view text, std::size_t maxBytes);

// ---- base64 text

// The bytes that a base64 text spells: of both alphabets, with or without "=" at its end, in lines,
// as a data URI. Nothing: it is no such text. Throws Problem for a data URI that is broken, and for
// more than `maxBytes` bytes.
std::optional<std::string> decodeBase64Text(std::string_view text, std::size_t maxBytes);

#endif  // AMF2JSON_TOOL_INPUT_WRAPPERS_H
