// SPDX-License-Identifier: Apache-2.0
//
// A buffer of written bytes: one block, which grows by realloc, but never beyond its limit. Tested
// through the AMF writer.
#ifndef WIRE_BYTE_BUFFER_H
#define WIRE_BYTE_BUFFER_H

#include <cstdlib>
#include <cstring>
#include <new>

#include "wire/bytes.h"

namespace amf2json::wire {

// The bytes exceed the limit.
struct TooManyBytes {};

class ByteBuffer {
 public:
  // The block grows by an eighth, because import promises how much memory it needs.
  static constexpr std::size_t kGrowthDivisor = 8;

  explicit ByteBuffer(std::size_t limit) : most(limit) {}
  ~ByteBuffer() { std::free(block); }
  ByteBuffer(const ByteBuffer&) = delete;
  ByteBuffer& operator=(const ByteBuffer&) = delete;

  const char* data() const { return block; }
  char* data() { return block; }
  std::size_t size() const { return count; }
  void clear() { count = 0; }
  // Removes all bytes after the first `length`.
  void truncate(std::size_t length) { count = length; }

  // Appends `length` bytes and returns a pointer to them. The caller has to fill them.
  char* add(std::size_t length) {
    if (capacity - count < length) grow(length);
    count += length;
    return block + count - length;
  }
  void u8(unsigned value) { *add(1) = static_cast<char>(value); }
  void u16(std::uint32_t value) { storeU16(add(2), value); }
  void u32(std::uint32_t value) { storeU32(add(4), value); }
  void bytes(const char* from, std::size_t length) {
    if (length != 0) std::memcpy(add(length), from, length);
  }

 private:
  void grow(std::size_t length) {
    if (length > most || count > most - length) throw TooManyBytes{};
    std::size_t newCapacity = capacity + capacity / kGrowthDivisor;
    if (newCapacity < count + length) newCapacity = count + length;
    if (newCapacity < 256) newCapacity = 256;
    if (newCapacity > most) newCapacity = most;
    void* const larger = std::realloc(block, newCapacity);
    if (larger == nullptr) throw std::bad_alloc();
    block = static_cast<char*>(larger);
    capacity = newCapacity;
  }

  std::size_t most;
  char* block = nullptr;
  std::size_t count = 0;
  std::size_t capacity = 0;
};

}  // namespace amf2json::wire

#endif  // WIRE_BYTE_BUFFER_H
