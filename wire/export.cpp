// SPDX-License-Identifier: Apache-2.0
//
// The public calls that read bytes: amfWireExport(), amfWireRead() and amfWireIdentify(). An export
// takes up to three passes over the input: facts, length, text. The length needs no pass if its
// bounds are close. Tested by tests/wire/.
#include <limits>

#include "wire/document_reader.h"
#include "wire/json_writer.h"
#include "wire/text_output.h"

namespace amf2json::wire {

namespace {

// Offsets in the input have 32 bits.
constexpr std::size_t kMostBytes = std::numeric_limits<std::uint32_t>::max() - 1;

Failure packetTooLarge(std::size_t limit) {
  return {AMFWireStatus::packetLimit, 0, "more than " + std::to_string(limit) + " bytes"};
}

Failure textTooLong(std::size_t offset, std::size_t limit) {
  return {AMFWireStatus::textLimit, offset,
          "the text is longer than " + std::to_string(limit) + " bytes"};
}

class Export {
 public:
  Export(const char* bytes, std::size_t count, const AMFWireExportOptions& with, AMFWireForm as)
      : options(with),
        form(as),
        classes(with.externalClasses),
        context{bytes, &classes, with.limits.maxDepth},
        size(count),
        facts(bytes, count, with.originals,
              std::uint64_t{with.limits.maxTextBytes} + count + kSmall),
        jsonOptions{bytes, with.originals, with.pretty} {}

  std::string text(AMFWireStatistics& statistics) {
    findFacts();
    if (isBoundClose()) {
      std::string json;
      if (write(json, static_cast<std::size_t>(facts.bound.most()), statistics)) return json;
      statistics = {};
      statistics.form = form;
    }
    std::string json;
    if (!write(json, findLength(), statistics)) {
      throw Failure{AMFWireStatus::malformed, 0, "the bytes changed while they were read"};
    }
    return json;
  }

 private:
  static constexpr std::uint64_t kSmall = 4096;

  void findFacts() {
    DocumentReader<Facts> reader(context, facts, size, options.salvage);
    facts.attach(reader.section());
    try {
      reader.read(form);
    } catch (const TextTooLong&) {
      facts.stopAt(size);
      findLength();  // finds the exact place
      throw textTooLong(reader.valueOffset(), options.limits.maxTextBytes);
    }
    facts.releaseTables();
  }

  // Whether the text may be written before its length is known.
  bool isBoundClose() const {
    return !jsonOptions.pretty && facts.bound.most() <= options.limits.maxTextBytes &&
           facts.bound.most() - facts.bound.least() <= size + kSmall;
  }

  // Returns false if the text is longer than `most`.
  bool write(std::string& json, std::size_t most, AMFWireStatistics& statistics) {
    json.resize(most);
    TextBuffer buffer(json.data(), most);
    JsonWriter<TextBuffer> writer(jsonOptions, facts, buffer, statistics);
    DocumentReader<JsonWriter<TextBuffer>> reader(context, writer, size, options.salvage);
    try {
      reader.read(form);
    } catch (const TextTooLong&) {
      return false;
    }
    json.resize(buffer.length());
    return true;
  }

  std::size_t findLength() {
    AMFWireStatistics unused;
    facts.texts.rewind();
    TextCounter counter(facts.texts, options.limits.maxTextBytes);
    JsonWriter<TextCounter> writer(jsonOptions, facts, counter, unused);
    DocumentReader<JsonWriter<TextCounter>> reader(context, writer, size, options.salvage);
    try {
      reader.read(form);
    } catch (const TextTooLong&) {
      throw textTooLong(reader.valueOffset(), options.limits.maxTextBytes);
    }
    return counter.length();
  }

  const AMFWireExportOptions& options;
  AMFWireForm form;
  ExternalClasses classes;
  ReadContext context;
  std::size_t size;
  Facts facts;
  JsonOptions jsonOptions;
};

void checkSize(std::size_t size, const AMFWireLimits& limits) {
  const std::size_t most = limits.maxPacketBytes < kMostBytes ? limits.maxPacketBytes : kMostBytes;
  if (size > most) throw packetTooLarge(most);
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

const char* notNull(const void* bytes) {
  return bytes == nullptr ? "" : static_cast<const char*>(bytes);
}

AMFWireForm formOf(const char* bytes, std::size_t size, const AMFWireReadOptions& options) {
  return options.form == AMFWireForm::automatic ? amfWireIdentify(bytes, size, options)
                                                : options.form;
}

}  // namespace

}  // namespace amf2json::wire

using namespace amf2json::wire;

AMFWireResult amfWireExport(const void* bytes, std::size_t size, std::string& json,
                            const AMFWireExportOptions& options, AMFWireStatistics* statistics) {
  try {
    checkSize(size, options.limits);
    const char* const begin = notNull(bytes);
    AMFWireStatistics figures;
    figures.form = formOf(begin, size, options);
    Export whole(begin, size, options, figures.form);
    std::string text = whole.text(figures);
    if (statistics != nullptr) *statistics = std::move(figures);
    json = std::move(text);
    return {};
  } catch (Failure& failure) {
    if (statistics != nullptr) *statistics = {};
    return resultOf(std::move(failure));
  }
}

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
