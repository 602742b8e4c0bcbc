// SPDX-License-Identifier: Apache-2.0
//
// What AMFWire makes of bytes. Where the program is built without it, nothing is ever read.
#ifndef AMF2JSON_TOOL_INPUT_PUBLISHED_FORMAT_H
#define AMF2JSON_TOOL_INPUT_PUBLISHED_FORMAT_H

#include <AMFWire.h>

#include <string_view>

#include "tool/input/unwrap.h"

// Wanted are bytes that AMFWire reads, as matchForm() for the dialect. `options` must outlive it.
Matcher matchPublished(const AMFWireReadOptions& options);

// Whether AMFWire reads bytes of this form to the last one.
bool readsAsPublished(std::string_view bytes, AMFWireForm form);

// Whether a text is a document that AMFWire writes as bytes.
bool isExportDocument(std::string_view text);

// What of a packet that both read the dialect reads as something else: "AMF0 references"; null
// where nothing was found. References count from where objects begin, here from where they end; an
// AMF3 integer of four bytes differs in its last byte.
const char* dialectDifference(std::string_view packet);

#endif  // AMF2JSON_TOOL_INPUT_PUBLISHED_FORMAT_H
