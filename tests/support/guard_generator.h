// SPDX-License-Identifier: Apache-2.0
//
// Packets for the differential test of the guard: a grammar that keeps the tables of a reader, so
// that most references have a target, and sometimes makes each of the mistakes that readers refuse;
// then it may damage the finished bytes. The packets are small: hundreds of thousands a second.
// Used by guard_diff.cpp.
#ifndef TESTS_SUPPORT_GUARD_GENERATOR_H
#define TESTS_SUPPORT_GUARD_GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/random.h"

namespace support {

/// The same numbers, generated faster.
class Dice : public packets::Random {
 public:
  using packets::Random::Random;
  /// 0 to count - 1.
  std::uint32_t below(std::uint32_t count) {
    return static_cast<std::uint32_t>((next() >> 32) * count >> 32);
  }
  bool oneIn(std::uint32_t count) { return below(count) == 0; }
};

class GuardGenerator {
 public:
  explicit GuardGenerator(std::uint64_t seed) : dice(seed) {}

  /// A packet, three of four damaged. Valid until the next call.
  const std::string& next() {
    packet();
    switch (dice.below(4)) {
      case 0: break;
      case 1: changeBytes(); break;
      case 2: out.resize(dice.below(static_cast<std::uint32_t>(out.size()) + 1)); break;
      default: insertOrDelete();
    }
    return out;
  }

 private:
  enum Kind : std::uint8_t { xml, date, raw, array, object };
  struct Entry {
    Kind kind;
    bool complete;
  };
  struct Traits {
    std::uint32_t sealedCount;
    bool dynamic;
    bool external;
  };

  void packet() {
    out.clear();
    valuesLeft = 4 + dice.below(40);
    u16(dice.oneIn(4) ? dice.below(0x10000) : dice.below(2) * 3);
    const std::uint32_t headers = dice.oneIn(5) ? dice.below(3) : 0;
    u16(headers);
    for (std::uint32_t i = 0; i < headers; ++i) section(true);
    const std::uint32_t messages = dice.oneIn(5) ? dice.below(4) : 1;
    u16(messages);
    for (std::uint32_t i = 0; i < messages; ++i) section(false);
    if (dice.oneIn(20)) out.append(dice.below(9), '\x05');
  }

  void section(bool header) {
    count0 = 0;
    strings.clear();
    objects.clear();
    traits.clear();
    shortText();
    if (header) u8(dice.below(3));
    if (!header) shortText();
    const std::size_t lengthAt = out.size();
    u32(0xFFFFFFFF);
    if (dice.oneIn(40)) {
      u8(9);
    } else {
      body0();
    }
    if (dice.oneIn(2)) {
      const std::uint32_t length =
          static_cast<std::uint32_t>(out.size() - lengthAt - 4) + dice.below(8) / 7;
      for (std::size_t i = 0; i < 4; ++i) {
        out[lengthAt + i] = static_cast<char>(length >> (24 - 8 * i) & 0xFF);
      }
    }
  }

  // ---- AMF0

  // Mostly something that holds values.
  void body0() {
    switch (dice.below(8)) {
      case 0: return object0(0, dice.oneIn(2));
      case 1:
      case 2:
      case 3: return array0(0, !dice.oneIn(4));
      case 4:
      case 5: u8(0x11); return array3(0);
      case 6: u8(0x11); return object3(0);
      default: return value0(0);
    }
  }

  // An AMF3 value in an AMF0 place: often a reference to what stands in the places before.
  void switched(std::uint32_t depth) {
    u8(0x11);
    if (!strings.empty() && dice.oneIn(2)) {
      u8(0x06);
      return string3();
    }
    if (!objects.empty() && dice.oneIn(2)) {
      return reference3(objects[dice.below(static_cast<std::uint32_t>(objects.size()))].kind);
    }
    value3(depth);
  }

  void value0(std::uint32_t depth) {
    const bool leaf = depth >= 6 || valuesLeft == 0;
    if (valuesLeft > 0) --valuesLeft;
    if (dice.oneIn(400)) return u8(dice.below(256));
    switch (dice.below(leaf ? 10 : 20)) {
      case 0: u8(0x00); return bytes(8);
      case 1: u8(0x01); return u8(dice.below(3));
      case 2: u8(0x02); return shortText();
      case 3: u8(0x0C); return longText();
      case 4: u8(0x0F); return longText();
      case 5: return u8(0x05 + dice.below(2));
      case 6: u8(0x0B); return bytes(10);
      case 7:
      case 8: return reference0();
      case 9: u8(0x11); return value3(depth);
      case 10:
      case 11: return object0(depth, false);
      case 12: return object0(depth, true);
      case 13: return array0(depth, true);
      case 14: return array0(depth, false);
      default: u8(0x11); return value3(depth);
    }
  }

