// SPDX-License-Identifier: Apache-2.0
//
// The bodies of externalizable classes: a number of values, or the flagged fields of a small
// message. Tested by tests/wire/hosts_test.cpp.
#ifndef WIRE_EXTERNAL_CLASSES_H
#define WIRE_EXTERNAL_CLASSES_H

#include <cstdint>
#include <vector>

#include "AMFWire.h"

namespace amf2json::wire {

struct ExternalBody {
  std::uint32_t values = 1;  // if it is no small message
  std::uint32_t groups = 0;  // number of groups of a small message: 2 or 3
  bool command = false;      // group 2 has the field of commands
};

// The classes of one call: those of the host, then the built-in ones.
class ExternalClasses {
 public:
  explicit ExternalClasses(const std::vector<AMFWireExternalClass>& host) : hostClasses(&host) {}
  // Returns false if the class is unknown.
  bool find(const AMFWireString& name, ExternalBody& body) const;

 private:
  const std::vector<AMFWireExternalClass>* hostClasses;  // not owned
};

// The name of a field of a small message; null if it has none.
const char* fieldName(const ExternalBody& body, std::uint32_t group, std::uint32_t byte,
                      std::uint32_t bit);

// Whether `a` has the bytes of the NUL-terminated text `b`.
bool sameText(const AMFWireString& a, const char* b);

}  // namespace amf2json::wire

#endif  // WIRE_EXTERNAL_CLASSES_H
