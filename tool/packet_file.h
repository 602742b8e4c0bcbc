// SPDX-License-Identifier: Apache-2.0
//
// Files of the program: packets come in, texts go out. "-" is standard input or standard output.
#ifndef AMF2JSON_TOOL_PACKET_FILE_H
#define AMF2JSON_TOOL_PACKET_FILE_H

#include <AMFGuard.h>

#include <AMF2JSON>
#include <string>
#include <vector>

#include "tool/outcome.h"

// All bytes of `file`. Throws FileFailure.
std::vector<char> readPacket(const std::string& file);

// Checks `packet`, then decodes it into `protocol`. Throws Refusal. The one place where packet
// bytes meet the readers, which believe every length: nothing gets there unchecked.
void decodePacket(AMFProtocol& protocol, const std::vector<char>& packet,
                  const AMFVerifyLimits& limits);

// Writes `text` to `file`: into a new file beside it that takes its name once it is complete. What
// is not a regular file is written in place. A reader that closed its pipe is no failure. Throws
// FileFailure.
void writeText(const std::string& file, const std::string& text);

#endif  // AMF2JSON_TOOL_PACKET_FILE_H
