// SPDX-License-Identifier: Apache-2.0
//
// The pieces that the writers make and AMFOutputChunks lists. Small pieces are written into blocks,
// which never move. A large piece gets a separate block. Pieces that are contiguous in memory
// form a run, and the packet is joined from the runs:
//
//     block:  bytes[16000] | lengths[16000]
//     runs:   {first byte, number of bytes}, {large piece}, ...
//
// The length of a piece is stored 16000 bytes after its first byte: as one byte, or as a 0 and two
// bytes. A piece whose length takes three bytes is itself longer than that, so the stored lengths
// never overlap.
//
// The output pointer points to the next byte to write. It is passed from writer to writer, so that
// it stays in a register. Each function of the namespace `piece` that writes takes the output
// pointer, and returns it past what it wrote. The caller provides the free space. Pieces::close
// lists what has been written.
//
// Tested by tests/codec/output_chunks_test.cpp.
#pragma once

#include <cstring>

#include "AMF2JSON.h"
#include "codec/big_endian.h"

namespace amf2json {

class Pieces {
 public:
  using Chunk = AMFOutputChunks::Chunk;

  Pieces() = default;
  // Copies the listed pieces only.
  Pieces(const Pieces& source);
  Pieces& operator=(const Pieces&) = delete;
  ~Pieces() = default;

  bool isEmpty() const noexcept { return runCount() == 0; }
  std::uint64_t total() const noexcept;  // bytes of all pieces
  void copyTo(char* to) const noexcept;  // all pieces, joined
  // All pieces, in order. Each call first adds the pieces written since the last call.
  const std::vector<Chunk>& list();

  // For the writers. If startBlock or addLarge cannot allocate memory, they throw. Before that they
  // list what was written up to `out`, and change nothing else.
  char* output() const noexcept { return next; }
  char* endOfBlock() const noexcept { return blockEnd; }
  void close(char* out) noexcept { next = out; }  // lists what was written up to `out`
  char* startBlock(char* out);                    // the same, and starts a new block
  char* addLarge(char* out, const char* bytes, std::uint32_t length);

  void release() noexcept;  // frees the listed pieces
  void abandon() noexcept;  // empties the list; the bytes live as long as this object
  // Adopts another object: frees its listed pieces, and owns its abandoned pieces.
  void abandonWith(std::unique_ptr<Pieces> older) noexcept;

 private:
  // Pieces that are contiguous in memory.
  struct Run {
    const char* bytes;
    std::uint32_t length;
    bool isLarge;  // one large piece
  };
  using Blocks = std::vector<std::unique_ptr<char[]>>;

  void endRun();
  void add(const Chunk& chunk);
  void listRun(const Run& run);
  void resetList() noexcept;
  std::size_t runCount() const noexcept { return runs.size() + (next != runStart ? 1 : 0); }
  Run runAt(std::size_t index) const noexcept;

  std::vector<Run> runs;           // all runs but the current one
  Blocks blocks;                   // of small pieces; unused blocks are cached for the next packet
  Blocks large;                    // one large piece each
  std::size_t blocksUsed = 0;      // blocks in use; the last one is the current block
  char* next = nullptr;            // the output pointer: first free byte of the current block
  char* blockEnd = nullptr;        // end of the bytes of the current block
  const char* runStart = nullptr;  // where the current run begins in the current block

  // Abandoned pieces come first: `abandonedBlocks` blocks, of which the last is used up to
  // `abandonedEnd`, and `abandonedLarge` large pieces.
  std::size_t abandonedBlocks = 0;
  char* abandonedEnd = nullptr;
  std::size_t abandonedLarge = 0;
  std::unique_ptr<Pieces> olderPieces;  // holds abandoned pieces of another object

  std::vector<Chunk> listed;      // the list as built so far
  std::size_t listedRuns = 0;     // number of runs that are listed completely
  std::uint32_t listedBytes = 0;  // number of bytes of the next run that are listed
};

}  // namespace amf2json

namespace amf2json::piece {

constexpr std::size_t kBlockBytes = 16000;
constexpr std::uint32_t kLargeFrom = 1024;  // from this length on, a piece gets a separate block

// Ends a piece of `length` bytes that begins at `out`: stores its length.
inline char* endPiece(char* out, std::uint8_t length) {
  out[kBlockBytes] = static_cast<char>(length);
  return out + length;
}

// The length of the piece that begins at `first`.
inline std::uint32_t lengthAt(const char* first) {
  const char* const entry = first + kBlockBytes;
  const std::uint32_t length = big_endian::byteAt(entry);
  return length != 0
             ? length
             : std::uint32_t{big_endian::byteAt(entry + 1)} << 8 | big_endian::byteAt(entry + 2);
}

inline char* u8(char* out, std::uint32_t value) {
  *out = static_cast<char>(value & 0xFF);
  return endPiece(out, 1);
}

inline char* u16(char* out, std::uint32_t value) {
  big_endian::storeU16(out, value);
  return endPiece(out, 2);
}

inline char* u32(char* out, std::uint32_t value) {
  big_endian::storeU32(out, value);
  return endPiece(out, 4);
}

inline char* number(char* out, const double& value) {
  big_endian::storeDouble(out, value);
  return endPiece(out, 8);
}

// Writes a byte and a double: two pieces.
inline char* number(char* out, std::uint32_t marker, const double& value) {
  return number(u8(out, marker), value);
}

// Each byte of a U29 is one piece. The caller refuses values above 0x3FFFFFFF.

constexpr std::uint32_t kU29Bytes = 4;
constexpr std::uint32_t kTwoBytesMax = 0x3FFF;
constexpr std::uint32_t kThreeBytesMax = 0x1FFFFF;

inline char* shortU29(char* out, std::uint32_t value) {
  if (value > 0x7F) out = u8(out, value >> 7 | 0x80u);
  return u8(out, value & 0x7Fu);
}

// Kept: the last byte holds eight bits. A first byte that would be 80 is omitted, so that 0x200000
// to 0x3FFFFF are written as three bytes. Bit 29 is lost.
inline char* wideU29(char* out, std::uint32_t value) {
  if (value > 0x3FFFFF) out = u8(out, value >> 22 | 0x80u);
  out = u8(out, value >> 15 | 0x80u);
  out = u8(out, value >> 8 | 0x80u);
  return u8(out, value);
}

inline char* u29(char* out, std::uint32_t value) {
  if (value > kThreeBytesMax) return wideU29(out, value);
  if (value > kTwoBytesMax) out = u8(out, value >> 14 | 0x80u);
  return shortU29(out, value);
}

inline bool isSmall(std::uint32_t length) {
  return length - 1 < kLargeFrom - 1;  // a length of 0 wraps
}
// Whether the node's bytes are a small piece.
inline bool isSmall(const AMFRaw* node) {
  return isSmall(node->length) && node->data;
}

inline char* bytes(char* out, const char* from, std::uint32_t length) {
  copyShort(out, from, length);
  if (length <= 0xFF) return endPiece(out, static_cast<std::uint8_t>(length));
  big_endian::storeU16(out + kBlockBytes + 1, length);
  return endPiece(out, 0) + length;
}
inline char* bytes(char* out, const AMFRaw* node) {
  return bytes(out, node->data, node->length);
}

}  // namespace amf2json::piece
