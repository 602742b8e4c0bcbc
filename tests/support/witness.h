// SPDX-License-Identifier: Apache-2.0
//
// Nodes that note in a diary when they are cloned and deleted, and that can refuse to be cloned: what
// the ownership rules promise is seen from outside.
#ifndef TESTS_SUPPORT_WITNESS_H
#define TESTS_SUPPORT_WITNESS_H

#include <AMF2JSON.h>

#include <new>
#include <string>
#include <utility>

namespace support {

/// What happened to the witnesses, in order, each entry "+name" (cloned) or "-name" (deleted).
using Diary = std::string;

/// A null value with a name. Its clones are called name' and write to the same diary.
class Witness : public AMFNode {
 public:
  Witness(Diary& where, std::string called)
      : AMFNode(AMF_NULL, AMF_VERSION_0, nullptr), diary(&where), name(std::move(called)) {}
  Witness(const Witness& source) : AMFNode(source), diary(source.diary), name(source.name + "'") {
    *diary += "+" + source.name + " ";
  }
  ~Witness() override { *diary += "-" + name + " "; }
  Witness* clone() const override {
    if (refusesClone) throw std::bad_alloc();
    return new Witness(*this);
  }

  Diary* diary;
  std::string name;
  bool refusesClone = false;
};

/// A string that writes its deletion into the diary. (Copies of it are plain strings or silent.)
class WitnessString : public AMFString {
 public:
  WitnessString(Diary& where, std::string called)
      : AMFString(AMF_VERSION_0), diary(&where), name(std::move(called)) {}
  ~WitnessString() override { *diary += "-" + name + " "; }

  Diary* diary;
  std::string name;
};

/// A pair that writes its deletion into the diary.
class WitnessPair : public AMFPair {
 public:
  WitnessPair(Diary& where, std::string called)
      : AMFPair(AMF_VERSION_0), diary(&where), name_(std::move(called)) {}
  ~WitnessPair() override { *diary += "-" + name_ + " "; }

  Diary* diary;
  std::string name_;
};

}  // namespace support

#endif  // TESTS_SUPPORT_WITNESS_H
