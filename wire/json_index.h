// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader, first half: a JSON text becomes an index of its tokens, so that keys can be
// found in any order. RapidJSON parses the text, in place in a copy of it: strings stand decoded
// where they stood. Enter at read(). Tested by tests/wire/json_errors_test.cpp.
//
//     scalar      | place | length |            of a string, decoded; of a number
//     container   | place | behind | count | flags |      `behind`: the token behind its content
//     object      ... key, value, key, value; a key is the token of a string
//
// Why RapidJSON: its reader reports the place of every error, keeps the order of keys and all that
// repeat, gives numbers as digits, works in place without a tree and without recursion, and its
// headers leave nothing to install with the library. nlohmann-json says no place of a value and is
// several times slower than a document of RapidJSON; simdjson is faster than both, but says no
// place of an error, reads large whole numbers no further than 64 bits, and its shared library
// changes its name with almost every release. RapidJSON's last release is old; Debian maintains it,
// and what is used here is its oldest part. What that release gets wrong is checked before it sees
// the text: control characters, UTF-8 and lone surrogates; numbers beyond the range of a double are
// hidden from it.
#ifndef WIRE_JSON_INDEX_H
#define WIRE_JSON_INDEX_H

#include <cstdint>
#include <memory>
#include <string>

#include "AMFWire.h"
#include "wire/table.h"

namespace amf2json::wire {

// A refusal in a text: at a token, or at a place of the text where there is none.
struct JsonFailure {
  static constexpr std::uint32_t kNoToken = 0xFFFFFFFFu;
  AMFWireStatus status;
  std::uint32_t token;
  std::size_t offset;    // without a token
  std::uint32_t parent;  // without a token: the innermost container
  std::string message;
};

struct JsonToken {
  std::uint32_t place;
  std::uint32_t extra;
};

struct BrokenText;

class JsonIndex {
 public:
  // Throws JsonFailure. `text` must outlive the index; arrays and objects inside one another are
  // bounded by `maxDepth`.
  void read(const char* text, std::size_t size, std::size_t maxDepth);

  // '{', '[', '"', 't', 'f', 'n', a digit, '-', or kDecoded.
  char kind(std::uint32_t token) const { return buffer[tokens[token].place]; }
  bool isString(std::uint32_t token) const { return kind(token) == '"'; }
  bool isNumber(std::uint32_t token) const {
    const char c = kind(token);
    return c == '-' || (c >= '0' && c <= '9');
  }
  bool isContainer(std::uint32_t token) const { return kind(token) == '{' || kind(token) == '['; }
  // Of a string: its decoded bytes. Of a number: its digits.
  AMFWireString text(std::uint32_t token) const {
    const JsonToken& known = tokens[token];
    const bool quoted = isString(token) || kind(token) == kDecoded;
    return {buffer.get() + known.place + (quoted ? 1 : 0), known.extra};
  }
  // Of a container: items, or keys.
  std::uint32_t count(std::uint32_t token) const { return tokens[token + 1].place; }
  bool hasDollar(std::uint32_t token) const { return tokens[token + 1].extra != 0; }
  static std::uint32_t first(std::uint32_t token) { return token + 2; }
  std::uint32_t after(std::uint32_t token) const {
    return isContainer(token) ? tokens[token].extra : token + 1;
  }
  // Of an object: the key behind `key`.
  std::uint32_t nextKey(std::uint32_t key) const { return after(key + 1); }
  std::size_t place(std::uint32_t token) const { return tokens[token].place; }

  // A string of base64 becomes the bytes that it stands for, in place. False: it is none.
  bool decodeBase64(std::uint32_t token);
  static constexpr char kDecoded = 'B';

 private:
  struct Handler;
  bool parse(const char* text, const BrokenText& broken, std::size_t maxDepth, bool hidesNumbers);

  std::unique_ptr<char[]> buffer;
  Table<JsonToken, 32768> tokens;
};

}  // namespace amf2json::wire

#endif  // WIRE_JSON_INDEX_H