  void reference0() {
    if (count0 == 0 && !dice.oneIn(50)) return u8(0x05);
    u8(0x07);
    u16(count0 > 0 && !dice.oneIn(60) ? dice.below(count0) : count0 + dice.below(3));
  }

  void object0(std::uint32_t depth, bool typed) {
    u8(typed ? 0x10 : 0x03);
    if (typed) shortText();
    for (std::uint32_t remaining = dice.below(4); remaining > 0; --remaining) {
      shortText();
      value0(depth + 1);
    }
    dice.oneIn(10) ? shortText() : u16(0);
    u8(0x09);
    ++count0;
  }

  void array0(std::uint32_t depth, bool strict) {
    const std::uint32_t count = depth == 0 ? 1 + dice.below(7) : dice.below(5);
    const bool allSwitched = dice.oneIn(3);
    u8(strict ? 0x0A : 0x08);
    u32(dice.oneIn(100) ? count + dice.below(3) : count);
    for (std::uint32_t remaining = count; remaining > 0; --remaining) {
      if (!strict) shortText();
      if (dice.oneIn(150)) {
        u8(0x09);
      } else if (allSwitched) {
        switched(depth + 1);
      } else {
        value0(depth + 1);
      }
    }
    ++count0;
  }

  // ---- AMF3

  void value3(std::uint32_t depth) {
    const bool leaf = depth >= 6 || valuesLeft == 0;
    if (valuesLeft > 0) --valuesLeft;
    if (dice.oneIn(400)) return u8(dice.below(256));
    switch (dice.below(leaf ? 11 : 20)) {
      case 0:
      case 1: return u8(dice.below(4));
      case 2: u8(0x04); return anyU29();
      case 3: u8(0x05); return bytes(8);
      case 4:
      case 5: u8(0x06); return string3();
      case 6: return leaf3(xml, dice.oneIn(2) ? 0x07 : 0x0B);
      case 7: return leaf3(date, 0x08);
      case 8: return leaf3(raw, 0x0C);
      case 9: return reference3(array);
      case 10: return reference3(object);
      case 11:
      case 12:
      case 13: return array3(depth);
      case 14: return externalizable3(depth);
      default: return object3(depth);
    }
  }

  void string3() {
    if (!strings.empty() && dice.oneIn(2)) {
      const auto known = static_cast<std::uint32_t>(strings.size());
      return u29((dice.oneIn(40) ? known + dice.below(3) : dice.below(known)) << 1);
    }
    if (dice.oneIn(150)) return u29(static_cast<std::uint32_t>(strings.size()) << 1);
    name3(dice.oneIn(8) ? 0 : 1 + dice.below(3));
  }

  void name3(std::uint32_t length) {
    u29(length << 1 | 1);
    bytes(length);
    if (length > 0) strings.push_back(out.substr(out.size() - length));
  }

  void memberName3() {
    if (!strings.empty() && dice.oneIn(2)) return string3();
    name3(1 + dice.below(3));
  }

  void leaf3(Kind kind, std::uint32_t marker) {
    if (dice.oneIn(3)) return reference3(kind);
    u8(marker);
    if (kind == date) {
      u29(dice.below(100) << 1 | 1);
      bytes(8);
    } else {
      const std::uint32_t length = dice.below(5);
      u29(length << 1 | 1);
      bytes(length);
    }
    objects.push_back({kind, true});
  }

  void reference3(Kind kind) {
    static const std::uint8_t kMarkers[] = {0x07, 0x08, 0x0C, 0x09, 0x0A};
    const auto known = static_cast<std::uint32_t>(objects.size());
    const bool anyIndex = dice.oneIn(30);
    std::uint32_t index = known > 0 && anyIndex ? dice.below(known) : known;
    if (known > 0 && !anyIndex) {
      const std::uint32_t start = dice.below(known);
      for (std::uint32_t i = 0; i < known && index == known; ++i) {
        const Entry& entry = objects[(start + i) % known];
        if (entry.kind == kind && (entry.complete || dice.oneIn(60))) index = (start + i) % known;
      }
    }
    if (index == known && !dice.oneIn(60)) return u8(0x01);  // nothing to refer to
    u8(kMarkers[kind]);
    u29(index << 1);
  }

  void array3(std::uint32_t depth) {
    const std::uint32_t count = dice.below(4);
    u8(0x09);
    u29(count << 1 | 1);
    const std::size_t entry = objects.size();
    objects.push_back({array, false});
    if (dice.oneIn(3)) members3(depth);
    u8(0x01);
    for (std::uint32_t remaining = count; remaining > 0; --remaining) value3(depth + 1);
    objects[entry].complete = true;
  }

  void members3(std::uint32_t depth) {
    for (std::uint32_t remaining = dice.below(3); remaining > 0; --remaining) {
      memberName3();
      value3(depth + 1);
    }
  }

