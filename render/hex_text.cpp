// SPDX-License-Identifier: Apache-2.0
//
// Bytes as hexadecimal text, from a table. Tested by tests/render/node_test.cpp and
// tests/render/value_test.cpp.
#include "render/hex_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace amf2json::render {

namespace {

struct HexTexts {
  char text[256][kHexPerByte];
};

constexpr HexTexts makeHexTexts() {
  constexpr char kDigits[] = "0123456789ABCDEF";
  HexTexts texts{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    char* to = texts.text[byte];
    for (int i = byte < 0x80 ? 0 : 6; i > 0; --i) *to++ = 'F';
    *to++ = kDigits[byte >> 4];
    *to++ = kDigits[byte & 15];
  }
  return texts;
}

constexpr HexTexts kHexTexts = makeHexTexts();

// Stores eight bytes. Returns the output pointer past two or eight of them. The result is computed
// without a branch, because both cases are equally likely.
char* putHexByte(char* to, char byte) {
  const auto value = static_cast<unsigned char>(byte);
  std::memcpy(to, kHexTexts.text[value], kHexPerByte);
  return to + 2 + 6 * (value >> 7);
}

constexpr std::uint64_t kOnes = 0x0101010101010101u;
constexpr std::size_t kWord = sizeof(std::uint64_t);

std::size_t sumOfBytes(std::uint64_t word) {
  std::size_t sum = 0;
  for (; word != 0; word >>= 8) sum += word & 0xFF;
  return sum;
}

}  // namespace

// Counts the bytes above 7F, eight at a time (SWAR): each of them has six more digits.
std::size_t hexLength(std::string_view bytes) {
  std::size_t high = 0;
  const char* from = bytes.data();
  std::size_t remaining = bytes.size();
  while (remaining >= kWord) {
    // At most 255 words, so that no byte of `counts` overflows.
    const std::size_t words = std::min<std::size_t>(remaining / kWord, 255);
    std::uint64_t counts = 0;
    for (std::size_t i = 0; i < words; ++i) {
      std::uint64_t word;
      std::memcpy(&word, from + i * kWord, kWord);
      counts += word >> 7 & kOnes;
    }
    high += sumOfBytes(counts);
    from += words * kWord;
    remaining -= words * kWord;
  }
  for (; remaining > 0; --remaining) high += static_cast<unsigned char>(*from++) >> 7;
  return 2 * bytes.size() + 6 * high;
}

char* putHex(char* to, std::string_view bytes) {
  for (const char byte : bytes) to = putHexByte(to, byte);
  return to;
}

char* HexPieces::put(char* to, std::size_t count) {
  char* const stop = to + count;
  std::memcpy(to, pending, kHexPerByte);
  to += pendingSize;
  const char* from = next;
  while (to < stop && from != end) to = putHexByte(to, *from++);
  next = from;
  pendingSize = to > stop ? static_cast<std::size_t>(to - stop) : 0;
  std::memcpy(pending, stop, kHexPerByte);
  return std::min(to, stop);
}

}  // namespace amf2json::render
