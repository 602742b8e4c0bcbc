// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/export_test.cpp.
#include "tool/commands/export_warnings.h"

#include "tool/text/words.h"

namespace {

const char* lastItemOf(AMFWireForm form) {
  switch (form) {
    case AMFWireForm::amf0:
    case AMFWireForm::amf3: return "value";
    case AMFWireForm::sharedObject: return "entry";
    case AMFWireForm::flv: return "tag";
    default: return "message";
  }
}

}  // namespace

std::vector<ExportWarning> exportWarnings(const AMFWireStatistics& statistics) {
  std::vector<ExportWarning> warnings;
  const auto warn = [&](ExportWarning::Kind kind, std::string text) {
    warnings.push_back({kind, std::move(text)});
  };
  const std::string trailing = pluralize(statistics.trailingBytes, "byte");
  if (!statistics.trailingError.empty()) {
    warn(ExportWarning::cutInput,
         trailing + " kept as trailing bytes: " + statistics.trailingError);
  } else if (statistics.trailingBytes > 0) {
    warn(ExportWarning::trailingBytes,
         trailing + " left over after the last " + lastItemOf(statistics.form));
  }
  if (statistics.wrongLengths > 0) {
    warn(ExportWarning::wrongLengths,
         pluralize(statistics.wrongLengths, "length field lies", "length fields lie"));
  }
  if (statistics.changed > 0) {
    warn(ExportWarning::changedBytes, pluralize(statistics.changed, "section") +
                                          " will come back as other bytes, without originals");
  }
  if (statistics.salvaged > 0) {
    warn(ExportWarning::salvagedSections,
         pluralize(statistics.salvaged, "section") + " could not be read and kept as raw bytes");
  }
  return warnings;
}
