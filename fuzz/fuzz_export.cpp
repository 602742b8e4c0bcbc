// SPDX-License-Identifier: Apache-2.0
//
// Property: reading any bytes stays within its limits. What is exported is imported byte for byte,
// from compact and indented text, with salvage too; without originals as well, unless the
// statistics say otherwise; and a copy that the writer makes of the events reads to the
// same document.
//
// Input: a byte that chooses the form and salvage, the bytes.
#include <AMFWire.h>

#include "fuzz/input.h"

namespace {

using fuzz::require;

constexpr AMFWireForm kForms[] = {AMFWireForm::packet, AMFWireForm::amf0, AMFWireForm::amf3,
                                  AMFWireForm::sharedObject, AMFWireForm::flv};

std::string imported(const std::string& json) {
  std::string bytes;
  const AMFWireResult result = amfWireImport(json.data(), json.size(), bytes);
  if (!result.ok())
    std::fprintf(stderr, "%s\n%s: %s\n", json.c_str(), result.path.c_str(), result.message.c_str());
  require(result.ok(), "what was exported is imported");
  return bytes;
}

void checkExport(const fuzz::Exact& bytes, const std::string& own, AMFWireExportOptions options) {
  std::string json;
  AMFWireStatistics statistics;
  const AMFWireResult result =
      amfWireExport(bytes.data(), bytes.size(), json, options, &statistics);
  if (!result.ok()) {
    require(!result.message.empty() && result.offset <= bytes.size(), "an error has a place");
    return;
  }
  AMFWireExportOptions pretty = options;
  pretty.pretty = true;
  std::string indented;
  require(amfWireExport(bytes.data(), bytes.size(), indented, pretty).ok(), "indented too");
  if (options.form == AMFWireForm::flv) return;
  require(imported(json) == own, "the same bytes from compact text");
  require(imported(indented) == own, "the same bytes from indented text");
  AMFWireExportOptions values = options;
  values.originals = false;
  require(amfWireExport(bytes.data(), bytes.size(), json, values, &statistics).ok(),
          "values alone");
  require((imported(json) == own) == (statistics.changed == 0), "the statistics are right");
}

void checkCopy(const fuzz::Exact& bytes, const AMFWireReadOptions& options) {
  AMFWireWriter writer;
  if (!amfWireRead(bytes.data(), bytes.size(), writer, options).ok()) return;
  if (options.form == AMFWireForm::flv) return;
  std::string copy;
  require(writer.finish(copy).ok(), "the writer takes what the reader says");
  // The copy may be shorter; a shared object's size then says something else.
  if (options.form == AMFWireForm::sharedObject) return;
  AMFWireExportOptions values;
  values.form = options.form;
  values.salvage = options.salvage;
  std::string again;
  require(amfWireExport(copy.data(), copy.size(), again, values).ok(), "the copy reads");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::uint8_t choice = input.u8();
  AMFWireExportOptions options;
  options.form = kForms[choice % 5];
  options.salvage = choice >= 128;
  const std::string own = input.rest();
  const fuzz::Exact bytes(own);
  checkExport(bytes, own, options);
  checkCopy(bytes, options);
  return 0;
}
