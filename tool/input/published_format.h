// SPDX-License-Identifier: Apache-2.0
//
// What AMFWire reads. In builds without AMFWire it reads nothing.
#ifndef AMF2JSON_TOOL_INPUT_PUBLISHED_FORMAT_H
#define AMF2JSON_TOOL_INPUT_PUBLISHED_FORMAT_H

#include <AMFWire.h>

#include <string_view>

#include "tool/input/unwrap.h"

// Matches bytes that AMFWire reads, as matchForm() does for the dialect. `options` must outlive the
// matcher.
Matcher matchPublished(const AMFWireReadOptions& options);

// Whether AMFWire reads all of these bytes.
bool readsAsPublished(std::string_view bytes, AMFWireForm form);
// The same with these options; salvage counts as not read.
bool readsAsPublished(std::string_view bytes, const AMFWireReadOptions& options);

// Whether a text is a document of amf2json export.
bool isExportDocument(std::string_view text);

// Whether the first characters of a text, in lower case, are those of an HTTP archive: {"log":{
// with any white space.
bool isArchiveStart(std::string_view start);

// What the dialect reads in another way than the published format, in a packet that both read:
// "AMF0 references"; null if nothing. References are numbered by the start of objects in the
// published format and by their end in the dialect. AMF3 integers of four bytes differ in the last
// byte.
const char* dialectDifference(std::string_view packet);

#endif  // AMF2JSON_TOOL_INPUT_PUBLISHED_FORMAT_H
