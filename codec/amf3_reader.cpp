// SPDX-License-Identifier: Apache-2.0
//
// AMF3 value readers: a marker, for most kinds a U29 header, and a body. The low bit of the header
// is 0 for a reference and 1 for an inline value. Enter at amf3Value; amf0_reader.cpp calls it at
// the switch marker. The counterpart is amf3_writer.cpp. Tested by
// tests/codec/amf3_reader_test.cpp.
#include <cstring>
#include <typeinfo>

#include "AMF2JSON.h"
#include "codec/big_endian.h"
#include "codec/reader.h"
#include "codec/reader_texts.h"

using namespace amf2json;

namespace {

// Bits of the U29 header of a value.
constexpr std::uint32_t kInlineTraits = 2;
constexpr std::uint32_t kExternalizable = 4;
constexpr std::uint32_t kDynamic = 8;
constexpr unsigned kTraitsIndexShift = 2;
constexpr unsigned kSealedCountShift = 4;
constexpr std::uint8_t kEmptyString = 0x01;  // the U29 header of a string: inline, no bytes

// If bit 0 of the header is clear, the value is a reference, and the other bits are its index.
bool isReference(std::uint32_t header) {
  return (header & 1) == 0;
}

// Returns the entry of a reference. Throws `badIndex` if there is no entry, and `badKind` if the
// entry is of another kind.
AMF2JSON_HOT const AMFNode& entryAt(const codec::Nodes& table, std::uint32_t index,
                                    AMFNode::AMFType kind, const char* badIndex,
                                    const char* badKind) {
  if (index >= table.size() || !table[index]) throw AMFException(badIndex);
  if (table[index]->type != kind) throw AMFException(badKind);
  return *table[index];
}

// A reference becomes a deep copy of its entry, which records the index.
template <class Node>
Node* copyEntry(const AMFNode& entry, std::uint32_t index) {
  std::unique_ptr<AMFNode> copy(entry.clone());
  copy->referenceIndex = index;
  return static_cast<Node*>(copy.release());
}

// Copies an entry of the object table, after all checks. If the entry is a container that is still
// being read, throws `circular`, unless that is null: the container would contain itself.
template <class Node>
Node* copyReferenced(const codec::Nodes& table, std::uint32_t header, AMFNode::AMFType kind,
                     const char* badIndex, const char* badKind, const char* circular = nullptr) {
  const std::uint32_t index = header >> 1;
  const AMFNode& entry = entryAt(table, index, kind, badIndex, badKind);
  if (circular && !entry.complete) throw AMFException(circular);
  return copyEntry<Node>(entry, index);
}

bool isAcceptedExternalizable(const AMFString& name) {
  // The variables are read for each comparison, because a host may change them. Null matches
  // nothing. The guard has its own copy of this list, because it shares no code with the readers.
  for (const char* const accepted : {cArrayClass, cObjProxyClass, cSerialProxy, cAsyncMsg,
                                     cCommandMsg, cDataMsg, cPagedMsg, cUpdateCollectMsg}) {
    if (!accepted || std::strlen(accepted) != name.length) continue;
    if (name.length == 0 || std::memcmp(accepted, name.data, name.length) == 0) return true;
  }
  return false;
}

// Throws if the object that defined the traits has fewer members than its sealed count, or a member
// without a name. That happens if the object is externalizable: its sealed members are not read.
void checkSealed(const AMFObject& entry) {
  for (std::uint32_t i = 0; i < entry.sealedCount; ++i) {
    const AMFNode* const member = i < entry.children.size() ? entry.children[i] : nullptr;
    if (!member || member->type != AMFNode::AMF_PAIR) {
      throw AMFException(reader_texts::kAMF3SealedCount);
    }
    if (!static_cast<const AMFPair*>(member)->name) {
      throw AMFException(reader_texts::kAMF3MemberName);
    }
  }
}

}  // namespace

