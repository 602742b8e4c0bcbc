// SPDX-License-Identifier: Apache-2.0
//
// The check of the bytes of a packet: the envelope, the values of both formats, and the sums that
// are compared with the limits. It does not recurse: a stack of frames holds the open objects and
// arrays. Enter at Walker::run() in packet_walk.h. The values are in amf0_walk.h and amf3_walk.h.
// This implementation of the format is independent of the readers. The two share only the error
// texts, and tests/soak/guard_diff.cpp compares them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "AMFGuard.h"
#include "guard/charge.h"
#include "guard/table.h"

namespace amf2json::guard {

using Byte = unsigned char;

/// A text in the packet.
struct Text {
  const Byte* bytes;
  std::uint32_t length;
};

/// A complete AMF0 object or array, and the cost of the copy that a reference to it makes.
struct AMF0Entry {
  Cost cost;
  std::uint32_t height;              // depth of nested objects and arrays, including itself
  std::uint32_t switchedReferences;  // AMF3 references directly after a switch marker
};

/// An entry of the AMF3 object table.
struct AMF3Entry {
  Cost cost;
  std::uint32_t height;
  AMFNode::AMFType type;
  bool complete;
};

/// An entry of the AMF3 traits table.
struct TraitsEntry {
  std::uint64_t memberBytes;  // heap of the sealed members: pairs, slots, names
  std::uint64_t nameBytes;    // text of their names
  std::uint32_t classNameLength;
  std::uint32_t sealedCount;
  std::uint32_t present;  // members so far; that of an externalizable object comes at its end
  bool dynamic;
};

enum class FrameKind : std::uint8_t {
  object0,   // AMF0 members up to the end marker
  strict0,   // AMF0 values by count
  ecma0,     // AMF0 members by count
  assoc3,    // AMF3 members up to the empty name, then as dense3
  dense3,    // AMF3 values by count
  sealed3,   // AMF3 values by count, then as dynamic3 if `dynamic`
  dynamic3,  // AMF3 members up to the empty name
  external3  // AMF3: one value
};

/// An open object or array.
struct Frame {
  Cost start;                   // the totals before it
  std::uint32_t switchedStart;  // the switched references before it
  std::uint32_t remaining;      // remaining values or members, if they are counted
  std::uint32_t entry;          // AMF3: its index in the object table
  std::uint32_t traits;         // external3: its index in the traits table
  std::uint32_t height;
  FrameKind kind;
  bool dynamic;
};

static_assert(sizeof(AMF0Entry) <= 48 && sizeof(AMF3Entry) <= 48 && sizeof(TraitsEntry) <= 48 &&
                  sizeof(Text) <= 16 && sizeof(Frame) <= 56,
              "the memory bound of verifyPacket");

/// The sink of verifyPacket: it receives no fields and costs nothing.
struct NoSink {
  static constexpr bool kActive = false;
};

/// Calls `Sink::field(kind, offset, length, value, depth, of)` for every field that was read
/// completely, unless `Sink::kActive` is false.
template <class Sink>
class Walker {
 public:
  Walker(const void* packet, std::size_t size, const AMFVerifyLimits& verifyLimits, Sink& fieldSink)
      : begin(static_cast<const Byte*>(packet)),
        cursor(begin),
        end(begin + size),
        limits(verifyLimits),
        maxNodes(largest(verifyLimits.maxNodes)),
        maxBytes(largest(verifyLimits.maxTreeBytes)),
        maxCopied(largest(verifyLimits.maxCopiedBytes)),
        sink(fieldSink) {}

  /// Checks the whole packet and returns the result.
  AMFVerifyResult run();

 private:
  using Kind = AMFFieldKind;

  // Every function that returns bool returns false if the check has ended.

  // The envelope
  bool package();
  bool sections(bool (Walker::*read)(), std::uint32_t count, std::uint32_t& done);
  bool header();
  bool message();
  bool body();
  bool step();

