// SPDX-License-Identifier: Apache-2.0
//
// Bytes to JSON text: amfWireExport(). It takes up to three passes over the input: facts, length,
// text. The length needs no pass if its bounds are close. Tested by tests/wire/.
#include "wire/document_reader.h"
#include "wire/input.h"
#include "wire/json_writer.h"
#include "wire/text_output.h"

namespace amf2json::wire {

namespace {

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