  void object3(std::uint32_t depth) {
    u8(0x0A);
    const auto known = static_cast<std::uint32_t>(traits.size());
    Traits own{dice.below(4), dice.oneIn(2), false};
    const bool referenced = known > 0 ? dice.oneIn(2) : dice.oneIn(100);
    if (referenced) {
      const std::uint32_t index = known == 0 || dice.oneIn(50) ? known : dice.below(known);
      u29(index << 2 | 1);
      if (index < known) own = traits[index];
    } else {
      u29(own.sealedCount << 4 | (own.dynamic ? 8 : 0) | 3);
    }
    const std::size_t entry = objects.size();
    objects.push_back({object, false});
    if (!referenced) {
      string3();
      for (std::uint32_t remaining = own.sealedCount; remaining > 0; --remaining) string3();
      traits.push_back(own);
    }
    for (std::uint32_t remaining = own.sealedCount; remaining > 0; --remaining) value3(depth + 1);
    if (own.dynamic) {
      members3(depth);
      u8(0x01);
    }
    objects[entry].complete = true;
  }

  void externalizable3(std::uint32_t depth) {
    static const char* const kNames[] = {"E", "Ex", "mx.utils.ObjectProxy",
                                         "flex.data.messages.DataMessageExt"};
    const Traits own{dice.below(10) < 9 ? dice.below(2) : 2, dice.oneIn(2), true};
    u8(0x0A);
    u29(own.sealedCount << 4 | (own.dynamic ? 8 : 0) | 7);
    const std::size_t entry = objects.size();
    objects.push_back({object, false});
    const std::string name = dice.oneIn(40) ? "e" : kNames[dice.below(dice.oneIn(20) ? 4 : 2)];
    std::size_t known = 0;
    while (known < strings.size() && strings[known] != name) ++known;
    if (known < strings.size()) {
      u29(static_cast<std::uint32_t>(known) << 1);
    } else {
      u29(static_cast<std::uint32_t>(name.size()) << 1 | 1);
      out += name;
      strings.push_back(name);
    }
    traits.push_back(own);
    value3(depth + 1);
    objects[entry].complete = true;
  }

  // ---- Damage

  void changeBytes() {
    static const std::uint8_t kTelling[] = {0x00, 0x01, 0x02, 0x03, 0x05, 0x06, 0x07, 0x08, 0x09,
                                            0x0A, 0x0B, 0x0C, 0x0F, 0x11, 0x7F, 0x80, 0x81, 0xFF};
    for (std::uint32_t remaining = 1 + dice.below(3); remaining > 0; --remaining) {
      char& byte = out[dice.below(static_cast<std::uint32_t>(out.size()))];
      byte = static_cast<char>(dice.oneIn(2) ? kTelling[dice.below(sizeof kTelling)]
                                             : dice.below(256));
    }
  }

  void insertOrDelete() {
    for (std::uint32_t remaining = 1 + dice.below(2); remaining > 0; --remaining) {
      const std::size_t at = dice.below(static_cast<std::uint32_t>(out.size()));
      if (dice.oneIn(2)) {
        out.insert(at, 1 + dice.below(3), static_cast<char>(dice.below(256)));
      } else {
        out.erase(at, 1 + dice.below(3));
      }
      if (out.empty()) return;
    }
  }

  // ---- Parts

  void u8(std::uint32_t value) { out.push_back(static_cast<char>(value)); }
  void u16(std::uint32_t value) {
    u8(value >> 8 & 0xFF);
    u8(value & 0xFF);
  }
  void u32(std::uint32_t value) {
    u16(value >> 16);
    u16(value & 0xFFFF);
  }
  void u29(std::uint32_t value) {
    if (value >= 0x4000) u8(0x80 | (value >> 14 & 0x7F));
    if (value >= 0x80 || dice.oneIn(100)) u8(0x80 | (value >> 7 & 0x7F));
    u8(value & 0x7F);
  }
  void anyU29() {
    for (std::uint32_t more = dice.below(4); more > 0; --more) u8(0x80 | dice.below(128));
    u8(dice.below(128));
  }
  void bytes(std::uint32_t count) {
    for (; count > 0; --count) u8('a' + dice.below(4));
  }
  void shortText() {
    const std::uint32_t length = dice.below(3);
    u16(length);
    bytes(length);
  }
  void longText() {
    const std::uint32_t length = dice.below(40) == 0 ? dice.below(300) : dice.below(6);
    u32(length);
    bytes(length);
  }

  Dice dice;
  std::string out;
  std::uint32_t valuesLeft = 0;
  std::uint32_t count0 = 0;  // entries in the AMF0 table
  std::vector<std::string> strings;
  std::vector<Entry> objects;
  std::vector<Traits> traits;
};

}  // namespace support

#endif  // TESTS_SUPPORT_GUARD_GENERATOR_H
