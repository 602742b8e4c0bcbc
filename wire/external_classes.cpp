// SPDX-License-Identifier: Apache-2.0
//
// The tables of externalizable classes. Tested by tests/wire/hosts_test.cpp.
#include "wire/external_classes.h"

#include <cstring>

namespace amf2json::wire {

namespace {

struct BuiltIn {
  const char* name;
  ExternalBody body;
};

constexpr ExternalBody kOneValue{1, 0, false};
constexpr ExternalBody kAsync{0, 2, false};
constexpr ExternalBody kCommand{0, 3, true};
constexpr ExternalBody kAcknowledge{0, 3, false};

const BuiltIn kBuiltIn[] = {
    {"flex.messaging.io.ArrayCollection", kOneValue},
    {"flex.messaging.io.ArrayList", kOneValue},
    {"flex.messaging.io.ObjectProxy", kOneValue},
    {"flex.messaging.io.SerializationProxy", kOneValue},
    {"mx.collections.ArrayCollection", kOneValue},
    {"mx.collections.ArrayList", kOneValue},
    {"mx.utils.ObjectProxy", kOneValue},
    {"DSA", kAsync},
    {"flex.messaging.messages.AsyncMessageExt", kAsync},
    {"DSC", kCommand},
    {"flex.messaging.messages.CommandMessageExt", kCommand},
    {"DSK", kAcknowledge},
    {"flex.messaging.messages.AcknowledgeMessageExt", kAcknowledge},
};

const char* const kBodyFields[] = {"body",      "clientId",  "destination", "headers",
                                   "messageId", "timestamp", "timeToLive"};
const char* const kIdFields[] = {"clientIdBytes", "messageIdBytes"};
const char* const kCorrelationFields[] = {"correlationId", "correlationIdBytes"};

}  // namespace

bool sameText(const AMFWireString& a, const char* b) {
  return a.length == std::strlen(b) && std::memcmp(a.data, b, a.length) == 0;
}

bool ExternalClasses::find(const AMFWireString& name, ExternalBody& body) const {
  for (const AMFWireExternalClass& host : *hostClasses) {
    if (host.name.size() == name.length &&
        std::memcmp(host.name.data(), name.data, name.length) == 0) {
      body = ExternalBody{host.values, 0, false};
      return true;
    }
  }
  for (const BuiltIn& known : kBuiltIn) {
    if (!sameText(name, known.name)) continue;
    body = known.body;
    return true;
  }
  return false;
}

const char* fieldName(const ExternalBody& body, std::uint32_t group, std::uint32_t byte,
                      std::uint32_t bit) {
  if (group == 0 && byte == 0 && bit < 7) return kBodyFields[bit];
  if (group == 0 && byte == 1 && bit < 2) return kIdFields[bit];
  if (group == 1 && byte == 0 && bit < 2) return kCorrelationFields[bit];
  if (group == 2 && byte == 0 && bit == 0 && body.command) return "operation";
  return nullptr;
}

}  // namespace amf2json::wire
