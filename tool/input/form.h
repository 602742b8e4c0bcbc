// SPDX-License-Identifier: Apache-2.0
//
// Packets, and single values without a packet. A value is checked and decoded inside an envelope:
// one message without URIs, length unknown.
#ifndef AMF2JSON_TOOL_INPUT_FORM_H
#define AMF2JSON_TOOL_INPUT_FORM_H

#include <AMFGuard.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "tool/options.h"

// "AMF0 value"; empty for a packet.
const char* nameOfValue(Form form);
// The option for this form, " --as amf0"; empty for a packet.
const char* optionFor(Form form);

// The envelope: bytes that make a packet of a value that follows them. Empty for a packet.
std::string_view envelopeOf(Form form);

// Adds the size of the envelope to the packet limit.
AMFVerifyLimits limitsFor(Form form, AMFVerifyLimits limits);

// Checks `bytes` of this form. Offset and consumed do not count the envelope.
AMFVerifyResult verifyForm(std::string_view bytes, Form form, const AMFVerifyLimits& limits);

// Whether the bytes begin with a version that clients write: 0, 1 (from a media server) or 3.
bool hasPacketVersion(std::string_view bytes);

// Whether the bytes begin with a packet that is not empty.
bool beginsPacket(std::string_view bytes, const AMFVerifyLimits& limits);

#endif  // AMF2JSON_TOOL_INPUT_FORM_H
