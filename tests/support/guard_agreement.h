// SPDX-License-Identifier: Apache-2.0
//
// Reads one packet with the guard and with the readers, which must report the same, and compares the
// limits of the guard with its own sums. Link guard_agreement.cpp, counted_heap.cpp and the readers
// built with AMF2JSON_CHECKED_WIRE. Used by guard_diff.cpp and guard_sweep.cpp.
#ifndef TESTS_SUPPORT_GUARD_AGREEMENT_H
#define TESTS_SUPPORT_GUARD_AGREEMENT_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include <AMF2JSON.h>
#include <AMFGuard.h>

namespace support {

struct Counts {
  std::map<AMFVerifyStatus, std::uint64_t> statuses;
  std::map<const char*, std::uint64_t> texts;  // each is one constant
  std::uint64_t references = 0;
  std::uint64_t skipped = 0;  // trees too large to be built for a test
  std::uint64_t nodes = 0;
  std::uint64_t bytes = 0;
  double loosest = 1e9, tightest = 0;  // heap of the tree as a fraction of what the guard reported
};

/// Prints what differs; returns false.
bool differ(const char* what, unsigned long long guard, unsigned long long reader);

#define AGREE(what, guard, reader)                                       \
  if ((guard) != (reader))                                               \
  return ::support::differ(what, static_cast<unsigned long long>(guard), \
                           static_cast<unsigned long long>(reader))

/// Parses the packet after checking it, and holds one against the other: status, text, cursor, what
/// is missing, and nodes, depth, texts and heap of the tree. False: they differ.
bool agree(AMFProtocol& protocol, const std::string& packet, Counts& counts);

/// A sum of the guard and the limit on it.
struct Measure {
  AMFVerifyStatus status;
  std::uint64_t (*measured)(const AMFVerifyResult&);
  void (*set)(AMFVerifyLimits&, std::uint64_t);
};
extern const Measure kMeasures[5];  // the rarest last

/// Where a limit below what was measured strikes: with its own status, right where the sum over the
/// bytes so far passes it. False: elsewhere.
bool strikesInPlace(const std::string& packet, const Measure& measure, std::uint64_t limit,
                    Counts& counts);

}  // namespace support

#endif  // TESTS_SUPPORT_GUARD_AGREEMENT_H
