// SPDX-License-Identifier: Apache-2.0
//
// amf2json export --as har: a document for each AMF body of an archive.
#ifndef AMF2JSON_TOOL_COMMANDS_EXPORT_HAR_H
#define AMF2JSON_TOOL_COMMANDS_EXPORT_HAR_H

#include <functional>
#include <string>

#include "tool/command.h"

// Exports bytes; throws Problem for those that are refused.
using ExportBytes = std::function<FileResult(const std::string& bytes)>;

// The text is one document for each body, in the order of the archive, with `source`. Where a body
// cannot be exported the document has `source` and `error` instead. The first 20 problems are
// reported, the others are counted. `archive` is the text of the file, and is overwritten;
// `exportBytes` returns a document with a line end. Throws Problem if the text is not an archive.
FileResult exportHar(std::string& archive, const Options& options, const AMFWireReadOptions& read,
                     const ExportBytes& exportBytes);

#endif  // AMF2JSON_TOOL_COMMANDS_EXPORT_HAR_H