namespace amf2json::codec {

AMFString* Reader::amf3String() {
  const std::uint32_t header = big_endian::readU29(cursor);
  if (isReference(header)) {
    const std::uint32_t index = header >> 1;
    const AMFNode& entry = entryAt(protocol.amf3StringReferences, index, AMFNode::AMF_STRING,
                                   reader_texts::kAMF3StringIndex, reader_texts::kAMF3StringType);
    const bool isPlain = &typeid(entry) == &typeid(AMFString);  // a false negative is harmless
    if (!isPlain) return copyEntry<AMFString>(entry, index);
    AMFString* const copy = allocator.copyWithBytes(static_cast<const AMFString&>(entry));
    copy->referenceIndex = index;
    return copy;
  }
  const std::uint32_t length = header >> 1;
  std::unique_ptr<AMFString> text(allocator.makeWithBytes<AMFString>(
      AMF_VERSION_3, big_endian::readBytes(cursor, length), length));
  if (length > 0) append(protocol.amf3StringReferences, text.get());
  return text.release();
}

AMF2JSON_RARE AMFXML* Reader::amf3XML(AMFProtocol::AMF3Markers marker) {
  const std::uint32_t header = big_endian::readU29(cursor);
  if (isReference(header)) {
    return copyReferenced<AMFXML>(protocol.amf3ObjectReferences, header, AMFNode::AMF_XML,
                                  reader_texts::kAMF3XMLIndex, reader_texts::kAMF3XMLType);
  }
  const std::uint32_t length = header >> 1;
  std::unique_ptr<AMFXML> xml(allocator.makeWithBytes<AMFXML>(
      AMF_VERSION_3, big_endian::readBytes(cursor, length), length));
  xml->document = marker == AMFProtocol::AMF3_XML_DOC ? 1 : 0;
  append(protocol.amf3ObjectReferences, xml.get());
  return xml.release();
}

AMFDate* Reader::amf3Date() {
  const std::uint32_t header = big_endian::readU29(cursor);
  if (isReference(header)) {
    return copyReferenced<AMFDate>(protocol.amf3ObjectReferences, header, AMFNode::AMF_DATE,
                                   reader_texts::kAMF3DateIndex, reader_texts::kAMF3DateType);
  }
  std::unique_ptr<AMFDate> date(
      allocator.make<AMFDate>(AMF_VERSION_3));  // the other bits of the header are ignored
  big_endian::readDouble(cursor, date->value);
  append(protocol.amf3ObjectReferences, date.get());
  return date.release();
}

AMFRaw* Reader::amf3ByteArray() {
  const std::uint32_t header = big_endian::readU29(cursor);
  if (isReference(header)) {
    return copyReferenced<AMFRaw>(protocol.amf3ObjectReferences, header, AMFNode::AMF_RAW,
                                  reader_texts::kAMF3ByteArrayIndex,
                                  reader_texts::kAMF3ByteArrayType);
  }
  const std::uint32_t length = header >> 1;
  std::unique_ptr<AMFRaw> raw(allocator.makeWithBytes<AMFRaw>(
      AMF_VERSION_3, big_endian::readBytes(cursor, length), length));
  append(protocol.amf3ObjectReferences, raw.get());
  return raw.release();
}

AMF2JSON_HOT AMFNode* Reader::nextAmf3Value() {
  const AMFProtocol::AMF3Markers marker = readMarker<AMFProtocol::AMF3Markers>(cursor);
  switch (marker) {
    case AMFProtocol::AMF3_UNDEFINED: return allocator.make<AMFUndefined>(AMF_VERSION_3);
    case AMFProtocol::AMF3_NULL: return allocator.make<AMFNull>(AMF_VERSION_3);
    case AMFProtocol::AMF3_FALSE: return amf3Bool(false);
    case AMFProtocol::AMF3_TRUE: return amf3Bool(true);
    case AMFProtocol::AMF3_INTEGER: return amf3Integer();
    case AMFProtocol::AMF3_DOUBLE: return amf3Double();
    case AMFProtocol::AMF3_STRING: return amf3String();
    case AMFProtocol::AMF3_XML_DOC:
    case AMFProtocol::AMF3_XML: return amf3XML(marker);
    case AMFProtocol::AMF3_DATE: return amf3Date();
    case AMFProtocol::AMF3_ARRAY: return amf3Array();
    case AMFProtocol::AMF3_OBJECT: return amf3Object();
    case AMFProtocol::AMF3_BYTE_ARRAY: return amf3ByteArray();
  }
  throw AMFException(reader_texts::kUnknownAMF3Value);
}

AMFNode* Reader::amf3Value() {
  return nextAmf3Value();
}

AMF2JSON_HOT AMFPair* Reader::nextAmf3Pair() {
  if (big_endian::peekU8(cursor) == kEmptyString) {
    ++cursor;
    return nullptr;
  }
  auto pair = allocator.makeUnfilled<AMFPair>(AMF_VERSION_3, AMFNode::AMF_PAIR);
  pair->name = amf3String();
  if (!pair->name) throw AMFException(reader_texts::kAMF3PairName);  // Unreachable.
  if (pair->name->length == 0) return nullptr;  // an empty name whose U29 has several bytes
  pair->value = nextAmf3Value();
  if (!pair->value) throw AMFException(reader_texts::kAMF3PairValue);  // Unreachable.
  return pair.release();
}

AMFPair* Reader::amf3Pair() {
  return nextAmf3Pair();
}

AMFArray* Reader::amf3Array() {
  const std::uint32_t header = big_endian::readU29(cursor);
  if (isReference(header)) {
    return copyReferenced<AMFArray>(protocol.amf3ObjectReferences, header, AMFNode::AMF_ARRAY,
                                    reader_texts::kAMF3ArrayIndex, reader_texts::kAMF3ArrayType,
                                    reader_texts::kAMF3ArrayCircular);
  }
  std::unique_ptr<AMFArray> array(allocator.make<AMFArray>(AMF_VERSION_3));
  // Before its members, which get later indexes.
  append(protocol.amf3ObjectReferences, array.get());
  Children elements(*array, pending, lists);
  while (auto pair = std::unique_ptr<AMFPair>(amf3Pair())) elements.add(std::move(pair));
  for (std::uint32_t remaining = header >> 1; remaining > 0; --remaining) {
    std::unique_ptr<AMFNode> value(nextAmf3Value());
    if (!value) throw AMFException(reader_texts::kAMF3ArrayValue);  // Unreachable.
    elements.add(std::move(value));
  }
  elements.attach();
  array->denseCount = header >> 1;
  array->complete = true;
  return array.release();
}

AMFObject* Reader::amf3Object() {
  const std::uint32_t header = big_endian::readU29(cursor);
  if (isReference(header)) {
    return copyReferenced<AMFObject>(protocol.amf3ObjectReferences, header, AMFNode::AMF_OBJECT,
                                     reader_texts::kAMF3ObjectIndex, reader_texts::kAMF3ObjectType,
                                     reader_texts::kAMF3ObjectCircular);
  }
  auto object = allocator.makeUnfilled<AMFObject>(AMF_VERSION_3);
  if ((header & kInlineTraits) == 0) {
    const std::uint32_t index = header >> kTraitsIndexShift;
    const AMFNode& entry = entryAt(protocol.amf3TraitReferences, index, AMFNode::AMF_OBJECT,
                                   reader_texts::kAMF3TraitsIndex, reader_texts::kAMF3ObjectType);
    object->traitsIndex = index;
    readSealedByTraits(*object, static_cast<const AMFObject&>(entry));
  } else {
    readTraits(*object, header);
    if (object->externalizable) {
      readExternalized(*object);
    } else {
      readSealed(*object);
    }
  }
  if (object->dynamic && !object->externalizable) readDynamic(*object);
  object->complete = true;
  return object.release();
}

// Reads an object whose traits are a reference. Class name, flags and member names are copied from
// `traits`, the object of the entry; each name is copied before its value is read. The traits table
// gets no second entry.
// Kept: the externalizable flag is not copied, so the result is an ordinary object.
void Reader::readSealedByTraits(AMFObject& object, const AMFObject& traits) {
  object.className = traits.className ? allocator.copyWithBytes(*traits.className)
                                      : allocator.make<AMFString>(AMF_VERSION_3);
  object.dynamic = traits.dynamic;
  object.sealedCount = traits.sealedCount;
  checkSealed(traits);
  if (object.sealedCount > 0) reserveMore(object.children, object.sealedCount, lists);
  append(protocol.amf3ObjectReferences, &object);
  for (std::uint32_t i = 0; i < object.sealedCount; ++i) {
    auto made = allocator.makeUnfilled<AMFPair>(AMF_VERSION_3, AMFNode::AMF_PAIR);
    AMFPair* const pair = made.get();
    pair->parent = &object;
    object.children.push_back(made.release());  // the capacity is reserved
    pair->name = allocator.copyWithBytes(*static_cast<const AMFPair*>(traits.children[i])->name);
    pair->value = nextAmf3Value();
    if (!pair->value) throw AMFException(reader_texts::kAMF3MemberValue);  // Unreachable.
  }
}

// Reads inline traits: the flags, the class name and the names of the sealed members.
void Reader::readTraits(AMFObject& object, std::uint32_t header) {
  append(protocol.amf3ObjectReferences, &object);
  object.externalizable = (header & kExternalizable) != 0;
  object.sealedCount = header >> kSealedCountShift;
  object.dynamic = (header & kDynamic) != 0;
  object.className = amf3String();
  if (!object.className) throw AMFException(reader_texts::kAMF3ClassName);  // Unreachable.
  if (object.externalizable) {
    if (!isAcceptedExternalizable(*object.className)) {
      throw AMFException(reader_texts::kAMF3Externalizable);
    }
  } else {
    Children members(object, pending, lists);
    for (std::uint32_t remaining = object.sealedCount; remaining > 0; --remaining) {
      auto pair = allocator.makeUnfilled<AMFPair>(AMF_VERSION_3, AMFNode::AMF_PAIR);
      pair->name = amf3String();
      if (!pair->name) throw AMFException(reader_texts::kAMF3MemberName);  // Unreachable.
      members.add(std::move(pair));
    }
    members.attach();
  }
  append(protocol.amf3TraitReferences, &object);
}

void Reader::readSealed(AMFObject& object) {
  for (std::uint32_t i = 0; i < object.sealedCount; ++i) {
    AMFNode* const value = nextAmf3Value();
    if (!value) throw AMFException(reader_texts::kAMF3MemberValue);  // Unreachable.
    static_cast<AMFPair*>(object.children[i])->value = value;
  }
}

void Reader::readDynamic(AMFObject& object) {
  Children members(object, pending, lists);
  while (auto pair = std::unique_ptr<AMFPair>(nextAmf3Pair())) members.add(std::move(pair));
  members.attach();
}

// Kept: the body of every accepted class is one value, which is stored in a pair with an empty
// name. The recorded sealed count and dynamic flag are not used. The pair is attached after the
// body has been read.
AMF2JSON_APART void Reader::readExternalized(AMFObject& object) {
  auto pair = allocator.makeUnfilled<AMFPair>(AMF_VERSION_3, AMFNode::AMF_PAIR);
  pair->name = allocator.make<AMFString>(AMF_VERSION_3);
  pair->value = amf3Value();
  if (!pair->value) throw AMFException(reader_texts::kAMF3MemberValue);  // Unreachable.
  Children member(object, pending, lists);
  member.add(std::move(pair));
  member.attach();
}

}  // namespace amf2json::codec

