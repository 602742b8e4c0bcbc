// SPDX-License-Identifier: Apache-2.0
//
// What an export warns of. Shared with the WebAssembly module.
#ifndef AMF2JSON_TOOL_COMMANDS_EXPORT_WARNINGS_H
#define AMF2JSON_TOOL_COMMANDS_EXPORT_WARNINGS_H

#include <AMFWire.h>

#include <string>
#include <vector>

struct ExportWarning {
  enum Kind { trailingBytes, cutInput, wrongLengths, changedBytes, salvagedSections };
  Kind kind;
  std::string text;
};

std::vector<ExportWarning> exportWarnings(const AMFWireStatistics& statistics);

#endif  // AMF2JSON_TOOL_COMMANDS_EXPORT_WARNINGS_H
