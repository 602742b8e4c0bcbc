// SPDX-License-Identifier: Apache-2.0
//
// Packets as lines of base64 or hexadecimal digits, for --lines.
#ifndef AMF2JSON_TOOL_TEXT_PACKET_ENCODING_H
#define AMF2JSON_TOOL_TEXT_PACKET_ENCODING_H

#include <optional>
#include <string>
#include <string_view>

#include "tool/options.h"
#include "tool/problem.h"

// Decodes a line: base64 of either alphabet, with or without padding, or pairs of hexadecimal
// digits. Blanks are not allowed. The offset of the problem counts from the begin of the line.
std::optional<Problem> decodePacketLine(std::string_view line, PacketEncoding form,
                                        std::string& bytes);

// Encodes a packet, without a line feed: base64 with padding, or lower-case hexadecimal digits.
std::string encodePacketLine(std::string_view bytes, PacketEncoding form);

#endif  // AMF2JSON_TOOL_TEXT_PACKET_ENCODING_H
