// SPDX-License-Identifier: Apache-2.0
//
// Finds the field at an offset, and knows which fields the library encodes in one way only. The
// check of untrusted packets reports the fields. Tested by tests/tool/roundtrip_test.cpp.
#include "tool/commands/field_finder.h"

#include <AMFGuard.h>

#include <cstdint>

namespace {

using Kind = AMFFieldKind;

constexpr const char* kTrue = "true is written as 01";
constexpr const char* kEndMarkName = "an end mark is written with an empty name";
constexpr const char* kUndefined = "an end mark in place of a value is written as undefined";
constexpr const char* kShortString = "a string of up to 65535 bytes is written as a short one";
constexpr const char* kNoClassName = "an object with an empty class name is written without one";
constexpr const char* kTimeZone = "the time zone is not kept and written as 00 00";
constexpr const char* kShortestU29 = "a U29 is written in as few bytes as it needs";
constexpr const char* kLargeU29 =
    "the fourth byte is read as a signed number, and 200000 to 3FFFFF are written in three bytes";
constexpr const char* kDateBits = "the bits beside the inline bit are not kept and written as 01";
constexpr const char* kExternalizable = "the sealed count and the dynamic bit are written as 07";
constexpr const char* kXMLReference = "a reference is written with the marker of the text it names";
constexpr const char* kTrailingReason = "bytes after the last message belong to no field";

// Keeps the target field, the one before it and the two after it.
class FieldFinder : public AMFVerifyVisitor {
 public:
  explicit FieldFinder(std::size_t offset) : targetOffset(offset) {}

  void field(const AMFVerifyField& seen) override {
    if (seen.kind >= Kind::end) return;  // takes no bytes
    if (found < kWindow && found > 0) {
      window[found++] = seen;
    } else if (found == 0) {
      enterSection(seen.kind);
      if (targetOffset - seen.offset < seen.length) window[found++] = seen;
      if (found == 0) previous = seen;
    }
  }

  bool isFound() const { return found > 0; }
  const AMFVerifyField& target() const { return window[0]; }
  const AMFVerifyField& following(unsigned distance) const { return window[distance]; }

  AMFVerifyField previous{};
  std::string section;  // " in message 0"; empty before the first header or message

 private:
  static constexpr unsigned kWindow = 3;

  // A header begins with its name, a message with its target URI.
  void enterSection(Kind kind) {
    if (kind == Kind::headerName) section = " in header " + std::to_string(headers++);
    if (kind == Kind::targetUri) section = " in message " + std::to_string(messages++);
  }

  std::size_t targetOffset;  // fields are seen in the order of their offsets
  AMFVerifyField window[kWindow] = {};
  unsigned found = 0;
  unsigned headers = 0;
  unsigned messages = 0;
};

bool isMarker(const AMFVerifyField& field, Kind kind, std::uint64_t marker) {
  return field.kind == kind && field.value == marker;
}

// A U29 that is encoded with the same value but other bytes.
const char* reasonOfU29(const AMFVerifyField& field, unsigned char lastByte) {
  const std::uint64_t value = field.value;
  const std::size_t needed = value < 0x80 ? 1 : value < 0x4000 ? 2 : value < 0x200000 ? 3 : 4;
  if (field.length > needed) return kShortestU29;
  if (field.length == 4 && (lastByte >= 0x80 || value < 0x400000)) return kLargeU29;
  return nullptr;
}

const char* reasonOfHead(const FieldFinder& fields, unsigned char lastByte) {
  const AMFVerifyField& head = fields.target();
  if (isMarker(fields.previous, Kind::marker3, 0x08) && head.value != 1) return kDateBits;
  if (isMarker(fields.previous, Kind::marker3, 0x0A) && (head.value & 7) == 7 && head.value != 7)
    return kExternalizable;
  return reasonOfU29(head, lastByte);
}

const char* reasonOfMarker0(const FieldFinder& fields) {
  const std::uint64_t nextValue = fields.following(1).value;  // a length, for the last two
  switch (fields.target().value) {
    case 0x09: return kUndefined;
    case 0x0C: return nextValue <= 0xFFFF ? kShortString : nullptr;
    case 0x10: return nextValue == 0 ? kNoClassName : nullptr;
    default: return nullptr;
  }
}

const char* reasonOfMarker3(const FieldFinder& fields) {
  const std::uint64_t marker = fields.target().value;
  const bool isXML = marker == 0x07 || marker == 0x0B;
  return isXML && fields.following(1).kind == Kind::reference3 ? kXMLReference : nullptr;
}

const char* reasonOf(const FieldFinder& fields, unsigned char lastByte) {
  switch (fields.target().kind) {
    case Kind::mustUnderstand:
    case Kind::boolean: return lastByte > 1 ? kTrue : nullptr;
    case Kind::timeZone: return kTimeZone;
    case Kind::marker0: return reasonOfMarker0(fields);
    case Kind::marker3: return reasonOfMarker3(fields);
    case Kind::length:
      return isMarker(fields.following(2), Kind::marker0, 0x09) ? kEndMarkName : nullptr;
    case Kind::head: return reasonOfHead(fields, lastByte);
    case Kind::reference3:
    case Kind::integer: return reasonOfU29(fields.target(), lastByte);
    default: return nullptr;
  }
}

}  // namespace

Field fieldAt(const char* packet, std::size_t length, std::size_t offset) {
  FieldFinder fields(offset);
  const std::size_t end =
      visitPacket(packet, length, fields, AMFVerifyLimits::unlimited()).consumed;
  if (!fields.isFound()) {
    if (end == length) return {"end of the packet", nullptr};
    return {"left-over bytes", kTrailingReason};
  }
  const AMFVerifyField& target = fields.target();
  const auto lastByte = static_cast<unsigned char>(packet[target.offset + target.length - 1]);
  return {describe(target.kind) + fields.section, reasonOf(fields, lastByte)};
}
