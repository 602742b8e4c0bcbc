// SPDX-License-Identifier: Apache-2.0
//
// AMF3 value readers: a marker, mostly a U29 whose low bit tells reference from inline, a body.
// Enter at getAMF3Value; amf0_reader.cpp does so at the switch marker. Mirrored by amf3_writer.cpp.
// Tested by tests/amf3_reader_test.cpp.
#include <algorithm>

#include "AMF2JSON.h"
#include "codec/reader.h"
#include "codec/reader_texts.h"
#include "codec/wire.h"
#include "model/adopt.h"
#include "model/node_pool.h"

namespace {

// Bits of the U29 in front of a value.
constexpr std::uint32_t kInline = 1;
constexpr std::uint32_t kInlineTraits = 2;
constexpr std::uint32_t kExternalizable = 4;
constexpr std::uint32_t kDynamic = 8;
constexpr unsigned kTraitsIndexShift = 2;
constexpr unsigned kSealedCountShift = 4;

using Table = std::vector<AMFNode*>;

// The entry that a reference names, or the text of what is wrong with it.
const AMFNode& entryAt(const Table& table, std::uint32_t index, AMFNode::AMFType kind,
                       const char* badIndex, const char* badKind) {
  if (index >= table.size() || !table[index]) throw AMFException(badIndex);
  if (table[index]->type != kind) throw AMFException(badKind);
  return *table[index];
}

// An accepted reference is a deep copy that remembers its index.
template <class Node>
Node* copyEntry(const AMFNode& entry, std::uint32_t index) {
  std::unique_ptr<AMFNode> copy(entry.clone());
  copy->referenceIndex = index;
  return static_cast<Node*>(copy.release());
}

bool isAcceptedExternalizable(const AMFString& name) {
  // Read at each comparison: a host may have repointed them. Null matches nothing.
  for (const char* const accepted : {cArrayClass, cObjProxyClass, cSerialProxy, cAsyncMsg,
                                     cCommandMsg, cDataMsg, cPagedMsg, cUpdateCollectMsg}) {
    if (!accepted || std::strlen(accepted) != name.length) continue;
    if (name.length == 0 || std::memcmp(accepted, name.data, name.length) == 0) return true;
  }
  return false;
}

// Class name, flags and member names as the object of a traits entry has them.
// Kept: the externalizable flag is not copied, the result is an ordinary object.
void copyTraits(AMFObject& object, const AMFObject& entry, std::uint32_t index) {
  object.className = entry.className ? model::copyBytesNode(*entry.className).release()
                                     : new AMFString(AMF_VERSION_3);
  object.dynamic = entry.dynamic;
  object.sealedCount = entry.sealedCount;
  object.children.reserve(std::min<std::size_t>(object.sealedCount, entry.children.size()));
  for (std::uint32_t i = 0; i < object.sealedCount; ++i) {
    const AMFNode* const member = i < entry.children.size() ? entry.children[i] : nullptr;
    if (!member || member->type != AMFNode::AMF_PAIR) {
      throw AMFException(reader_texts::kAMF3SealedCount);
    }
    const AMFString* const name = static_cast<const AMFPair*>(member)->name;
    if (!name) throw AMFException(reader_texts::kAMF3MemberName);
    auto pair = model::Adopt::pair(AMF_VERSION_3, model::copyBytesNode(*name));
    pair->parent = &object;
    object.children.push_back(pair.get());
    static_cast<void>(pair.release());
  }
  object.traitsIndex = index;
}

}  // namespace

// Kept: the fourth byte counts as a signed number, all arithmetic wraps in 32 bits.
std::uint32_t AMFProtocol::getVLUnsignedInt() {
  std::uint32_t value = 0;
  for (int group = 0; group < 3; ++group) {
    const std::uint8_t byte = wire::readU8(readCursor);
    value = (value << 7) + (byte & 0x7Fu);
    if ((byte & 0x80u) == 0) return value;
  }
  const auto last = static_cast<std::int8_t>(wire::readU8(readCursor));
  return (value << 8) + static_cast<std::uint32_t>(std::int32_t{last});
}

AMFProtocol::AMF3Markers AMFProtocol::getAMF3Marker() {
  const auto marker = static_cast<std::int8_t>(wire::readU8(readCursor));
  return static_cast<AMF3Markers>(std::int32_t{marker});  // widened with its sign
}

AMFNode* AMFProtocol::getAMF3Value() {
  const AMF3Markers marker = getAMF3Marker();
  switch (marker) {
    case AMF3_UNDEFINED: return new AMFUndefined(AMF_VERSION_3);
    case AMF3_NULL: return new AMFNull(AMF_VERSION_3);
    case AMF3_FALSE:
    case AMF3_TRUE: return getAMF3Bool(marker);
    case AMF3_INTEGER: return getAMF3Integer();
    case AMF3_DOUBLE: return getAMF3Double();
    case AMF3_STRING: return getAMF3String(false);
    case AMF3_XML_DOC:
    case AMF3_XML: return getAMF3XML(marker);
    case AMF3_DATE: return getAMF3Date();
    case AMF3_ARRAY: return getAMF3Array();
    case AMF3_OBJECT: return getAMF3Object();
    case AMF3_BYTE_ARRAY: return getAMF3ByteArray();
  }
  throw AMFException(reader_texts::kUnknownAMF3Value);
}

