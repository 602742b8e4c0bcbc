// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/unwrap_test.cpp.
#include "tool/input/wrappers.h"

#include <algorithm>
#include <cstdint>

#include "tool/text/digits.h"
#include "tool/text/printable.h"
#include "tool/text/words.h"

namespace {

constexpr const char* kName = "HTTP message";
constexpr std::string_view kBlanks = " \t";

std::string shown(std::string_view value) {
  return quoteForDisplay(value, 40);
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Returns the line at `at` without its end and moves `at` to the next line. Returns nothing if the
// line has no end.
std::optional<std::string_view> takeLine(std::string_view text, std::size_t& at) {
  const std::size_t end = text.find('\n', at);
  if (end == std::string_view::npos) return std::nullopt;
  std::string_view line = text.substr(at, end - at);
  at = end + 1;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

// "HTTP/1.1 200 OK", "POST /gateway HTTP/1.1".
bool isStartLine(std::string_view line) {
  if (line.substr(0, 7) == "HTTP/1.") return line.size() >= 12 && line[8] == ' ';
  const std::size_t last = line.rfind(' ');
  const std::size_t first = line.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
  return last != std::string_view::npos && first > 0 && first < last && line[first] == ' ' &&
         line.substr(last + 1, 7) == "HTTP/1.";
}

std::uint64_t numberIn(std::string_view digits, unsigned base, std::size_t offset) {
  std::uint64_t number = 0;
  for (const char digit : digits) {
    const int value = hexValue(digit);
    if (value < 0 || static_cast<unsigned>(value) >= base || number > UINT64_MAX / base - 1) {
      throw malformedWrapper(std::string(kName) + ": not a length", offset);
    }
    number = number * base + static_cast<unsigned>(value);
  }
  if (digits.empty()) throw malformedWrapper(std::string(kName) + ": not a length", offset);
  return number;
}

class Message {
 public:
  Message(std::string_view source, std::size_t limit) : text(source), maxBytes(limit) {}

  std::optional<HTTPBody> body() {
    const auto start = takeLine(text, at);
    if (!start || !isStartLine(*start)) return std::nullopt;
    readFields();
    if (start->substr(0, 5) == "HTTP/" && (*start)[9] == '1') return HTTPBody{rest(), text.size()};
    const std::string sent = unframed();
    return HTTPBody{decoded(sent), at};
  }

 private:
  // A header field; only those about length and encoding are kept.
  struct Field {
    std::string text;
    std::size_t offset = 0;
    bool isThere = false;
  };

  void readFields() {
    for (;;) {
      const std::size_t begin = at;
      const auto line = takeLine(text, at);
      if ((line ? at : text.size()) > kMaxHeadBytes) {
        throw wrapperProblem(kOverLimit, "head too large",
                             std::string(kName) + ": a head of more than " +
                                 std::to_string(kMaxHeadBytes) + " bytes",
                             begin);
      }
      if (!line) throw truncatedWrapper(std::string(kName) + ": ends in its head", begin);
      if (line->empty()) return;
      const std::size_t colon = line->find(':');
      if (colon == std::string_view::npos) {
        throw malformedWrapper(std::string(kName) + ": a line of its head has no colon", begin);
      }
      take(lowerCase(std::string(line->substr(0, colon))), trimmed(line->substr(colon + 1)), begin);
    }
  }

  void take(const std::string& name, std::string_view value, std::size_t offset) {
    if (name == "content-length") takeLength(value, offset);
    if (name == "transfer-encoding") addTo(transferEncoding, value, offset);
    if (name == "content-encoding") addTo(contentEncoding, value, offset);
  }

  void takeLength(std::string_view value, std::size_t offset) {
    if (length.isThere && length.text != value) {
      throw malformedWrapper(std::string(kName) + ": two lengths: Content-Length is " +
                                 shown(length.text) + ", and " + shown(value) + " here",
                             offset);
    }
    if (!length.isThere) length = {std::string(value), offset, true};
  }

  // A repeated field is one list.
  static void addTo(Field& field, std::string_view value, std::size_t offset) {
    if (!field.isThere) field.offset = offset;
    if (!field.text.empty() && !value.empty()) field.text += ", ";
    field.text += lowerCase(std::string(value));
    field.isThere = true;
  }

  // The rest of the bytes.
  std::string rest() {
    std::string bytes = limited(text.substr(at));
    at = text.size();
    return bytes;
  }

  std::string unframed() {
    const std::string_view following = text.substr(at);
    // Tools that show a decoded body often keep the header fields of the encoded one.
    if (isChunked() && !following.empty() && hexDigits(following) > 0) {
      refuseLengthOfChunks();
      return unchunked();
    }
    if (length.text.empty() || isAlreadyDecoded(following)) return rest();
    const std::uint64_t size = numberIn(length.text, 10, length.offset);
    if (size > following.size()) {
      throw truncatedWrapper(std::string(kName) + ": Content-Length is " + std::to_string(size) +
                                 ", but " + std::to_string(following.size()) + " bytes follow",
                             text.size());
    }
    std::string bytes = limited(following.substr(0, static_cast<std::size_t>(size)));
    at += static_cast<std::size_t>(size);
    return bytes;
  }

  // Receivers differ in which length they use.
  void refuseLengthOfChunks() const {
    if (!length.isThere) return;
    throw malformedWrapper(std::string(kName) + ": two lengths: Content-Length is " +
                               shown(length.text) + ", and the body is sent in chunks",
                           length.offset);
  }

  bool isChunked() const { return transferEncoding.text.find("chunked") != std::string::npos; }

  static std::size_t hexDigits(std::string_view some) {
    return std::min(some.find_first_not_of(kHexDigits), some.size());
  }

  // Each chunk: length in hexadecimal, extensions, line end, bytes, line end. The last chunk is
  // empty.
  std::string unchunked() {
    std::string body;
    for (;;) {
      const std::size_t begin = at;
      const auto line = takeLine(text, at);
      if (!line) throw truncatedWrapper(std::string(kName) + ": a chunk is missing", begin);
      const std::uint64_t size = numberIn(line->substr(0, hexDigits(*line)), 16, begin);
      if (size == 0) {
        skipTrailer();
        return body;
      }
      if (size > maxBytes - body.size()) throw unwrappedTooLarge(kName, maxBytes, begin);
      if (size > text.size() - at)
        throw truncatedWrapper(std::string(kName) + ": a chunk is cut", at);
      body += text.substr(at, static_cast<std::size_t>(size));
      at += static_cast<std::size_t>(size);
      const std::size_t end = at;
      const auto following = takeLine(text, at);
      if (!following) throw truncatedWrapper(std::string(kName) + ": a chunk is missing", end);
      if (!following->empty())
        throw malformedWrapper(std::string(kName) + ": a chunk does not end where it says", end);
    }
  }

  // Skips the fields after the last chunk and the empty line after them. If that line is missing,
  // the message ends before the first line that is not a field.
  void skipTrailer() {
    for (;;) {
      std::size_t next = at;
      const auto line = takeLine(text, next);
      if (!line || isStartLine(*line)) return;
      if (!line->empty() && line->find(':') == std::string_view::npos) return;
      at = next;
      if (line->empty()) return;
    }
  }

  bool isAlreadyDecoded(std::string_view bytes) const {
    const std::string& name = contentEncoding.text;
    if (name == "gzip" || name == "x-gzip") return !isGzip(bytes);
    return false;
  }

  std::string decoded(std::string bytes) const {
    const std::string& name = contentEncoding.text;
    if (name.empty() || name == "identity" || bytes.empty() || isAlreadyDecoded(bytes))
      return bytes;
    if (name == "gzip" || name == "x-gzip") {
      return inflated(bytes, Compression::gzip, "gzip body of the HTTP message", maxBytes);
    }
    if (name == "deflate") {  // some senders omit the zlib header
      return inflated(bytes, isZlib(bytes) ? Compression::zlib : Compression::deflate,
                      "deflate body of the HTTP message", maxBytes);
    }
    throw malformedWrapper(
        std::string(kName) + ": Content-Encoding " + shown(name) + " is not known here",
        contentEncoding.offset);
  }

  std::string limited(std::string_view bytes) const {
    if (bytes.size() > maxBytes) throw unwrappedTooLarge(kName, maxBytes, at);
    return std::string(bytes);
  }

  const std::string_view text;
  const std::size_t maxBytes;
  std::size_t at = 0;
  Field length, transferEncoding, contentEncoding;
};

}  // namespace

std::optional<HTTPBody> decodeHTTPMessage(std::string_view message, std::size_t maxBytes) {
  return Message(message, maxBytes).body();
}

bool beginsHTTPMessage(std::string_view bytes) {
  std::size_t at = 0;
  const auto line = takeLine(bytes, at);
  return line && isStartLine(*line);
}
