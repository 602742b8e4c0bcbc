// SPDX-License-Identifier: Apache-2.0
//
// Tested by tests/tool/unwrap_test.cpp.
#include "tool/input/form.h"

#include <algorithm>
#include <limits>

std::string_view envelopeOf(Form form) {
  // version | no headers | one message: empty URIs, length unknown
  static constexpr char kAMF0[] = "\0\0\0\0\0\1\0\0\0\0\xFF\xFF\xFF\xFF";
  static constexpr char kAMF3[] = "\0\3\0\0\0\1\0\0\0\0\xFF\xFF\xFF\xFF\x11";
  switch (form) {
    case Form::amf0: return {kAMF0, sizeof kAMF0 - 1};
    case Form::amf3: return {kAMF3, sizeof kAMF3 - 1};
    default: return {};
  }
}

const char* nameOfValue(Form form) {
  return form == Form::amf0 ? "AMF0 value" : form == Form::amf3 ? "AMF3 value" : "";
}

const char* optionFor(Form form) {
  return form == Form::amf0 ? " --as amf0" : form == Form::amf3 ? " --as amf3" : "";
}

AMFVerifyLimits limitsFor(Form form, AMFVerifyLimits limits) {
  const std::size_t headroom = std::numeric_limits<std::size_t>::max() - limits.maxPacketBytes;
  limits.maxPacketBytes += std::min(envelopeOf(form).size(), headroom);
  return limits;
}

AMFVerifyResult verifyForm(std::string_view bytes, Form form, const AMFVerifyLimits& limits) {
  const std::string_view envelope = envelopeOf(form);
  if (envelope.empty()) return verifyPacket(bytes.data(), bytes.size(), limits);
  const std::string whole = std::string(envelope).append(bytes);
  AMFVerifyResult result = verifyPacket(whole.data(), whole.size(), limitsFor(form, limits));
  for (std::size_t* const at : {&result.offset, &result.consumed}) {
    *at -= std::min(*at, envelope.size());
  }
  return result;
}

bool hasPacketVersion(std::string_view bytes) {
  return bytes.size() >= 2 && bytes[0] == 0 && (bytes[1] == 0 || bytes[1] == 1 || bytes[1] == 3);
}

bool beginsPacket(std::string_view bytes, const AMFVerifyLimits& limits) {
  if (!hasPacketVersion(bytes)) return false;
  const AMFVerifyResult checked = verifyForm(bytes, Form::packet, limits);
  return checked.status == AMFVerifyStatus::ok && checked.headers + checked.messages > 0;
}
