// SPDX-License-Identifier: Apache-2.0
//
// Packet writer: the envelope, and the life of what the encoder leaves. Enter at
// AMFProtocol::compile. The values inside are written by amf0_writer.cpp. Tested by
// tests/packet_writer_test.cpp.
#include <limits>
#include <new>

#include "AMF2JSON.h"
#include "codec/writer.h"
#include "model/attach.h"

using namespace amf2json;

namespace amf2json::codec {

char* Writer::writePackage(char* pen, const AMFPackage* source) {
  pen = withRoom(pen, 4);
  pen = piece::u16(pen, source->version);
  pen = piece::u16(pen, source->headerCount);
  for (std::uint32_t i = 0; i < source->headerCount; ++i) {
    pen = writeHeader(pen, source->getHeader(i));
  }
  const auto messageCount =
      static_cast<std::uint32_t>(source->children.size()) - source->headerCount;
  pen = withRoom(pen, 2);
  pen = piece::u16(pen, messageCount);
  for (std::uint32_t i = 0; i < messageCount; ++i) {
    pen = writeMessage(pen, source->getMessage(i));
  }
  return pen;
}

char* Writer::writeHeader(char* pen, const AMFHeader* header) {
  // A message that stands where a header is counted is no header either.
  if (!header || header->type != AMFNode::AMF_HEADER) {
    refuse(pen, "setHeader(): lack of header type node");
  }
  pen = writeAMF0String(pen, header->name, false, AMFProtocol::AMF0_STRING);
  pen = withRoom(pen, 5);
  pen = piece::u8(pen, model::storedByte(header->mustUnderstand) != 0 ? 1 : 0);
  pen = piece::u32(pen, header->length);  // Kept: as it stands, never recomputed.
  return writeValue(pen, header->value, header->version);
}

char* Writer::writeMessage(char* pen, const AMFMessage* message) {
  if (!message || message->type != AMFNode::AMF_MESSAGE) {
    refuse(pen, "setMessage(): lack of message type node");
  }
  pen = writeAMF0String(pen, message->targetUri, false, AMFProtocol::AMF0_STRING);
  pen = writeAMF0String(pen, message->responseUri, false, AMFProtocol::AMF0_STRING);
  pen = withRoom(pen, 4);
  pen = piece::u32(pen, message->length);
  return writeValue(pen, message->value, message->version);
}

}  // namespace amf2json::codec

using codec::Writer;

char* AMFProtocol::compile(const AMFPackage* source) {
  if (!source) return nullptr;
  outputLength = 0;
  // Kept: pieces of an earlier run that nobody cleaned are abandoned, not released.
  outputChunks.abandon();
  clean();
  Writer::run(outputChunks, &Writer::writePackage, source);
  joinChunks();
  return resultBuffer;
}

// One buffer for all pieces. The old one goes first, so that its memory can serve again.
void AMFProtocol::joinChunks() {
  const std::uint64_t total = outputChunks.total();
  if (total > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  delete[] resultBuffer;
  resultBuffer = nullptr;
  resultBuffer = new char[static_cast<std::size_t>(total)];
  outputChunks.copyTo(resultBuffer);
  outputLength = static_cast<std::uint32_t>(total);
}

void AMFProtocol::setHeader(const AMFHeader* header) {
  Writer::run(outputChunks, &Writer::writeHeader, header);
}

void AMFProtocol::setMessage(const AMFMessage* message) {
  Writer::run(outputChunks, &Writer::writeMessage, message);
}

void AMFProtocol::clean() {
  outputChunks.release();
}

void AMFProtocol::loseResultBuffer() {
  resultBuffer = nullptr;
}
