// SPDX-License-Identifier: Apache-2.0
//
// What the fuzz targets share: the bytes of one run, read from the front, and the way to fail.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "AMF2JSON.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the run: the fuzzer keeps the input.
inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "FAILED: %s\n", what);
  std::abort();
}

/// Reads 0 where no bytes are left, so that every input has a meaning.
class Input {
 public:
  Input(const std::uint8_t* bytes, std::size_t size) : at(bytes), remaining(size) {}

  bool empty() const { return remaining == 0; }
  std::uint8_t u8() {
    if (remaining == 0) return 0;
    --remaining;
    return *at++;
  }
  std::uint32_t u32() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | u8();
    return value;
  }
  std::string text(std::size_t length) {
    if (length > remaining) length = remaining;
    std::string bytes(reinterpret_cast<const char*>(at), length);
    at += length;
    remaining -= length;
    return bytes;
  }
  std::string rest() { return text(remaining); }

 private:
  const std::uint8_t* at;  // not owned
  std::size_t remaining;
};

/// A block of exactly these bytes: the address sanitizer sees the first byte read too far.
class Exact {
 public:
  explicit Exact(const std::string& bytes) : block(new char[bytes.size()]), length(bytes.size()) {
    if (length != 0) std::memcpy(block.get(), bytes.data(), length);
  }
  const char* data() const { return block.get(); }
  const char* end() const { return block.get() + length; }
  std::size_t size() const { return length; }

 private:
  std::unique_ptr<char[]> block;
  std::size_t length;
};

/// One object for all packets that are only read, because each new one fills a megabyte. The tables
/// that a packet leaves are part of the test: parse starts anew. The tree goes with each
/// run, else the fuzzer takes it for a leak and runs the input once more.
class Reader {
 public:
  Reader() = default;
  ~Reader() {
    delete protocol().package;
    protocol().package = nullptr;
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  AMFProtocol& operator*() const { return protocol(); }

 private:
  static AMFProtocol& protocol() {
    static AMFProtocol& object = *new AMFProtocol;
    return object;
  }
};

}  // namespace fuzz

#endif  // FUZZ_INPUT_H
