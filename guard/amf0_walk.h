// SPDX-License-Identifier: Apache-2.0
//
// The check, part two: AMF0 values. Enter at Walker::value0(). Included by the files that
// instantiate Walker.
#pragma once

#include "codec/reader_texts.h"
#include "guard/walker.h"

namespace amf2json::guard {

/// The AMF0 markers.
enum Marker0 : std::uint32_t {
  kNumber0 = 0x00,
  kBoolean0 = 0x01,
  kString0 = 0x02,
  kObject0 = 0x03,
  kNull0 = 0x05,
  kUndefined0 = 0x06,
  kReference0 = 0x07,
  kEcmaArray0 = 0x08,
  kObjectEnd0 = 0x09,
  kStrictArray0 = 0x0A,
  kDate0 = 0x0B,
  kLongString0 = 0x0C,
  kXMLDocument0 = 0x0F,
  kTypedObject0 = 0x10,
  kSwitch0 = 0x11
};

/// The number of entries that a 16-bit index can refer to.
constexpr std::size_t kReachable0 = 0x10000;

// Checks a value whose marker has been read. The caller handles the end marker, which is no value.
template <class Sink>
bool Walker<Sink>::value0(std::uint32_t marker) {
  std::uint32_t number;
  switch (marker) {
    case kNumber0: return skip(Kind::number, 8) && chargeNode(kDouble);
    case kBoolean0: return readU8(Kind::boolean, number) && chargeNode(kBool);
    case kString0:
      return readU16(Kind::length, number, Kind::string) && text0(Kind::string, number);
    case kLongString0:
      return readU32(Kind::length, number, Kind::string) && text0(Kind::string, number);
    case kXMLDocument0: return readU32(Kind::length, number, Kind::xml) && text0(Kind::xml, number);
    case kObject0: return open(FrameKind::object0, 0, kObject) && chargeString(0);
    case kTypedObject0: return open(FrameKind::object0, 0, kObject) && className0();
    case kNull0: return chargeNode(kNull);
    case kUndefined0: return chargeNode(kUndefined);
    case kReference0: return readU16(Kind::reference0, number) && reference0(number);
    case kStrictArray0:
      return readU32(Kind::count, number) && open(FrameKind::strict0, number, kArray);
    case kEcmaArray0: return readU32(Kind::count, number) && open(FrameKind::ecma0, number, kArray);
    case kDate0:
      // The zone is ignored, but its bytes must be present.
      return skip(Kind::timeMs, 8) && skip(Kind::timeZone, 2) && chargeNode(kDate);
    case kSwitch0: return value3(true);
    default: return refuse(reader_texts::kUnknownAMF0Value);
  }
}

template <class Sink>
bool Walker<Sink>::text0(Kind kind, std::uint32_t length) {
  Text text;
  if (!readText(kind, length, text)) return false;
  total.stringBytes += length;
  return chargeNode(kind == Kind::xml ? xmlBytes(length) : stringBytes(length));
}

template <class Sink>
bool Walker<Sink>::className0() {
  Text name;
  return readShortText(Kind::className, name) && chargeString(name.length);
}

template <class Sink>
bool Walker<Sink>::reference0(std::uint32_t index) {
  if (index >= amf0Entries.size()) return refuse(reader_texts::kAMF0ReferenceIndex);
  const AMF0Entry& entry = amf0Entries[index];
  return chargeReference(entry.cost, entry.height, entry.switchedReferences);
}

// Members up to the end marker. The name before the end marker is ignored.
template <class Sink>
bool Walker<Sink>::members0() {
  const std::size_t depth = frames.size();
  while (frames.size() == depth) {
    std::uint32_t marker;
    if (!readMember0(marker)) return false;
    if (marker == kObjectEnd0) return close();
    if (!value0(marker)) return false;
  }
  return true;
}

// Values of a strict array, or members of an associative one, as many as the count says.
template <class Sink>
bool Walker<Sink>::elements0() {
  Frame& frame = frames.top();
  const bool strict = frame.kind == FrameKind::strict0;
  const std::size_t depth = frames.size();
  while (frames.size() == depth) {
    // Kept: an associative array ends with its last member. An end marker after it is not part of
    // it.
    if (frame.remaining == 0) return close();
    --frame.remaining;
    if (!(strict ? strictElement0() : ecmaElement0())) return false;
  }
  return true;
}

template <class Sink>
bool Walker<Sink>::strictElement0() {
  std::uint32_t marker;
  if (!readU8(Kind::marker0, marker)) return false;
  if (marker == kObjectEnd0) return refuse(reader_texts::kAMF0StrictArrayEnd);
  addSlot();
  return value0(marker);
}

template <class Sink>
bool Walker<Sink>::ecmaElement0() {
  std::uint32_t marker;
  if (!readMember0(marker)) return false;
  return marker == kObjectEnd0 ? refuse(reader_texts::kAMF0EcmaArrayEnd) : value0(marker);
}

// A name and the marker after it. The name is charged when the marker shows that a member follows.
template <class Sink>
bool Walker<Sink>::readMember0(std::uint32_t& marker) {
  Text name;
  if (!readShortText(Kind::memberName, name) || !need(1)) return false;
  marker = *cursor;
  if (marker != kObjectEnd0 && !chargeMember(name.length)) return false;
  ++cursor;
  note(Kind::marker0, 1, marker);
  return true;
}

template <class Sink>
bool Walker<Sink>::close0(const Frame& frame, const Cost& cost) {
  if (amf0Entries.size() == kReachable0) return true;
  AMF0Entry* const entry = amf0Entries.append();
  if (!entry) return fail(AMFVerifyStatus::outOfMemory);
  *entry = {cost, frame.height, since(frame.switchedStart, result.switchedReferences)};
  note(Kind::amf0Entry, 0, amf0Entries.size() - 1);
  return true;
}

}  // namespace amf2json::guard
