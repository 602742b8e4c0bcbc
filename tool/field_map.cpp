// SPDX-License-Identifier: Apache-2.0
//
// Walks a packet field by field, in the order of the readers, up to the field wanted. It builds
// nothing and keeps only the counts of the traits table, which later objects refer to. Tested by
// tests/tool_test.cpp.
#include "tool/field_map.h"

#include <cstdint>
#include <vector>

namespace {

constexpr const char* kAnyIsTrue = "true is written as 01";
constexpr const char* kEndMarkName = "an end mark is written with an empty name";
constexpr const char* kUndefinedForEndMark =
    "an end mark in place of a value is written as undefined";
constexpr const char* kShortString = "a string of up to 65535 bytes is written as a short one";
constexpr const char* kNoClassName = "an object with an empty class name is written without one";
constexpr const char* kTimeZone = "the time zone is not kept and written as 00 00";
constexpr const char* kShortestU29 = "a U29 is written in as few bytes as it needs";
constexpr const char* kLargeU29 =
    "the fourth byte is read as a signed number, and 200000 to 3FFFFF are written in three bytes";
constexpr const char* kDateBits = "the bits beside the inline bit are not kept and written as 01";
constexpr const char* kExternalizable = "the sealed count and the dynamic bit are written as 07";
constexpr const char* kXMLReference = "a reference is written with the marker of the text it names";
constexpr const char* kLeftOver = "bytes behind the last message belong to no field";

// The part of inline traits that says how an object with those traits goes on.
struct Traits {
  std::uint32_t sealedCount;
  bool dynamic;
};

class FieldWalk {
 public:
  FieldWalk(const char* packet, std::size_t packetLength, std::size_t offset)
      : bytes(reinterpret_cast<const unsigned char*>(packet)),
        length(packetLength),
        wanted(offset) {}

  // Ends by throwing the Field that holds `wanted`.
  [[noreturn]] void walkPacket();

 private:
  void take(std::size_t count, const char* what, const char* reason = nullptr);
  std::uint32_t number(unsigned width, const char* what, const char* reason = nullptr);
  void text(unsigned lengthWidth, const char* lengthOf, const char* what,
            const char* reason = nullptr);
  void section(const char* kind, std::uint32_t index);

  const char* reasonOfMarker0() const;
  unsigned value0();
  bool member0();
  void array0(unsigned marker);

  std::uint32_t peekU29(unsigned& width, std::size_t ahead = 0) const;
  const char* reasonOfU29(std::uint32_t value, unsigned width) const;
  std::uint32_t u29(const char* what, const char* reason = nullptr);
  bool string3(const char* what);
  void value3();
  bool member3();
  void date3();
  void array3();
  void object3();
  Traits traits3(std::uint32_t header);

  unsigned peek(std::size_t ahead) const {
    return ahead < length - cursor ? bytes[cursor + ahead] : 0;
  }

