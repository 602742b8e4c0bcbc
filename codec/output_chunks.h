// SPDX-License-Identifier: Apache-2.0
//
// How pieces are written: a pen, which is where the next byte goes, travels from writer to writer
// in a register; each call below writes one piece and hands back where the next one goes.
// AMFOutputChunks::close lists what has been written. The caller sees to the room. Shared by the
// writer files.
#pragma once

#include <cstring>

#include "AMF2JSON.h"
#include "codec/big_endian.h"

namespace amf2json::piece {

// A block holds the bytes of pieces, and as many bytes for their lengths: the length of a piece
// stands kBlockBytes behind its first byte, in one byte, or as 0 and two bytes. A piece that needs
// these two is long enough to have the room.
constexpr std::size_t kBlockBytes = 16000;
constexpr std::uint32_t kLargeFrom = 1024;  // such a piece gets a block of its own

inline char* end(char* pen, std::uint8_t length) {
  pen[kBlockBytes] = static_cast<char>(length);
  return pen + length;
}

// The length of the piece that begins at `first`.
inline std::uint32_t lengthAt(const char* first) {
  const char* const entry = first + kBlockBytes;
  const std::uint32_t length = big_endian::byteAt(entry);
  return length != 0
             ? length
             : std::uint32_t{big_endian::byteAt(entry + 1)} << 8 | big_endian::byteAt(entry + 2);
}

inline char* u8(char* pen, std::uint32_t value) {
  *pen = static_cast<char>(value & 0xFF);
  return end(pen, 1);
}

inline char* u16(char* pen, std::uint32_t value) {
  big_endian::storeU16(pen, value);
  return end(pen, 2);
}

inline char* u32(char* pen, std::uint32_t value) {
  big_endian::storeU32(pen, value);
  return end(pen, 4);
}

inline char* number(char* pen, const double& value) {
  big_endian::storeDouble(pen, value);
  return end(pen, 8);
}

// A double behind the byte in front of it: two pieces.
inline char* number(char* pen, std::uint32_t marker, const double& value) {
  return number(u8(pen, marker), value);
}

// A U29 is a piece for each byte. Values above 0x3FFFFFFF are the caller's to refuse.

constexpr std::uint32_t kU29Bytes = 4;
constexpr std::uint32_t kTwoBytesMax = 0x3FFF;
constexpr std::uint32_t kThreeBytesMax = 0x1FFFFF;

inline char* shortU29(char* pen, std::uint32_t value) {
  if (value > 0x7F) pen = u8(pen, value >> 7 | 0x80u);
  return u8(pen, value & 0x7Fu);
}

// Kept: the last byte holds eight bits, and a first byte that would be 80 is left out: 0x200000 to
// 0x3FFFFF come out as three bytes. Bit 29 is lost.
inline char* wideU29(char* pen, std::uint32_t value) {
  if (value > 0x3FFFFF) pen = u8(pen, value >> 22 | 0x80u);
  pen = u8(pen, value >> 15 | 0x80u);
  pen = u8(pen, value >> 8 | 0x80u);
  return u8(pen, value);
}

inline char* u29(char* pen, std::uint32_t value) {
  if (value > kThreeBytesMax) return wideU29(pen, value);
  if (value > kTwoBytesMax) pen = u8(pen, value >> 14 | 0x80u);
  return shortU29(pen, value);
}

// Whether the node's bytes are one piece that stands in a block.
inline bool isSmall(const AMFRaw* node) {
  return node->length - 1 < kLargeFrom - 1 && node->data;  // a length of 0 wraps
}

inline char* bytes(char* pen, const AMFRaw* node) {
  std::memcpy(pen, node->data, node->length);
  if (node->length <= 0xFF) return end(pen, static_cast<std::uint8_t>(node->length));
  big_endian::storeU16(pen + kBlockBytes + 1, node->length);
  return end(pen, 0) + node->length;
}

}  // namespace amf2json::piece

inline char* AMFOutputChunks::pen() const noexcept {
  return next;
}

inline void AMFOutputChunks::close(char* pen) noexcept {
  next = pen;
}
