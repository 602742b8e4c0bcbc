// SPDX-License-Identifier: Apache-2.0
//
// Packet reader: version, headers, messages. Enter at AMFProtocol::parse. The values inside are
// read by amf0_reader.cpp. Tested by tests/codec/packet_reader_test.cpp.
#include <memory>
#include <utility>

#include "AMF2JSON.h"
#include "codec/big_endian.h"
#include "codec/reader.h"
#include "memory/node_pool.h"
#include "memory/tree_deleter.h"

using namespace amf2json;

namespace {

// At the end of the parse, also after an exception: frees the cached storage that was not used.
struct EndLists {
  ChildLists* lists;
  ~EndLists() {
    if (lists) lists->end();
  }
};

// Empties the reference tables: a reference never refers to another header or message. The tables
// keep their capacity.
void clearReferences(AMFProtocol& protocol) noexcept {
  protocol.amf0References.clear();
  protocol.amf3StringReferences.clear();
  protocol.amf3ObjectReferences.clear();
  protocol.amf3TraitReferences.clear();
}

}  // namespace

AMFPackage* AMFProtocol::parse(const char* packet) {
  if (!packet) return nullptr;
  readCursor = packet;
  state->texts.blank();
  const std::uint16_t version = big_endian::readU16(readCursor);
  const RetainChunks retained;
  std::unique_ptr<AMFPackage> last(std::exchange(package, nullptr));
  if (!state->lists && isPoolOn()) state->lists = std::make_unique<ChildLists>();
  ChildLists* const lists = state->lists.get();
  if (lists) lists->begin();
  const EndLists endLists{lists};
  TreeDeleter(lists).destroy(last.release());
  package = allocatorOfThisThread().make<AMFPackage>(AMF_VERSION_0);
  package->version = static_cast<AMFVersion>(version);  // any number is accepted
  // `package` is set before the first header is read. So after an error it holds the headers and
  // messages that were complete.
  for (unsigned remaining = big_endian::readU16(readCursor); remaining > 0; --remaining) {
    std::unique_ptr<AMFHeader> header(getHeader());
    package->appendHeader(header.get(), false);
    static_cast<void>(header.release());
  }
  for (unsigned remaining = big_endian::readU16(readCursor); remaining > 0; --remaining) {
    std::unique_ptr<AMFMessage> message(getMessage());
    package->appendMessage(message.get(), false);
    static_cast<void>(message.release());
  }
  return package;
}

AMFHeader* AMFProtocol::getHeader() {
  clearReferences(*this);
  return codec::Reader(*this, *state).header();
}
AMFMessage* AMFProtocol::getMessage() {
  clearReferences(*this);
  return codec::Reader(*this, *state).message();
}

namespace amf2json::codec {

AMFHeader* Reader::header() {
  auto header = allocator.makeUnfilled<AMFHeader>();
  header->name = amf0String(big_endian::readU16(cursor));
  header->mustUnderstand = big_endian::readU8(cursor) != 0;
  header->length = big_endian::readU32(cursor);  // Kept: never used to bound or check the value.
  header->value = amf0Value();
  // Kept: an end marker in place of the value gives the default value, undefined.
  if (!header->value) header->value = allocator.make<AMFUndefined>(AMF_VERSION_0);
  return header.release();
}

AMFMessage* Reader::message() {
  auto message = allocator.makeUnfilled<AMFMessage>();
  message->targetUri = amf0String(big_endian::readU16(cursor));
  message->responseUri = amf0String(big_endian::readU16(cursor));
  message->length = big_endian::readU32(cursor);
  message->value = amf0Value();
  if (!message->value) message->value = allocator.make<AMFUndefined>(AMF_VERSION_0);
  return message.release();
}

}  // namespace amf2json::codec
