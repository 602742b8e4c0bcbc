// SPDX-License-Identifier: Apache-2.0
//
// What the public set... calls and compile write with. Every write... call takes the pen, hands
// back where it ended, and refuses a node by AMFException after listing what has been written. It
// takes room for kScalarBytes for granted and sees to more by itself. Defined in amf0_writer.cpp,
// amf3_writer.cpp and packet_writer.cpp; the public calls for single values are in
// public_calls.cpp.
//
// writeValue calls the others as its last act, so that a level of nesting is one return: processors
// foretell only some of the returns from deep nesting. That is why the pen is a bare pointer: for a
// class GCC makes no such calls.
#pragma once

#include "codec/output_chunks.h"

namespace amf2json::codec {

class Writer {
 public:
  explicit Writer(AMFOutputChunks& list) : chunks(list), blockEnd(list.blockEnd) {}

  // One public call: `write` is one of the functions below.
  template <class... Parameters, class... Arguments>
  static void run(AMFOutputChunks& list, char* (Writer::*write)(char*, Parameters...),
                  Arguments... arguments) {
    Writer writer(list);
    list.close((writer.*write)(writer.withRoom(list.pen(), kScalarBytes), arguments...));
  }

  char* writePackage(char* pen, const AMFPackage* package);
  char* writeHeader(char* pen, const AMFHeader* header);
  char* writeMessage(char* pen, const AMFMessage* message);

  char* writeValue(char* pen, const AMFNode* node, AMFVersion placeVersion);
  char* writeBytes(char* pen, const AMFRaw* node);

  char* writeAMF0String(char* pen, const AMFString* node, bool withMarker,
                        AMFProtocol::AMF0Markers marker);
  char* writeAMF0Bool(char* pen, const AMFBool* node);
  char* writeAMF0Int(char* pen, const AMFInt* node);
  char* writeAMF0Double(char* pen, const AMFDouble* node);
  char* writeAMF0Date(char* pen, const AMFDate* node);
  char* writeAMF0XML(char* pen, const AMFXML* node);
  char* writeAMF0Pair(char* pen, const AMFPair* pair);
  char* writeAMF0Object(char* pen, const AMFObject* object);
  char* writeAMF0Array(char* pen, const AMFArray* array);
  char* writeAMF0Reference(char* pen, std::uint32_t index);

  char* writeVLInteger(char* pen, std::uint32_t value);
  char* writeAMF3Integer(char* pen, const AMFInt* node);
  char* writeAMF3Double(char* pen, const AMFDouble* node);
  char* writeAMF3String(char* pen, const AMFString* node, bool omitMarker);
  char* writeAMF3Date(char* pen, const AMFDate* node);
  char* writeAMF3XML(char* pen, const AMFXML* node);
  char* writeAMF3Raw(char* pen, const AMFRaw* node);
  char* writeAMF3Array(char* pen, const AMFArray* array);
  char* writeAMF3Object(char* pen, const AMFObject* object);

 private:
  // What a value takes that has no bytes of its own, with a switch in front of it.
  static constexpr std::size_t kScalarBytes = 16;

  // Room for so many bytes, none of them of a large piece.
  char* withRoom(char* pen, std::size_t most) { return hasRoom(pen, most) ? pen : turnBlock(pen); }
  char* turnBlock(char* pen);
  bool hasRoom(char* pen, std::size_t most) const {
    return static_cast<std::size_t>(blockEnd - pen) >= most;
  }

  [[noreturn]] void refuse(char* pen, const char* text);

  [[gnu::noinline]] char* writeValueAnew(char* pen, const AMFNode* node, AMFVersion placeVersion);
  char* writeAMF0Value(char* pen, const AMFNode* node);
  char* writeAMF3Value(char* pen, const AMFNode* node);
  char* writeU29(char* pen, AMFProtocol::AMF3Markers marker, std::uint32_t value);
  [[gnu::noinline]] char* writeU29Anew(char* pen, AMFProtocol::AMF3Markers marker,
                                       std::uint32_t value);
  char* writeReferenceOrBytes(char* pen, AMFProtocol::AMF3Markers marker, const AMFRaw* node);
  char* writeAssociativePart(char* pen, const AMFArray* array, std::size_t& pairCount);
  char* writeMemberNames(char* pen, const AMFObject* object);
  char* writeMembers(char* pen, const AMFObject* object);
  char* writeExternalized(char* pen, const AMFObject* object);
  const AMFPair* memberAt(char* pen, const AMFObject* object, std::uint32_t index,
                          const char* missing);

  AMFOutputChunks& chunks;
  char* blockEnd;  // of its current block
};

}  // namespace amf2json::codec
