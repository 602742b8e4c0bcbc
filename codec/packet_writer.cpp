// SPDX-License-Identifier: Apache-2.0
//
// Packet writer: the envelope, and the life of what the encoder leaves. Enter at
// AMFProtocol::compile. The values inside are written by amf0_writer.cpp. Tested by
// tests/packet_writer_test.cpp.
#include <limits>
#include <new>

#include "AMF2JSON.h"
#include "codec/output_chunks.h"
#include "model/attach.h"

char* AMFProtocol::compile(const AMFPackage* source) {
  if (!source) return nullptr;
  outputLength = 0;
  // Kept: pieces of an earlier run that nobody cleaned are abandoned, not released.
  outputChunks.abandon();
  clean();
  writeU16(source->version);
  writeU16(source->headerCount);
  for (std::uint32_t i = 0; i < source->headerCount; ++i) setHeader(source->getHeader(i));
  const auto messageCount =
      static_cast<std::uint32_t>(source->children.size()) - source->headerCount;
  writeU16(messageCount);
  for (std::uint32_t i = 0; i < messageCount; ++i) setMessage(source->getMessage(i));
  joinChunks();
  return resultBuffer;
}

// One buffer for all pieces; the old one goes when the new one is there.
void AMFProtocol::joinChunks() {
  if (outputChunks.total > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  const auto length = static_cast<std::uint32_t>(outputChunks.total);
  std::unique_ptr<char[]> joined(new char[length]);
  outputChunks.copyTo(joined.get());
  delete[] resultBuffer;
  resultBuffer = joined.release();
  outputLength = length;
}

void AMFProtocol::setHeader(const AMFHeader* header) {
  // A message that stands where a header is counted is no header either.
  if (!header || header->type != AMFNode::AMF_HEADER) {
    throw AMFException("setHeader(): lack of header type node");
  }
  setAMF0String(header->name, false, AMF0_STRING);
  writeU8(model::storedByte(header->mustUnderstand) != 0 ? 1 : 0);
  writeU32(header->length);  // Kept: as it stands, never recomputed.
  setNodeValue(header->value, header->version);
}

void AMFProtocol::setMessage(const AMFMessage* message) {
  if (!message || message->type != AMFNode::AMF_MESSAGE) {
    throw AMFException("setMessage(): lack of message type node");
  }
  setAMF0String(message->targetUri, false, AMF0_STRING);
  setAMF0String(message->responseUri, false, AMF0_STRING);
  writeU32(message->length);
  setNodeValue(message->value, message->version);
}

void AMFProtocol::clean() {
  outputChunks.release();
}

void AMFProtocol::loseResultBuffer() {
  resultBuffer = nullptr;
}
