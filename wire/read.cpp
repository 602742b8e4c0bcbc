// SPDX-License-Identifier: Apache-2.0
//
// The calls that only read: amfWireRead(), which passes the events to the sink of the caller, and
// amfWireIdentify(), which reads the input as one form after another until one fits. Tested by
// tests/wire/hosts_test.cpp and tests/wire/documents_test.cpp.
#include <cstring>
#include <limits>

#include "wire/document_reader.h"
#include "wire/input.h"

namespace amf2json::wire {

namespace {

// Offsets in the input have 32 bits.
constexpr std::size_t kMostBytes = std::numeric_limits<std::uint32_t>::max() - 1;

Failure packetTooLarge(std::size_t limit) {
  return {AMFWireStatus::packetLimit, 0, "more than " + std::to_string(limit) + " bytes"};
}

// Records where the values of a document end.
struct EndSink : NoSink {
  void beginDocument(const AMFWireDocument&) {}
  void endDocument(const AMFWireString& trailing, const AMFWireString&) {
    trailingBytes = trailing.length;
  }
  void beginMessages(std::uint32_t) {}
  void beginSection(const AMFWireSection&) {}
  void rawSection(const AMFWireString&, const AMFWireString&) {}
  void valuesEnd(const SectionTables&, std::size_t) {}
  void endSection() {}
  std::size_t trailingBytes = 0;
};

bool readsToTheEnd(const char* bytes, std::size_t size, const AMFWireReadOptions& options,
                   AMFWireForm form) {
  const ExternalClasses classes(options.externalClasses);
  EndSink sink;
  DocumentReader<EndSink> reader({bytes, &classes, options.limits.maxDepth}, sink, size, false);
  try {
    reader.read(form);
    return sink.trailingBytes == 0;
  } catch (const Failure&) {
    return false;
  }
}

bool startsWith(const char* bytes, std::size_t size, std::size_t at, const char* mark,
                std::size_t length) {
  return size >= at + length && std::memcmp(bytes + at, mark, length) == 0;
}

}  // namespace

void checkSize(std::size_t size, const AMFWireLimits& limits) {
  const std::size_t most = limits.maxPacketBytes < kMostBytes ? limits.maxPacketBytes : kMostBytes;
  if (size > most) throw packetTooLarge(most);
}

const char* notNull(const void* bytes) {
  return bytes == nullptr ? "" : static_cast<const char*>(bytes);
}

AMFWireForm formOf(const char* bytes, std::size_t size, const AMFWireReadOptions& options) {
  return options.form == AMFWireForm::automatic ? amfWireIdentify(bytes, size, options)
                                                : options.form;
}

}  // namespace amf2json::wire

using namespace amf2json::wire;

AMFWireResult amfWireRead(const void* bytes, std::size_t size, AMFWireSink& sink,
                          const AMFWireReadOptions& options) {
  try {
    checkSize(size, options.limits);
    const char* const begin = notNull(bytes);
    const ExternalClasses classes(options.externalClasses);
    DocumentReader<AMFWireSink> reader({begin, &classes, options.limits.maxDepth}, sink, size,
                                       options.salvage);
    reader.read(formOf(begin, size, options));
    return {};
  } catch (Failure& failure) {
    return resultOf(std::move(failure));
  }
}

AMFWireForm amfWireIdentify(const void* bytes, std::size_t size,
                            const AMFWireReadOptions& options) {
  const char* const begin = notNull(bytes);
  if (size > kMostBytes) return AMFWireForm::packet;
  if (startsWith(begin, size, 0, "FLV", 3)) return AMFWireForm::flv;
  if (startsWith(begin, size, 0, "\x00\xBF", 2) && startsWith(begin, size, 6, "TCSO", 4)) {
    return AMFWireForm::sharedObject;
  }
  if (size == 0) return AMFWireForm::packet;
  if (readsToTheEnd(begin, size, options, AMFWireForm::packet)) return AMFWireForm::packet;
  // A damaged packet must not be taken for a run of values. In AMF3 the version of a packet is
  // undefined and true; in AMF0 the version 3 is a number that does not occur in practice.
  const bool isLong = size >= 6;
  const bool version0 = isLong && startsWith(begin, size, 0, "\x00\x00", 2);
  const bool version3 = isLong && startsWith(begin, size, 0, "\x00\x03", 2);
  if (!version3 && readsToTheEnd(begin, size, options, AMFWireForm::amf0)) return AMFWireForm::amf0;
  if (version0 || version3) return AMFWireForm::packet;
  return readsToTheEnd(begin, size, options, AMFWireForm::amf3) ? AMFWireForm::amf3
                                                                : AMFWireForm::packet;
}
