// SPDX-License-Identifier: Apache-2.0
//
// Reproducible random numbers: a seed gives the same numbers with every library and compiler.
#ifndef TESTS_SUPPORT_RANDOM_H
#define TESTS_SUPPORT_RANDOM_H

#include <cstddef>
#include <cstdint>

namespace packets {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state(seed) {}

  std::uint64_t next() {
    state += 0x9E3779B97F4A7C15u;
    std::uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBu;
    return mixed ^ (mixed >> 31);
  }
  // 0 to limit - 1.
  std::uint32_t below(std::size_t limit) { return static_cast<std::uint32_t>(next() % limit); }
  bool chance(unsigned permille) { return below(1000) < permille; }
  char byte() { return static_cast<char>(next() & 0xFF); }

 private:
  std::uint64_t state;
};

}  // namespace packets

#endif  // TESTS_SUPPORT_RANDOM_H
