// SPDX-License-Identifier: Apache-2.0
//
// The AMF3 values of random packets, with their three reference tables.
// Enter at PacketGenerator::value3().
#include <AMF2JSON.h>

#include <cstring>
#include <iterator>

#include "support/packet_generator.h"

namespace packets {
namespace {

constexpr std::uint32_t kLongestText = 2000000;

const char* externalClass(int which) {
  const char* const names[] = {cArrayClass, cObjProxyClass, cSerialProxy, cAsyncMsg,
                               cCommandMsg, cDataMsg,       cPagedMsg,    cUpdateCollectMsg};
  return names[which];
}

int externalIndex(const std::string& text) {
  for (int which = 0; which < 8; ++which)
    if (text == externalClass(which)) return which;
  return -1;
}

// The writer's four-byte form and its gap below 0x400000 are not what the reader reads: see
// AMFProtocol::setVLInteger.
bool readsBack(std::uint32_t value) {
  if (value < 0x200000) return true;
  return value >= 0x400000 && value < 0x20000000 && (value & 0x80) == 0;
}

}  // namespace

// ---- U29

// `high` in groups of seven bits, then the last byte as it is.
void PacketGenerator::u29Bytes(std::uint32_t high, unsigned last, unsigned count) {
  for (unsigned remaining = count - 1; remaining > 0; --remaining)
    u8((high >> (7 * (remaining - 1)) & 0x7F) | 0x80);
  u8(last);
}

// Mostly the shortest form, else any longer one: readers take all of them.
void PacketGenerator::u29(std::uint32_t value, Feature oneByte) {
  const unsigned least = value < 0x80 ? 1 : value < 0x4000 ? 2 : value < 0x200000 ? 3 : 4;
  const unsigned count = random.chance(880) ? least : least + random.below(5 - least);
  note(Feature(oneByte + count - 1));
  if (count < 4) return u29Bytes(value >> 7, value & 0x7F, count);
  // The fourth byte counts with its sign.
  const unsigned last = value & 0xFF;
  if (last >= 0x80) note(Feature(oneByte + 4));
  u29Bytes((value + (last >= 0x80 ? 256 - last : 0) - (last < 0x80 ? last : 0)) >> 8, last, 4);
}

PacketGenerator::Cost PacketGenerator::integer3() {
  const unsigned count = 1 + random.below(4);
  note(Feature(kInteger1 + count - 1));
  const std::uint32_t high = random.chance(100) ? 0 : random.below(1u << (7 * (count - 1)));
  unsigned last = random.below(count == 4 ? 256 : 128);
  if (last >= 0x80) note(kIntegerNegative4);
  u29Bytes(high, last, count);
  std::uint32_t value = (high << (count == 4 ? 8 : 7)) + last;
  if (last >= 0x80) value -= 256;
  if (value > 0x3FFFFFFF) packet.writable = false;
  if (!readsBack(value)) packet.returns = false;
  return {1, 0, false};
}

// ---- Values

PacketGenerator::Cost PacketGenerator::value3(unsigned depth) {
  static const unsigned leaves[] = {0x00, 0x01, 0x02, 0x03, 0x04, 0x04, 0x04, 0x05,
                                    0x06, 0x06, 0x06, 0x07, 0x08, 0x0B, 0x0C};
  const bool chain = depth < deepTarget && depth >= deepest;
  if (depth > deepest) deepest = depth;
  if (deepest >= 20) note(kDeep);
  const bool leaf = !chain && (valuesLeft == 0 || depth > 6 || random.chance(350));
  if (valuesLeft > 0) --valuesLeft;
  return leaf ? leaf3(leaves[random.below(std::size(leaves))])
              : container3(depth, random.chance(300) ? 0x09 : 0x0A);
}

PacketGenerator::Cost PacketGenerator::leaf3(unsigned marker) {
  note(Feature(kAmf3Marker00 + marker));
  u8(marker);
  switch (marker) {
    case 0x04: afterSwitch = false; return integer3();
    case 0x05:
      afterSwitch = false;
      f64(doubleBits());
      return {1, 0, false};
    case 0x06: return string3(kStringReferenceValue);
    case 0x08: return date3();
    case 0x07:
    case 0x0B:
    case 0x0C: return bytes3(marker);
    default: afterSwitch = false; return {1, 0, false};
  }
}

PacketGenerator::Cost PacketGenerator::container3(unsigned depth, unsigned marker) {
  note(Feature(kAmf3Marker00 + marker));
  u8(marker);
  return marker == 0x09 ? array3(depth) : object3(depth);
}

// A reference to the entry at `index` of the object table.
PacketGenerator::Cost PacketGenerator::reference3(std::size_t index) {
  const Entry& entry = objects[index];
  if (afterSwitch) note(kReferenceAfterSwitch);
  if (entry.switchNumber != switchNumber) note(kReferenceAcrossSwitches);
  if (index >= 64) note(index >= 8192 ? kIndexMinimal3 : kIndexMinimal2);
  afterSwitch = false;
  u29(static_cast<std::uint32_t>(index << 1), kIndex1);
  spent += entry.cost.weight();
  Cost cost = entry.cost;
  cost.referenced = true;
  return cost;
}

// Now and then a reference to a finished entry of that kind; false when an inline value is to
// follow.
bool PacketGenerator::reference3(Kind kind, Feature feature, Cost& cost) {
  if (objects.empty() || !random.chance(400)) return false;
  const std::size_t from = random.below(objects.size());
  for (std::size_t step = 0; step < objects.size() && step < 16; ++step) {
    const std::size_t index = (from + step) % objects.size();
    const Entry& entry = objects[index];
    const bool bothXml = kind == Kind::xml && entry.kind == Kind::xmlDocument;
    if ((entry.kind != kind && !bothXml) || !entry.complete || !fits(entry.cost)) continue;
    note(feature);
    cost = reference3(index);
    return true;
  }
  return false;
}

std::size_t PacketGenerator::addObject(Kind kind) {
  afterSwitch = false;
  objects.push_back({kind, false, Cost(), switchNumber});
  return objects.size() - 1;
}

// ---- Strings, bytes, dates

bool PacketGenerator::stringReference3(Feature feature, Cost& cost) {
  if (strings.empty() || !random.chance(350)) return false;
  const std::size_t index = random.below(strings.size());
  const StringEntry& entry = strings[index];
  cost = {1, entry.length, true};
  if (!fits(cost)) return false;
  note(feature);
  if (afterSwitch) note(kReferenceAfterSwitch);
  if (entry.switchNumber != switchNumber) note(kReferenceAcrossSwitches);
  afterSwitch = false;
  if (index >= 64) note(index >= 8192 ? kIndexMinimal3 : kIndexMinimal2);
  u29(static_cast<std::uint32_t>(index << 1), kIndex1);
  spent += cost.weight();
  return true;
}

PacketGenerator::Cost PacketGenerator::inlineString3(const std::string& bytes) {
  const auto length = static_cast<std::uint32_t>(bytes.size());
  if (!readsBack(length << 1 | 1)) packet.returns = false;
  u29(length << 1 | 1, kLength1);
  out += bytes;
  if (length > 0) strings.push_back({length, externalIndex(bytes), switchNumber});
  return {1, length, false};
}

PacketGenerator::Cost PacketGenerator::string3(Feature referenceFeature) {
  Cost cost;
  if (stringReference3(referenceFeature, cost)) return cost;
  afterSwitch = false;
  return inlineString3(anyText(kLongestText));
}

PacketGenerator::Cost PacketGenerator::name3(Feature referenceFeature, bool mayBeEmpty) {
  Cost cost;
  if (stringReference3(referenceFeature, cost)) return cost;
  const std::string bytes = name(kLongestText);
  if (bytes.empty() && referenceFeature == kStringReferenceSealed) note(kTraitsEmptyName);
  return inlineString3(bytes.empty() && !mayBeEmpty ? "n" : bytes);
}

PacketGenerator::Cost PacketGenerator::bytes3(unsigned marker) {
  const Kind kind = marker == 0x0C ? Kind::raw : marker == 0x07 ? Kind::xmlDocument : Kind::xml;
  Cost cost;
  if (kind == Kind::raw && reference3(kind, kRawReference, cost)) return cost;
  if (kind == Kind::xmlDocument && reference3(kind, kXmlReference, cost)) return cost;
  // Under 0B any XML entry will do; the copy keeps the form of its entry.
  if (kind == Kind::xml && reference3(kind, kXmlReferenceOtherMarker, cost)) return cost;
  const std::string bytes = anyText(kLongestText);
  const auto length = static_cast<std::uint32_t>(bytes.size());
  if (!readsBack(length << 1 | 1)) packet.returns = false;
  u29(length << 1 | 1, kLength1);
  out += bytes;
  Entry& entry = objects[addObject(kind)];
  entry.cost = {1, kind == Kind::raw ? length * 8 : length, false};  // a byte is up to 8 of text
  entry.complete = true;
  return entry.cost;
}

PacketGenerator::Cost PacketGenerator::date3() {
  Cost cost;
  if (reference3(Kind::date, kDateReference, cost)) return cost;
  // Readers look at the lowest bit only.
  u29(random.chance(700) ? 1 : random.below(0x8000000) << 1 | 1, kLength1);
  f64(dateBits());
  Entry& entry = objects[addObject(Kind::date)];
  entry.cost = {1, 0, false};
  entry.complete = true;
  return entry.cost;
}

// ---- Arrays

PacketGenerator::Cost PacketGenerator::array3(unsigned depth) {
  Cost cost;
  if (reference3(Kind::array, kArrayReference, cost)) return cost;
  if (wide != 0) return wideArray3();
  const std::uint32_t dense = childCount(depth);
  const std::uint32_t pairs = random.chance(500) ? 0 : childCount(depth);
  note(dense == 0 ? (pairs == 0 ? kArrayEmpty : kArrayAssociative)
                  : (pairs == 0 ? kArrayDense : kArrayMixed));
  const std::size_t index = addObject(Kind::array);
  u29(dense << 1 | 1, kCount1);
  cost = members3(depth, pairs);
  for (std::uint32_t remaining = dense; remaining > 0; --remaining) cost.add(value3(depth + 1));
  cost.nodes += 1;
  objects[index].cost = cost;
  objects[index].complete = true;
  return cost;
}

// Many empty byte arrays and dates, then a reference to one of them: indexes of more than one byte.
PacketGenerator::Cost PacketGenerator::wideArray3() {
  note(kWide);
  note(kArrayDense);
  const std::size_t index = addObject(Kind::array);
  const std::uint32_t count = wide;
  wide = 0;
  u29((count + 1) << 1 | 1, kCount1);
  u8(0x01);
  Cost cost{1 + count, 0, false};
  for (std::uint32_t remaining = count; remaining > 0; --remaining) {
    note(kAmf3Marker0C);
    u8(0x0C);
    u29(1, kLength1);
    Entry& entry = objects[addObject(Kind::raw)];
    entry.cost = {1, 0, false};
    entry.complete = true;
  }
  note(kRawReference);
  u8(0x0C);
  cost.add(reference3(objects.size() - 1 - random.below(30)));
  objects[index].cost = cost;
  objects[index].complete = true;
  return cost;
}

// Names and values up to the empty name.
PacketGenerator::Cost PacketGenerator::members3(unsigned depth, std::uint32_t count) {
  Cost cost;
  for (; count > 0; --count) {
    cost.add({1, 0, false});  // the pair
    cost.add(name3(kStringReferenceMember, false));
    cost.add(value3(depth + 1));
  }
  u29(1, kLength1);
  return cost;
}

// ---- Objects

PacketGenerator::Cost PacketGenerator::object3(unsigned depth) {
  Cost cost;
  if (reference3(Kind::object, kObjectReference, cost)) return cost;
  afterSwitch = false;
  std::size_t known = 0;
  if (pickTraits(known)) return knownTraits3(depth, known);
  return random.chance(300) ? external3(depth) : inlineTraits3(depth);
}

// An entry whose sealed names are all there: an externalizable one has a single unnamed member,
// once its body has been read, whatever its sealed count says.
bool PacketGenerator::pickTraits(std::size_t& index) {
  if (traits.empty() || !random.chance(350)) return false;
  index = random.below(traits.size());
  const Traits& entry = traits[index];
  if (!fits({2 + 2 * entry.sealedCount, entry.nameBytes, false})) return false;
  if (!entry.external || entry.sealedCount == 0) return true;
  return entry.sealedCount == 1 && objects[entry.object].complete;
}

PacketGenerator::Cost PacketGenerator::knownTraits3(unsigned depth, std::size_t traitsIndex) {
  const Traits known = traits[traitsIndex];
  note(kTraitsReference);
  if (!objects[known.object].complete) note(kTraitsReferenceOpen);
  if (known.external) note(kTraitsReferenceExternal);
  u29(static_cast<std::uint32_t>(traitsIndex << 2 | 1), kTraits1);
  const std::size_t index = addObject(Kind::object);
  // The object, its class name, and a pair and a name for each sealed member.
  Cost cost{2 + 2 * known.sealedCount, known.nameBytes, true};
  spent += cost.weight();
  cost.add(sealedValues3(depth, known.sealedCount));
  if (known.dynamic) cost.add(members3(depth, childCount(depth)));
  objects[index].cost = cost;
  objects[index].complete = true;
  return cost;
}

PacketGenerator::Cost PacketGenerator::sealedValues3(unsigned depth, std::uint32_t count) {
  Cost cost;
  for (; count > 0; --count) cost.add(value3(depth + 1));
  return cost;
}

PacketGenerator::Cost PacketGenerator::inlineTraits3(unsigned depth) {
  const std::uint32_t sealed = random.chance(400)  ? 0
                               : random.chance(40) ? 8 + random.below(8)
                                                   : childCount(depth);
  const bool dynamic = random.chance(500);
  note(sealed == 0 ? (dynamic ? kTraitsDynamic : kTraitsEmpty)
                   : (dynamic ? kTraitsSealedDynamic : kTraitsSealed));
  u29(sealed << 4 | (dynamic ? 0x0Bu : 0x03u), kTraits1);
  const std::size_t index = addObject(Kind::object);
  const bool anonymous = random.chance(400);
  if (anonymous) u29(1, kLength1);
  Cost names = anonymous ? Cost{1, 0, false} : name3(kStringReferenceClass, true);
  note(names.bytes == 0 ? kTraitsAnonymous : kTraitsTyped);
  for (std::uint32_t remaining = sealed; remaining > 0; --remaining) {
    names.add({1, 0, false});  // the pair
    names.add(name3(kStringReferenceSealed, true));
  }
  traits.push_back({index, sealed, dynamic, false, names.bytes});
  Cost cost{1, 0, false};
  cost.add(names);
  cost.add(sealedValues3(depth, sealed));
  if (dynamic) cost.add(members3(depth, childCount(depth)));
  objects[index].cost = cost;
  objects[index].complete = true;
  return cost;
}

// One of the eight accepted classes; its body is one value, kept in an unnamed pair.
PacketGenerator::Cost PacketGenerator::external3(unsigned depth) {
  const std::uint32_t sealed = random.chance(800) ? 0 : random.below(3);
  const bool dynamic = random.chance(100);
  if (sealed != 0 || dynamic) {
    note(kExternalBits);
    packet.returns = false;  // written back without them
  }
  u29(sealed << 4 | (dynamic ? 0x0Fu : 0x07u), kTraits1);
  const std::size_t index = addObject(Kind::object);
  const int which = static_cast<int>(random.below(8));
  note(Feature(kExternal0 + static_cast<unsigned>(which)));
  Cost cost{3, 0, false};  // the object, the pair, its empty name
  const Cost className = externalName3(which);
  cost.add(className);
  traits.push_back({index, sealed, dynamic, true, className.bytes});
  cost.add(value3(depth + 1));
  objects[index].cost = cost;
  objects[index].complete = true;
  return cost;
}

PacketGenerator::Cost PacketGenerator::externalName3(int which) {
  const std::string name = externalClass(which);
  for (std::size_t index = 0; index < strings.size() && index < 64; ++index) {
    if (strings[index].external != which) continue;
    note(kStringReferenceClass);
    u29(static_cast<std::uint32_t>(index << 1), kIndex1);
    return {1, name.size(), true};
  }
  return inlineString3(name);
}

}  // namespace packets
