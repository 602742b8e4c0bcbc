// SPDX-License-Identifier: Apache-2.0
//
// Packet reader: version, headers, messages. Enter at AMFProtocol::parse. The values inside are
// read by amf0_reader.cpp. Tested by tests/packet_reader_test.cpp.
#include <memory>
#include <utility>

#include "AMF2JSON.h"
#include "codec/big_endian.h"
#include "codec/reader.h"
#include "model/adopt.h"
#include "model/node_pool.h"

using namespace amf2json;

namespace {

// What of the lists has not been used goes when the parse ends.
struct ListsEnd {
  model::ChildLists* lists;
  ~ListsEnd() {
    if (lists) lists->end();
  }
};

}  // namespace

AMFPackage* AMFProtocol::parse(const char* packet) {
  if (!packet) return nullptr;
  readCursor = packet;
  blankTexts();
  const std::uint16_t version = big_endian::readU16(readCursor);
  const model::ChunksStay chunksStay;
  std::unique_ptr<AMFPackage> last(std::exchange(package, nullptr));
  if (!lists && model::isPoolOn()) lists = std::make_unique<model::ChildLists>();
  if (lists) lists->begin();
  const ListsEnd listsEnd{lists.get()};
  model::Dropper(lists.get()).drop(last.release());
  package = new AMFPackage(AMF_VERSION_0);
  package->version = static_cast<AMFVersion>(version);  // any number is kept
  // The package is in place before the first header: after an error it holds what was completed.
  for (unsigned left = big_endian::readU16(readCursor); left > 0; --left) {
    std::unique_ptr<AMFHeader> header(getHeader());
    package->appendHeader(header.get(), false);
    static_cast<void>(header.release());
  }
  for (unsigned left = big_endian::readU16(readCursor); left > 0; --left) {
    std::unique_ptr<AMFMessage> message(getMessage());
    package->appendMessage(message.get(), false);
    static_cast<void>(message.release());
  }
  return package;
}

AMFHeader* AMFProtocol::getHeader() {
  clearReferences();
  return codec::Reader(*this).header();
}
AMFMessage* AMFProtocol::getMessage() {
  clearReferences();
  return codec::Reader(*this).message();
}

namespace amf2json::codec {

AMFHeader* Reader::header() {
  auto header = model::Adopt::header(cutter);
  header->name = amf0String(big_endian::readU16(cursor));
  header->mustUnderstand = big_endian::readU8(cursor) != 0;
  header->length = big_endian::readU32(cursor);  // Kept: never used to bound or check the value.
  header->value = amf0Value();
  // Kept: an end mark leaves the default value in place.
  if (!header->value) header->value = cutter.make<AMFUndefined>(AMF_VERSION_0);
  return header.release();
}

AMFMessage* Reader::message() {
  auto message = model::Adopt::message(cutter);
  message->targetUri = amf0String(big_endian::readU16(cursor));
  message->responseUri = amf0String(big_endian::readU16(cursor));
  message->length = big_endian::readU32(cursor);
  message->value = amf0Value();
  if (!message->value) message->value = cutter.make<AMFUndefined>(AMF_VERSION_0);
  return message.release();
}

}  // namespace amf2json::codec

// References never reach across headers or messages. The capacity stays.
void AMFProtocol::clearReferences() noexcept {
  amf0References.clear();
  amf3StringReferences.clear();
  amf3ObjectReferences.clear();
  amf3TraitReferences.clear();
}
