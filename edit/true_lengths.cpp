// SPDX-License-Identifier: Apache-2.0
//
// Fills the length fields of a package. Enter at setTrueLengths(). Tested by tests/edit/edit_test.cpp.
#include <cstdint>
#include <new>
#include <vector>

#include "AMFEdit.h"

namespace {

constexpr std::uint64_t kMaxLength = 0xFFFFFFFEu;  // one more would mean: unknown

// Bytes around the values: u16 name length, name, u8 must-understand, u32 length.
std::uint64_t envelopeLength(const AMFHeader& header) {
  return 2 + std::uint64_t{header.name->length} + 1 + 4;
}

// u16 length and bytes of both URIs, u32 length.
std::uint64_t envelopeLength(const AMFMessage& message) {
  return 2 + std::uint64_t{message.targetUri->length} + 2 + message.responseUri->length + 4;
}

// Takes the pieces of one header or message, which are only counted.
std::uint32_t valueLength(AMFProtocol& scratch, std::uint64_t envelope) {
  std::uint64_t total = 0;
  for (const auto& piece : scratch.outputChunks) total += piece.length;
  scratch.clean();
  if (total - envelope > kMaxLength) throw std::bad_alloc();
  return static_cast<std::uint32_t>(total - envelope);
}

}  // namespace

void setTrueLengths(AMFPackage* package) {
  if (!package) return;
  AMFProtocol scratch;
  std::vector<std::uint32_t> lengths;
  for (std::uint32_t i = 0; i < package->headerCount; ++i) {
    const AMFHeader* const header = package->getHeader(i);
    scratch.setHeader(
        header);  // throws for null, a missing name, and what the value is refused for
    lengths.push_back(valueLength(scratch, envelopeLength(*header)));
  }
  const auto messageCount =
      static_cast<std::uint32_t>(package->children.size() - package->headerCount);
  for (std::uint32_t i = 0; i < messageCount; ++i) {
    const AMFMessage* const message = package->getMessage(i);
    scratch.setMessage(message);
    lengths.push_back(valueLength(scratch, envelopeLength(*message)));
  }

  // Nothing below throws.
  for (std::uint32_t i = 0; i < package->headerCount; ++i) {
    package->getHeader(i)->length = lengths[i];
  }
  for (std::uint32_t i = 0; i < messageCount; ++i) {
    package->getMessage(i)->length = lengths[package->headerCount + i];
  }
}
