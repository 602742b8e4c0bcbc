// SPDX-License-Identifier: Apache-2.0
//
// The writers of AMFProtocol, used by compile() and by the public set... calls. Each write... call
// takes the output pointer (pieces.h) and returns it past what it wrote. To refuse a node, a writer
// lists the pieces written so far and throws AMFException. The caller provides kScalarBytes of free
// space; a writer that needs more provides it itself. The writers are defined in amf0_writer.cpp,
// amf3_writer.cpp and packet_writer.cpp, each with its public calls at the end.
//
// writeValue makes tail calls, so that a level of nesting costs one return: processors predict only
// a limited number of nested returns. For this reason the output pointer is a plain char*: GCC
// makes no tail calls if the output pointer is a class.
#pragma once

#include "codec/pieces.h"

namespace amf2json::codec {

class Writer {
 public:
  explicit Writer(Pieces& list) : pieces(list), blockEnd(list.endOfBlock()) {}

  // Makes a writer for one public call, calls `write`, and lists what it wrote. `write` is one of
  // the functions below.
  template <class... Parameters, class... Arguments>
  static void run(Pieces& list, char* (Writer::*write)(char*, Parameters...),
                  Arguments... arguments) {
    Writer writer(list);
    list.close((writer.*write)(writer.withSpace(list.output(), kScalarBytes), arguments...));
  }

  char* writePackage(char* out, const AMFPackage* package);
  char* writeHeader(char* out, const AMFHeader* header);
  char* writeMessage(char* out, const AMFMessage* message);

  char* writeValue(char* out, const AMFNode* node, AMFVersion placeVersion);
  char* writeBytes(char* out, const AMFRaw* node);

  char* writeAMF0String(char* out, const AMFString* node, bool withMarker,
                        AMFProtocol::AMF0Markers marker);
  char* writeAMF0Bool(char* out, const AMFBool* node);
  char* writeAMF0Int(char* out, const AMFInt* node);
  char* writeAMF0Double(char* out, const AMFDouble* node);
  char* writeAMF0Date(char* out, const AMFDate* node);
  char* writeAMF0XML(char* out, const AMFXML* node);
  char* writeAMF0Pair(char* out, const AMFPair* pair);
  char* writeAMF0Object(char* out, const AMFObject* object);
  char* writeAMF0Array(char* out, const AMFArray* array);
  char* writeAMF0Reference(char* out, std::uint32_t index);

  char* writeVLInteger(char* out, std::uint32_t value);
  char* writeAMF3Integer(char* out, const AMFInt* node);
  char* writeAMF3Double(char* out, const AMFDouble* node);
  char* writeAMF3String(char* out, const AMFString* node, bool omitMarker);
  char* writeAMF3Date(char* out, const AMFDate* node);
  char* writeAMF3XML(char* out, const AMFXML* node);
  char* writeAMF3Raw(char* out, const AMFRaw* node);
  char* writeAMF3Array(char* out, const AMFArray* array);
  char* writeAMF3Object(char* out, const AMFObject* object);

 private:
  // Enough space for a switch marker and any value of fixed size.
  static constexpr std::size_t kScalarBytes = 16;

  // Returns an output pointer with at least `most` bytes of free space. Large pieces need no space
  // in the block.
  char* withSpace(char* out, std::size_t most) {
    return hasSpace(out, most) ? out : startBlock(out);
  }
  char* startBlock(char* out);
  bool hasSpace(char* out, std::size_t most) const {
    return static_cast<std::size_t>(blockEnd - out) >= most;
  }

  [[noreturn]] void refuse(char* out, const char* text);

  [[gnu::noinline]] char* writeValueInNewBlock(char* out, const AMFNode* node,
                                               AMFVersion placeVersion);
  char* writeAMF0Value(char* out, const AMFNode* node);
  char* writeAMF3Value(char* out, const AMFNode* node);
  char* writeU29(char* out, AMFProtocol::AMF3Markers marker, std::uint32_t value);
  [[gnu::noinline]] char* writeU29Slow(char* out, AMFProtocol::AMF3Markers marker,
                                       std::uint32_t value);
  char* writeReferenceOrBytes(char* out, AMFProtocol::AMF3Markers marker, const AMFRaw* node);
  char* writeAssociativePart(char* out, const AMFArray* array, std::size_t& pairCount);
  char* writeMemberNames(char* out, const AMFObject* object);
  char* writeMembers(char* out, const AMFObject* object);
  char* writeExternalized(char* out, const AMFObject* object);
  const AMFPair* memberAt(char* out, const AMFObject* object, std::uint32_t index,
                          const char* missing);

  Pieces& pieces;
  char* blockEnd;  // end of the current block of `pieces`
};

}  // namespace amf2json::codec
