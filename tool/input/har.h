// SPDX-License-Identifier: Apache-2.0
//
// Reads HTTP archives (HAR), which browsers and proxies save.
#ifndef AMF2JSON_TOOL_INPUT_HAR_H
#define AMF2JSON_TOOL_INPUT_HAR_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// The body of a request or response that carries AMF. The views are valid during the call that
// passes the body.
struct HarBody {
  std::size_t index;  // of the entry, from 0
  bool isRequest;
  std::string_view method, url, time;  // UTF-8; empty if the archive does not have them
  std::uint64_t status;                // 0 if the archive does not have it
  std::string bytes;
  bool isBadBase64;  // the archive calls the text base64, but it is not; `bytes` is the text
  std::size_t loneSurrogates;  // in the text; each is U+FFFD in `bytes`
  std::uint64_t missing;       // of a body that the archive counts and does not contain
};

// Whether bytes are a packet without trailing bytes.
using IsPacket = std::function<bool(std::string_view)>;
using TakeHarBody = std::function<void(const HarBody&)>;

// Passes the bodies in the order of the archive, each request before its response. A body carries
// AMF by its media type; without a media type, by its first bytes. JSON contains the bytes in one
// of three ways, which are undone: base64, one character for each byte, UTF-8. If a text may be
// either of the last two, the size of the body decides, or which bytes are a packet. Lone
// surrogates become U+FFFD. Numbers that do not fit into 64 bits are ignored. Overwrites `archive`.
// Memory does not grow with the number of values. Throws Problem if the text is not an archive,
// after it has passed the bodies before the error.
void readHar(std::string& archive, const IsPacket& isPacket, const TakeHarBody& take);

#endif  // AMF2JSON_TOOL_INPUT_HAR_H
