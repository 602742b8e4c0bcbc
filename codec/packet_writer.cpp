// SPDX-License-Identifier: Apache-2.0
//
// Packet writer: the envelope, and the lifetime of the pieces and of the finished packet. Enter at
// AMFProtocol::compile. The values inside are written by amf0_writer.cpp. Tested by
// tests/codec/packet_writer_test.cpp.
#include <limits>
#include <new>
#include <utility>

#include "AMF2JSON.h"
#include "codec/writer.h"
#include "model/attach.h"

using namespace amf2json;

namespace amf2json::codec {

namespace {

// Returns the header or message at that index, or null if the child is missing or of another kind.
// The writers refuse null.
template <class Node>
const Node* childOf(const AMFPackage* package, std::size_t index, AMFNode::AMFType kind) {
  const AMFNode* const child =
      index < package->children.size() ? package->children[index] : nullptr;
  return child && child->type == kind ? static_cast<const Node*>(child) : nullptr;
}

}  // namespace

char* Writer::writePackage(char* out, const AMFPackage* source) {
  out = withSpace(out, 4);
  out = piece::u16(out, source->version);
  out = piece::u16(out, source->headerCount);
  for (std::uint32_t i = 0; i < source->headerCount; ++i) {
    out = writeHeader(out, childOf<AMFHeader>(source, i, AMFNode::AMF_HEADER));
  }
  const auto messageCount =
      static_cast<std::uint32_t>(source->children.size()) - source->headerCount;
  out = withSpace(out, 2);
  out = piece::u16(out, messageCount);
  for (std::uint32_t i = 0; i < messageCount; ++i) {
    out = writeMessage(out, childOf<AMFMessage>(source, std::size_t{source->headerCount} + i,
                                                AMFNode::AMF_MESSAGE));
  }
  return out;
}

char* Writer::writeHeader(char* out, const AMFHeader* header) {
  // `header` is also null if `headerCount` is too large and the child at its index is a message.
  if (!header) refuse(out, "setHeader(): lack of header type node");
  out = writeAMF0String(out, header->name, false, AMFProtocol::AMF0_STRING);
  out = withSpace(out, 5);
  out = piece::u8(out, model::storedByte(header->mustUnderstand) != 0 ? 1 : 0);
  out = piece::u32(out, header->length);  // Kept: written unchanged, never recomputed.
  return writeValue(out, header->value, header->version);
}

char* Writer::writeMessage(char* out, const AMFMessage* message) {
  if (!message) refuse(out, "setMessage(): lack of message type node");
  out = writeAMF0String(out, message->targetUri, false, AMFProtocol::AMF0_STRING);
  out = writeAMF0String(out, message->responseUri, false, AMFProtocol::AMF0_STRING);
  out = withSpace(out, 4);
  out = piece::u32(out, message->length);
  return writeValue(out, message->value, message->version);
}

}  // namespace amf2json::codec

using codec::Writer;

char* AMFProtocol::compile(const AMFPackage* source) {
  if (!source) return nullptr;
  outputLength = 0;
  // Kept: if clean() was not called after an earlier run, its pieces are abandoned, not released.
  outputChunks.pieces->abandon();
  clean();
  Writer::run(*outputChunks.pieces, &Writer::writePackage, source);
  const std::uint64_t total = outputChunks.pieces->total();
  if (total > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  // The old packet is deleted first, so that its memory can be reused.
  delete[] std::exchange(resultBuffer, nullptr);
  resultBuffer = new char[static_cast<std::size_t>(total)];
  outputChunks.pieces->copyTo(resultBuffer);
  outputLength = static_cast<std::uint32_t>(total);
  return resultBuffer;
}

void AMFProtocol::setHeader(const AMFHeader* header) {
  Writer::run(*outputChunks.pieces, &Writer::writeHeader, header);
}

void AMFProtocol::setMessage(const AMFMessage* message) {
  Writer::run(*outputChunks.pieces, &Writer::writeMessage, message);
}

void AMFProtocol::clean() {
  outputChunks.pieces->release();
}

void AMFProtocol::loseResultBuffer() {
  resultBuffer = nullptr;
}
