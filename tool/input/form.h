// SPDX-License-Identifier: Apache-2.0
//
// What the bytes of a file are: a packet, or a value alone. A value is checked and decoded inside
// of an envelope made for it: one message without URIs, length unknown.
#ifndef AMF2JSON_TOOL_INPUT_FORM_H
#define AMF2JSON_TOOL_INPUT_FORM_H

#include <AMFGuard.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "tool/options.h"

// "AMF0 value"; of a packet, nothing.
const char* nameOfValue(Form form);
// " --as amf0", what is to be typed for it; empty for a packet.
const char* optionFor(Form form);

// What stands in front of a value of this form to make it a packet; empty for a packet.
std::string_view envelopeOf(Form form);

// The limits for `bytes` behind their envelope: it does not count.
AMFVerifyLimits limitsFor(Form form, AMFVerifyLimits limits);

// The check of `bytes` of this form; offset and consumed count from their beginning.
AMFVerifyResult verifyForm(std::string_view bytes, Form form, const AMFVerifyLimits& limits);

// The versions of packets that clients write: 0, 1 (from a media server) and 3.
bool hasPacketVersion(std::string_view bytes);

// Whether bytes that follow a packet begin with another one that holds something.
bool beginsPacket(std::string_view bytes, const AMFVerifyLimits& limits);

#endif  // AMF2JSON_TOOL_INPUT_FORM_H
