// SPDX-License-Identifier: Apache-2.0
//
// The check, part one: the envelope, plain fields, the sums and the stack of open objects and
// arrays. Enter at Walker::run(). Included by the files that instantiate Walker.
#pragma once

#include "guard/amf0_walk.h"
#include "guard/walker.h"

namespace amf2json::guard {

template <class Sink>
AMFVerifyResult Walker<Sink>::run() {
  const bool finished = package();
  result.consumed = offset();
  if (finished) result.message = describe(AMFVerifyStatus::ok);
  result.nodes = shown(total.nodes);
  result.treeBytes = shown(total.bytes);
  result.stringBytes = shown(total.stringBytes);
  result.rawBytes = shown(total.rawBytes);
  result.copiedNodes = shown(result.copiedNodes);
  result.copiedBytes = shown(result.copiedBytes);
  return result;
}

// u16 version | u16 header count | headers | u16 message count | messages
template <class Sink>
bool Walker<Sink>::package() {
  std::uint32_t version, headerCount, messageCount;
  return readU16(Kind::version, version) && chargeNode(kPackage) &&
         readU16(Kind::headerCount, headerCount) &&
         sections(&Walker::header, headerCount, result.headers) &&
         readU16(Kind::messageCount, messageCount) &&
         sections(&Walker::message, messageCount, result.messages);
}

template <class Sink>
bool Walker<Sink>::sections(bool (Walker::*read)(), std::uint32_t count, std::uint32_t& done) {
  for (std::uint32_t remaining = count; remaining > 0; --remaining) {
    result.section = result.headers + result.messages;
    amf0Entries.clear();
    amf3Entries.clear();
    strings.clear();
    traits.clear();
    if (!(this->*read)()) return false;
    ++done;
  }
  result.section = AMFVerifyResult::kEnvelope;
  return true;
}

// u16 length, name | u8 must understand | u32 declared length | value
template <class Sink>
bool Walker<Sink>::header() {
  Text name;
  if (!readShortText(Kind::headerName, name)) return false;
  addSlot();
  total.nodes += 1;
  total.bytes += kHeader;
  std::uint32_t mustUnderstand;
  return chargeString(name.length) && readU8(Kind::mustUnderstand, mustUnderstand) && body();
}

// u16 length, target URI | u16 length, response URI | u32 declared length | value
template <class Sink>
bool Walker<Sink>::message() {
  Text target, response;
  if (!readShortText(Kind::targetUri, target)) return false;
  addSlot();
  total.nodes += 1;
  total.bytes += kMessage;
  return chargeString(target.length) && readShortText(Kind::responseUri, response) &&
         chargeString(response.length) && body();
}

template <class Sink>
bool Walker<Sink>::body() {
  std::uint32_t declared, marker;
  if (!readU32(Kind::declaredLength, declared)) return false;
  const std::size_t start = offset();
  if (!readU8(Kind::marker0, marker)) return false;
  // Kept: an end marker as the value is accepted. The header or message keeps its initial value,
  // undefined.
  if (!(marker == kObjectEnd0 ? chargeNode(kUndefined) : value0(marker))) return false;
  while (!frames.empty()) {
    if (!step()) return false;
  }
  if (declared != 0xFFFFFFFFu && declared != offset() - start) {
    result.lengthMismatches = plus(result.lengthMismatches, 1u);
  }
  return true;
}

// Continues the innermost open object or array, until another one opens or it closes.
template <class Sink>
bool Walker<Sink>::step() {
  switch (frames.top().kind) {
    case FrameKind::object0: return members0();
    case FrameKind::strict0:
    case FrameKind::ecma0: return elements0();
    case FrameKind::assoc3:
    case FrameKind::dynamic3: return members3();
    default: return values3();
  }
}

// ---------------------------------------------------------------------------------------------------
// Fields

template <class Sink>
bool Walker<Sink>::readU8(Kind kind, std::uint32_t& value) {
  if (!need(1)) return false;
  value = *cursor++;
  note(kind, 1, value);
  return true;
}

template <class Sink>
bool Walker<Sink>::readU16(Kind kind, std::uint32_t& value, Kind of) {
  if (!need(2)) return false;
  value = std::uint32_t{cursor[0]} << 8 | cursor[1];
  cursor += 2;
  note(kind, 2, value, of);
  return true;
}

template <class Sink>
bool Walker<Sink>::readU32(Kind kind, std::uint32_t& value, Kind of) {
  if (!need(4)) return false;
  value = std::uint32_t{cursor[0]} << 24 | std::uint32_t{cursor[1]} << 16 |
          std::uint32_t{cursor[2]} << 8 | cursor[3];
  cursor += 4;
  note(kind, 4, value, of);
  return true;
}

template <class Sink>
bool Walker<Sink>::skip(Kind kind, std::uint32_t length) {
  if (!need(length)) return false;
  cursor += length;
  note(kind, length, 0);
  return true;
}

// The bytes of a text whose length was just read. The limit is checked first, so that a host does
// not wait for missing bytes that it would refuse.
template <class Sink>
bool Walker<Sink>::readText(Kind kind, std::uint32_t length, Text& text) {
  if (length > limits.maxStringBytes) return fail(AMFVerifyStatus::stringLimit);
  text = {cursor, length};
  return skip(kind, length);
}

template <class Sink>
bool Walker<Sink>::readShortText(Kind kind, Text& text) {
  std::uint32_t length;
  return readU16(Kind::length, length, kind) && readText(kind, length, text);
}

// ---------------------------------------------------------------------------------------------------
// Ends of the walk

template <class Sink>
bool Walker<Sink>::truncated(std::uint32_t length) {
  result.needed = length - remainingBytes();
  return fail(AMFVerifyStatus::truncated);
}

template <class Sink>
bool Walker<Sink>::fail(AMFVerifyStatus status) {
  result.status = status;
  result.message = describe(status);
  result.offset = offset();
  return false;
}

template <class Sink>
bool Walker<Sink>::refuse(const char* text) {
  fail(AMFVerifyStatus::malformed);
  result.message = text;
  return false;
}

// ---------------------------------------------------------------------------------------------------
// Sums

template <class Sink>
bool Walker<Sink>::overLimit() {
  return fail(total.nodes > maxNodes ? AMFVerifyStatus::nodeLimit : AMFVerifyStatus::treeLimit);
}

template <class Sink>
bool Walker<Sink>::chargeNode(std::uint64_t bytes) {
  takeSlot();
  total.nodes += 1;
  total.bytes += bytes;
  return withinLimits();
}

// A string in the packet, or one that a reference copies.
template <class Sink>
bool Walker<Sink>::chargeString(std::uint32_t length, bool copied) {
  if (copied) return chargeCopy({1, stringBytes(length), length, 0});
  total.stringBytes += length;
  return chargeNode(stringBytes(length));
}

// A new member and its name. The value is charged when it is read.
template <class Sink>
bool Walker<Sink>::chargeMember(std::uint32_t nameLength, bool copiedName) {
  total.nodes += 1;
  total.bytes += kMember;
  return chargeString(nameLength, copiedName);
}

template <class Sink>
bool Walker<Sink>::chargeCopy(const Cost& cost) {
  takeSlot();
  total.addCopy(cost);
  result.copiedNodes = plus(result.copiedNodes, cost.nodes);
  result.copiedBytes = plus(result.copiedBytes, cost.bytes);
  return withinLimits() && withinCopyLimits();
}

template <class Sink>
bool Walker<Sink>::withinCopyLimits() {
  if (result.copiedBytes > maxCopied) return fail(AMFVerifyStatus::copyLimit);
  if (result.switchedReferences > limits.maxSwitchedReferences) {
    return fail(AMFVerifyStatus::switchedReferenceLimit);
  }
  return true;
}

// The value that a reference copies, with the height of its target.
template <class Sink>
bool Walker<Sink>::chargeReference(const Cost& cost, std::uint32_t height,
                                   std::uint32_t switchedReferences) {
  if (!reachDepth(std::uint64_t{frames.size()} + height)) return false;
  raiseHeight(height);
  result.references = plus(result.references, 1u);
  result.switchedReferences = plus(result.switchedReferences, switchedReferences);
  return chargeCopy(cost);
}

template <class Sink>
bool Walker<Sink>::reachDepth(std::uint64_t depth) {
  const auto reached = static_cast<std::uint32_t>(std::min<std::uint64_t>(depth, 0xFFFFFFFFu));
  result.depth = std::max(result.depth, reached);
  return reached <= limits.maxDepth ? true : fail(AMFVerifyStatus::depthLimit);
}

// ---------------------------------------------------------------------------------------------------
// Objects and arrays

/// Charges a new object or array and makes it the innermost one.
template <class Sink>
bool Walker<Sink>::open(FrameKind kind, std::uint32_t remaining, std::uint64_t bytes) {
  if (!reachDepth(std::uint64_t{frames.size()} + 1)) return false;
  Frame* const frame = frames.append();
  if (!frame) return fail(AMFVerifyStatus::outOfMemory);
  takeSlot();
  *frame = {total, result.switchedReferences, remaining, 0, 0, 1, kind, false};
  return chargeNode(bytes);
}

/// Ends the innermost object or array. Its cost is now known, and is entered into its reference
/// table.
template <class Sink>
bool Walker<Sink>::close() {
  const Frame& frame = frames.top();  // still readable after pop()
  const Cost cost = since(frame.start, total);
  frames.pop();
  raiseHeight(frame.height);
  note(Kind::end, 0, 0);
  return frame.kind < FrameKind::assoc3 ? close0(frame, cost) : close3(frame, cost);
}

// For the innermost open object or array: it contains a value of this height.
template <class Sink>
void Walker<Sink>::raiseHeight(std::uint32_t height) {
  if (!frames.empty()) frames.top().height = std::max(frames.top().height, plus(height, 1u));
}

// ---------------------------------------------------------------------------------------------------
// The whole check

template <class Sink>
AMFVerifyResult walk(const void* packet, std::size_t size, const AMFVerifyLimits& limits,
                     Sink& sink) {
  if (packet && size <= limits.maxPacketBytes) {
    return Walker<Sink>(packet, size, limits, sink).run();
  }
  AMFVerifyResult result;
  result.status = packet ? AMFVerifyStatus::packetTooLarge : AMFVerifyStatus::nullPacket;
  result.message = describe(result.status);
  return result;
}

}  // namespace amf2json::guard
