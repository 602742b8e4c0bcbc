// SPDX-License-Identifier: Apache-2.0
//
// The envelope, the parts (numbers, lengths, texts) and the AMF0 values of random packets.
// Enter at PacketGenerator::next(). The AMF3 values are in packet_generator_amf3.cpp.
#include "support/packet_generator.h"

#include <cstring>
#include <iterator>

namespace packets {
namespace {

constexpr std::uint32_t kNoLength = 0xFFFFFFFFu;
constexpr unsigned kSwitchToAmf3 = 0x11;

// Lengths on both sides of the steps of every length field and of the script pieces.
constexpr std::uint32_t kShortSteps[] = {0, 63, 64, 127, 128, 399, 400};
constexpr std::uint32_t kLongSteps[] = {8191, 8192, 16383, 16384, 65535, 65536};
constexpr std::uint32_t kHugeSteps[] = {1048575, 1048576};

const char* const kWords[] = {"a",     "id",    "name",  "value",     "total", "x",
                              "owner", "items", "label", "timestamp", "flags", "_v"};

std::uint64_t bitsOf(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

}  // namespace

PacketGenerator::PacketGenerator(std::uint64_t seed) : random(seed), out(packet.bytes) {}

void PacketGenerator::Cost::add(const Cost& part) {
  nodes += part.nodes;
  bytes += part.bytes;
  referenced = referenced || part.referenced;
}

// ---- Envelope

// Decides what is the same for the whole packet: its size and the rare things in it.
void PacketGenerator::plan() {
  packet.bytes.clear();
  packet.nodes = 1;
  packet.writable = packet.returns = true;
  packet.features.reset();
  spent = 0;
  valuesLeft = 4 + random.below(20);
  longLength = 0;
  if (random.chance(130)) longLength = kLongSteps[random.below(std::size(kLongSteps))];
  if (random.below(16000) == 0) longLength = kHugeSteps[random.below(std::size(kHugeSteps))];
  deepest = 0;
  deepTarget = random.chance(50) ? 20 + random.below(20) : 0;
  wide = random.chance(60) ? 100 + random.below(60) : 0;
  if (random.below(16000) == 0) wide = 8200 + random.below(300);
}

const Packet& PacketGenerator::next() {
  plan();
  emptyTables();
  u16(packetVersion());
  const unsigned headers = random.chance(500) ? 0 : random.below(4);
  u16(headers);
  note(Feature(kHeaders0 + headers));
  for (unsigned remaining = headers; remaining > 0; --remaining) section(true);
  const unsigned messages = random.chance(600) ? 1 : random.below(5);
  u16(messages);
  note(Feature(kMessages0 + messages));
  for (unsigned remaining = messages; remaining > 0; --remaining) section(false);
  packet.amf0References = entries0.size();
  packet.amf3StringReferences = strings.size();
  packet.amf3ObjectReferences = objects.size();
  packet.amf3TraitReferences = traits.size();
  return packet;
}

std::uint32_t PacketGenerator::packetVersion() {
  const unsigned draw = random.below(20);
  if (draw == 0) {
    note(kVersionOther);
    return 4 + random.below(65532);
  }
  note(draw < 11 ? kVersion0 : kVersion3);
  return draw < 11 ? 0 : 3;
}

void PacketGenerator::emptyTables() {
  entries0.clear();
  strings.clear();
  objects.clear();
  traits.clear();
  switchNumber = 0;
}

// A header or a message, its length filled in afterwards.
void PacketGenerator::section(bool header) {
  emptyTables();
  string0(name(65535));
  if (header) {
    mustUnderstand();
  } else {
    string0(name(65535));
  }
  packet.nodes += header ? 2 : 3;
  const std::size_t lengthAt = out.size();
  u32(kNoLength);
  body();
  declaredLength(lengthAt, out.size() - lengthAt - 4);
}

void PacketGenerator::mustUnderstand() {
  const unsigned draw = random.below(3);
  note(Feature(kMustUnderstand00 + draw));
  u8(draw < 2 ? draw : 2 + random.below(254));
}

// Readers keep the declared length and never use it, so it may say anything.
void PacketGenerator::declaredLength(std::size_t at, std::size_t length) {
  const unsigned draw = random.below(4);
  note(draw < 2 ? kLengthExact : draw == 2 ? kLengthUnknown : kLengthWrong);
  if (draw == 2) return;
  const std::uint64_t declared = draw < 2 ? length : random.below(kNoLength);
  for (unsigned i = 0; i < 4; ++i) out[at + i] = static_cast<char>(declared >> (24 - 8 * i) & 0xFF);
}

void PacketGenerator::body() {
  if (random.chance(25)) {
    note(kBodyEndMark);
    note(kAmf0Marker09);
    u8(0x09);
    packet.nodes += 1;  // the default undefined stays
    return;
  }
  deepest = 0;
  packet.nodes += value0(1).nodes;
}

// ---- Parts

void PacketGenerator::u16(std::uint32_t value) {
  u8(value >> 8 & 0xFF);
  u8(value & 0xFF);
}

void PacketGenerator::u32(std::uint32_t value) {
  u16(value >> 16);
  u16(value & 0xFFFF);
}

void PacketGenerator::f64(std::uint64_t bits) {
  u32(static_cast<std::uint32_t>(bits >> 32));
  u32(static_cast<std::uint32_t>(bits));
}

std::uint64_t PacketGenerator::doubleBits() {
  const unsigned kind = random.below(12);
  note(Feature(kind < 9 ? kDoubleOrdinary + kind : +kDoubleOrdinary));
  switch (kind) {
    case 1: return random.chance(500) ? 0 : bitsOf(-0.0);
    case 2: return 0x7FF8000000000000u;
    case 3: return 0xFFF0000000000001u + (random.next() >> 13);
    case 4: return 0x7FF0000000000000u;
    case 5: return 0xFFF0000000000000u;
    case 6: return random.next() >> 12;
    case 7: return 0x7E40000000000000u + (random.next() >> 14);
    case 8: return random.next();
    default: return bitsOf((static_cast<double>(random.below(2000000)) - 1e6) / 64);
  }
}

std::uint64_t PacketGenerator::dateBits() {
  const unsigned kind = random.below(6);
  note(Feature(kind < 4 ? kDateOrdinary + kind : +kDateOrdinary));
  const double within = static_cast<double>(random.below(4102444800u));  // seconds up to 2100
  switch (kind) {
    case 1: return bitsOf(-within * 1e3 - 1);
    case 2: return bitsOf(253402300800e3 + within * 1e6);
    case 3: return doubleBits();
    default: return bitsOf(within * 1e3 + random.below(1000));
  }
}

void PacketGenerator::noteLength(std::size_t length) {
  static const std::uint32_t lengths[] = {0,    63,    64,    127,   128,   399,     400,    8191,
                                          8192, 16383, 16384, 65535, 65536, 1048575, 1048576};
  for (unsigned i = 0; i < std::size(lengths); ++i)
    if (length == lengths[i]) note(Feature(kBytes0 + i));
}

std::uint32_t PacketGenerator::textLength(std::uint32_t longest) {
  if (longLength != 0 && longLength <= longest && random.chance(700)) {
    const std::uint32_t length = longLength;
    longLength = 0;
    return length;
  }
  if (random.chance(150)) return kShortSteps[random.below(std::size(kShortSteps))];
  return 1 + random.below(random.chance(100) ? 500 : 20);
}

// A block of up to 64 bytes of one character, repeated: long texts are made quickly.
std::string PacketGenerator::text(std::uint32_t length) {
  static const char* const alphabets[] = {"\"\\'\"\\ab\"",
                                          "\0\1\b\t\n\f\r\x1F"
                                          "ab",
                                          "/**/ab*/c/*",
                                          "\xC3\xA9\xE2\x82\xAC"
                                          "a"};
  static const unsigned sizes[] = {8, 10, 11, 6};
  const unsigned kind = random.below(8);
  if (kind < 5 && length > 0) note(Feature(kTextQuotes + kind));
  std::string block;
  for (std::uint32_t remaining = length < 64 ? length : 64; remaining > 0; --remaining) {
    block += kind < 4    ? alphabets[kind][random.below(sizes[kind])]
             : kind == 4 ? random.byte()
                         : static_cast<char>('a' + random.below(26));
  }
  std::string whole;
  while (whole.size() < length) whole.append(block, 0, length - whole.size());
  return whole;
}

std::string PacketGenerator::anyText(std::uint32_t longest) {
  const std::uint32_t length = textLength(longest);
  noteLength(length);
  return text(length);
}

std::string PacketGenerator::name(std::uint32_t longest) {
  const unsigned draw = random.below(40);
  if (draw == 0) return std::string();
  return draw < 36 ? kWords[random.below(std::size(kWords))] : anyText(longest);
}

void PacketGenerator::string0(const std::string& bytes) {
  u16(static_cast<std::uint32_t>(bytes.size()));
  out += bytes;
}

// How many children the value at `depth` gets.
std::uint32_t PacketGenerator::childCount(unsigned depth) {
  if (depth < deepTarget && depth >= deepest) return 1 + random.below(2);
  if (valuesLeft == 0 || depth > 6) return random.below(2);
  return random.chance(150) ? 0 : 1 + random.below(4);
}

// ---- AMF0 values

PacketGenerator::Cost PacketGenerator::value0(unsigned depth) {
  static const unsigned leaves[] = {0x00, 0x00, 0x01, 0x02, 0x02, 0x05, 0x06,
                                    0x0B, 0x0C, 0x0F, 0x07, 0x07, 0x07};
  static const unsigned containers[] = {0x03, 0x03, 0x08, 0x08, 0x0A, 0x0A, 0x10,
                                        0x11, 0x11, 0x11, 0x11, 0x11, 0x11};
  const bool chain = depth < deepTarget && depth >= deepest;
  if (depth > deepest) deepest = depth;
  if (deepest >= 20) note(kDeep);
  const bool leaf = !chain && (valuesLeft == 0 || depth > 6 || random.chance(300));
  if (valuesLeft > 0) --valuesLeft;
  return leaf ? leaf0(leaves[random.below(std::size(leaves))])
              : container0(depth, containers[random.below(std::size(containers))]);
}

PacketGenerator::Cost PacketGenerator::container0(unsigned depth, unsigned marker) {
  switch (marker) {
    case 0x03: return object0(depth, false);
    case 0x10: return object0(depth, true);
    case 0x08: return array0(depth, false);
    case 0x0A: return array0(depth, true);
    default: return switched(depth);
  }
}

PacketGenerator::Cost PacketGenerator::leaf0(unsigned marker) {
  static const Feature features[] = {kAmf0Marker00, kAmf0Marker01, kAmf0Marker02, kAmf0Marker03,
                                     kFeatureCount, kAmf0Marker05, kAmf0Marker06, kAmf0Marker07,
                                     kAmf0Marker08, kAmf0Marker09, kAmf0Marker0A, kAmf0Marker0B,
                                     kAmf0Marker0C, kFeatureCount, kFeatureCount, kAmf0Marker0F};
  if (marker == 0x07) return reference0();
  note(features[marker]);
  u8(marker);
  Cost cost{1, 0, false};
  if (marker == 0x00) f64(doubleBits());
  if (marker == 0x01) {
    const unsigned draw = random.below(4);
    if (draw > 1) note(kAmf0BoolOther);
    u8(draw < 2 ? draw : 2 + random.below(254));
  }
  if (marker == 0x02 || marker == 0x0C || marker == 0x0F) {
    const std::string bytes = anyText(marker == 0x02 ? 65535 : 2000000);
    if (marker != 0x02) u16(static_cast<std::uint32_t>(bytes.size() >> 16));
    string0(bytes.size() < 65536 ? bytes : std::string());
    if (bytes.size() >= 65536) {
      out.resize(out.size() - 2);
      u16(bytes.size() & 0xFFFF);
      out += bytes;
    }
    cost.bytes = bytes.size();
  }
  if (marker == 0x0B) {
    f64(dateBits());
    const bool zone = random.chance(500);
    if (zone) note(kAmf0ZoneNotZero);
    u16(zone ? 1 + random.below(65535) : 0);
  }
  return cost;
}

PacketGenerator::Cost PacketGenerator::object0(unsigned depth, bool typed) {
  note(typed ? kAmf0Marker10 : kAmf0Marker03);
  u8(typed ? 0x10 : 0x03);
  Cost cost{2, 0, false};  // the object and its class name
  if (typed) {
    const std::string className = random.chance(100) ? std::string() : name(65535);
    if (className.empty()) note(kAmf0EmptyClassName);
    string0(className);
    cost.bytes += className.size();
  }
  const std::uint32_t count = childCount(depth);
  if (count == 0) note(kAmf0EmptyObject);
  cost.add(members0(depth, count));
  endMark0();
  entries0.push_back({Kind::object, true, cost, switchNumber});
  return cost;
}

void PacketGenerator::endMark0() {
  const bool named = random.chance(100);
  note(kAmf0Marker09);
  if (named) note(kAmf0EndMarkNamed);
  string0(named ? name(400) : std::string());
  u8(0x09);
}

PacketGenerator::Cost PacketGenerator::members0(unsigned depth, std::uint32_t count) {
  Cost cost;
  for (; count > 0; --count) {
    const std::string memberName = name(65535);
    string0(memberName);
    cost.add({2, memberName.size(), false});  // the pair and its name
    cost.add(value0(depth + 1));
  }
  return cost;
}

PacketGenerator::Cost PacketGenerator::array0(unsigned depth, bool strict) {
  note(strict ? kAmf0Marker0A : kAmf0Marker08);
  u8(strict ? 0x0A : 0x08);
  const std::uint32_t count = childCount(depth);
  if (count == 0) note(kAmf0EmptyArray);
  u32(count);
  Cost cost{1, 0, false};
  if (strict) {
    for (std::uint32_t remaining = count; remaining > 0; --remaining) cost.add(value0(depth + 1));
  } else {
    cost.add(members0(depth, count));
  }
  entries0.push_back({strict ? Kind::strict : Kind::ecma, true, cost, switchNumber});
  return cost;
}

// A reference to a finished object or array that fits the packet; else a null.
PacketGenerator::Cost PacketGenerator::reference0() {
  if (entries0.empty()) return leaf0(0x05);
  const std::uint32_t index = random.below(entries0.size());
  const Entry& entry = entries0[index];
  if (!fits(entry.cost)) return leaf0(0x05);
  note(kAmf0Marker07);
  note(entry.kind == Kind::object ? kAmf0ObjectReference
       : entry.kind == Kind::ecma ? kAmf0EcmaReference
                                  : kAmf0StrictReference);
  if (entry.cost.referenced) note(kAmf0NestedReference);
  u8(0x07);
  u16(index);
  spent += entry.cost.weight();
  Cost cost = entry.cost;
  cost.referenced = true;
  return cost;
}

PacketGenerator::Cost PacketGenerator::switched(unsigned depth) {
  note(kAmf0Marker11);
  u8(kSwitchToAmf3);
  ++switchNumber;
  afterSwitch = true;
  return value3(depth);
}

}  // namespace packets
