// SPDX-License-Identifier: Apache-2.0
//
// HTTP archives (HAR), as browsers and proxies save them.
#ifndef AMF2JSON_TOOL_INPUT_HAR_H
#define AMF2JSON_TOOL_INPUT_HAR_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// The body of a request or response that carries AMF, as far as the archive has it. Texts are
// UTF-8, whatever somebody wrote there.
struct HarBody {
  std::size_t index;  // of the entry, from 0
  bool isRequest;
  std::string method, url, time;
  std::uint64_t status;  // 0: unknown
  std::string bytes;
  std::size_t missing;  // bytes that the archive counts and does not hold
};

// Whether bytes are a packet to the last one.
using IsRead = std::function<bool(std::string_view)>;

// In the order of the archive, each request before its response. A body carries AMF by its media
// type, or where it has none by its first bytes. Three ways to hold bytes in JSON are undone:
// base64; a character for each byte; UTF-8. Characters up to U+00FF may be either of the last two:
// the size says which, or what can be read. Throws Problem for what is no archive, and for bodies
// of more than `maxBytes` bytes.
std::vector<HarBody> readHar(std::string text, std::size_t maxBytes, const IsRead& isRead);

#endif  // AMF2JSON_TOOL_INPUT_HAR_H
