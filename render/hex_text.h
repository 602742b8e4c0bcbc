// SPDX-License-Identifier: Apache-2.0
//
// Bytes as hexadecimal text.
#pragma once

#include <cstddef>
#include <string_view>

namespace amf2json::render {

// Kept: each byte is widened with its sign, so 80 to FF give eight digits.
constexpr std::size_t kHexPerByte = 8;

// The length of the text of `bytes`.
std::size_t hexLength(std::string_view bytes);
// Writes it at `to`, where room for kHexPerByte bytes each must be. Returns the place behind it.
char* putHex(char* to, std::string_view bytes);

// The same text in pieces of given lengths, which may part the digits of a byte.
class HexPieces {
 public:
  explicit HexPieces(std::string_view bytes)
      : next(bytes.data()), end(bytes.data() + bytes.size()) {}
  // The next `count` digits, or as many as are left. Spills up to eight.
  char* put(char* to, std::size_t count);

 private:
  const char* next;
  const char* end;
  char begun[kHexPerByte] = {};  // what is left of a byte's digits
  std::size_t begunSize = 0;
};

}  // namespace amf2json::render
