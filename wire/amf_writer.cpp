// SPDX-License-Identifier: Apache-2.0
//
// The AMF writer: values. The inverse of amf0_reader.h and amf3_reader.h. Tested by
// tests/wire/rows_test.cpp.
#include "wire/amf_writer.h"

namespace amf2json::wire {

namespace {

constexpr std::uint64_t kU29End = std::uint64_t{1} << 29;

std::uint32_t length32(std::size_t length) {
  if (length > 0xFFFFFFFFu) throw Unwritable{"longer than AMF0 can write"};
  return static_cast<std::uint32_t>(length);
}

}  // namespace

void AmfWriter::writeU29(std::uint32_t value) {
  if (value < 0x80) return output.u8(value);
  writeLongU29(value);
}

void AmfWriter::writeLongU29(std::uint32_t value) {
  if (value >= kU29End) throw Unwritable{"more than AMF3 can count"};
  if (value < 0x4000) {
    output.u16((value << 1 & 0x7F00) | 0x8000 | (value & 0x7F));
  } else if (value < 0x200000) {
    output.u8(value >> 14 | 0x80);
    output.u16((value << 1 & 0x7F00) | 0x8000 | (value & 0x7F));
  } else {
    output.u8(value >> 22 | 0x80);
    output.u8((value >> 15 & 0x7F) | 0x80);
    output.u8((value >> 8 & 0x7F) | 0x80);
    output.u8(value & 0xFF);
  }
}

void AmfWriter::writeHead(std::uint64_t count) {
  if (count >= kU29End / 2) throw Unwritable{"longer than AMF3 can write"};
  writeU29(static_cast<std::uint32_t>(count) << 1 | 1);
}

void AmfWriter::writeString16(const AMFWireString& value) {
  if (value.length > 0xFFFF) throw Unwritable{"a name of more than 65535 bytes"};
  output.u16(static_cast<std::uint32_t>(value.length));
  output.bytes(value.data, value.length);
}

void AmfWriter::writeString3(const AMFWireString& value) {
  std::uint64_t hash = 0;
  if (value.length != 0 && section.stringReferences) {
    hash = index.hash(value);
    tables.base = output.data();
    const std::uint32_t entry = index.findString(value, hash);
    if (entry != kNotWritten) return writeU29(entry << 1);
  }
  const std::size_t begin = output.size();
  writeHead(value.length);
  if (value.length == 0) return;
  output.bytes(value.data, value.length);
  if (!section.stringReferences) return;
  tables.base = output.data();
  tables.strings.push(static_cast<std::uint32_t>(begin));
  index.addString(hash);
}

void AmfWriter::writeTraits(std::uint32_t head, const AMFWireString& className,
                            AMFWireNames* names) {
  std::uint64_t hash = 0;
  tables.base = output.data();
  if (section.traitsReferences) {
    if (index.isLastTraits(head, className, names)) return writeU29(index.lastTraits() << 2 | 1);
    hash = index.hashTraits(head, className, names);
    const std::uint32_t entry = index.findTraits(head, className, names, hash);
    if (entry != kNotWritten) return writeU29(entry << 2 | 1);
  }
  const std::size_t begin = output.size();
  writeU29(head);
  writeString3(className);
  if (names != nullptr) names->rewind();
  for (std::uint32_t remaining = head >> 4; remaining > 0; --remaining) writeString3(names->next());
  if (!section.traitsReferences) return;
  tables.base = output.data();
  tables.traits.push(static_cast<std::uint32_t>(begin));
  index.addTraits(hash);
}

void AmfWriter::text3(unsigned marker, const AMFWireString& value) {
  begin3(marker);
  writeHead(value.length);
  output.bytes(value.data, value.length);
}

void AmfWriter::boolean(bool value) {
  if (amf3) return output.u8(value ? 0x03 : 0x02);
  output.u16(value ? 0x0101 : 0x0100);
}

void AmfWriter::integer(std::int32_t value) {
  if (!section.integers) return number(value);
  output.u8(0x04);
  writeU29(static_cast<std::uint32_t>(value) & 0x1FFFFFFFu);
}

void AmfWriter::number(const double& value) {
  char* const to = output.add(9);
  *to = amf3 ? 0x05 : 0x00;
  storeU64(to + 1, bitsOf(value));
}

void AmfWriter::string(const AMFWireString& value) {
  if (amf3) {
    output.u8(0x06);
    return writeString3(value);
  }
  if (value.length <= 0xFFFF) {
    output.u8(0x02);
    return writeString16(value);
  }
  output.u8(0x0C);
  output.u32(length32(value.length));
  output.bytes(value.data, value.length);
}

void AmfWriter::xmlDocument(const AMFWireString& value) {
  if (amf3) return text3(0x07, value);
  output.u8(0x0F);
  output.u32(length32(value.length));
  output.bytes(value.data, value.length);
}

void AmfWriter::date(const double& timeMs, std::int16_t zone) {
  if (amf3) {
    begin3(0x08);
    writeU29(1);
  } else {
    output.u8(0x0B);
  }
  storeU64(output.add(8), bitsOf(timeMs));
  if (!amf3) output.u16(static_cast<std::uint16_t>(zone));
}

void AmfWriter::reference(std::uint32_t to) {
  if (amf3) {
    output.u8(tables.objects[to]);
    return writeU29(to << 1);
  }
  output.u8(0x07);
  output.u16(to);
}

void AmfWriter::beginAmf3() {
  output.u8(0x11);
  amf3 = true;
}

void AmfWriter::beginArray(const AMFWireArray& array) {
  push(Ending::none);
  if (!amf3) {
    ++tables.objects0;
    output.u8(0x0A);
    return output.u32(array.count);
  }
  begin3(0x09);
  writeHead(array.count);
  if (!array.hasMembers) writeU29(1);
}

void AmfWriter::beginEcmaArray(std::uint32_t declaredCount) {
  ++tables.objects0;
  output.u8(0x08);
  output.u32(declaredCount);
  push(Ending::members0);
}

void AmfWriter::beginObject(const AMFWireObject& object) {
  if (!amf3) {
    ++tables.objects0;
    output.u8(object.typed ? 0x10 : 0x03);
    if (object.typed) writeString16(object.className);
    return push(Ending::members0);
  }
  if (object.sealedCount >= kU29End >> 4) throw Unwritable{"more than AMF3 can count"};
  begin3(0x0A);
  const std::uint32_t dynamic = object.dynamic ? kTraitsDynamic : 0;
  writeTraits(object.sealedCount << 4 | dynamic | 3, object.className, object.names);
  push(object.dynamic ? Ending::members3 : Ending::none, object.sealedCount);
}

void AmfWriter::beginExternal(const AMFWireExternal& external) {
  begin3(0x0A);
  writeTraits(kTraitsExternal | (external.dynamic ? kTraitsDynamic : 0) | 3, external.className,
              nullptr);
  push(Ending::none);
}

void AmfWriter::beginVector(const AMFWireVector& vector) {
  static const std::uint8_t kMarkers[] = {0x0D, 0x0E, 0x0F, 0x10};
  begin3(kMarkers[static_cast<std::size_t>(vector.kind)]);
  writeHead(vector.count);
  output.u8(vector.fixed ? 1 : 0);
  if (vector.kind == AMFWireVectorKind::object) writeString3(vector.typeName);
  push(Ending::none);
  frames.back().itemSize = vector.kind == AMFWireVectorKind::float64 ? 8 : 4;
}

void AmfWriter::vectorItems(const char* items, std::uint32_t count) {
  output.bytes(items, std::size_t{count} * frames.back().itemSize);
}

void AmfWriter::beginDictionary(std::uint32_t count, bool weak) {
  begin3(0x11);
  writeHead(count);
  output.u8(weak ? 1 : 0);
  push(Ending::none);
}

void AmfWriter::member(const AMFWireString& name) {
  if (frames.empty()) beginEntry();
  if (!amf3) return writeString16(name);
  if (!frames.empty() && frames.back().remainingSealed > 0) {
    --frames.back().remainingSealed;
    return;
  }
  writeString3(name);
}

void AmfWriter::fieldGroup(const AMFWireFlags& flags) {
  std::size_t count = AMFWireLimits::kMaxFlagBytes;
  while (count > 1 && flags.bits[count - 1] == 0) --count;
  for (std::size_t i = 0; i < count; ++i) {
    output.u8(flags.bits[i] | (i + 1 < count ? 0x80u : 0u));
  }
}

void AmfWriter::end() {
  const Ending ending = frames.back().ending;
  frames.pop_back();
  if (ending == Ending::members3) return writeU29(1);
  if (ending == Ending::members0) output.bytes("\x00\x00\x09", 3);
}

}  // namespace amf2json::wire
