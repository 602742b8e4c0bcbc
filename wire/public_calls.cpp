// SPDX-License-Identifier: Apache-2.0
//
// The calls of the public header that neither read nor write: names of states, and the sink whose
// calls do nothing. Tested by tests/wire/hosts_test.cpp.
#include <cstring>

#include "AMFWire.h"

const char* describe(AMFWireForm form) noexcept {
  switch (form) {
    case AMFWireForm::automatic: return "automatic";
    case AMFWireForm::packet: return "packet";
    case AMFWireForm::amf0: return "amf0";
    case AMFWireForm::amf3: return "amf3";
    case AMFWireForm::sharedObject: return "sol";
    case AMFWireForm::flv: return "flv";
  }
  return "unknown";
}

const char* describe(AMFWireStatus status) noexcept {
  switch (status) {
    case AMFWireStatus::ok: return "ok";
    case AMFWireStatus::truncated: return "truncated";
    case AMFWireStatus::malformed: return "malformed";
    case AMFWireStatus::unknownExternal: return "unknown externalizable class";
    case AMFWireStatus::packetLimit: return "packet limit";
    case AMFWireStatus::depthLimit: return "depth limit";
    case AMFWireStatus::textLimit: return "text limit";
    case AMFWireStatus::flagLimit: return "flag limit";
    case AMFWireStatus::syntax: return "not JSON";
    case AMFWireStatus::content: return "not a document of this format";
    case AMFWireStatus::misuse: return "misuse";
  }
  return "unknown";
}

AMFWireString::AMFWireString(const char* text) : data(text), length(std::strlen(text)) {}

AMFWireNames::~AMFWireNames() = default;
AMFWireSink::~AMFWireSink() = default;

void AMFWireSink::beginDocument(const AMFWireDocument&) {}
void AMFWireSink::endDocument(const AMFWireString&, const AMFWireString&) {}
void AMFWireSink::beginMessages(std::uint32_t) {}
void AMFWireSink::beginSection(const AMFWireSection&) {}
void AMFWireSink::rawSection(const AMFWireString&, const AMFWireString&) {}
void AMFWireSink::endSection() {}
void AMFWireSink::undefined() {}
void AMFWireSink::null() {}
void AMFWireSink::unsupported() {}
void AMFWireSink::boolean(bool) {}
void AMFWireSink::integer(std::int32_t) {}
void AMFWireSink::number(double) {}
void AMFWireSink::string(const AMFWireString&) {}
void AMFWireSink::xmlDocument(const AMFWireString&) {}
void AMFWireSink::xml(const AMFWireString&) {}
void AMFWireSink::date(double, std::int16_t) {}
void AMFWireSink::byteArray(const AMFWireString&) {}
void AMFWireSink::reference(std::uint32_t) {}
void AMFWireSink::beginAmf3() {}
void AMFWireSink::endAmf3() {}
void AMFWireSink::beginArray(const AMFWireArray&) {}
void AMFWireSink::beginEcmaArray(std::uint32_t) {}
void AMFWireSink::beginObject(const AMFWireObject&) {}
void AMFWireSink::beginExternal(const AMFWireExternal&) {}
void AMFWireSink::beginVector(const AMFWireVector&) {}
void AMFWireSink::vectorItems(const char*, std::uint32_t) {}
void AMFWireSink::beginDictionary(std::uint32_t, bool) {}
void AMFWireSink::member(const AMFWireString&) {}
void AMFWireSink::denseItems() {}
void AMFWireSink::fieldGroup(const AMFWireFlags&) {}
void AMFWireSink::field(const AMFWireField&) {}
void AMFWireSink::end() {}
