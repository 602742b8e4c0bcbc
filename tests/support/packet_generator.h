// SPDX-License-Identifier: Apache-2.0
//
// Random well-formed packets: the generator knows the grammar and keeps the reference tables just
// as a reader does, so that every packet it makes is accepted to its last byte. Enter at
// PacketGenerator::next(). Used by random_packets.cpp, threads_test.cpp and allocation_test.cpp.
#ifndef TESTS_SUPPORT_PACKET_GENERATOR_H
#define TESTS_SUPPORT_PACKET_GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/packet_features.h"
#include "support/random.h"

namespace packets {

struct Packet {
  std::string bytes;
  std::uint64_t nodes = 0;  // all nodes of the tree, copies made by references included
  // The tables as the last header or message leaves them.
  std::size_t amf0References = 0;
  std::size_t amf3StringReferences = 0;
  std::size_t amf3ObjectReferences = 0;
  std::size_t amf3TraitReferences = 0;
  bool writable = true;  // no integer is too large for the writer
  bool returns = true;   // what the writer makes of the tree reads back as the same tree
  FeatureSet features;
};

class PacketGenerator {
 public:
  // One seed, one packet sequence.
  explicit PacketGenerator(std::uint64_t seed);
  const Packet& next();

 private:
  // The size of a value after its references are replaced by copies.
  struct Cost {
    std::uint64_t nodes = 0;
    std::uint64_t bytes = 0;
    bool referenced = false;  // contains a reference
    void add(const Cost& part);
    std::uint64_t weight() const { return nodes * 64 + bytes; }
  };
  enum class Kind { xmlDocument, xml, date, raw, array, object, ecma, strict };
  struct Entry {
    Kind kind;
    bool complete;
    Cost cost;
    unsigned switchNumber;
  };
  struct StringEntry {
    std::uint32_t length;
    int external;  // which externalizable class name it is; -1: none
    unsigned switchNumber;
  };
  struct Traits {
    std::size_t object;  // index of its object in `objects`
    std::uint32_t sealedCount;
    bool dynamic;
    bool external;
    std::uint64_t nameBytes;  // class name and sealed names
  };

  // Envelope.
  void plan();
  std::uint32_t packetVersion();
  void section(bool header);
  void mustUnderstand();
  void declaredLength(std::size_t at, std::size_t length);
  void body();
  void emptyTables();

  // AMF0 values.
  Cost value0(unsigned depth);
  Cost leaf0(unsigned marker);
  Cost container0(unsigned depth, unsigned marker);
  Cost object0(unsigned depth, bool typed);
  Cost array0(unsigned depth, bool strict);
  Cost members0(unsigned depth, std::uint32_t count);
  void endMark0();
  Cost reference0();
  Cost switched(unsigned depth);

  // AMF3 values.
  Cost value3(unsigned depth);
  Cost leaf3(unsigned marker);
  Cost container3(unsigned depth, unsigned marker);
  Cost integer3();
  Cost string3(Feature referenceFeature);
  Cost name3(Feature referenceFeature, bool mayBeEmpty);
  Cost inlineString3(const std::string& bytes);
  bool stringReference3(Feature feature, Cost& cost);
  Cost bytes3(unsigned marker);
  Cost date3();
  Cost array3(unsigned depth);
  Cost members3(unsigned depth, std::uint32_t count);
  Cost object3(unsigned depth);
  Cost knownTraits3(unsigned depth, std::size_t traitsIndex);
  Cost inlineTraits3(unsigned depth);
  Cost external3(unsigned depth);
  Cost externalName3(int which);
  Cost sealedValues3(unsigned depth, std::uint32_t count);
  Cost wideArray3();
  Cost reference3(std::size_t index);
  bool reference3(Kind kind, Feature feature, Cost& cost);
  std::size_t addObject(Kind kind);
  bool pickTraits(std::size_t& index);

  // Parts.
  void u8(unsigned value) { out.push_back(static_cast<char>(value)); }
  void u16(std::uint32_t value);
  void u32(std::uint32_t value);
  void f64(std::uint64_t bits);
  void u29(std::uint32_t value, Feature oneByte);
  void u29Bytes(std::uint32_t high, unsigned last, unsigned count);
  std::string text(std::uint32_t length);
  std::string anyText(std::uint32_t longest);
  std::uint32_t textLength(std::uint32_t longest);
  std::string name(std::uint32_t longest);
  void string0(const std::string& bytes);
  std::uint64_t doubleBits();
  std::uint64_t dateBits();
  std::uint32_t childCount(unsigned depth);
  bool fits(const Cost& cost) const { return spent + cost.weight() < kMostWeight; }
  void note(Feature feature) { packet.features.set(feature); }
  void noteLength(std::size_t length);

  static constexpr std::uint64_t kMostWeight = 48000;  // of all references of one packet

  Random random;
  Packet packet;
  std::string& out;
  std::uint64_t spent = 0;       // weight of the copies that references made so far
  std::uint32_t valuesLeft = 0;  // values that may still be begun, chains and wide arrays apart
  std::uint32_t longLength = 0;  // a length to be used once in this packet; 0: none (left)
  unsigned deepest = 0;          // deepest level of this body so far
  unsigned deepTarget = 0;       // a chain is continued to this level
  bool afterSwitch = false;      // the switch marker has just been written
  std::uint32_t wide = 0;        // elements of the wide array to be written once; 0: none (left)
  unsigned switchNumber = 0;     // switches to AMF3 in this body so far

  std::vector<Entry> entries0;  // the AMF0 reference table
  std::vector<StringEntry> strings;
  std::vector<Entry> objects;
  std::vector<Traits> traits;
};

}  // namespace packets

#endif  // TESTS_SUPPORT_PACKET_GENERATOR_H
