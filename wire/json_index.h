// SPDX-License-Identifier: Apache-2.0
//
// The JSON reader, first half: it makes an index of the tokens of a JSON text, so that keys can be
// found in any order. RapidJSON parses a copy of the text in place: each decoded string replaces
// its escaped form. Enter at read(). Tested by tests/wire/json_errors_test.cpp.
//
//     scalar      | place | length |            of the decoded string, or of the number
//     container   | place | after | count | flags |       `after`: the token after its content
//     object      ... key, value, key, value; a key is the token of a string
//
// Why RapidJSON: its reader reports the place of every error, keeps the order of keys and all
// duplicates, passes numbers as digits, works in place without a tree and without recursion, and
// consists of headers, so that the library needs no other package at run time. nlohmann-json does
// not report the place of a value, and is several times slower than a document of RapidJSON.
// simdjson is faster than both, but does not report the place of an error, reads whole numbers of
// at most 64 bits, and its shared library has a new name in almost every release. The last release
// of RapidJSON is old, but Debian maintains it, and this file uses its oldest part. What that
// release gets wrong is checked before it parses the text: control characters, UTF-8 and lone
// surrogates. Numbers outside the range of a double are hidden from it.
#ifndef WIRE_JSON_INDEX_H
#define WIRE_JSON_INDEX_H

#include <cstdint>
#include <memory>
#include <string>

#include "AMFWire.h"
#include "wire/table.h"

namespace amf2json::wire {

// An error in a text: at a token, or at an offset if there is no token.
struct JsonFailure {
  static constexpr std::uint32_t kNoToken = 0xFFFFFFFFu;
  AMFWireStatus status;
  std::uint32_t token;
  std::size_t offset;    // if there is no token
  std::uint32_t parent;  // if there is no token: the innermost container
  std::string message;
};

struct JsonToken {
  std::uint32_t place;
  std::uint32_t extra;
};

struct InvalidText;

class JsonIndex {
 public:
  // Throws JsonFailure. `text` must outlive the index. `maxDepth` limits the depth of nested arrays
  // and objects.
  void read(const char* text, std::size_t size, std::size_t maxDepth);

  // '{', '[', '"', 't', 'f', 'n', a digit, '-', or kDecoded.
  char kind(std::uint32_t token) const { return buffer[tokens[token].place]; }
  bool isString(std::uint32_t token) const { return kind(token) == '"'; }
  bool isNumber(std::uint32_t token) const {
    const char c = kind(token);
    return c == '-' || (c >= '0' && c <= '9');
  }
  bool isContainer(std::uint32_t token) const { return kind(token) == '{' || kind(token) == '['; }
  // The decoded bytes of a string, or the digits of a number.
  AMFWireString text(std::uint32_t token) const {
    const JsonToken& known = tokens[token];
    const bool quoted = isString(token) || kind(token) == kDecoded;
    return {buffer.get() + known.place + (quoted ? 1 : 0), known.extra};
  }
  // The number of items or keys of a container.
  std::uint32_t count(std::uint32_t token) const { return tokens[token + 1].place; }
  bool hasDollar(std::uint32_t token) const { return tokens[token + 1].extra != 0; }
  static std::uint32_t first(std::uint32_t token) { return token + 2; }
  std::uint32_t after(std::uint32_t token) const {
    return isContainer(token) ? tokens[token].extra : token + 1;
  }
  // The next key of an object after `key`.
  std::uint32_t nextKey(std::uint32_t key) const { return after(key + 1); }
  std::size_t place(std::uint32_t token) const { return tokens[token].place; }

  // Decodes a base64 string in place. Returns false if it is not base64.
  bool decodeBase64(std::uint32_t token);
  static constexpr char kDecoded = 'B';

 private:
  struct Handler;
  bool parse(const char* text, const InvalidText& broken, std::size_t maxDepth,
             bool replacesNumbers);

  std::unique_ptr<char[]> buffer;
  Table<JsonToken, 32768> tokens;
};

}  // namespace amf2json::wire

#endif  // WIRE_JSON_INDEX_H
