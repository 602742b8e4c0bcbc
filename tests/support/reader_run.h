// SPDX-License-Identifier: Apache-2.0
//
// One protocol object over one row's bytes: readers are called on `protocol`, and the row then asks
// where the cursor stands and what the reference tables hold.
#ifndef TESTS_SUPPORT_READER_RUN_H
#define TESTS_SUPPORT_READER_RUN_H

#include <AMF2JSON.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "support/hex.h"

namespace support {

/// Bytes in a heap block of exactly their size: the address sanitizer sees the first byte read too
/// far.
class ExactBytes {
 public:
  explicit ExactBytes(const std::string& bytes)
      : block(new char[bytes.size()]), byteCount(bytes.size()) {
    if (byteCount != 0) std::memcpy(block.get(), bytes.data(), byteCount);
  }
  const char* data() const { return block.get(); }
  std::size_t size() const { return byteCount; }

 private:
  std::unique_ptr<char[]> block;
  std::size_t byteCount;
};

/// "1/2/3/4": entries in the AMF0, string, object and traits tables.
inline std::string tables(const AMFProtocol& protocol) {
  return std::to_string(protocol.amf0References.size()) + "/" +
         std::to_string(protocol.amf3StringReferences.size()) + "/" +
         std::to_string(protocol.amf3ObjectReferences.size()) + "/" +
         std::to_string(protocol.amf3TraitReferences.size());
}

class ReaderRun {
 public:
  explicit ReaderRun(std::string_view hexBytes) : bytes(hex(hexBytes)) {
    protocol.readCursor = bytes.data();
  }
  /// Bytes after the cursor.
  std::size_t consumed() const {
    return static_cast<std::size_t>(protocol.readCursor - bytes.data());
  }
  /// Bytes in front of it.
  std::size_t unread() const { return bytes.size() - consumed(); }

  ExactBytes bytes;
  AMFProtocol protocol;
};

}  // namespace support

#endif  // TESTS_SUPPORT_READER_RUN_H
