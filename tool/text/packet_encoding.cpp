// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/export_test.cpp.
#include "tool/text/packet_encoding.h"

#include <cstdint>

#include "tool/text/digits.h"

namespace {

constexpr std::string_view kLowerHex = "0123456789abcdef";

using ValueOf = int (*)(char);

// The offset of the first character that is not a digit; the length of the line if there is none.
std::size_t firstOther(ValueOf valueOf, std::string_view line) {
  std::size_t at = 0;
  while (at < line.size() && valueOf(line[at]) >= 0) ++at;
  return at;
}

// Removes the padding if its length is right.
std::string_view withoutPadding(std::string_view line) {
  if (line.size() % 4 != 0) return line;
  for (int i = 0; i < 2 && !line.empty() && line.back() == '='; ++i) line.remove_suffix(1);
  return line;
}

Problem brokenLine(const char* form, std::size_t at) {
  Problem problem{
      kMalformed, "malformed line",
      std::string("the line is not ") + form + " at character " + std::to_string(at + 1)};
  problem.offset = at;
  return problem;
}

std::optional<Problem> fromBase64(std::string_view line, std::string& bytes) {
  const std::string_view digits = withoutPadding(line);
  const std::size_t end = firstOther(base64Value, digits);
  if (end < digits.size() || digits.size() % 4 == 1) return brokenLine("base64", end);
  bytes.resize(digits.size() * 3 / 4);
  std::size_t at = 0;
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    bits = bits << 6 | static_cast<unsigned>(base64Value(digits[i]));
    if (i % 4 != 0) bytes[at++] = static_cast<char>(bits >> (6 - 2 * (i % 4)) & 0xFFu);
  }
  return std::nullopt;
}

std::optional<Problem> fromHex(std::string_view line, std::string& bytes) {
  const std::size_t end = firstOther(hexValue, line);
  if (end < line.size() || line.size() % 2 != 0) return brokenLine("hexadecimal", end);
  bytes.resize(line.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<char>(hexValue(line[2 * i]) << 4 | hexValue(line[2 * i + 1]));
  }
  return std::nullopt;
}

unsigned byteAt(std::string_view bytes, std::size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0u;
}

std::string toBase64(std::string_view bytes) {
  std::string line((bytes.size() + 2) / 3 * 4, '=');
  std::size_t at = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const unsigned bits = byteAt(bytes, i) << 16 | byteAt(bytes, i + 1) << 8 | byteAt(bytes, i + 2);
    const std::size_t digits = i + 3 <= bytes.size() ? 4 : bytes.size() - i + 1;
    for (std::size_t j = 0; j < digits; ++j)
      line[at + j] = kBase64Digits[bits >> (18 - 6 * j) & 63u];
    at += 4;
  }
  return line;
}

std::string toHex(std::string_view bytes) {
  std::string line;
  line.reserve(2 * bytes.size());
  for (const char byte : bytes) {
    line += kLowerHex[static_cast<unsigned char>(byte) >> 4];
    line += kLowerHex[static_cast<unsigned char>(byte) & 15u];
  }
  return line;
}

}  // namespace

std::optional<Problem> decodePacketLine(std::string_view line, PacketEncoding form,
                                        std::string& bytes) {
  return form == PacketEncoding::hex ? fromHex(line, bytes) : fromBase64(line, bytes);
}

std::string encodePacketLine(std::string_view bytes, PacketEncoding form) {
  return form == PacketEncoding::hex ? toHex(bytes) : toBase64(bytes);
}
