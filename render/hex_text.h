// SPDX-License-Identifier: Apache-2.0
//
// Bytes as hexadecimal text.
#pragma once

#include <cstddef>
#include <string_view>

namespace amf2json::render {

// Kept: each byte is sign-extended, so 80 to FF are written with eight digits.
constexpr std::size_t kHexPerByte = 8;

// Returns the length of the text of `bytes`.
std::size_t hexLength(std::string_view bytes);
// Writes that text at `to` and returns the output pointer past it. The caller provides kHexPerByte
// bytes of free space for each byte.
char* putHex(char* to, std::string_view bytes);

// Writes the same text in pieces of given lengths. A piece may end between the digits of a byte.
class HexPieces {
 public:
  explicit HexPieces(std::string_view bytes)
      : next(bytes.data()), end(bytes.data() + bytes.size()) {}
  // Writes the next `count` digits, or all remaining ones if there are fewer. Overwrites up to
  // eight bytes after them.
  char* put(char* to, std::size_t count);

 private:
  const char* next;
  const char* end;
  char pending[kHexPerByte] = {};  // the remaining digits of a byte
  std::size_t pendingSize = 0;
};

}  // namespace amf2json::render
