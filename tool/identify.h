// SPDX-License-Identifier: Apache-2.0
//
// amf2json identify: what the bytes of a file are.
#ifndef AMF2JSON_TOOL_IDENTIFY_H
#define AMF2JSON_TOOL_IDENTIFY_H

#include <AMFGuard.h>

#include <string>
#include <string_view>

struct Identity {
  bool isKnown = false;
  std::string verdict;    // "gzip > AMF packet: version 3, 1 message, 54 bytes"
  std::string options{};  // that decode needs for these bytes, " --unwrap"; only with hasCommand
  std::string filter{};   // the command that repairs the bytes, to run in front of decode; or empty
  bool hasCommand = false;
};

// By looking inside: a packet or value is called one when the library can read all of it.
Identity identify(std::string_view bytes, const AMFVerifyLimits& limits);

// The command that shows what was identified in `file`; empty if there is none.
std::string commandFor(const Identity& identity, const std::string& file);

#endif  // AMF2JSON_TOOL_IDENTIFY_H
