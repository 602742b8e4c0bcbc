// SPDX-License-Identifier: Apache-2.0
//
// The error texts of the AMF reader. Tested by tests/wire/refusals_test.cpp.
#include "wire/amf_reader.h"
#include "wire/utf8.h"

namespace amf2json::wire {

namespace {

[[noreturn]] void fail(AMFWireStatus status, std::size_t offset, std::string message) {
  throw Failure{status, offset, std::move(message)};
}

// The name of a kind in the AMF3 object table, by its marker.
const char* kindOf(unsigned marker) {
  switch (marker) {
    case 0x07: return "an XML document";
    case 0x08: return "a date";
    case 0x09: return "an array";
    case 0x0A: return "an object";
    case 0x0B: return "an XML";
    case 0x0C: return "a byte array";
    case 0x0D: return "a vector of int";
    case 0x0E: return "a vector of uint";
    case 0x0F: return "a vector of double";
    case 0x10: return "a vector of objects";
    default: return "a dictionary";
  }
}

// An untrusted name in an error text: not too long, and UTF-8.
std::string quotedForMessage(const AMFWireString& name) {
  constexpr std::size_t kMost = 200;
  const std::size_t length = name.length < kMost ? name.length : kMost;
  const char* const end = firstNotUtf8(name.data, name.data + length);
  std::string text = "\"" + std::string(name.data, static_cast<std::size_t>(end - name.data));
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = '?';
  }
  return text + (static_cast<std::size_t>(end - name.data) < name.length ? "...\"" : "\"");
}

}  // namespace

std::string unknownExternal(const AMFWireString& className) {
  return "unknown externalizable class " + quotedForMessage(className);
}

void failTextTooLong() {
  throw TextTooLong{};
}

void failWith(AMFWireStatus status, std::size_t offset, const char* message) {
  fail(status, offset, message);
}

void failTruncated(std::size_t offset, const char* field, std::size_t needed,
                   std::size_t remaining) {
  fail(AMFWireStatus::truncated, offset,
       std::string("the bytes end in ") + field + ": expected " + std::to_string(needed) +
           (needed == 1 ? " byte" : " bytes") + ", found " + std::to_string(remaining));
}

void failMarker0(std::size_t offset, unsigned marker) {
  const char* const known = marker == 0x04   ? "movie clip (04) is reserved"
                            : marker == 0x0E ? "record set (0E) is reserved"
                            : marker == 0x09 ? "object end (09) where a value was expected"
                                             : nullptr;
  fail(AMFWireStatus::malformed, offset,
       known != nullptr ? known : "unknown AMF0 marker (" + hexByte(marker) + ")");
}

void failMarker3(std::size_t offset, unsigned marker) {
  fail(AMFWireStatus::malformed, offset, "unknown AMF3 marker (" + hexByte(marker) + ")");
}

void failIndex(std::size_t offset, const char* table, std::uint32_t index, std::size_t count) {
  fail(AMFWireStatus::malformed, offset,
       "reference to index " + std::to_string(index) + " of the " + table + ", which are " +
           std::to_string(count));
}

void failKind(std::size_t offset, std::uint32_t index, unsigned found, unsigned expected) {
  fail(AMFWireStatus::malformed, offset,
       "reference to index " + std::to_string(index) + ", which is " + kindOf(found) +
           ": expected " + kindOf(expected));
}

void failExternal(std::size_t offset, const AMFWireString& className) {
  fail(AMFWireStatus::unknownExternal, offset,
       unknownExternal(className) + ": how its body is read must be told");
}

void failDepth(std::size_t offset, std::uint32_t limit) {
  fail(AMFWireStatus::depthLimit, offset,
       "values inside one another are more than " + std::to_string(limit) + " levels deep");
}

}  // namespace amf2json::wire
