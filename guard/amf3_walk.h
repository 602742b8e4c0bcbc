// SPDX-License-Identifier: Apache-2.0
//
// The check, part three: AMF3 values. Enter at Walker::value3(). Included by the files that
// instantiate Walker.
#pragma once

#include <cstring>

#include "codec/reader_texts.h"
#include "guard/walker.h"

namespace amf2json::guard {

/// The AMF3 markers.
enum Marker3 : std::uint32_t {
  kUndefined3 = 0x00,
  kNull3 = 0x01,
  kFalse3 = 0x02,
  kTrue3 = 0x03,
  kInteger3 = 0x04,
  kDouble3 = 0x05,
  kString3 = 0x06,
  kXMLDocument3 = 0x07,
  kDate3 = 0x08,
  kArray3 = 0x09,
  kObject3 = 0x0A,
  kXML3 = 0x0B,
  kByteArray3 = 0x0C
};

/// The error texts of the readers for a reference without an entry, to another kind of node, or to
/// a node that is still being read.
struct ReferenceTexts {
  const char* index;
  const char* type;
  const char* circular;
};

inline ReferenceTexts referenceTexts(AMFNode::AMFType type) {
  using namespace reader_texts;
  switch (type) {
    case AMFNode::AMF_XML:  // XML, dates and byte arrays enter the table complete: never circular
      return {kAMF3XMLIndex, kAMF3XMLType, kAMF3XMLType};
    case AMFNode::AMF_DATE: return {kAMF3DateIndex, kAMF3DateType, kAMF3DateType};
    case AMFNode::AMF_RAW: return {kAMF3ByteArrayIndex, kAMF3ByteArrayType, kAMF3ByteArrayType};
    case AMFNode::AMF_ARRAY: return {kAMF3ArrayIndex, kAMF3ArrayType, kAMF3ArrayCircular};
    default: return {kAMF3ObjectIndex, kAMF3ObjectType, kAMF3ObjectCircular};
  }
}

/// True for the classes whose body is one value. A host may change the variables, so they are read
/// each time.
inline bool isExternalizable(const Text& name) {
  const char* const classes[] = {cArrayClass, cObjProxyClass, cSerialProxy, cAsyncMsg,
                                 cCommandMsg, cDataMsg,       cPagedMsg,    cUpdateCollectMsg};
  for (const char* const known : classes) {
    if (known && std::strlen(known) == name.length &&
        std::memcmp(known, name.bytes, name.length) == 0) {
      return true;
    }
  }
  return false;
}

// A marker and its value.
template <class Sink>
bool Walker<Sink>::value3(bool switched) {
  std::uint32_t marker, number;
  if (!readU8(Kind::marker3, marker)) return false;
  switch (marker) {
    case kUndefined3: return chargeNode(kUndefined);
    case kNull3: return chargeNode(kNull);
    case kFalse3:
    case kTrue3: return chargeNode(kBool);
    case kInteger3: return readU29(Kind::integer, number) && chargeNode(kInt);
    case kDouble3: return skip(Kind::number, 8) && chargeNode(kDouble);
    case kString3: return string3(switched);
    case kXMLDocument3:
    case kXML3: return bytes3(AMFNode::AMF_XML, switched);
    case kDate3: return date3(switched);
    case kArray3: return array3(switched);
    case kObject3: return object3(switched);
    case kByteArray3: return bytes3(AMFNode::AMF_RAW, switched);
    default: return refuse(reader_texts::kUnknownAMF3Value);
  }
}

// Reads a variable-length integer of one to four bytes, the most significant seven bits first. It
// is a value if `of` is `integer`. Otherwise it is the head of a field of kind `of`, or of an array
// or object if `of` is `head`. A head with bit 0 clear is a reference.
// Kept: the fourth byte is signed, and the sum wraps at 32 bits: 80 80 80 FF is 0xFFFFFFFF.
template <class Sink>
bool Walker<Sink>::readU29(Kind of, std::uint32_t& value) {
  const Byte* const start = cursor;
  value = 0;
  std::uint32_t byte = 0x80;
  for (int i = 1; byte >= 0x80 && i <= 3; ++i) {
    if (!need(1)) return false;
    byte = *cursor++;
    value = value << 7 | (byte & 0x7F);
  }
  if (byte >= 0x80) {
    if (!need(1)) return false;
    byte = *cursor++;
    value = (value << 8) + byte - (byte >= 0x80 ? 0x100u : 0u);
  }
  const Kind headKind = (value & 1) == 0 ? Kind::reference3 : Kind::head;
  const Kind kind = of == Kind::integer ? of : headKind;
  note(kind, static_cast<std::size_t>(cursor - start), value, of == Kind::head ? kind : of);
  return true;
}

// A string without marker: a value, a class name or a member name.
template <class Sink>
bool Walker<Sink>::readString3(Kind kind, Text& text, bool& referenced) {
  std::uint32_t head;
  if (!readU29(kind, head)) return false;
  referenced = (head & 1) == 0;
  if (referenced) {
    const std::uint32_t index = head >> 1;
    if (index >= strings.size()) return refuse(reader_texts::kAMF3StringIndex);
    text = strings[index];
    result.references = plus(result.references, 1u);
    return true;
  }
  if (!readText(kind, head >> 1, text)) return false;
  if (text.length == 0) return true;
  Text* const entry = strings.append();
  if (!entry) return fail(AMFVerifyStatus::outOfMemory);
  *entry = text;
  note(Kind::stringEntry, 0, strings.size() - 1);
  return true;
}

template <class Sink>
bool Walker<Sink>::string3(bool switched) {
  Text text;
  bool referenced;
  if (!readString3(Kind::string, text, referenced)) return false;
  if (referenced && switched) {
    result.switchedReferences = plus(result.switchedReferences, 1u);
  }
  return chargeString(text.length, referenced);
}

// XML and byte arrays.
template <class Sink>
bool Walker<Sink>::bytes3(AMFNode::AMFType type, bool switched) {
  const bool isXML = type == AMFNode::AMF_XML;
  const Kind kind = isXML ? Kind::xml : Kind::byteArray;
  std::uint32_t head;
  if (!readU29(kind, head)) return false;
  if ((head & 1) == 0) return reference3(type, head >> 1, switched);
  Text text;
  if (!readText(kind, head >> 1, text)) return false;
  return isXML ? enter3(type, xmlBytes(text.length), text.length, 0)
               : enter3(type, rawBytes(text.length), 0, text.length);
}

template <class Sink>
bool Walker<Sink>::date3(bool switched) {
  std::uint32_t head;
  if (!readU29(Kind::timeMs, head)) return false;
  if ((head & 1) == 0) return reference3(AMFNode::AMF_DATE, head >> 1, switched);
  return skip(Kind::timeMs, 8) && enter3(AMFNode::AMF_DATE, kDate, 0, 0);
}

template <class Sink>
bool Walker<Sink>::array3(bool switched) {
  std::uint32_t head;
  if (!readU29(Kind::head, head)) return false;
  if ((head & 1) == 0) return reference3(AMFNode::AMF_ARRAY, head >> 1, switched);
  return openEntered3(AMFNode::AMF_ARRAY, FrameKind::assoc3, head >> 1);
}

template <class Sink>
bool Walker<Sink>::object3(bool switched) {
  std::uint32_t head;
  if (!readU29(Kind::head, head)) return false;
  if ((head & 1) == 0) return reference3(AMFNode::AMF_OBJECT, head >> 1, switched);
  if ((head & 2) == 0) return referencedTraits3(head >> 2);
  const bool dynamic = (head & 8) != 0;
  return (head & 4) == 0 ? inlineTraits3(head >> 4, dynamic) : externalizable3(head >> 4, dynamic);
}

// The class name and the member names. They precede the first value.
template <class Sink>
bool Walker<Sink>::inlineTraits3(std::uint32_t sealedCount, bool dynamic) {
  if (!openEntered3(AMFNode::AMF_OBJECT, FrameKind::sealed3, sealedCount)) return false;
  frames.top().dynamic = dynamic;
  Text name;
  bool referenced;
  if (!readString3(Kind::className, name, referenced) || !chargeString(name.length, referenced)) {
    return false;
  }
  const std::uint32_t classNameLength = name.length;
  const Cost beforeMembers = total;
  for (std::uint32_t remaining = sealedCount; remaining > 0; --remaining) {
    if (!readString3(Kind::memberName, name, referenced) ||
        !chargeMember(name.length, referenced)) {
      return false;
    }
  }
  const Cost members = since(beforeMembers, total);
  return enterTraits3(
      {members.bytes, members.stringBytes, classNameLength, sealedCount, sealedCount, dynamic});
}

// One of the eight classes: its body is one value, stored in one member with an empty name.
template <class Sink>
bool Walker<Sink>::externalizable3(std::uint32_t sealedCount, bool dynamic) {
  if (!openEntered3(AMFNode::AMF_OBJECT, FrameKind::external3, 1)) return false;
  Text name;
  bool referenced;
  if (!readString3(Kind::className, name, referenced)) return false;
  if (!isExternalizable(name)) return refuse(reader_texts::kAMF3Externalizable);
  if (!chargeString(name.length, referenced)) return false;
  if (!chargeMember(0)) return false;
  frames.top().traits = static_cast<std::uint32_t>(traits.size());
  // Kept: the traits can have any sealed count, but the object has no member while its body is
  // read, and one afterwards. A reference to the traits is refused if their sealed count is larger
  // than the number of members.
  const std::uint64_t memberBytes = sealedCount == 0 ? 0 : kMember + stringBytes(0);
  return enterTraits3({memberBytes, 0, name.length, sealedCount, 0, dynamic});
}

// Copies the class name and the member names before the first value is read.
template <class Sink>
bool Walker<Sink>::referencedTraits3(std::uint32_t index) {
  if (index >= traits.size()) return refuse(reader_texts::kAMF3TraitsIndex);
  const TraitsEntry& entry = traits[index];
  if (entry.sealedCount > entry.present) return refuse(reader_texts::kAMF3SealedCount);
  result.references = plus(result.references, 1u);
  if (!openEntered3(AMFNode::AMF_OBJECT, FrameKind::sealed3, entry.sealedCount)) return false;
  frames.top().dynamic = entry.dynamic;
  Cost copied = {1, stringBytes(entry.classNameLength), entry.classNameLength, 0};
  copied.addCopy({std::uint64_t{2} * entry.sealedCount, entry.memberBytes, entry.nameBytes, 0});
  return chargeCopy(copied);
}

// ---------------------------------------------------------------------------------------------------
// The object table

template <class Sink>
bool Walker<Sink>::reference3(AMFNode::AMFType type, std::uint32_t index, bool switched) {
  if (index >= amf3Entries.size()) return refuse(referenceTexts(type).index);
  const AMF3Entry& entry = amf3Entries[index];
  if (entry.type != type) return refuse(referenceTexts(type).type);
  if (!entry.complete) return refuse(referenceTexts(type).circular);
  return chargeReference(entry.cost, entry.height, switched ? 1 : 0);
}

// Charges a value that has been read to its end, and enters it into the object table.
template <class Sink>
bool Walker<Sink>::enter3(AMFNode::AMFType type, std::uint64_t bytes, std::uint64_t text,
                          std::uint64_t raw) {
  total.stringBytes += text;
  total.rawBytes += raw;
  return chargeNode(bytes) && appendEntry3({{1, bytes, text, raw}, 0, type, true});
}

// Opens an object or array, and enters it into the object table. So its index is lower than those
// of the values inside it.
template <class Sink>
bool Walker<Sink>::openEntered3(AMFNode::AMFType type, FrameKind kind, std::uint32_t remaining) {
  if (!open(kind, remaining, type == AMFNode::AMF_ARRAY ? kArray : kObject)) return false;
  frames.top().entry = static_cast<std::uint32_t>(amf3Entries.size());
  return appendEntry3({Cost{}, 0, type, false});
}

template <class Sink>
bool Walker<Sink>::appendEntry3(const AMF3Entry& entry) {
  AMF3Entry* const added = amf3Entries.append();
  if (!added) return fail(AMFVerifyStatus::outOfMemory);
  *added = entry;
  note(Kind::objectEntry, 0, amf3Entries.size() - 1);
  return true;
}

template <class Sink>
bool Walker<Sink>::enterTraits3(const TraitsEntry& entry) {
  TraitsEntry* const added = traits.append();
  if (!added) return fail(AMFVerifyStatus::outOfMemory);
  *added = entry;
  note(Kind::traitsEntry, 0, traits.size() - 1);
  return true;
}

// ---------------------------------------------------------------------------------------------------
// The content of objects and arrays

// Values by count: the dense part of an array, the sealed members of an object, the body of an
// externalizable object.
template <class Sink>
bool Walker<Sink>::values3() {
  Frame& frame = frames.top();
  const std::size_t depth = frames.size();
  while (frames.size() == depth) {
    if (frame.remaining == 0) {
      if (!frame.dynamic) return close();
      frame.kind = FrameKind::dynamic3;
      return true;
    }
    --frame.remaining;
    if (frame.kind == FrameKind::dense3) addSlot();  // sealed members already have theirs
    if (!value3(false)) return false;
  }
  return true;
}

// Members up to the empty name: the associative part of an array, the dynamic members of an object.
template <class Sink>
bool Walker<Sink>::members3() {
  Frame& frame = frames.top();
  const std::size_t depth = frames.size();
  while (frames.size() == depth) {
    Text name;
    bool referenced;
    if (!readString3(Kind::memberName, name, referenced)) return false;
    if (name.length == 0) {
      if (frame.kind == FrameKind::dynamic3) return close();
      frame.kind = FrameKind::dense3;
      return true;
    }
    if (!chargeMember(name.length, referenced) || !value3(false)) return false;
  }
  return true;
}

template <class Sink>
bool Walker<Sink>::close3(const Frame& frame, const Cost& cost) {
  AMF3Entry& entry = amf3Entries[frame.entry];
  entry.cost = cost;
  entry.height = frame.height;
  entry.complete = true;
  if (frame.kind == FrameKind::external3) traits[frame.traits].present = 1;
  return true;
}

}  // namespace amf2json::guard