  const unsigned char* bytes;
  std::size_t length;
  std::size_t wanted;  // never before the cursor
  std::size_t cursor = 0;
  std::string sectionName;
  std::vector<Traits> traitsTable;
};

void FieldWalk::take(std::size_t count, const char* what, const char* reason) {
  if (count > length - cursor || wanted - cursor < count) throw Field{what, reason, sectionName};
  cursor += count;
}

// Big-endian; `width` bytes.
std::uint32_t FieldWalk::number(unsigned width, const char* what, const char* reason) {
  std::uint32_t value = 0;
  for (unsigned i = 0; i < width; ++i) value = value << 8 | peek(i);
  take(width, what, reason);
  return value;
}

void FieldWalk::text(unsigned lengthWidth, const char* lengthOf, const char* what,
                     const char* reason) {
  take(number(lengthWidth, lengthOf, reason), what, reason);
}

void FieldWalk::section(const char* kind, std::uint32_t index) {
  sectionName = std::string(kind) + " " + std::to_string(index);
  traitsTable.clear();
}

void FieldWalk::walkPacket() {
  number(2, "packet version");
  const std::uint32_t headers = number(2, "header count");
  for (std::uint32_t i = 0; i < headers; ++i) {
    section("header", i);
    text(2, "length of the name", "name");
    take(1, "must-understand", peek(0) > 1 ? kAnyIsTrue : nullptr);
    take(4, "declared length");
    value0();
  }
  sectionName.clear();
  const std::uint32_t messages = number(2, "message count");
  for (std::uint32_t i = 0; i < messages; ++i) {
    section("message", i);
    text(2, "length of the target URI", "target URI");
    text(2, "length of the response URI", "response URI");
    take(4, "declared length");
    value0();
  }
  if (cursor == length) throw Field{"end of the packet", nullptr, {}};
  throw Field{"left-over bytes", kLeftOver, {}};
}

// ---- AMF0
// -------------------------------------------------------------------------------------------

// Why the marker at the cursor may be written otherwise.
const char* FieldWalk::reasonOfMarker0() const {
  const bool upperIsZero = (peek(1) | peek(2)) == 0;  // the 16-bit length, or the upper half
  switch (peek(0)) {
    case 0x09: return kUndefinedForEndMark;
    case 0x0C: return upperIsZero ? kShortString : nullptr;
    case 0x10: return upperIsZero ? kNoClassName : nullptr;
    default: return nullptr;
  }
}

// Returns the marker.
unsigned FieldWalk::value0() {
  const unsigned marker = peek(0);
  take(1, "AMF0 marker", reasonOfMarker0());
  switch (marker) {
    case 0x00: take(8, "number"); break;
    case 0x01: take(1, "boolean value", peek(0) > 1 ? kAnyIsTrue : nullptr); break;
    case 0x02: text(2, "length of a string", "string"); break;
    case 0x10: text(2, "length of a class name", "class name"); [[fallthrough]];
    case 0x03:
      while (member0()) {
      }
      break;
    case 0x07: take(2, "reference index"); break;
    case 0x08:
    case 0x0A: array0(marker); break;
    case 0x0B:
      take(8, "date");
      take(2, "time zone of a date", kTimeZone);
      break;
    case 0x0C: text(4, "length of a string", "string"); break;
    case 0x0F: text(4, "length of an XML text", "XML text"); break;
    case 0x11: value3(); break;
    default: break;
  }
  return marker;
}

// False at the end mark.
bool FieldWalk::member0() {
  const std::size_t nameLength = peek(0) << 8 | peek(1);
  if (peek(2 + nameLength) == 0x09) {
    text(2, "name in an end mark", "name in an end mark", kEndMarkName);
    take(1, "end mark");
    return false;
  }
  text(2, "length of a member name", "member name");
  value0();
  return true;
}

void FieldWalk::array0(unsigned marker) {
  for (std::uint32_t left = number(4, "array count"); left > 0; --left) {
    if (marker == 0x08) {
      member0();
    } else {
      value0();
    }
  }
}

// ---- AMF3
// -------------------------------------------------------------------------------------------

// The readers' own arithmetic: the fourth byte is signed, sums wrap.
std::uint32_t FieldWalk::peekU29(unsigned& width, std::size_t ahead) const {
  std::uint32_t value = 0;
  for (width = 1; width < 4; ++width) {
    const unsigned byte = peek(ahead + width - 1);
    value = (value << 7) + (byte & 0x7F);
    if (byte < 0x80) return value;
  }
  return (value << 8) + static_cast<std::uint32_t>(static_cast<signed char>(peek(ahead + 3)));
}

const char* FieldWalk::reasonOfU29(std::uint32_t value, unsigned width) const {
  const unsigned needed = value < 0x80 ? 1 : value < 0x4000 ? 2 : value < 0x200000 ? 3 : 4;
  if (width > needed) return kShortestU29;
  if (width == 4 && (peek(3) >= 0x80 || value < 0x400000)) return kLargeU29;
  return nullptr;
}

std::uint32_t FieldWalk::u29(const char* what, const char* reason) {
  unsigned width = 0;
  const std::uint32_t value = peekU29(width);
  take(width, what, reason != nullptr ? reason : reasonOfU29(value, width));
  return value;
}

// False for the empty string.
bool FieldWalk::string3(const char* what) {
  const std::uint32_t header = u29("length or reference of a string");
  if ((header & 1) == 0) return true;
  take(header >> 1, what);
  return header >> 1 != 0;
}

void FieldWalk::value3() {
  const unsigned marker = peek(0);
  unsigned width = 0;
  const bool isXMLReference = (marker == 0x07 || marker == 0x0B) && (peekU29(width, 1) & 1) == 0;
  take(1, "AMF3 marker", isXMLReference ? kXMLReference : nullptr);
  switch (marker) {
    case 0x04: u29("integer"); break;
    case 0x05: take(8, "double"); break;
    case 0x06: string3("string"); break;
    case 0x07:
    case 0x0B: string3("XML text"); break;
    case 0x08: date3(); break;
    case 0x09: array3(); break;
    case 0x0A: object3(); break;
    case 0x0C: string3("byte array"); break;
    default: break;
  }
}

// False at the empty name that ends a list.
bool FieldWalk::member3() {
  if (!string3("member name")) return false;
  value3();
  return true;
}

void FieldWalk::date3() {
  unsigned width = 0;
  const std::uint32_t header = peekU29(width);
  const bool isInline = (header & 1) != 0;
  u29("header of a date", isInline && header != 1 ? kDateBits : nullptr);
  if (isInline) take(8, "date");
}

void FieldWalk::array3() {
  const std::uint32_t header = u29("header of an array");
  if ((header & 1) == 0) return;
  while (member3()) {
  }
  for (std::uint32_t left = header >> 1; left > 0; --left) value3();
}

void FieldWalk::object3() {
  unsigned width = 0;
  const std::uint32_t header = peekU29(width);
  const bool isExternalizable = (header & 7) == 7;
  u29("traits of an object", isExternalizable && header != 7 ? kExternalizable : nullptr);
  if ((header & 1) == 0) return;
  const Traits traits = traits3(header);
  if (isExternalizable) return value3();
  for (std::uint32_t left = traits.sealedCount; left > 0; --left) value3();
  while (traits.dynamic && member3()) {
  }
}

// Traits by reference or inline, the names included.
Traits FieldWalk::traits3(std::uint32_t header) {
  if ((header & 2) == 0) return traitsTable.at(header >> 2);
  const Traits traits = {header >> 4, (header & 8) != 0};
  string3("class name");
  if ((header & 4) == 0) {
    for (std::uint32_t left = traits.sealedCount; left > 0; --left) string3("member name");
  }
  traitsTable.push_back(traits);
  return traits;
}

}  // namespace

Field fieldAt(const char* packet, std::size_t length, std::size_t offset) {
  try {
    FieldWalk(packet, length, offset).walkPacket();
  } catch (const Field& field) {
    return field;
  }
}
