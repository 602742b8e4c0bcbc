// SPDX-License-Identifier: Apache-2.0
//
// Predicts what any tree becomes when it is encoded and decoded, from the rules of the format,
// without encoding it: the refusal of the writer, or else the refusal of the reader, or else
// the tree that is read, with the names of what was lost. Where the bytes stop making sense to a
// reader, the reason is named and the rest is left open.
//
// Walks the tree in the order in which it is written, and fills the reader's tables.
#ifndef TESTS_SUPPORT_READING_MODEL_H
#define TESTS_SUPPORT_READING_MODEL_H

#include <AMF2JSON.h>

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace support {

struct Outcome {
  const char* writerRefusal = nullptr;
  const char* readerRefusal = nullptr;
  // Why a reader reads something else from the bytes, or refuses them.
  const char* derailed = nullptr;
  std::unique_ptr<AMFPackage> package;  // what is read when all three are null
  std::set<std::string> losses;         // by name; empty: the tree comes back as it is
};

class ReadingModel {
 public:
  static Outcome of(const AMFPackage& tree);

 private:
  struct Refused {
    const char* text;
  };
  using Node = std::unique_ptr<AMFNode>;
  using String = std::unique_ptr<AMFString>;
  using Pair = std::unique_ptr<AMFPair>;

  [[noreturn]] static void refuse(const char* text) { throw Refused{text}; }
  bool reading() const { return !outcome.readerRefusal && !outcome.derailed; }
  void readerRefuses(const char* text) {
    if (reading()) outcome.readerRefusal = text;
  }
  void derail(const char* why) {
    if (reading()) outcome.derailed = why;
  }
  void lose(bool condition, const char* what) {
    if (condition) outcome.losses.insert(what);
  }

  void package(const AMFPackage& tree);
  std::unique_ptr<AMFHeader> header(const AMFHeader* node);
  std::unique_ptr<AMFMessage> message(const AMFMessage* node);
  void begin();

  Node value(const AMFNode* node, AMFVersion place, bool readAsAmf3);
  void attributes(const AMFNode& node);

  Node value0(const AMFNode& node);
  Node reference0(const AMFNode& node);
  String name0(const AMFString* node, bool plain);
  void bytes(const AMFRaw& from, AMFRaw& to);
  Node xml0(const AMFXML& node);
  Pair pair0(const AMFPair& node);
  Node object0(const AMFObject& node);
  Node array0(const AMFArray& node);

  Node value3(const AMFNode& node);
  std::uint32_t number(std::uint32_t written, const char* drift);
  Node reference3(const AMFNode& node, const char* invalid, const char* otherKind,
                  const char* circular);
  Node integer3(const AMFInt& node);
  String string3(const AMFString* node);
  Node date3(const AMFDate& node);
  void inlineBytes(const AMFRaw& from, AMFRaw& to);
  Node xml3(const AMFXML& node);
  Node raw3(const AMFRaw& node);
  Pair pair3(const AMFPair& node);
  Node array3(const AMFArray& node);
  Node object3(const AMFObject& node);
  Node externalizable3(const AMFObject& node);
  void inlineTraits(const AMFObject& node, AMFObject& read);
  void takenTraits(const AMFObject& node, AMFObject& read);
  void members3(const AMFObject& node, AMFObject& read);

  Outcome outcome;
  // The reader's tables; not owned.
  std::vector<const AMFNode*> ended0;
  std::vector<const AMFString*> strings;
  std::vector<const AMFNode*> begun3;
  std::vector<const AMFObject*> traits3;
};

/// Sets what a comparison leaves aside: `complete` as a reader sets it, and no references on the
/// class name and the sealed names of objects that take them from a traits entry.
void normalise(AMFNode* node);

}  // namespace support

#endif  // TESTS_SUPPORT_READING_MODEL_H
