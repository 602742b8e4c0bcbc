// SPDX-License-Identifier: Apache-2.0
//
// JSON text to bytes. Tested by tests/wire/.
#include <optional>

#include "wire/json_place.h"
#include "wire/json_reader.h"

namespace amf2json::wire {

namespace {

// One level of values takes up to three levels of JSON: {"$members":[["name", ... The document
// around the values takes a few levels more.
constexpr std::size_t kLevelsEach = 3;
constexpr std::size_t kLevelsOfDocument = 8;

class Import {
 public:
  Import(const char* from, std::size_t count, const AMFWireImportOptions& with)
      : text(from), size(count), options(with), writer(with.limits.maxPacketBytes) {
    index.emplace();
  }

  AMFWireForm run() {
    try {
      index->read(text, size, kLevelsEach * options.limits.maxDepth + kLevelsOfDocument);
    } catch (const JsonFailure& failure) {
      // The index ends inside a value that is too deep. JsonReader finds the path of this value.
      if (failure.status == AMFWireStatus::depthLimit) readTooDeep();
      throw;
    }
    return read();
  }
  AMFWireResult failed(JsonFailure&& failure) const {
    return resultOf(std::move(failure), *index, text, size);
  }
  std::string takeBytes() {
    index.reset();
    return writer.output.size() == 0 ? std::string()
                                     : std::string(writer.output.data(), writer.output.size());
  }

 private:
  AMFWireForm read() {
    JsonReader reader(*index, options, writer);
    try {
      return reader.readDocument();
    } catch (const TooManyBytes&) {
      throw JsonFailure{AMFWireStatus::packetLimit, reader.current(), 0, 0,
                        "more than " + std::to_string(options.limits.maxPacketBytes) + " bytes"};
    } catch (const Unwritable& refused) {
      throw JsonFailure{AMFWireStatus::content, reader.current(), 0, 0, refused.message};
    }
  }
  void readTooDeep() {
    try {
      read();
    } catch (const JsonFailure& failure) {
      if (failure.status == AMFWireStatus::depthLimit) throw;
    }
  }

  const char* text;
  std::size_t size;
  const AMFWireImportOptions& options;
  std::optional<JsonIndex> index;
  AmfWriter writer;
};

AMFWireResult textTooLong(std::size_t limit) {
  AMFWireResult result;
  result.status = AMFWireStatus::textLimit;
  result.message = "the text is longer than " + std::to_string(limit) + " bytes";
  result.line = result.column = 1;
  return result;
}

}  // namespace

}  // namespace amf2json::wire

using namespace amf2json::wire;

AMFWireResult amfWireImport(const char* text, std::size_t size, std::string& bytes,
                            const AMFWireImportOptions& options, AMFWireForm* form) {
  constexpr std::size_t kMostText = 0xFFFFFF00u;  // offsets in the text have 32 bits
  const std::size_t most =
      options.limits.maxTextBytes < kMostText ? options.limits.maxTextBytes : kMostText;
  if (size > most) return textTooLong(most);
  Import whole(text, size, options);
  try {
    const AMFWireForm read = whole.run();
    bytes = whole.takeBytes();
    if (form != nullptr) *form = read;
    return {};
  } catch (JsonFailure& failure) {
    return whole.failed(std::move(failure));
  }
}
