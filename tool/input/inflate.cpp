// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/unwrap_test.cpp.
#include "tool/input/wrappers.h"

#include <algorithm>
#include <limits>
#include <new>

bool isGzip(std::string_view bytes) {
  return bytes.substr(0, 3) == "\x1F\x8B\x08";
}

// The usual zlib header: "x" for the largest window, and two bytes that are divisible by 31.
bool isZlib(std::string_view bytes) {
  return bytes.size() >= 2 && bytes[0] == 0x78 &&
         (0x7800 + static_cast<unsigned char>(bytes[1])) % 31 == 0;
}

#ifdef AMF2JSON_HAVE_ZLIB

#include <zlib.h>

namespace {

class Inflater {
 public:
  Inflater(std::string_view source, Compression form) : bytes(source) {
    const int window = form == Compression::gzip ? 15 + 16 : form == Compression::zlib ? 15 : -15;
    if (inflateInit2(&stream, window) != Z_OK) throw std::bad_alloc();
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
  ~Inflater() { inflateEnd(&stream); }

  // Decompresses one stream and appends it to `out`. False if it would be longer than `maxBytes`.
  bool run(const std::string& name, std::size_t maxBytes, std::string& out) {
    constexpr std::size_t kBlock = 65536;
    for (int status = Z_OK; status != Z_STREAM_END;) {
      const std::size_t present = out.size();
      out.resize(present + std::min(kBlock, maxBytes + 1 - present));
      feed();
      stream.next_out = reinterpret_cast<Bytef*>(&out[present]);
      stream.avail_out = static_cast<uInt>(out.size() - present);
      status = inflate(&stream, Z_NO_FLUSH);
      out.resize(out.size() - stream.avail_out);
      if (status == Z_MEM_ERROR) throw std::bad_alloc();
      if (status == Z_BUF_ERROR) throw truncatedWrapper(name + ": ends too early", at());
      if (status != Z_OK && status != Z_STREAM_END) {
        throw malformedWrapper(name + ": " + (stream.msg ? stream.msg : "needs a dictionary"),
                               at());
      }
      if (out.size() > maxBytes) return false;
    }
    return true;
  }

  std::size_t at() const { return given - stream.avail_in; }
  void restart() { inflateReset(&stream); }

 private:
  void feed() {
    if (stream.avail_in > 0) return;
    constexpr std::size_t kMost = std::numeric_limits<uInt>::max();
    stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(bytes.data() + given));
    stream.avail_in = static_cast<uInt>(std::min(kMost, bytes.size() - given));
    given += stream.avail_in;
  }

  const std::string_view bytes;
  std::size_t given = 0;
  z_stream stream{};
};

// Zeros that fill the blocks of tapes and disks.
bool isPadding(std::string_view bytes) {
  return bytes.find_first_not_of('\0') == std::string_view::npos;
}

}  // namespace

std::string inflated(std::string_view bytes, Compression form, const std::string& name,
                     std::size_t maxBytes) {
  Inflater inflater(bytes, form);
  std::string out;
  for (;;) {
    if (maxBytes == out.max_size()) --maxBytes;
    if (!inflater.run(name, maxBytes, out)) throw unwrappedTooLarge(name, maxBytes, inflater.at());
    const std::string_view rest = bytes.substr(inflater.at());
    if (isPadding(rest)) return out;
    if (form != Compression::gzip || !isGzip(rest)) {
      throw malformedWrapper(name + ": something else stands behind it", inflater.at());
    }
    inflater.restart();
  }
}

#else

std::string inflated(std::string_view, Compression, const std::string& name, std::size_t) {
  throw wrapperProblem(kFileFailure, kNoZlib,
                       name + ": this build of amf2json has no zlib; unpack it first", 0);
}

#endif
