// SPDX-License-Identifier: Apache-2.0
//
// Wrappers for the tests of unwrapping: base64, and where zlib is there, gzip and zlib.
#ifndef TESTS_SUPPORT_WRAPPERS_H
#define TESTS_SUPPORT_WRAPPERS_H

#include <cstddef>
#include <stdexcept>
#include <string>

#ifdef AMF2JSON_HAVE_ZLIB
#include <zlib.h>
#endif

namespace support {

inline std::string base64(const std::string& bytes) {
  static const char kAlphabet[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0u);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i > bytes.size() - at ? '=' : kAlphabet[bits >> (18 - 6 * i) & 63];
    }
  }
  return text;
}

#ifdef AMF2JSON_HAVE_ZLIB
/// `windowBits` as zlib takes them: 15 for zlib, 15 + 16 for gzip, -15 for the bare deflated data.
inline std::string compressed(const std::string& bytes, int windowBits) {
  z_stream stream{};
  if (deflateInit2(&stream, 9, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("deflateInit2");
  }
  std::string out(deflateBound(&stream, bytes.size()), '\0');
  stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(&out[0]);
  stream.avail_out = static_cast<uInt>(out.size());
  const int status = deflate(&stream, Z_FINISH);
  out.resize(stream.total_out);
  deflateEnd(&stream);
  if (status != Z_STREAM_END) throw std::runtime_error("deflate");
  return out;
}
#endif

}  // namespace support

#endif  // TESTS_SUPPORT_WRAPPERS_H
