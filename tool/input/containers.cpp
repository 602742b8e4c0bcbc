// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/identify_test.cpp.
#include "tool/input/containers.h"

#include <algorithm>
#include <cstdint>

#include "tool/text/printable.h"

namespace {

constexpr std::size_t kShownName = 40;

// Reads whole numbers and texts. After the end it returns zeros and empty texts.
class Cursor {
 public:
  explicit Cursor(std::string_view source) : bytes(source) {}

  std::uint32_t number(std::size_t length) {
    std::uint32_t value = 0;
    for (const char byte : text(length)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }
  std::string_view text(std::size_t length) {
    const std::string_view some = bytes.substr(std::min(at, bytes.size()), length);
    at += length;
    return some;
  }
  bool isInside() const { return at <= bytes.size(); }

  std::size_t at = 0;

 private:
  std::string_view bytes;
};

constexpr std::uint32_t kScriptTag = 0x12;

// u8 type | u24 size | u24 time, u8 more of it | u24 stream, 0 | data: an AMF0 string and a value
std::optional<Container> scriptTagAt(std::string_view bytes, std::size_t offset) {
  Cursor cursor(bytes);
  cursor.at = offset;
  if (cursor.number(1) != kScriptTag) return std::nullopt;
  const std::uint32_t size = cursor.number(3);
  cursor.number(4);
  const bool isTag = cursor.number(3) == 0 && cursor.at + size <= bytes.size() && size > 3;
  if (!isTag || cursor.number(1) != 0x02) return std::nullopt;
  const std::string_view name = cursor.text(cursor.number(2));
  if (!cursor.isInside() || cursor.at > offset + 11 + size) return std::nullopt;
  return Container{"flv", "FLV script tag at byte " + std::to_string(offset), Form::amf0, cursor.at,
                   quoteForDisplay(name, kShownName)};
}

}  // namespace

std::optional<Container> sharedObjectIn(std::string_view bytes) {
  Cursor cursor(bytes);
  const std::uint32_t mark = cursor.number(2);
  const std::uint32_t size = cursor.number(4);
  if (mark != 0x00BF || cursor.text(4) != "TCSO" || size != bytes.size() - 6) return std::nullopt;
  cursor.text(6);
  const std::string_view name = cursor.text(cursor.number(2));
  const bool isAMF3 = cursor.number(4) == 3;
  if (!cursor.isInside()) return std::nullopt;
  Container found{
      "shared object",
      "shared object (.sol) " + quoteForDisplay(name, kShownName) + (isAMF3 ? ", AMF3" : ", AMF0"),
      isAMF3 ? Form::amf3 : Form::amf0, bytes.size(), ""};
  // Lengths of names in AMF3: one or two bytes, shifted left by one, with the lowest bit set.
  std::uint32_t length = cursor.number(isAMF3 ? 1 : 2);
  if (isAMF3 && length >= 0x80) length = (length & 0x7F) << 7 | cursor.number(1);
  const std::string_view valueName = cursor.text(isAMF3 ? length >> 1 : length);
  if (!valueName.empty() && cursor.at < bytes.size()) {
    found.offset = cursor.at;
    found.valueName = quoteForDisplay(valueName, kShownName);
  }
  return found;
}

// "FLV", u8 version 1, u8 flags, u32 size of this header; then tags, each after the u32 size of the
// previous one.
std::optional<Container> scriptTagIn(std::string_view bytes) {
  constexpr std::uint32_t kHeadSize = 9;
  if (bytes.substr(0, 4) != "FLV\x01") return scriptTagAt(bytes, 0);
  Cursor cursor(bytes);
  cursor.at = 5;
  if (cursor.number(4) != kHeadSize) return std::nullopt;
  for (cursor.at = kHeadSize + 4; cursor.at < bytes.size();) {
    const std::size_t tag = cursor.at;
    if (auto found = scriptTagAt(bytes, tag)) return found;
    cursor.number(1);
    const std::uint32_t size = cursor.number(3);
    cursor.at = tag + 11 + size + 4;
  }
  return Container{"flv", "FLV file without script data", Form::amf0, bytes.size(), ""};
}
