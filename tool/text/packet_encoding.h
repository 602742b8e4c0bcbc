// SPDX-License-Identifier: Apache-2.0
//
// One line of --lines: packets in base64 and hexadecimal.
#ifndef AMF2JSON_TOOL_TEXT_PACKET_ENCODING_H
#define AMF2JSON_TOOL_TEXT_PACKET_ENCODING_H

#include <optional>
#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/problem.h"

// The packet that a line spells: base64 of either alphabet, with or without padding; or pairs of
// hexadecimal digits. No blanks. The offset of the problem counts in the line.
std::optional<Problem> decodePacketLine(std::string_view line, PacketEncoding form,
                                        std::string& bytes);

// The line for a packet, without its end: base64 with padding; lower-case digits.
std::string encodePacketLine(std::string_view bytes, PacketEncoding form);

#endif  // AMF2JSON_TOOL_TEXT_PACKET_ENCODING_H
