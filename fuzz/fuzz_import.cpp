// SPDX-License-Identifier: Apache-2.0
//
// Property: importing any text stays within its limits, and an error has a line and a
// column. Bytes that were imported export to a document that imports to them.
//
// Input: the text.
#include <AMFWire.h>

#include "fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using fuzz::require;
  fuzz::Input input(data, size);
  const fuzz::Exact text(input.rest());
  std::string bytes;
  AMFWireExportOptions options;
  const AMFWireResult result = amfWireImport(text.data(), text.size(), bytes, {}, &options.form);
  if (!result.ok()) {
    require(result.line >= 1 && result.column >= 1 && !result.message.empty(),
            "an error has a place");
    return 0;
  }
  std::string json;
  const AMFWireResult exported = amfWireExport(bytes.data(), bytes.size(), json, options);
  // Raw bytes need not read as a section, and trailing bytes may read as values.
  if (!exported.ok()) return 0;
  std::string again;
  require(amfWireImport(json.data(), json.size(), again).ok(), "what was exported is imported");
  require(again == bytes, "the same bytes");
  return 0;
}