AMFBool* AMFProtocol::getAMF3Bool(AMF3Markers marker) {
  if (marker == AMF3_UNDEFINED) marker = getAMF3Marker();
  if (marker != AMF3_TRUE && marker != AMF3_FALSE) {
    throw AMFException(reader_texts::kAMF3BoolMarker);
  }
  auto flag = std::make_unique<AMFBool>(AMF_VERSION_3);
  flag->value = marker == AMF3_TRUE;
  return flag.release();
}

AMFInt* AMFProtocol::getAMF3Integer() {
  auto integer = std::make_unique<AMFInt>(AMF_VERSION_3);
  integer->value = getVLUnsignedInt();  // Kept: a negative number arrives as a large positive one.
  return integer.release();
}

AMFDouble* AMFProtocol::getAMF3Double() {
  auto number = std::make_unique<AMFDouble>(AMF_VERSION_3);
  wire::readDouble(readCursor, number->value);
  return number.release();
}

AMFString* AMFProtocol::getAMF3String(bool withMarker) {
  if (withMarker && getAMF3Marker() != AMF3_STRING) {
    throw AMFException(reader_texts::kAMF3StringMarker);
  }
  const std::uint32_t header = getVLUnsignedInt();
  if ((header & kInline) == 0) {
    const std::uint32_t index = header >> 1;
    return copyEntry<AMFString>(
        entryAt(amf3StringReferences, index, AMFNode::AMF_STRING, reader_texts::kAMF3StringIndex,
                reader_texts::kAMF3StringType),
        index);
  }
  auto text =
      model::makeString(AMF_VERSION_3, wire::readBytes(readCursor, header >> 1), header >> 1);
  if (text->length > 0) amf3StringReferences.push_back(text.get());
  return text.release();
}

AMFXML* AMFProtocol::getAMF3XML(AMF3Markers marker) {
  if (marker == AMF3_UNDEFINED) marker = getAMF3Marker();
  if (marker != AMF3_XML_DOC && marker != AMF3_XML) {
    throw AMFException(reader_texts::kAMF3XMLMarker);
  }
  const std::uint32_t header = getVLUnsignedInt();
  if ((header & kInline) == 0) {
    const std::uint32_t index = header >> 1;
    return copyEntry<AMFXML>(entryAt(amf3ObjectReferences, index, AMFNode::AMF_XML,
                                     reader_texts::kAMF3XMLIndex, reader_texts::kAMF3XMLType),
                             index);
  }
  auto xml = model::makeXML(AMF_VERSION_3, wire::readBytes(readCursor, header >> 1), header >> 1);
  xml->document = marker == AMF3_XML_DOC ? 1 : 0;
  amf3ObjectReferences.push_back(xml.get());
  return xml.release();
}

AMFDate* AMFProtocol::getAMF3Date() {
  const std::uint32_t header = getVLUnsignedInt();
  if ((header & kInline) == 0) {
    const std::uint32_t index = header >> 1;
    return copyEntry<AMFDate>(entryAt(amf3ObjectReferences, index, AMFNode::AMF_DATE,
                                      reader_texts::kAMF3DateIndex, reader_texts::kAMF3DateType),
                              index);
  }
  auto date = std::make_unique<AMFDate>(AMF_VERSION_3);  // the other bits of the U29 mean nothing
  wire::readDouble(readCursor, date->value);
  amf3ObjectReferences.push_back(date.get());
  return date.release();
}

AMFRaw* AMFProtocol::getAMF3ByteArray() {
  const std::uint32_t header = getVLUnsignedInt();
  if ((header & kInline) == 0) {
    const std::uint32_t index = header >> 1;
    return copyEntry<AMFRaw>(
        entryAt(amf3ObjectReferences, index, AMFNode::AMF_RAW, reader_texts::kAMF3ByteArrayIndex,
                reader_texts::kAMF3ByteArrayType),
        index);
  }
  auto raw = model::makeRaw(AMF_VERSION_3, wire::readBytes(readCursor, header >> 1), header >> 1);
  amf3ObjectReferences.push_back(raw.get());
  return raw.release();
}

AMFPair* AMFProtocol::getAMF3Pair() {
  std::unique_ptr<AMFString> name(getAMF3String(false));
  if (!name) throw AMFException(reader_texts::kAMF3PairName);
  if (name->length == 0) return nullptr;
  auto pair = model::Adopt::pair(AMF_VERSION_3, std::move(name));
  pair->value = getAMF3Value();
  if (!pair->value) throw AMFException(reader_texts::kAMF3PairValue);
  return pair.release();
}

