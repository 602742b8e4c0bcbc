// SPDX-License-Identifier: Apache-2.0
//
// amf2json decode: one packet in, one view of it out.
#ifndef AMF2JSON_TOOL_DECODE_H
#define AMF2JSON_TOOL_DECODE_H

#include <AMFGuard.h>

#include <string>

#include "tool/outcome.h"

enum class View { json, js, both, script };

struct DecodeOptions {
  View view = View::json;
  bool compact = false;
  std::string output = "-";
  std::string packet = "-";
  AMFVerifyLimits limits;
};

// Refusals and file failures are reported, not thrown.
ExitCode decode(const DecodeOptions& options);

#endif  // AMF2JSON_TOOL_DECODE_H
