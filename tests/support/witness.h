// SPDX-License-Identifier: Apache-2.0
//
// Nodes that record in a log when they are cloned and deleted, and that can refuse to be cloned: what
// the ownership rules promise is seen from outside.
#ifndef TESTS_SUPPORT_WITNESS_H
#define TESTS_SUPPORT_WITNESS_H

#include <AMF2JSON.h>

#include <new>
#include <string>
#include <utility>

namespace support {

/// What happened to the witnesses, in order, each entry "+name" (cloned) or "-name" (deleted).
using EventLog = std::string;

/// A null value with a name. Its clones are called name' and write to the same log.
class Witness : public AMFNode {
 public:
  Witness(EventLog& to, std::string called)
      : AMFNode(AMF_NULL, AMF_VERSION_0, nullptr), eventLog(&to), name(std::move(called)) {}
  Witness(const Witness& source)
      : AMFNode(source), eventLog(source.eventLog), name(source.name + "'") {
    *eventLog += "+" + source.name + " ";
  }
  ~Witness() override { *eventLog += "-" + name + " "; }
  Witness* clone() const override {
    if (refusesClone) throw std::bad_alloc();
    return new Witness(*this);
  }

  EventLog* eventLog;
  std::string name;
  bool refusesClone = false;
};

/// A string that writes its deletion to the log. (Copies of it are plain strings or silent.)
class WitnessString : public AMFString {
 public:
  WitnessString(EventLog& to, std::string called)
      : AMFString(AMF_VERSION_0), eventLog(&to), name(std::move(called)) {}
  ~WitnessString() override { *eventLog += "-" + name + " "; }

  EventLog* eventLog;
  std::string name;
};

/// A pair that writes its deletion to the log.
class WitnessPair : public AMFPair {
 public:
  WitnessPair(EventLog& to, std::string called)
      : AMFPair(AMF_VERSION_0), eventLog(&to), name_(std::move(called)) {}
  ~WitnessPair() override { *eventLog += "-" + name_ + " "; }

  EventLog* eventLog;
  std::string name_;
};

}  // namespace support

#endif  // TESTS_SUPPORT_WITNESS_H