AMFArray* AMFProtocol::getAMF3Array() {
  const std::uint32_t header = getVLUnsignedInt();
  if ((header & kInline) == 0) {
    const std::uint32_t index = header >> 1;
    const AMFNode& entry = entryAt(amf3ObjectReferences, index, AMFNode::AMF_ARRAY,
                                   reader_texts::kAMF3ArrayIndex, reader_texts::kAMF3ArrayType);
    if (!entry.complete) throw AMFException(reader_texts::kAMF3ArrayCircular);
    return copyEntry<AMFArray>(entry, index);
  }
  auto array = std::make_unique<AMFArray>(AMF_VERSION_3);
  amf3ObjectReferences.push_back(array.get());  // before its members: they count from here
  reader::Children elements(pending);
  while (auto pair = std::unique_ptr<AMFPair>(getAMF3Pair())) elements.add(std::move(pair));
  for (std::uint32_t left = header >> 1; left > 0; --left) {
    std::unique_ptr<AMFNode> value(getAMF3Value());
    if (!value) throw AMFException(reader_texts::kAMF3ArrayValue);
    elements.add(std::move(value));
  }
  elements.attachTo(*array);
  array->denseCount = header >> 1;
  array->complete = true;
  return array.release();
}

AMFObject* AMFProtocol::getAMF3Object() {
  const std::uint32_t header = getVLUnsignedInt();
  if ((header & kInline) == 0) {
    const std::uint32_t index = header >> 1;
    const AMFNode& entry = entryAt(amf3ObjectReferences, index, AMFNode::AMF_OBJECT,
                                   reader_texts::kAMF3ObjectIndex, reader_texts::kAMF3ObjectType);
    if (!entry.complete) throw AMFException(reader_texts::kAMF3ObjectCircular);
    return copyEntry<AMFObject>(entry, index);
  }
  auto object = model::Adopt::object(AMF_VERSION_3);
  if ((header & kInlineTraits) == 0) {
    const std::uint32_t index = header >> kTraitsIndexShift;
    const AMFNode& entry = entryAt(amf3TraitReferences, index, AMFNode::AMF_OBJECT,
                                   reader_texts::kAMF3TraitsIndex, reader_texts::kAMF3ObjectType);
    copyTraits(*object, static_cast<const AMFObject&>(entry), index);
    amf3ObjectReferences.push_back(object.get());  // the traits table gets no second entry
    readMembers(*object);
    return object.release();
  }
  amf3ObjectReferences.push_back(object.get());
  object->externalizable = (header & kExternalizable) != 0;
  object->sealedCount = header >> kSealedCountShift;
  object->dynamic = (header & kDynamic) != 0;
  std::unique_ptr<AMFString> className(getAMF3String(false));
  if (!className) throw AMFException(reader_texts::kAMF3ClassName);
  if (object->externalizable && !isAcceptedExternalizable(*className)) {
    throw AMFException(reader_texts::kAMF3Externalizable);
  }
  object->className = className.release();
  if (object->externalizable) {
    amf3TraitReferences.push_back(object.get());
    readExternalized(*object);
  } else {
    readMemberNames(*object);
    amf3TraitReferences.push_back(object.get());
    readMembers(*object);
  }
  return object.release();
}

// The names of the sealed members; their values come later.
void AMFProtocol::readMemberNames(AMFObject& object) {
  reader::Children members(pending);
  for (std::uint32_t left = object.sealedCount; left > 0; --left) {
    std::unique_ptr<AMFString> name(getAMF3String(false));
    if (!name) throw AMFException(reader_texts::kAMF3MemberName);
    members.add(model::Adopt::pair(AMF_VERSION_3, std::move(name)));
  }
  members.attachTo(object);
}

// The values of the sealed members, then the dynamic members.
void AMFProtocol::readMembers(AMFObject& object) {
  for (std::uint32_t i = 0; i < object.sealedCount; ++i) {
    AMFNode* const value = getAMF3Value();
    if (!value) throw AMFException(reader_texts::kAMF3MemberValue);
    static_cast<AMFPair*>(object.children[i])->value = value;
  }
  if (object.dynamic) {
    reader::Children members(pending);
    while (auto pair = std::unique_ptr<AMFPair>(getAMF3Pair())) members.add(std::move(pair));
    members.attachTo(object);
  }
  object.complete = true;
}

// Kept: every accepted class is one value, in a pair without a name; the recorded sealed count and
// dynamic flag are not used. The pair is attached once the body has been read.
void AMFProtocol::readExternalized(AMFObject& object) {
  std::unique_ptr<AMFNode> body(getAMF3Value());
  if (!body) throw AMFException(reader_texts::kAMF3MemberValue);
  reader::Children member(pending);
  member.add(model::Adopt::pair(AMF_VERSION_3, std::make_unique<AMFString>(AMF_VERSION_3),
                                std::move(body)));
  member.attachTo(object);
  object.complete = true;
}
