// SPDX-License-Identifier: Apache-2.0
//
// amf2json roundtrip: decodes packets, encodes them again and compares the bytes.
#ifndef AMF2JSON_TOOL_ROUNDTRIP_H
#define AMF2JSON_TOOL_ROUNDTRIP_H

#include <AMFGuard.h>

#include <string>
#include <vector>

#include "tool/outcome.h"

// Writes one line per file to standard output; returns the worst outcome of all files.
ExitCode roundtrip(const std::vector<std::string>& files, const AMFVerifyLimits& limits);

#endif  // AMF2JSON_TOOL_ROUNDTRIP_H