  // Fields
  std::size_t remainingBytes() const { return static_cast<std::size_t>(end - cursor); }
  std::size_t offset() const { return static_cast<std::size_t>(cursor - begin); }
  bool need(std::uint32_t length) { return length <= remainingBytes() ? true : truncated(length); }
  bool readU8(Kind kind, std::uint32_t& value);
  bool readU16(Kind kind, std::uint32_t& value, Kind of);
  bool readU32(Kind kind, std::uint32_t& value, Kind of);
  bool readU16(Kind kind, std::uint32_t& value) { return readU16(kind, value, kind); }
  bool readU32(Kind kind, std::uint32_t& value) { return readU32(kind, value, kind); }
  bool skip(Kind kind, std::uint32_t length);
  bool readText(Kind kind, std::uint32_t length, Text& text);
  bool readShortText(Kind kind, Text& text);
  void note(Kind kind, std::size_t length, std::uint64_t value) { note(kind, length, value, kind); }
  void note(Kind kind, std::size_t length, std::uint64_t value, Kind of) {
    if constexpr (Sink::kActive) {
      sink.field(kind, offset() - length, length, value, static_cast<std::uint32_t>(frames.size()),
                 of);
    }
  }

  // Ends of the check
  bool truncated(std::uint32_t length);
  bool fail(AMFVerifyStatus status);
  bool refuse(const char* text);

  // Sums
  bool withinLimits() {
    return total.nodes <= maxNodes && total.bytes <= maxBytes ? true : overLimit();
  }
  bool overLimit();
  bool chargeNode(std::uint64_t bytes);
  bool chargeString(std::uint32_t length, bool copied = false);
  bool chargeMember(std::uint32_t nameLength, bool copiedName = false);
  bool chargeCopy(const Cost& cost);
  bool chargeReference(const Cost& cost, std::uint32_t height, std::uint32_t switchedReferences);
  bool withinCopyLimits();
  void addSlot() { slot = kSlot; }  // charged with the node that fills it
  void takeSlot() {
    total.bytes += slot;
    slot = 0;
  }
  bool reachDepth(std::uint64_t depth);

  // Objects and arrays
  bool open(FrameKind kind, std::uint32_t remaining, std::uint64_t bytes);
  bool close();
  void raiseHeight(std::uint32_t height);

  // AMF0
  bool value0(std::uint32_t marker);
  bool text0(Kind kind, std::uint32_t length);
  bool className0();
  bool reference0(std::uint32_t index);
  bool members0();
  bool elements0();
  bool strictElement0();
  bool ecmaElement0();
  bool readMember0(std::uint32_t& marker);
  bool close0(const Frame& frame, const Cost& cost);

  // AMF3. `switched`: directly after a switch marker.
  bool value3(bool switched);
  bool readU29(Kind of, std::uint32_t& value);
  bool readString3(Kind kind, Text& text, bool& referenced);
  bool string3(bool switched);
  bool bytes3(AMFNode::AMFType type, bool switched);
  bool date3(bool switched);
  bool array3(bool switched);
  bool object3(bool switched);
  bool inlineTraits3(std::uint32_t sealedCount, bool dynamic);
  bool externalizable3(std::uint32_t sealedCount, bool dynamic);
  bool referencedTraits3(std::uint32_t index);
  bool reference3(AMFNode::AMFType type, std::uint32_t index, bool switched);
  bool enter3(AMFNode::AMFType type, std::uint64_t bytes, std::uint64_t text, std::uint64_t raw);
  bool openEntered3(AMFNode::AMFType type, FrameKind kind, std::uint32_t remaining);
  bool appendEntry3(const AMF3Entry& entry);
  bool enterTraits3(const TraitsEntry& entry);
  bool values3();
  bool members3();
  bool close3(const Frame& frame, const Cost& cost);

  const Byte* const begin;
  const Byte* cursor;
  const Byte* const end;
  const AMFVerifyLimits& limits;
  const std::uint64_t maxNodes;
  const std::uint64_t maxBytes;
  const std::uint64_t maxCopied;
  Sink& sink;
  AMFVerifyResult result;
  Cost total{};
  std::uint64_t slot = 0;

  Table<Frame> frames;
  Table<AMF0Entry> amf0Entries;
  Table<AMF3Entry> amf3Entries;
  Table<Text> strings;
  Table<TraitsEntry> traits;
};

}  // namespace amf2json::guard
