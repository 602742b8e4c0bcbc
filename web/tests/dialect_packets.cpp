// SPDX-License-Identifier: Apache-2.0
//
// dialect_packets COUNT: random packets of the library's dialect, each as u32 length, big-endian, and its bytes.
#include <cstdio>
#include <cstdlib>

#include "support/packet_generator.h"

int main(int count, char** arguments) {
  packets::PacketGenerator generator(1);
  for (long left = count > 1 ? std::atol(arguments[1]) : 1000; left > 0; --left) {
    const std::string& bytes = generator.next().bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
      std::putchar(static_cast<int>(bytes.size() >> shift & 0xFF));
    }
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  }
  return 0;
}