// The public calls that read a single value.

using codec::Reader;
using codec::readMarker;

std::uint32_t AMFProtocol::getVLUnsignedInt() {
  return big_endian::readU29(readCursor);
}
AMFProtocol::AMF3Markers AMFProtocol::getAMF3Marker() {
  return readMarker<AMF3Markers>(readCursor);
}
AMFNode* AMFProtocol::getAMF3Value() {
  return Reader(*this, *state).amf3Value();
}

AMFBool* AMFProtocol::getAMF3Bool(AMF3Markers marker) {
  if (marker == AMF3_UNDEFINED) marker = getAMF3Marker();
  if (marker != AMF3_TRUE && marker != AMF3_FALSE) {
    throw AMFException(reader_texts::kAMF3BoolMarker);
  }
  return Reader(*this, *state).amf3Bool(marker == AMF3_TRUE);
}

AMFInt* AMFProtocol::getAMF3Integer() {
  return Reader(*this, *state).amf3Integer();
}
AMFDouble* AMFProtocol::getAMF3Double() {
  return Reader(*this, *state).amf3Double();
}

AMFString* AMFProtocol::getAMF3String(bool withMarker) {
  if (withMarker && getAMF3Marker() != AMF3_STRING) {
    throw AMFException(reader_texts::kAMF3StringMarker);
  }
  return Reader(*this, *state).amf3String();
}

AMFXML* AMFProtocol::getAMF3XML(AMF3Markers marker) {
  if (marker == AMF3_UNDEFINED) marker = getAMF3Marker();
  if (marker != AMF3_XML_DOC && marker != AMF3_XML) {
    throw AMFException(reader_texts::kAMF3XMLMarker);
  }
  return Reader(*this, *state).amf3XML(marker);
}

AMFDate* AMFProtocol::getAMF3Date() {
  return Reader(*this, *state).amf3Date();
}
AMFRaw* AMFProtocol::getAMF3ByteArray() {
  return Reader(*this, *state).amf3ByteArray();
}
AMFPair* AMFProtocol::getAMF3Pair() {
  return Reader(*this, *state).amf3Pair();
}
AMFArray* AMFProtocol::getAMF3Array() {
  return Reader(*this, *state).amf3Array();
}
AMFObject* AMFProtocol::getAMF3Object() {
  return Reader(*this, *state).amf3Object();
}
