// SPDX-License-Identifier: Apache-2.0
//
// The pieces of an encoder as text: "0A|03|03 43": bytes in hex, one bar between two pieces.
#ifndef TESTS_SUPPORT_PIECES_H
#define TESTS_SUPPORT_PIECES_H

#include <AMF2JSON.h>

#include <string>
#include <string_view>

#include "support/hex.h"

namespace support {

/// The listed pieces of `protocol`.
inline std::string pieces(const AMFProtocol& protocol) {
  std::string text;
  bool first = true;
  for (const auto& piece : protocol.outputChunks) {
    if (!first) text += '|';
    first = false;
    text += toHex({piece.bytes, piece.length});
  }
  return text;
}

/// A row's pieces, each written as hex() reads it, in the form that pieces() returns.
inline std::string pieces(std::string_view row) {
  std::string text;
  while (!row.empty()) {
    const std::size_t bar = row.find('|');
    if (!text.empty()) text += '|';
    text += toHex(hex(row.substr(0, bar)));
    row = bar == std::string_view::npos ? std::string_view() : row.substr(bar + 1);
  }
  return text;
}

/// A row's bytes without the bars between its pieces.
inline std::string joined(std::string_view row) {
  std::string bytes;
  for (; !row.empty();) {
    const std::size_t bar = row.find('|');
    bytes += hex(row.substr(0, bar));
    row = bar == std::string_view::npos ? std::string_view() : row.substr(bar + 1);
  }
  return bytes;
}

/// All pieces of `protocol` in one string.
inline std::string written(const AMFProtocol& protocol) {
  std::string bytes;
  for (const auto& piece : protocol.outputChunks) bytes.append(piece.bytes, piece.length);
  return bytes;
}

}  // namespace support

#endif  // TESTS_SUPPORT_PIECES_H
